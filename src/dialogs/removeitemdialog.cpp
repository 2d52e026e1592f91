#include "removeitemdialog.h"

#include "formlayout.h"
#include "formreport.h"
#include "itemkind.h"

#include <QSpinBox>

removeItemDialog::removeItemDialog() { ui.setupUi(this); }

void removeItemDialog::receiveInstruction(int type, const QString& name)
{
    fileName = name;
    instructionType = type;
    sBox = layOutItemsRow(*this, itemkind::caption(type), *ui.removeButton);
}

void removeItemDialog::on_removeButton_clicked()
{
    if (sBox != nullptr && itemkind::remove(fileName, instructionType, sBox->value())) {
        reportDeviceFile(*this, fileName);
    }
    close();
}
