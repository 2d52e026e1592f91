#pragma once

// Complete, so that the meta-object knows both pointer types of the signals.
#include "ccontrolled.h"
#include "cdevice.h"
#include "cscenarios.h"
#include "cscripts.h"

#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

class QDialog;
class Ui_MainWindow;
class cConfig;
struct cDeviceFile;

/// Assembles the program: menus, dialogs, the configuration record and the device panel.
class MainWindow : public QMainWindow, public cControlled
{
    Q_OBJECT

public:
    /// Why the device cannot connect, in English; the message box shows the translations.
    struct cRefusal
    {
        const char* title;
        const char* text;
    };

    explicit MainWindow(QWidget* parent = nullptr);
    ~MainWindow() override;

    // What the menu actions do once a file is chosen. They show no message box.

    /// Returns what the device file at @p path says, or nothing if it cannot be read.
    static std::optional<cDeviceFile> readDeviceFile(const QString& path);

    /// Loads the device file at the full path @p path. Returns false, and changes nothing, if it cannot be
    /// read.
    bool openDeviceFile(const QString& path);

    /// Loads @p device, which comes from the file at the full path @p path, or from none if that is empty.
    void openDevice(const QString& path, const cDeviceFile& device);

    /// Takes the server's address and port, without a connection file.
    void setServer(const QString& address, uint16_t port);

    /// Takes the server's address and port from the connection file at the full path @p path. Returns false,
    /// and changes nothing, if it cannot be read.
    bool openConnectionFile(const QString& path);

    /// Returns why connectToServer() would not start the device, if there is a reason.
    std::optional<cRefusal> connectionRefusal() const;

    /// Starts the device toward the configured server and locks the File and Edit menus, unless there is a
    /// refusal, which it returns. Whether the server is reached does not count.
    std::optional<cRefusal> connectToServer();

    /// Records the link that is started next in @p file, or nowhere if that is null.
    void recordTo(std::shared_ptr<cCaptureFile> file) { mCapture = std::move(file); }

    /// Runs the JavaScript file at @p path against the loaded device, on a thread of its own. Returns the
    /// number of the script, or nothing, and starts no thread, if it cannot be opened. A thread that the
    /// system refuses is an error in the log, and 0.
    std::optional<uint64_t> runScript(const QString& path, const QStringList& arguments = {}) override;

    cScripts& scripts() { return mScripts; }

    cScenarios& scenarios() { return mScenarios; }

    /// Devices, scripts and scenarios to come follow @p clock.
    void setClock(const cScaledClock& clock);

    // For the control socket.
    bool connectTo(const std::optional<sHostPort>& server) override;
    bool replaceDevice(const QString& path) override;
    size_t runningScripts() const override { return mScripts.running(); }
    std::string playScenario(const std::string& path) override;
    zulcommand::JsonPtr scenarioMember() const override { return mScenarios.report().member(); }

    /// Has @p call called when another device is the live one; the one before is gone then.
    void whenDeviceIsReplaced(std::function<void()> call) { mDeviceReplaced = std::move(call); }

    /// The number of scripts that were started.
    size_t scriptCount() const { return mScripts.count(); }

    /// Ends the device's link and threads and every script. Returns false if a script does not end; only the
    /// end of the process ends it then.
    bool shutDown();

    /// The record in use; it lives as long as the window.
    const cConfig& config() const { return *mConfig; }

    /// The panel in use; the next load replaces it. Null while that stops the scripts, and after shutDown().
    cDevice* device() const override { return mDevice; }

signals:
    void transferFileName(QString fileName);
    void transferConnectionFileName(QString fileName);
    void transferThis(MainWindow* window);
    void transferInstruction(int kind, QString fileName);
    void transferScriptFileName(QString fileName, cDevice* device);

public slots:
    /// Copies the fields that @p code, a cConfig::eUpdate, names and acts on them. Keeps no pointer to @p
    /// config.
    void updateConfig(cConfig* config, int code);

private slots:
    void on_actionCreate_triggered();
    void on_actionLoad_triggered();
    void on_actionEdit_Device_Configuration_triggered();
    void on_actionCreate_new_connection_configuration_triggered();
    void on_actionLoad_existing_connection_configuration_triggered();
    void on_actionEdit_Connection_Configuration_triggered();
    void on_actionConnect_changed() {}
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
    /// Does nothing, and nothing calls it: the status bar stays empty.
    void setupStatusBar() {}
    void setDeviceEntriesEnabled(bool enabled);
    void setDeviceFile(const QString& path);
    void loadDevice();
    void lockConfiguration();
    void showDevice(const cDeviceFile& values);
    void deleteDevice();
    void setLink(bool up);
    bool canOpen(const QString& path) const;
    bool open(const QString& path);
    bool openScript(const QString& path) { return runScript(path).has_value(); }
    void openAll(QStringList paths);
    using Opener = bool (MainWindow::*)(const QString& path);
    /// Asks for a file, passes its path to @p opener, empty if there is none, and reports a failure.
    void chooseFile(const QString& directory, const QString& filter, Opener opener);
    void reportUnreadableFile();
    template <class Dialog>
    Dialog* createDialog();
    template <class Dialog>
    void openItemsDialog(int instructionType);

    Ui_MainWindow* ui;
    cDevice* mDevice;
    cConfig* mConfig;
    bool connected;
    std::vector<QPointer<QDialog>> mDialogs;
    cScripts mScripts;
    cScaledClock mClock;
    cScenarios mScenarios;
    std::shared_ptr<cCaptureFile> mCapture; ///< null if nothing is recorded
    std::function<void()> mDeviceReplaced = [] {};
};
