#include "additemsdialog.h"

#include "formreport.h"
#include "itemkind.h"
#include "itemsrow.h"
#include "ui_additemsdialog.h"

#include <QSpinBox>

addItemsDialog::addItemsDialog(QWidget* parent) : QDialog(parent), ui(new Ui::addItemsDialog)
{
    ui->setupUi(this);
}

addItemsDialog::~addItemsDialog() { delete ui; }

void addItemsDialog::receiveInstruction(int type, const QString& name)
{
    fileName = name;
    instructionType = type;
    sBox = layOutItemsRow(*this, itemkind::caption(type), *ui->addButton);
}

void addItemsDialog::on_addButton_clicked()
{
    if (sBox != nullptr && itemkind::add(fileName, instructionType, sBox->value())) {
        reportDeviceFile(*this, fileName);
    }
    close();
}
