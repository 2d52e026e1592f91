#ifndef REMOVEITEMDIALOG_H
#define REMOVEITEMDIALOG_H

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
    /// The record is gone when the emission returns: take copies, connect directly.
    void configUpdated(cConfig* config, int code);

    /// Never emitted.
    void transferSetupInfo(int kind, QString fileName);

public slots:
    /// Asks for a number of the items that @p type, an instruction type of itemkind.h, means; the button
    /// changes the device file at @p name. A dialog takes one instruction.
    void receiveInstruction(int type, const QString& name);

private slots:
    void on_removeButton_clicked();

private:
    Ui::removeItemDialog* ui;
    int instructionType = 0;
    QSpinBox* sBox = nullptr;
    QString fileName;
};

#endif
