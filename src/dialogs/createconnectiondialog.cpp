#include "createconnectiondialog.h"

#include "cconfig.h"
#include "connectionfile.h"
#include "paths.h"
#include "ui_createconnectiondialog.h"

createConnectionDialog::createConnectionDialog(QWidget* parent)
    : QDialog(parent), ui(new Ui::createConnectionDialog)
{
    ui->setupUi(this);
}

createConnectionDialog::~createConnectionDialog() { delete ui; }

void createConnectionDialog::on_buttonCreate_clicked()
{
    const cConnectionFile connection{ui->connectDescriptor->text(), ui->connectIP->text(),
                                     ui->connectPort->text()};
    const QString path = paths::connectionFile(connection.descriptor);
    // The settings count for this run even where they cannot be kept.
    connection.save(path);
    cConfig config;
    connection.fill(config, path);
    emit configUpdated(&config, cConfig::CONNECTION_UPDATE);
    close();
}
