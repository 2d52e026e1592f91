#include "additemsdialog.h"

#include "formlayout.h"
#include "formreport.h"
#include "itemkind.h"

#include <QSpinBox>

addItemsDialog::addItemsDialog() { ui.setupUi(this); }

void addItemsDialog::receiveInstruction(int type, const QString& name)
{
    fileName = name;
    instructionType = type;
    sBox = layOutItemsRow(*this, itemkind::caption(type), *ui.addButton);
}

void addItemsDialog::on_addButton_clicked()
{
    if (sBox != nullptr && itemkind::add(fileName, instructionType, sBox->value())) {
        reportDeviceFile(*this, fileName);
    }
    close();
}
