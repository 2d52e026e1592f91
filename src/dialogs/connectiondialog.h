#pragma once

#include "ui_connectiondialog.h"

class cConfig;

/// Lets the operator edit the connection file in use, which also renames it when the descriptor changes.
class ConnectionDialog : public QDialog
{
    Q_OBJECT

public:
    ConnectionDialog();

signals:
    void configUpdated(cConfig* config, int code);

public slots:
    /// Shows the values of the file at @p name, which the button changes. If the file cannot be read, the
    /// fields keep their texts.
    void receiveConnectionFileName(const QString& name);

private slots:
    void on_buttonConfirm_clicked();

private:
    Ui::ConnectionDialog ui;
    QString fileName;
};
