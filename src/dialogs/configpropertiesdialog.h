#pragma once

#include <QDialog>
#include <QString>
#include <optional>

class QLineEdit;
class cConfig;

namespace Ui {
class configPropertiesDialog;
}

/// Lets the operator edit the label, version and serial of a device file.
class configPropertiesDialog : public QDialog
{
    Q_OBJECT

public:
    explicit configPropertiesDialog(QWidget* parent = nullptr);
    ~configPropertiesDialog() override;

signals:
    /// The record is deleted when the emission returns; connect directly.
    void configUpdated(cConfig* config, int code);

public slots:
    /// Shows the values of the file at @p name, which the button changes. If the file cannot be read, the
    /// fields keep their texts.
    void receiveFileName(const QString& name);

private slots:
    void on_confirmButton_clicked();

private:
    /// A line of the file that this dialog edits.
    struct Field
    {
        const char* key;
        const char* written; ///< the key with the padding that this dialog gives it
        QLineEdit* edit;
    };

    /// The first of version, serial and label whose key is in @p line.
    std::optional<Field> fieldOf(const QString& line) const;
    QByteArray edited(const QByteArray& line) const;
    void renameAfterLabel() const;

    Ui::configPropertiesDialog* ui;
    QString fileName;
    QString previousFileName; ///< the label in the file
};
