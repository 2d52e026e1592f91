#pragma once

#include "ui_createdialog.h"

class cConfig;

/// Lets the operator describe a new device.
class createdialog : public QDialog
{
    Q_OBJECT

public:
    createdialog();

signals:
    void configUpdated(cConfig* config, int code);
    void transferSetupInfo(int kind, QString fileName); ///< never emitted

private slots:
    void on_createButton_clicked();

private:
    Ui::createdialog ui;
};
