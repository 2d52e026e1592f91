#ifndef CREATEDIALOG_H
#define CREATEDIALOG_H

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
    /// The record is gone when the emission returns: take copies, connect directly.
    void configUpdated(cConfig* config, int code);

    /// Never emitted.
    void transferSetupInfo(int kind, QString fileName);

private slots:
    void on_createButton_clicked();

private:
    /// What the operator is told to provide; empty when nothing is missing.
    QString whatIsMissing() const;
    cDeviceFile described() const;

    Ui::createdialog* ui;
};

#endif
