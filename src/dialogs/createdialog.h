#pragma once

#include <QDialog>
#include <QString>

class cConfig;
struct cDeviceFile;

namespace Ui {
class createdialog;
}

/// Lets the operator describe a new device.
class createdialog : public QDialog
{
    Q_OBJECT

public:
    explicit createdialog(QWidget* parent = nullptr);
    ~createdialog() override;

signals:
    /// The record is deleted when the emission returns; connect directly.
    void configUpdated(cConfig* config, int code);

    /// Never emitted.
    void transferSetupInfo(int kind, QString fileName);

private slots:
    void on_createButton_clicked();

private:
    /// The message for the first empty field; empty if there is none.
    QString whatIsMissing() const;
    cDeviceFile described() const;

    Ui::createdialog* ui;
};
