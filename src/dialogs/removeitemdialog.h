#pragma once

#include <QDialog>
#include <QString>

class QSpinBox;
class cConfig;

namespace Ui {
class removeItemDialog;
}

/// Lets the operator remove ports or scanners from a device file.
class removeItemDialog : public QDialog
{
    Q_OBJECT

public:
    explicit removeItemDialog(QWidget* parent = nullptr);
    ~removeItemDialog() override;

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
    void on_removeButton_clicked();

private:
    Ui::removeItemDialog* ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};
