#pragma once

#include <QDialog>

class cConfig;

namespace Ui {
class createConnectionDialog;
}

/// Lets the operator make a new connection file.
class createConnectionDialog : public QDialog
{
    Q_OBJECT

public:
    explicit createConnectionDialog(QWidget* parent = nullptr);
    ~createConnectionDialog() override;

signals:
    /// The record is deleted when the emission returns; connect directly.
    void configUpdated(cConfig* config, int code);

private slots:
    void on_buttonCreate_clicked();

private:
    Ui::createConnectionDialog* ui;
};
