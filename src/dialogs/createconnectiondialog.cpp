#include "createconnectiondialog.h"

#include "formreport.h"
#include "formsize.h"
#include "ui_createconnectiondialog.h"

createConnectionDialog::createConnectionDialog(QWidget* parent)
    : QDialog(parent), ui(new Ui::createConnectionDialog)
{
    ui->setupUi(this);
    scaleForm(*this);
}

createConnectionDialog::~createConnectionDialog() { delete ui; }

void createConnectionDialog::on_buttonCreate_clicked()
{
    saveConnection(*this, *ui);
    close();
}
