#pragma once

#include "ui_removeitemdialog.h"

class QSpinBox;
class cConfig;

/// Lets the operator remove ports or scanners from a device file.
class removeItemDialog : public QDialog
{
    Q_OBJECT

public:
    removeItemDialog();

signals:
    void configUpdated(cConfig* config, int code);
    void transferSetupInfo(int kind, QString fileName); ///< never emitted

public slots:
    /// Asks for a number of items of the instruction type @p type (itemkind.h). The button changes the device
    /// file at @p name. A form takes one instruction.
    void receiveInstruction(int type, const QString& name);

private slots:
    void on_removeButton_clicked();

private:
    Ui::removeItemDialog ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};
