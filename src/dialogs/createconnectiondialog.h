#pragma once

#include "ui_createconnectiondialog.h"

class cConfig;

/// Lets the operator make a new connection file.
class createConnectionDialog : public QDialog
{
    Q_OBJECT

public:
    createConnectionDialog();

signals:
    void configUpdated(cConfig* config, int code);

private slots:
    void on_buttonCreate_clicked();

private:
    Ui::createConnectionDialog ui;
};
