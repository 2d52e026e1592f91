#ifndef MAINWINDOW_H
#define MAINWINDOW_H

// Complete, so that the meta-object knows both pointer types of the signals.
#include "cdevice.h"
#include "cscripts.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <memory>
#include <optional>
#include <utility>

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

    /// Records in @p file, or nowhere where it is null, what the link that is started next carries.
    void recordTo(std::shared_ptr<cCaptureFile> file) { mCapture = std::move(file); }

    /// Runs the JavaScript file at @p path against the loaded device, on a thread of its own; false, and no
    /// thread, if it cannot be opened.
    bool runScript(const QString& path);

    /// How many scripts were started.
    size_t scriptCount() const { return mScripts.count(); }

    /// Ends the device's link and threads and every script. False where a script does not end; then only the
    /// end of the process helps.
    bool shutDown();

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
    void on_actionCreate_triggered();
    void on_actionLoad_triggered();
    void on_actionEdit_Device_Configuration_triggered();
    void on_actionCreate_new_connection_configuration_triggered();
    void on_actionLoad_existing_connection_configuration_triggered();
    void on_actionEdit_Connection_Configuration_triggered();
    void on_actionConnect_changed();
    void on_actionConnect_triggered();
    void on_actionSelect_Script_to_Run_triggered();
    void on_actionAdd_Digital_Input_triggered();
    void on_actionAdd_Digital_Output_triggered();
    void on_actionAdd_Analog_Input_triggered();
    void on_actionAdd_Analog_Output_triggered();
    void on_actionAdd_Access_Event_triggered();
    void on_actionRemove_Digital_Input_triggered();
    void on_actionRemove_Digital_Output_triggered();
    void on_actionRemove_Analog_Input_triggered();
    void on_actionRemove_Analog_Output_triggered();
    void on_actionRemove_Access_Event_triggered();

protected:
    /// The dialogs close with the window, so that the program ends with it.
    void closeEvent(QCloseEvent* event) override;

private:
    void createConfigurationDirectory();
    /// The status bar stays empty: this does nothing, and nothing calls it.
    void setupStatusBar();
    void disableDependentEntries();
    void enableDeviceEntries();
    void takeDeviceFile(const QString& path);
    void takeConnection(const cConfig& config);
    void loadDevice();
    QString chooseFile(const QString& directory, const QString& filter);
    void reportUnreadableFile();
    void announceScript(const QString& path);
    template <class Dialog>
    Dialog* createReportingDialog();
    template <class Dialog>
    void openItemsDialog(int instructionType);
    void showDialog(QDialog* dialog);
    QList<QDialog*> openDialogs() const;

    Ui::MainWindow* ui;
    cDevice* mDevice;
    cConfig* mConfig;
    bool connected;
    QList<QPointer<QDialog>> mDialogs;
    cScripts mScripts;
    std::shared_ptr<cCaptureFile> mCapture; ///< null where nothing is recorded
};

#endif
