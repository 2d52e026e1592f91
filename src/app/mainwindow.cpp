#include "mainwindow.h"

#include "additemsdialog.h"
#include "cconfig.h"
#include "cfiledrop.h"
#include "configpropertiesdialog.h"
#include "connectiondialog.h"
#include "connectionfile.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "crepaintthrottle.h"
#include "devicefile.h"
#include "linefile.h"
#include "paths.h"
#include "readfile.h"
#include "removeitemdialog.h"
#include "scriptworker.h"
#include "ui_mainwindow.h"
#include "wlog/wlog.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDebug>
#include <QDir>
#include <QFileDialog>
#include <QLoggingCategory>
#include <QMessageBox>
#include <algorithm>

namespace {

// Off unless QT_LOGGING_RULES says otherwise.
Q_LOGGING_CATEGORY(fileTrace, "zulbench.files", QtWarningMsg)

void traceDevice(const QString& path, const cDeviceFile& values)
{
    qCDebug(fileTrace,
            "device \"%s\": serial %u, digital inputs %u, digital outputs %u, analog inputs %u, "
            "analog outputs %u, scanners %u",
            qPrintable(path), values.serialNumber(), values.digitalInputs, values.digitalOutputs,
            values.analogInputs, values.analogOutputs, values.scanners);
}

} // namespace

MainWindow::MainWindow(QWidget* parent)
    : QMainWindow(parent), ui(new Ui_MainWindow), mScenarios([this](bool up) { setLink(up); })
{
    const QString directory = paths::configurationDirectory();
    qDebug().noquote().nospace() << "Config Dir is: " << directory;
    QDir(directory).mkpath(QStringLiteral("."));
    ui->setupUi(this);
    new cRepaintThrottle(this);
    new cFileDrop(
        this, [this](const QString& path) { return canOpen(path); },
        [this](const QStringList& paths) { openAll(paths); });
    cWlog::init(cWlog::INFO);
    ui->menuBar->setNativeMenuBar(false);
    ui->mainToolBar->widgetForAction(ui->actionConnect)->setFocusPolicy(Qt::TabFocus);
    mConfig = new cConfig;
    mConfig->setZULCurrentFile(cConfig::kUnset);
    mConfig->setZULConnectionFile(cConfig::kUnset);
    mConfig->setZULIP(cConfig::kUnset);
    mConfig->setZULPort(cConfig::kUnset);
    setDeviceEntriesEnabled(false);
    ui->actionEdit_Connection_Configuration->setEnabled(false);
    connected = false;
    mDevice = new cDevice;
}

MainWindow::~MainWindow()
{
    qDeleteAll(mDialogs);
    shutDown();
    delete mConfig;
    delete ui;
}

void MainWindow::setDeviceEntriesEnabled(bool enabled)
{
    ui->menuAdd_Item->setEnabled(enabled);
    ui->menuRemove_Item->setEnabled(enabled);
    ui->actionEdit_Device_Configuration->setEnabled(enabled);
    ui->actionSelect_Script_to_Run->setEnabled(enabled);
}

void MainWindow::updateConfig(cConfig* config, int code)
{
    if (code == cConfig::DEVICE_FILE_UPDATE) {
        setDeviceFile(config->getZULCurrentFile());
        loadDevice();
    } else if (code == cConfig::CONNECTION_UPDATE) {
        if (mConfig->getZULConnectionFile() == cConfig::kUnset && mConfig->getZULIP() == cConfig::kUnset &&
            mConfig->getZULPort() == cConfig::kUnset) {
            ui->actionEdit_Connection_Configuration->setEnabled(true);
        }
        cConnectionFile{{}, config->getZULIP(), config->getZULPort()}.fill(*mConfig,
                                                                           config->getZULConnectionFile());
    }
}

void MainWindow::setDeviceFile(const QString& path)
{
    if (mConfig->getZULCurrentFile() == cConfig::kUnset) {
        setDeviceEntriesEnabled(true);
    }
    mConfig->setZULCurrentFile(path);
}

void MainWindow::loadDevice()
{
    const std::optional<cDeviceFile> values = readDeviceFile(mConfig->getZULCurrentFile());
    if (values && values->hasTooManyItems()) {
        reportUnreadableFile();
    } else if (values) {
        showDevice(*values);
    }
}

void MainWindow::showDevice(const cDeviceFile& values)
{
    traceDevice(mConfig->getZULCurrentFile(), values);
    QByteArray label = values.label.toUtf8();
    // The old panel stops its link and threads before the new one comes up. Deleting it also takes it out of
    // the window, so setCentralWidget() finds none to delete.
    deleteDevice();
    mDevice = new cDevice(values.digitalInputs, values.digitalOutputs, values.analogInputs,
                          values.analogOutputs, values.scanners, label.data(), values.type,
                          values.versionNumber(), values.serialNumber());
    mDevice->setClock(mClock);
    mScenarios.setDevice(mDevice);
    setCentralWidget(mDevice);
    mDeviceReplaced();
}

/// Returns whether the menus, as they are, would open a file of this kind.
bool MainWindow::canOpen(const QString& path) const
{
    const eFileKind kind = fileKindOf(path);
    const bool unlocked =
        kind == eFileKind::SCRIPT ? ui->actionSelect_Script_to_Run->isEnabled() : ui->menuFile->isEnabled();
    return kind != eFileKind::OTHER && unlocked && QApplication::activeModalWidget() == nullptr;
}

bool MainWindow::open(const QString& path)
{
    const eFileKind kind = fileKindOf(path);
    return kind == eFileKind::DEVICE       ? openDeviceFile(path)
           : kind == eFileKind::CONNECTION ? openConnectionFile(path)
                                           : openScript(path);
}

void MainWindow::openAll(QStringList paths)
{
    std::stable_sort(paths.begin(), paths.end(), [](const QString& first, const QString& second) {
        return fileKindOf(first) < fileKindOf(second);
    });
    for (const QString& path : paths) {
        if (canOpen(path) && !open(path)) {
            reportUnreadableFile();
        }
    }
}

void MainWindow::chooseFile(const QString& directory, const QString& filter, Opener opener)
{
    if (!(this->*opener)(QFileDialog::getOpenFileName(this, tr("Open File"), directory, filter))) {
        reportUnreadableFile();
    }
}

void MainWindow::reportUnreadableFile()
{
    QMessageBox::critical(this, tr("File Opening Error"), tr("Error: Could not open file."), QMessageBox::Ok);
}

std::optional<cDeviceFile> MainWindow::readDeviceFile(const QString& path)
{
    const std::optional<QByteArray> content = readLineFile(path);
    return content ? std::make_optional(cDeviceFile::read(*content)) : std::nullopt;
}

bool MainWindow::openDeviceFile(const QString& path)
{
    const std::optional<cDeviceFile> values = readDeviceFile(path);
    if (!values || values->hasTooManyItems()) {
        return false;
    }
    openDevice(path, *values);
    return true;
}

void MainWindow::openDevice(const QString& path, const cDeviceFile& device)
{
    if (path.isEmpty()) {
        // Without a file there is nothing to edit.
        ui->actionSelect_Script_to_Run->setEnabled(true);
    } else {
        setDeviceFile(path);
    }
    showDevice(device);
}

void MainWindow::setServer(const QString& address, uint16_t port)
{
    cConnectionFile{{}, address, QString::number(port)}.fill(*mConfig, mConfig->getZULConnectionFile());
}

void MainWindow::on_actionCreate_triggered() { createDialog<createdialog>()->show(); }

void MainWindow::on_actionLoad_triggered()
{
    qDebug("Load has been clicked");
    chooseFile(paths::configurationPrefix(), QStringLiteral("Device File (*.dev)"),
               &MainWindow::openDeviceFile);
}

void MainWindow::on_actionEdit_Device_Configuration_triggered()
{
    auto* dialog = createDialog<configPropertiesDialog>();
    connect(this, &MainWindow::transferFileName, dialog, &configPropertiesDialog::receiveFileName);
    emit transferFileName(mConfig->getZULCurrentFile());
    dialog->show();
}

void MainWindow::on_actionCreate_new_connection_configuration_triggered()
{
    createDialog<createConnectionDialog>()->show();
}

bool MainWindow::openConnectionFile(const QString& path)
{
    const std::optional<QByteArray> content = readLineFile(path);
    if (!content) {
        return false;
    }
    cConnectionFile connection{{}, mConfig->getZULIP(), mConfig->getZULPort()};
    connection.readServer(*content);
    if (mConfig->getZULConnectionFile() == cConfig::kUnset) {
        ui->actionEdit_Connection_Configuration->setEnabled(true);
    }
    connection.fill(*mConfig, path);
    qCDebug(fileTrace, "connection \"%s\": address \"%s\", port \"%s\"", qPrintable(path),
            qPrintable(connection.address), qPrintable(connection.port));
    return true;
}

void MainWindow::on_actionLoad_existing_connection_configuration_triggered()
{
    qDebug("Load connection has been clicked");
    chooseFile(paths::configurationPrefix(), QStringLiteral("Connection File (*.con)"),
               &MainWindow::openConnectionFile);
}

void MainWindow::on_actionEdit_Connection_Configuration_triggered()
{
    auto* dialog = createDialog<ConnectionDialog>();
    connect(this, &MainWindow::transferConnectionFileName, dialog,
            &ConnectionDialog::receiveConnectionFileName);
    emit transferConnectionFileName(mConfig->getZULConnectionFile());
    dialog->show();
}

std::optional<MainWindow::cRefusal> MainWindow::connectionRefusal() const
{
    if (mDevice == nullptr) {
        return cRefusal{QT_TR_NOOP("No Device Loaded"),
                        QT_TR_NOOP("You need to load a device before you can connect")};
    }
    if (mConfig->getZULIP() == cConfig::kUnset || mConfig->getZULPort() == cConfig::kUnset) {
        return cRefusal{QT_TR_NOOP("No Connection Configure"),
                        QT_TR_NOOP("You need to configure the connection parameters first")};
    }
    return std::nullopt;
}

std::optional<MainWindow::cRefusal> MainWindow::connectToServer()
{
    const std::optional<cRefusal> refusal = connectionRefusal();
    if (!refusal) {
        mDevice->recordTo(mCapture);
        mDevice->start(mConfig);
        lockConfiguration();
    }
    return refusal;
}

void MainWindow::lockConfiguration()
{
    connected = true;
    ui->menuEdit->setEnabled(false);
    ui->menuFile->setEnabled(false);
    for (QAction* action : ui->menuFile->actions()) {
        // A disabled menu does not disable them.
        action->setShortcut({});
    }
}

bool MainWindow::connectTo(const std::optional<sHostPort>& server)
{
    if (server) {
        setServer(QString::fromStdString(server->host), server->port);
    }
    if (connectionRefusal()) {
        return false;
    }
    mDevice->recordTo(mCapture);
    mDevice->connectTo(
        {mConfig->getZULIP().toStdString(), static_cast<uint16_t>(mConfig->getZULPort().toLong() & 0xFFFF)});
    lockConfiguration();
    return true;
}

bool MainWindow::replaceDevice(const QString& path)
{
    const std::optional<cDeviceFile> values = readDeviceFile(path);
    if (!values || values->hasTooManyItems()) {
        return false;
    }
    const bool wasOff = mDevice->linkState().state == sLinkState::OFF;
    deleteDevice();
    mScripts.stop();
    openDevice(path, *values);
    if (!wasOff) {
        connectTo(std::nullopt);
    }
    return true;
}

void MainWindow::on_actionConnect_triggered()
{
    if (const std::optional<cRefusal> refusal = connectToServer()) {
        QMessageBox::critical(this, tr(refusal->title), tr(refusal->text), QMessageBox::Ok);
    }
}

std::optional<uint64_t> MainWindow::runScript(const QString& path, const QStringList& arguments)
{
    if (!isReadableFile(path)) {
        return std::nullopt;
    }
    auto worker = std::make_unique<scriptWorker>(mDevice->executor(), arguments);
    connect(this, &MainWindow::transferScriptFileName, worker.get(), &scriptWorker::receiveScriptFileName);
    emit transferScriptFileName(path, mDevice);
    const uint64_t number = mScripts.start(std::move(worker));
    if (number == 0) {
        cWlog("zulbench")
            .error(qPrintable("The system refuses a thread, so this script does not run: " + path));
    }
    return number;
}

void MainWindow::on_actionSelect_Script_to_Run_triggered()
{
    chooseFile(QStringLiteral("/home/user/zulbench/"), QStringLiteral("JavaScript File (*.js)"),
               &MainWindow::openScript);
}

void MainWindow::on_actionAdd_Digital_Input_triggered() { openItemsDialog<addItemsDialog>(1); }
void MainWindow::on_actionAdd_Digital_Output_triggered() { openItemsDialog<addItemsDialog>(2); }
void MainWindow::on_actionAdd_Analog_Input_triggered() { openItemsDialog<addItemsDialog>(3); }
void MainWindow::on_actionAdd_Analog_Output_triggered() { openItemsDialog<addItemsDialog>(4); }
void MainWindow::on_actionAdd_Access_Event_triggered() { openItemsDialog<addItemsDialog>(5); }
void MainWindow::on_actionRemove_Digital_Input_triggered() { openItemsDialog<removeItemDialog>(1); }
void MainWindow::on_actionRemove_Digital_Output_triggered() { openItemsDialog<removeItemDialog>(2); }
void MainWindow::on_actionRemove_Analog_Input_triggered() { openItemsDialog<removeItemDialog>(3); }
void MainWindow::on_actionRemove_Analog_Output_triggered() { openItemsDialog<removeItemDialog>(4); }
void MainWindow::on_actionRemove_Access_Event_triggered() { openItemsDialog<removeItemDialog>(5); }

void MainWindow::setClock(const cScaledClock& clock)
{
    mClock = clock;
    mScripts.setTimeScale(clock.scale());
    mScenarios.setTimeScale(clock.scale());
}

void MainWindow::deleteDevice()
{
    mScenarios.setDevice(nullptr);
    delete mDevice;
    mDevice = nullptr;
}

void MainWindow::setLink(bool up)
{
    if (up) {
        connectTo(std::nullopt);
    } else {
        mDevice->disconnectLink();
    }
}

std::string MainWindow::playScenario(const std::string& path)
{
    std::string mistake = mScenarios.add(path);
    if (mistake.empty()) {
        mScenarios.begin();
    }
    return mistake;
}

bool MainWindow::shutDown()
{
    mScripts.requestStop();
    // Closes the device's executor, so no script waits there.
    deleteDevice();
    return mScripts.stop();
}

template <class Dialog>
Dialog* MainWindow::createDialog()
{
    auto* dialog = new Dialog;
    connect(dialog, &Dialog::configUpdated, this, &MainWindow::updateConfig);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    std::erase(mDialogs, nullptr);
    mDialogs.emplace_back(dialog);
    return dialog;
}

template <class Dialog>
void MainWindow::openItemsDialog(int instructionType)
{
    auto* dialog = createDialog<Dialog>();
    const auto connection =
        connect(this, &MainWindow::transferInstruction, dialog, &Dialog::receiveInstruction);
    emit transferInstruction(instructionType, mConfig->getZULCurrentFile());
    // The instructions to come are for other dialogs.
    disconnect(connection);
    dialog->show();
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    for (const QPointer<QDialog>& dialog : mDialogs) {
        if (dialog != nullptr) {
            dialog->close();
        }
    }
    event->accept();
}
