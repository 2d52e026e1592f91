#include "connectiondialog.h"

#include "cconfig.h"
#include "connectionfile.h"
#include "paths.h"
#include "ui_connectiondialog.h"

#include <QFile>
#include <cstdio>

ConnectionDialog::ConnectionDialog(QWidget* parent) : QDialog(parent), ui(new Ui::ConnectionDialog)
{
    ui->setupUi(this);
    // The button comes first in the form; the operator begins at the top.
    ui->connectDescriptor->setFocus();
}

ConnectionDialog::~ConnectionDialog() { delete ui; }

void ConnectionDialog::receiveConnectionFileName(const QString& name)
{
    fileName = name;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    cConnectionFile connection{ui->connectDescriptor->text(), ui->connectIP->text(), ui->connectPort->text()};
    connection.read(file, {cConnectionFile::DESCRIPTOR, cConnectionFile::ADDRESS, cConnectionFile::PORT});
    ui->connectDescriptor->setText(connection.descriptor);
    ui->connectIP->setText(connection.address);
    ui->connectPort->setText(connection.port);
}

void ConnectionDialog::on_buttonConfirm_clicked()
{
    // First the old file: the new one may bear the same name.
    std::remove(fileName.toUtf8().constData());
    const cConnectionFile connection{ui->connectDescriptor->text(), ui->connectIP->text(),
                                     ui->connectPort->text()};
    fileName = paths::connectionFile(connection.descriptor);
    // The settings count for this run even where they cannot be kept.
    connection.save(fileName);
    cConfig config;
    connection.fill(config, fileName);
    emit configUpdated(&config, cConfig::CONNECTION_UPDATE);
    close();
}
