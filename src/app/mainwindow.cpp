#include "mainwindow.h"

#include "additemsdialog.h"
#include "cconfig.h"
#include "configpropertiesdialog.h"
#include "connectiondialog.h"
#include "connectionfile.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "crepaintthrottle.h"
#include "devicefile.h"
#include "linerewrite.h"
#include "paths.h"
#include "removeitemdialog.h"
#include "scriptworker.h"
#include "tracelog.h"
#include "ui_mainwindow.h"
#include "wlog/wlog.h"

#include <QCloseEvent>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QMessageBox>

namespace {

void traceDevice(const QString& path, const cDeviceFile& values)
{
    qCDebug(tracelog::files,
            "device \"%s\": serial %u, digital inputs %u, digital outputs %u, analog inputs %u, "
            "analog outputs %u, scanners %u",
            qPrintable(path), values.serialNumber(), values.digitalInputs, values.digitalOutputs,
            values.analogInputs, values.analogOutputs, values.scanners);
}

} // namespace

MainWindow::MainWindow(QWidget* parent) : QMainWindow(parent), ui(new Ui::MainWindow)
{
    createConfigurationDirectory();
    ui->setupUi(this);
    new cRepaintThrottle(this);
    cWlog::init(cWlog::INFO);
    ui->menuBar->setNativeMenuBar(false);
    ui->mainToolBar->widgetForAction(ui->actionConnect)->setFocusPolicy(Qt::TabFocus);
    mConfig = new cConfig;
    mConfig->setZULCurrentFile(cConfig::kUnset);
    mConfig->setZULConnectionFile(cConfig::kUnset);
    mConfig->setZULIP(cConfig::kUnset);
    mConfig->setZULPort(cConfig::kUnset);
    disableDependentEntries();
    connected = false;
    mDevice = new cDevice;
}

MainWindow::~MainWindow()
{
    qDeleteAll(openDialogs());
    shutDown();
    delete mConfig;
    delete ui;
}

void MainWindow::createConfigurationDirectory()
{
    const QString path = paths::configurationDirectory();
    qDebug().noquote().nospace() << "Config Dir is: " << path;
    const QDir directory(path);
    if (!directory.exists()) {
        directory.mkpath(QStringLiteral("."));
    }
}

void MainWindow::setupStatusBar() {}

void MainWindow::disableDependentEntries()
{
    ui->menuAdd_Item->setEnabled(false);
    ui->menuRemove_Item->setEnabled(false);
    ui->actionEdit_Connection_Configuration->setEnabled(false);
    ui->actionEdit_Device_Configuration->setEnabled(false);
    ui->actionSelect_Script_to_Run->setEnabled(false);
}

void MainWindow::enableDeviceEntries()
{
    ui->menuAdd_Item->setEnabled(true);
    ui->menuRemove_Item->setEnabled(true);
    ui->actionEdit_Device_Configuration->setEnabled(true);
    ui->actionSelect_Script_to_Run->setEnabled(true);
}

const cConfig& MainWindow::config() const { return *mConfig; }

cDevice* MainWindow::device() const { return mDevice; }

void MainWindow::updateConfig(cConfig* config, int code)
{
    if (code == cConfig::DEVICE_FILE_UPDATE) {
        takeDeviceFile(config->getZULCurrentFile());
    } else if (code == cConfig::CONNECTION_UPDATE) {
        takeConnection(*config);
    }
}

void MainWindow::takeDeviceFile(const QString& path)
{
    if (mConfig->getZULCurrentFile() == cConfig::kUnset) {
        enableDeviceEntries();
    }
    mConfig->setZULCurrentFile(path);
    loadDevice();
}

void MainWindow::takeConnection(const cConfig& config)
{
    if (mConfig->getZULConnectionFile() == cConfig::kUnset && mConfig->getZULIP() == cConfig::kUnset &&
        mConfig->getZULPort() == cConfig::kUnset) {
        ui->actionEdit_Connection_Configuration->setEnabled(true);
    }
    mConfig->setZULIP(config.getZULIP());
    mConfig->setZULPort(config.getZULPort());
    mConfig->setZULConnectionFile(config.getZULConnectionFile());
}

void MainWindow::loadDevice()
{
    const QString path = mConfig->getZULCurrentFile();
    linerewrite::complete(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return;
    }
    const cDeviceFile values = cDeviceFile::read(file);
    traceDevice(path, values);
    QByteArray label = values.label.toUtf8();
    // The old panel stops its link and threads before the new one comes up. Deleting it also takes it out of
    // the window, so that setCentralWidget() finds none to delete.
    delete mDevice;
    mDevice = new cDevice(values.digitalInputs, values.digitalOutputs, values.analogInputs,
                          values.analogOutputs, values.scanners, label.data(), values.type,
                          values.versionNumber(), values.serialNumber());
    setCentralWidget(mDevice);
}

QString MainWindow::chooseFile(const QString& directory, const QString& filter)
{
    return QFileDialog::getOpenFileName(this, tr("Open File"), directory, filter);
}

void MainWindow::reportUnreadableFile()
{
    QMessageBox::critical(this, tr("File Opening Error"), tr("Error: Could not open file."), QMessageBox::Ok);
}

bool MainWindow::openDeviceFile(const QString& path)
{
    if (!QFile(path).open(QIODevice::ReadOnly)) {
        return false;
    }
    takeDeviceFile(path);
    return true;
}

void MainWindow::on_actionCreate_triggered() { showDialog(createReportingDialog<createdialog>()); }

void MainWindow::on_actionLoad_triggered()
{
    qDebug("Load has been clicked");
    if (!openDeviceFile(chooseFile(paths::configurationPrefix(), QStringLiteral("Device File (*.dev)")))) {
        reportUnreadableFile();
    }
}

void MainWindow::on_actionEdit_Device_Configuration_triggered()
{
    auto* dialog = createReportingDialog<configPropertiesDialog>();
    connect(this, &MainWindow::transferFileName, dialog, &configPropertiesDialog::receiveFileName);
    emit transferFileName(mConfig->getZULCurrentFile());
    showDialog(dialog);
}

void MainWindow::on_actionCreate_new_connection_configuration_triggered()
{
    showDialog(createReportingDialog<createConnectionDialog>());
}

bool MainWindow::openConnectionFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return false;
    }
    cConnectionFile connection{{}, mConfig->getZULIP(), mConfig->getZULPort()};
    connection.read(file, {cConnectionFile::ADDRESS, cConnectionFile::PORT});
    if (mConfig->getZULConnectionFile() == cConfig::kUnset) {
        ui->actionEdit_Connection_Configuration->setEnabled(true);
    }
    connection.fill(*mConfig, path);
    qCDebug(tracelog::files, "connection \"%s\": address \"%s\", port \"%s\"", qPrintable(path),
            qPrintable(connection.address), qPrintable(connection.port));
    return true;
}

void MainWindow::on_actionLoad_existing_connection_configuration_triggered()
{
    qDebug("Load connection has been clicked");
    if (!openConnectionFile(
            chooseFile(paths::configurationPrefix(), QStringLiteral("Connection File (*.con)")))) {
        reportUnreadableFile();
    }
}

void MainWindow::on_actionEdit_Connection_Configuration_triggered()
{
    auto* dialog = createReportingDialog<ConnectionDialog>();
    connect(this, &MainWindow::transferConnectionFileName, dialog,
            &ConnectionDialog::receiveConnectionFileName);
    emit transferConnectionFileName(mConfig->getZULConnectionFile());
    showDialog(dialog);
}

std::optional<MainWindow::cRefusal> MainWindow::connectToServer()
{
    if (mDevice == nullptr) {
        return cRefusal{tr("No Device Loaded"), tr("You need to load a device before you can connect")};
    }
    if (mConfig->getZULIP() == cConfig::kUnset || mConfig->getZULPort() == cConfig::kUnset) {
        return cRefusal{tr("No Connection Configure"),
                        tr("You need to configure the connection parameters first")};
    }
    mDevice->recordTo(mCapture);
    mDevice->start(mConfig);
    connected = true;
    ui->menuEdit->setEnabled(false);
    ui->menuFile->setEnabled(false);
    return std::nullopt;
}

void MainWindow::on_actionConnect_changed() {}

void MainWindow::on_actionConnect_triggered()
{
    if (const std::optional<cRefusal> refusal = connectToServer()) {
        QMessageBox::critical(this, refusal->title, refusal->text, QMessageBox::Ok);
    }
}

bool MainWindow::runScript(const QString& path)
{
    if (!QFile(path).open(QIODevice::ReadOnly)) {
        return false;
    }
    auto worker = std::make_unique<scriptWorker>(mDevice->executor());
    connect(this, &MainWindow::transferScriptFileName, worker.get(), &scriptWorker::receiveScriptFileName);
    announceScript(path);
    mScripts.start(std::move(worker));
    return true;
}

void MainWindow::announceScript(const QString& path)
{
    // The workers of earlier scripts hear of it too, on their threads, and make nothing of it.
    emit transferScriptFileName(path, mDevice);
}

void MainWindow::on_actionSelect_Script_to_Run_triggered()
{
    const QString path =
        chooseFile(QStringLiteral("/home/user/zulbench/"), QStringLiteral("JavaScript File (*.js)"));
    if (!runScript(path)) {
        reportUnreadableFile();
    }
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

bool MainWindow::shutDown()
{
    // The device's executor closes first, so that no script waits at it.
    delete mDevice;
    mDevice = nullptr;
    return mScripts.stop();
}

template <class Dialog>
Dialog* MainWindow::createReportingDialog()
{
    auto* dialog = new Dialog;
    connect(dialog, &Dialog::configUpdated, this, &MainWindow::updateConfig);
    return dialog;
}

template <class Dialog>
void MainWindow::openItemsDialog(int instructionType)
{
    auto* dialog = createReportingDialog<Dialog>();
    const auto connection =
        connect(this, &MainWindow::transferInstruction, dialog, &Dialog::receiveInstruction);
    emit transferInstruction(instructionType, mConfig->getZULCurrentFile());
    // The instructions to come are for other dialogs.
    disconnect(connection);
    showDialog(dialog);
}

void MainWindow::showDialog(QDialog* dialog)
{
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    mDialogs.removeAll(nullptr);
    mDialogs.append(dialog);
    dialog->show();
}

QList<QDialog*> MainWindow::openDialogs() const
{
    QList<QDialog*> dialogs;
    for (const QPointer<QDialog>& dialog : mDialogs) {
        if (dialog != nullptr) {
            dialogs.append(dialog);
        }
    }
    return dialogs;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    for (QDialog* dialog : openDialogs()) {
        dialog->close();
    }
    event->accept();
}
