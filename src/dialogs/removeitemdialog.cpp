#include "removeitemdialog.h"

#include "formreport.h"
#include "itemkind.h"
#include "itemsrow.h"
#include "ui_removeitemdialog.h"

#include <QSpinBox>

removeItemDialog::removeItemDialog(QWidget* parent) : QDialog(parent), ui(new Ui::removeItemDialog)
{
    ui->setupUi(this);
}

removeItemDialog::~removeItemDialog() { delete ui; }

void removeItemDialog::receiveInstruction(int type, const QString& name)
{
    fileName = name;
    instructionType = type;
    sBox = layOutItemsRow(*this, itemkind::caption(type), *ui->removeButton);
}

void removeItemDialog::on_removeButton_clicked()
{
    if (sBox != nullptr && itemkind::remove(fileName, instructionType, sBox->value())) {
        reportDeviceFile(*this, fileName);
    }
    close();
}
