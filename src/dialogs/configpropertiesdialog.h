#pragma once

#include "ui_configpropertiesdialog.h"

class cConfig;

/// Lets the operator edit the label, version and serial of a device file.
class configPropertiesDialog : public QDialog
{
    Q_OBJECT

public:
    configPropertiesDialog();

signals:
    void configUpdated(cConfig* config, int code);

public slots:
    /// Shows the values of the file at @p name, which the button changes. If the file cannot be read, the
    /// fields keep their texts.
    void receiveFileName(const QString& name);

private slots:
    void on_confirmButton_clicked();

private:
    Ui::configPropertiesDialog ui;
    QString fileName;
    QString previousFileName; ///< the label in the file
};
