#pragma once

#include "ui_additemsdialog.h"

class QSpinBox;
class cConfig;

/// Lets the operator add ports or scanners to a device file.
class addItemsDialog : public QDialog
{
    Q_OBJECT

public:
    addItemsDialog();

signals:
    void configUpdated(cConfig* config, int code);
    void transferSetupInfo(int kind, QString fileName); ///< never emitted

public slots:
    /// Asks for a number of items of the instruction type @p type (itemkind.h). The button changes the device
    /// file at @p name. A form takes one instruction.
    void receiveInstruction(int type, const QString& name);

private slots:
    void on_addButton_clicked();

private:
    Ui::addItemsDialog ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};
