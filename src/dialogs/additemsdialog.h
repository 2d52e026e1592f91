#pragma once

#include <QDialog>
#include <QString>

class QSpinBox;
class cConfig;

namespace Ui {
class addItemsDialog;
}

/// Lets the operator add ports or scanners to a device file.
class addItemsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit addItemsDialog(QWidget* parent = nullptr);
    ~addItemsDialog() override;

signals:
    /// The record is deleted when the emission returns; connect directly.
    void configUpdated(cConfig* config, int code);

    /// Never emitted.
    void transferSetupInfo(int kind, QString fileName);

public slots:
    /// Asks for a number of items of the instruction type @p type (itemkind.h). The button changes the device
    /// file at @p name. A form takes one instruction.
    void receiveInstruction(int type, const QString& name);

private slots:
    void on_addButton_clicked();

private:
    Ui::addItemsDialog* ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};
