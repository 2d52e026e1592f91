#ifndef ADDITEMSDIALOG_H
#define ADDITEMSDIALOG_H

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
    /// The record is gone when the emission returns: take copies, connect directly.
    void configUpdated(cConfig* config, int code);

    /// Never emitted.
    void transferSetupInfo(int kind, QString fileName);

public slots:
    /// Asks for a number of the items that @p type, an instruction type of itemkind.h, means; the button
    /// changes the device file at @p name. A dialog takes one instruction.
    void receiveInstruction(int type, const QString& name);

private slots:
    void on_addButton_clicked();

private:
    Ui::addItemsDialog* ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};

#endif
