#ifndef MAINWINDOW_H
#define MAINWINDOW_H

// Complete, so that the meta-object knows both pointer types of the signals.
#include "cdevice.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <optional>

class QDialog;
class cConfig;

namespace Ui {
class MainWindow;
}

/// Assembles the program: menus, dialogs, the configuration record and the device panel.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    /// Why an action was turned down, as its message box says it.
    struct cRefusal
    {
        QString title;
        QString text;
    };

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // What the menu actions do once a file is chosen; nothing is shown to the operator.

    /// Loads the device file at the full path @p path; false, and no change, if it cannot be opened.
    bool openDeviceFile(const QString& path);

    /// Takes the server's address and port from the connection file at the full path @p path; false, and no
    /// change, if it cannot be opened.
    bool openConnectionFile(const QString& path);

    /// Starts the device toward the configured server, which locks the File and Edit menus. Answers why
    /// nothing was started; whether the server was reached does not count.
    std::optional<cRefusal> connectToServer();

    /// The record in use; it lives as long as the window.
    const cConfig& config() const;

    /// The panel in use, never null; the next load replaces it.
    cDevice* device() const;

signals:
    void transferFileName(QString fileName);
    void transferConnectionFileName(QString fileName);
    void transferThis(MainWindow* window);
    void transferInstruction(int kind, QString fileName);
    void transferScriptFileName(QString fileName, cDevice* device);

public slots:
    /// Copies the fields that @p code (cConfig::eUpdate) names and acts on them; another code does nothing.
    /// No pointer to @p config is kept.
    void updateConfig(cConfig* config, int code);

private slots:
    void on_actionLoad_triggered();
    void on_actionCreate_new_connection_configuration_triggered();
    void on_actionLoad_existing_connection_configuration_triggered();
    void on_actionEdit_Connection_Configuration_triggered();
    void on_actionConnect_changed();
    void on_actionConnect_triggered();

protected:
    /// The dialogs close with the window, so that the program ends with it.
    void closeEvent(QCloseEvent* event) override;

private:
    void createConfigurationDirectory();
    void disableDependentEntries();
    void enableDeviceEntries();
    void takeDeviceFile(const QString& path);
    void takeConnection(const cConfig& config);
    void loadDevice();
    QString chooseFile(const QString& filter);
    void reportUnreadableFile();
    void showDialog(QDialog* dialog);
    QList<QDialog*> openDialogs() const;

    Ui::MainWindow* ui;
    cDevice* mDevice;
    cConfig* mConfig;
    bool connected;
    QList<QPointer<QDialog>> mDialogs;
};

#endif
