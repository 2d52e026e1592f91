#include "connectiondialog.h"

#include "formlayout.h"
#include "formreport.h"

#include <cstdio>

ConnectionDialog::ConnectionDialog()
{
    ui.setupUi(this);
    scaleForm(*this);
    // The button is the form's first child.
    ui.connectDescriptor->setFocus();
}

void ConnectionDialog::receiveConnectionFileName(const QString& name)
{
    fileName = name;
    cConnectionFile connection{ui.connectDescriptor->text(), ui.connectIP->text(), ui.connectPort->text()};
    connection.read(readLineFile(fileName).value_or(QByteArray()));
    ui.connectDescriptor->setText(connection.descriptor);
    ui.connectIP->setText(connection.address);
    ui.connectPort->setText(connection.port);
}

void ConnectionDialog::on_buttonConfirm_clicked()
{
    // Before the new file is written, which may have the same name.
    std::remove(fileName.toUtf8().constData());
    fileName = saveConnection(*this, ui);
    close();
}
