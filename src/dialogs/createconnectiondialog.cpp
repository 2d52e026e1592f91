#include "createconnectiondialog.h"

#include "formlayout.h"
#include "formreport.h"

createConnectionDialog::createConnectionDialog()
{
    ui.setupUi(this);
    scaleForm(*this);
}

void createConnectionDialog::on_buttonCreate_clicked()
{
    saveConnection(*this, ui);
    close();
}
