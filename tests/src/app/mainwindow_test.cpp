#include "additemsdialog.h"
#include "caccess.h"
#include "cconfig.h"
#include "configpropertiesdialog.h"
#include "connectiondialog.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "devicefiles.h"
#include "dialogreports.h"
#include "homefiles.h"
#include "mainwindow.h"
#include "modalanswers.h"
#include "qttestmain.h"
#include "removeitemdialog.h"

#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QSpinBox>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <arpa/inet.h>
#include <atomic>
#include <condition_variable>
#include <log4cpp/Category.hh>
#include <mutex>
#include <stop_token>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

const QStringList kDeviceEntries{"menuAdd_Item", "menuRemove_Item", "actionEdit_Device_Configuration",
                                 "actionSelect_Script_to_Run"};

/// The action by that name, or the one that stands for the menu by that name.
QAction* entry(const MainWindow& window, const QString& name)
{
    if (const auto* menu = window.findChild<QMenu*>(name)) {
        return menu->menuAction();
    }
    return window.findChild<QAction*>(name);
}

void trigger(const MainWindow& window, const QString& name) { entry(window, name)->trigger(); }

QVector<bool> enabled(const MainWindow& window, const QStringList& names)
{
    QVector<bool> states;
    for (const QString& name : names) {
        states.append(entry(window, name)->isEnabled());
    }
    return states;
}

void setEnabled(const MainWindow& window, const QStringList& names, bool on)
{
    for (const QString& name : names) {
        entry(window, name)->setEnabled(on);
    }
}

/// The entries of a menu or bar in order; a separator is "-", a sub-menu bears its menu's name.
QStringList entries(const QWidget* bar)
{
    QStringList names;
    for (const QAction* action : bar->actions()) {
        if (action->isSeparator()) {
            names.append("-");
        } else {
            names.append(action->menu() != nullptr ? action->menu()->objectName() : action->objectName());
        }
    }
    return names;
}

/// Every panel of the program, shown or not.
QList<cDevice*> panels()
{
    QList<cDevice*> found;
    for (QWidget* widget : QApplication::allWidgets()) {
        if (auto* device = qobject_cast<cDevice*>(widget)) {
            found.append(device);
        }
    }
    return found;
}

template <class Dialog>
QList<Dialog*> openDialogs()
{
    QList<Dialog*> found;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        auto* dialog = qobject_cast<Dialog*>(widget);
        if (dialog != nullptr && dialog->isVisible()) {
            found.append(dialog);
        }
    }
    return found;
}

void report(MainWindow& window, const QString& deviceFile)
{
    cConfig config;
    config.setZULCurrentFile(deviceFile);
    window.updateConfig(&config, 1);
}

void report(MainWindow& window, const QString& address, const QString& port, const QString& connectionFile,
            int code = 2)
{
    cConfig config;
    config.setZULIP(address);
    config.setZULPort(port);
    config.setZULConnectionFile(connectionFile);
    config.setZULCurrentFile("/never/used.dev");
    window.updateConfig(&config, code);
}

QString summary(const MainWindow& window)
{
    const cConfig& config = window.config();
    return QStringList({config.getZULCurrentFile(), config.getZULConnectionFile(), config.getZULIP(),
                        config.getZULPort()})
        .join('|');
}

QString portCounts(const MainWindow& window)
{
    const cDevice* device = window.device();
    return QString("%1 %2 %3 %4")
        .arg(device->getDiscreteInputCount())
        .arg(device->getDiscreteOutputCount())
        .arg(device->getAnalogInputCount())
        .arg(device->getAnalogOutputCount());
}

void describePanel7(const createdialog& dialog)
{
    dialog.findChild<QSpinBox*>("discInputs")->setValue(4);
    dialog.findChild<QSpinBox*>("discOutputs")->setValue(4);
    dialog.findChild<QSpinBox*>("anaInputs")->setValue(2);
    dialog.findChild<QSpinBox*>("anaOutputs")->setValue(2);
    dialog.findChild<QLineEdit*>("devLabel")->setText("Panel7");
    dialog.findChild<QLineEdit*>("devVersion")->setText("3");
    dialog.findChild<QLineEdit*>("devSerial")->setText("1001");
}

void expectUnreadableFileBox(const ModalAnswers::Shown& shown, const QWidget* parent)
{
    QCOMPARE(shown.kind, QString("message"));
    QCOMPARE(shown.title, QString("File Opening Error"));
    QCOMPARE(shown.text, QString("Error: Could not open file."));
    QCOMPARE(shown.icon, QMessageBox::Critical);
    QCOMPARE(shown.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(shown.parent, parent);
}

void expectFileDialog(const ModalAnswers::Shown& shown, const QString& filter, const QWidget* parent)
{
    QCOMPARE(shown.kind, QString("file"));
    QCOMPARE(shown.title, QString("Open File"));
    QCOMPARE(shown.directory, QDir::homePath() + "/.zulbench");
    QCOMPARE(shown.nameFilters, QStringList(filter));
    QCOMPARE(shown.parent, parent);
}

/// Drags @p data over @p target and drops it there. Returns whether it was taken.
bool drop(QWidget& target, const QMimeData& data)
{
    const QPoint centre = target.rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &enter);
    if (!enter.isAccepted()) {
        return false;
    }
    QDragMoveEvent move(centre, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &move);
    QDropEvent end(centre, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&target, &end);
    return move.isAccepted() && end.isAccepted() && end.dropAction() == Qt::CopyAction;
}

QLineEdit* scanCode(const MainWindow& window)
{
    return window.device()->findChild<cAccess*>()->findChild<QLineEdit*>();
}

bool drop(QWidget& target, const QStringList& paths)
{
    QList<QUrl> urls;
    for (const QString& path : paths) {
        urls.append(QUrl::fromLocalFile(path));
    }
    QMimeData data;
    data.setUrls(urls);
    return drop(target, data);
}

/// A port of the loopback address that answers no attempt to connect: its queue is full.
class SilentPort
{
public:
    SilentPort() : mSockets{newSocket()}
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        socklen_t size = sizeof address;
        if (bind(mSockets[0], generic, size) != 0 || listen(mSockets[0], 0) != 0 ||
            getsockname(mSockets[0], generic, &size) != 0) {
            qFatal("there is no port");
        }
        mPort = ntohs(address.sin_port);
        for (int i = 0; i < 4; ++i) {
            mSockets.push_back(newSocket());
            ::connect(mSockets.back(), generic, size);
        }
    }
    ~SilentPort()
    {
        for (const int fd : mSockets) {
            close(fd);
        }
    }
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    int port() const { return mPort; }

private:
    static int newSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

    std::vector<int> mSockets;
    int mPort = 0;
};

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void startCreatesTheConfigurationDirectory();
    void startCreatesMissingParents();
    void startAgainCreatesNothing();
    void startGoesOnWhereNoDirectoryCanBe();
    void theTitleIsMainMenu();
    void theWindowIsPlacedAsDrawn();
    void theActionsAreInOrder();
    void theMenusHoldTheirEntries_data();
    void theMenusHoldTheirEntries();
    void sixActionsArePlacedNowhere();
    void theMethodsAreInOrder();
    void bothPointerTypesAreKnownToTheMetaObject();
    void theLogLevelIsInfo();
    void everyFieldOfTheRecordIsNone();
    void entriesAtStart_data();
    void entriesAtStart();
    void thePlaceholderIsNeverShown();
    void theStatusBarStaysEmpty();

    void aDeviceUpdateEnablesItsEntriesOnce();
    void anEmptyDeviceFileCountsAsSet();
    void aConnectionUpdateEnablesItsEntryOnce();
    void aConnectionUpdateAfterALoadEnablesNothing();
    void aConnectionUpdateTouchesNothingElse();
    void anotherCodeChangesNothing_data();
    void anotherCodeChangesNothing();

    void loadShowsThePanel();
    void loadAsksForADeviceFile();
    void loadingASecondFileReplacesThePanel();
    void loadingTheSameFileTwiceBuildsAnotherPanel();
    void theOldPanelGoesBeforeTheNewOneComes();
    void cancellingLoadKeepsThePanel();
    void loadReportsAnUnreadableFile_data();
    void loadReportsAnUnreadableFile();
    void aVanishedFileKeepsThePanelSilently();
    void anOddDeviceFileIsLoaded_data();
    void anOddDeviceFileIsLoaded();

    void loadConnectionTakesTheAddress();
    void loadConnectionReportsAnUnreadableFile_data();
    void loadConnectionReportsAnUnreadableFile();
    void aFileWithOnlyAPortKeepsTheAddress();
    void aFileWithoutKeysStillBecomesTheConnectionFile();
    void aDeviceIsCreatedAndShown();
    void aDeviceThatCannotBeWrittenKeepsThePanel();
    void creatingTheLoadedDeviceAnewReplacesThePanel();
    void propertiesShowAndReloadTheDevice();
    void propertiesAfterARenameShowEmptyFields();
    void anotherPropertiesDialogIsToldToAll();
    void itemActionsSendTheirCode_data();
    void itemActionsSendTheirCode();
    void anEarlierItemsDialogKeepsItsInstruction();
    void addedAndRemovedItemsReachThePanel();
    void anOldCopyIsNeverTakenForTheDeviceFile();
    void aDeviceFileComesThroughAPipe();
    void aFileWithTooManyItemsCannotBeOpened_data();
    void aFileWithTooManyItemsCannotBeOpened();
    void loadReportsAFileWithTooManyItems();
    void aChangeToTooManyItemsIsReported();

    void createdConnectionsReachTheRecord();
    void editedConnectionsReachTheRecord();
    void severalDialogsMayBeOpen();

    void connectNeedsSettings_data();
    void connectNeedsSettings();
    void connectLocksTheMenus_data();
    void connectLocksTheMenus();
    void connectingAgainIsNotPrevented();
    void connectingDoesNotWaitForAnAddressThatNeverAnswers();
    void dialogsStayUsableAfterConnecting();
    void theDeviceMayBeReplacedWhileConnected();

    void aRightClickOffersNoMenu_data();
    void aRightClickOffersNoMenu();
    void theShortcutsDoWhatTheMenusDo_data();
    void theShortcutsDoWhatTheMenusDo();
    void theShortcutsAreLockedWithTheMenu();
    void droppedFilesAreOpenedInOrder_data();
    void droppedFilesAreOpenedInOrder();
    void aDroppedFileThatCannotBeOpenedIsReported();
    void otherDropsAreRefused_data();
    void otherDropsAreRefused();
    void dropsAreIgnoredWhileTheMenusAreLocked();
    void aTextIsStillDroppedOnATextField();

    void closingTheWindowEndsTheProgramWithItsDialogs();
    void dialogsGoWithTheWindow();
    void aClosedDialogIsDeleted();
};

void TestMainWindow::startCreatesTheConfigurationDirectory()
{
    const HomeFiles home;
    QVERIFY(QDir().rmdir(home.configuration()));
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Config Dir is: " + home.configuration()));
    const MainWindow window;
    QVERIFY(QFileInfo(home.configuration()).isDir());
}

void TestMainWindow::startCreatesMissingParents()
{
    const HomeFiles home;
    const QString deepHome = home.path() + "/not/there";
    qputenv("HOME", QFile::encodeName(deepHome));
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Config Dir is: " + deepHome + "/.zulbench"));
    const MainWindow window;
    QVERIFY(QFileInfo(deepHome + "/.zulbench").isDir());
}

void TestMainWindow::startAgainCreatesNothing()
{
    const HomeFiles home;
    home.write("Panel.dev", kPanel);
    const QDateTime modified = QFileInfo(home.configuration()).lastModified();
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Config Dir is: " + home.configuration()));
    const MainWindow window;
    QCOMPARE(QDir(home.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList(".zulbench"));
    QCOMPARE(home.names(), QStringList("Panel.dev"));
    QCOMPARE(QFileInfo(home.configuration()).lastModified(), modified);
}

void TestMainWindow::startGoesOnWhereNoDirectoryCanBe()
{
    const HomeFiles home;
    const QString file = home.write("file", "");
    qputenv("HOME", QFile::encodeName(file));
    ModalAnswers answers;
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(!QFileInfo::exists(file + "/.zulbench"));
    QCOMPARE(answers.shown().size(), 0);
}

void TestMainWindow::theTitleIsMainMenu()
{
    const MainWindow window;
    QCOMPARE(window.windowTitle(), QString("Main menu"));
}

void TestMainWindow::theWindowIsPlacedAsDrawn()
{
    const MainWindow window;
    QCOMPARE(window.objectName(), QString("MainWindow"));
    QCOMPARE(window.size(), QSize(1117, 428));
    QCOMPARE(window.centralWidget()->objectName(), QString("centralWidget"));
    const auto* layout = qobject_cast<QVBoxLayout*>(window.centralWidget()->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->objectName(), QString("verticalLayout_2"));
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(layout->contentsMargins(), QMargins(11, 11, 11, 11));
    auto* bar = window.findChild<QToolBar*>("mainToolBar");
    QCOMPARE(window.toolBarArea(bar), Qt::TopToolBarArea);
    QCOMPARE(window.menuBar()->objectName(), QString("menuBar"));
    QVERIFY(!window.menuBar()->isNativeMenuBar());
    QCOMPARE(window.findChild<QStatusBar*>("statusBar"), window.statusBar());
}

void TestMainWindow::theActionsAreInOrder()
{
    const MainWindow window;
    QStringList found;
    for (const QAction* action : window.findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly)) {
        found.append(action->objectName() + ": " + action->text());
    }
    const QStringList expected{
        "actionLoad: Load existing device configuration...",
        "actionSave: Edit current device configuration...",
        "actionCreate: Create new device configuration...",
        "actionConnection: Connection configuration...",
        "actionConnect: Connect",
        "actionEdit: Edit current configuration...",
        "actionEdit_connection_configuration: Edit current connection configuration...",
        "actionCreate_new_connection_configuration: Create new connection configuration...",
        "actionLoad_existing_connection_configuration: Load existing connection configuration...",
        "actionAdd_Digital_Input: Add Digital Input(s)...",
        "actionAdd_Digital_Output: Add Digital Output(s)...",
        "actionAdd_Analog_Input: Add Analog Input(s)...",
        "actionAdd_Analog_Output: Add Analog Output(s)...",
        "actionAdd_Access_Event: Add Access Event(s)...",
        "actionRemove_Digital_Input: Remove Digital Input(s)...",
        "actionRemove_Digital_Output: Remove Digital Output(s)...",
        "actionRemove_Analog_Input: Remove Analog Input(s)...",
        "actionRemove_Analog_Output: Remove Analog Output(s)...",
        "actionRemove_Access_Event: Remove Access Event(s)...",
        "actionEdit_Device_Configuration: Device Configuration Properties...",
        "actionEdit_Connection_Configuration: Connection Configuration Properties...",
        "actionConnect_digital_inputs_and_outputs: Connect Digital Inputs and Outputs...",
        "actionConnect_analog_inputs_and_outputs: Connect Analog Inputs and Outputs...",
        "actionSelect_Script_to_Run: Select Script to Run..."};
    QCOMPARE(found, expected);
}

void TestMainWindow::theMenusHoldTheirEntries_data()
{
    QTest::addColumn<QString>("bar");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("menu bar") << "menuBar"
                              << "" << QStringList{"menuFile", "menuEdit", "menuScripts"};
    QTest::newRow("File") << "menuFile"
                          << "File"
                          << QStringList{"-",
                                         "actionCreate",
                                         "actionLoad",
                                         "-",
                                         "actionCreate_new_connection_configuration",
                                         "actionLoad_existing_connection_configuration"};
    QTest::newRow("Edit") << "menuEdit"
                          << "Edit"
                          << QStringList{"menuAdd_Item", "menuRemove_Item", "actionEdit_Device_Configuration",
                                         "actionEdit_Connection_Configuration"};
    QTest::newRow("Add") << "menuAdd_Item"
                         << "Add Item(s) to Device Configuration..."
                         << QStringList{"actionAdd_Digital_Input", "actionAdd_Digital_Output",
                                        "actionAdd_Analog_Input", "actionAdd_Analog_Output",
                                        "actionAdd_Access_Event"};
    QTest::newRow("Remove") << "menuRemove_Item"
                            << "Remove Item(s) from Device Configuration..."
                            << QStringList{"actionRemove_Digital_Input", "actionRemove_Digital_Output",
                                           "actionRemove_Analog_Input", "actionRemove_Analog_Output",
                                           "actionRemove_Access_Event"};
    QTest::newRow("Scripts") << "menuScripts"
                             << "Scripts" << QStringList{"actionSelect_Script_to_Run"};
    QTest::newRow("tool bar") << "mainToolBar"
                              << "" << QStringList{"actionConnect"};
}

void TestMainWindow::theMenusHoldTheirEntries()
{
    QFETCH(QString, bar);
    QFETCH(QStringList, expected);
    const MainWindow window;
    const auto* widget = window.findChild<QWidget*>(bar);
    QVERIFY(widget != nullptr);
    QCOMPARE(entries(widget), expected);
    QTEST(widget->property("title").toString(), "title");
}

void TestMainWindow::sixActionsArePlacedNowhere()
{
    const MainWindow window;
    QStringList unplaced;
    for (const QAction* action : window.findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly)) {
        if (action->associatedWidgets().isEmpty()) {
            unplaced.append(action->objectName());
        }
    }
    const QStringList expected{"actionSave",
                               "actionConnection",
                               "actionEdit",
                               "actionEdit_connection_configuration",
                               "actionConnect_digital_inputs_and_outputs",
                               "actionConnect_analog_inputs_and_outputs"};
    QCOMPARE(unplaced, expected);
}

void TestMainWindow::theMethodsAreInOrder()
{
    const QMetaObject& type = MainWindow::staticMetaObject;
    const QStringList expected{"transferFileName(QString)",
                               "transferConnectionFileName(QString)",
                               "transferThis(MainWindow*)",
                               "transferInstruction(int,QString)",
                               "transferScriptFileName(QString,cDevice*)",
                               "updateConfig(cConfig*,int)",
                               "on_actionCreate_triggered()",
                               "on_actionLoad_triggered()",
                               "on_actionEdit_Device_Configuration_triggered()",
                               "on_actionCreate_new_connection_configuration_triggered()",
                               "on_actionLoad_existing_connection_configuration_triggered()",
                               "on_actionEdit_Connection_Configuration_triggered()",
                               "on_actionConnect_changed()",
                               "on_actionConnect_triggered()",
                               "on_actionSelect_Script_to_Run_triggered()",
                               "on_actionAdd_Digital_Input_triggered()",
                               "on_actionAdd_Digital_Output_triggered()",
                               "on_actionAdd_Analog_Input_triggered()",
                               "on_actionAdd_Analog_Output_triggered()",
                               "on_actionAdd_Access_Event_triggered()",
                               "on_actionRemove_Digital_Input_triggered()",
                               "on_actionRemove_Digital_Output_triggered()",
                               "on_actionRemove_Analog_Input_triggered()",
                               "on_actionRemove_Analog_Output_triggered()",
                               "on_actionRemove_Access_Event_triggered()"};
    QCOMPARE(ownMethods(type), expected);
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(type.method(type.methodOffset() + i).methodType(),
                 i < 5 ? QMetaMethod::Signal : QMetaMethod::Slot);
    }
}

void TestMainWindow::bothPointerTypesAreKnownToTheMetaObject()
{
    const QMetaObject& type = MainWindow::staticMetaObject;
    const auto parameter = [](const char* signature, int index) {
        return type.method(type.indexOfSignal(signature)).parameterType(index);
    };
    QCOMPARE(parameter("transferThis(MainWindow*)", 0), qMetaTypeId<MainWindow*>());
    QCOMPARE(parameter("transferScriptFileName(QString,cDevice*)", 1), qMetaTypeId<cDevice*>());
}

void TestMainWindow::theLogLevelIsInfo()
{
    const MainWindow window;
    QCOMPARE(int(log4cpp::Category::getRoot().getPriority()), 600);
}

void TestMainWindow::everyFieldOfTheRecordIsNone()
{
    const MainWindow window;
    QCOMPARE(summary(window), QString("none|none|none|none"));
}

void TestMainWindow::entriesAtStart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("active");
    QTest::newRow("File menu") << "menuFile" << true;
    QTest::newRow("Edit menu") << "menuEdit" << true;
    QTest::newRow("Scripts menu") << "menuScripts" << true;
    QTest::newRow("create a device") << "actionCreate" << true;
    QTest::newRow("load a device") << "actionLoad" << true;
    QTest::newRow("create a connection") << "actionCreate_new_connection_configuration" << true;
    QTest::newRow("load a connection") << "actionLoad_existing_connection_configuration" << true;
    QTest::newRow("Connect") << "actionConnect" << true;
    QTest::newRow("Add sub-menu") << "menuAdd_Item" << false;
    QTest::newRow("Remove sub-menu") << "menuRemove_Item" << false;
    QTest::newRow("device properties") << "actionEdit_Device_Configuration" << false;
    QTest::newRow("connection properties") << "actionEdit_Connection_Configuration" << false;
    QTest::newRow("run a script") << "actionSelect_Script_to_Run" << false;
    QTest::newRow("an Add action itself") << "actionAdd_Digital_Input" << true;
    QTest::newRow("a Remove action itself") << "actionRemove_Access_Event" << true;
    QTest::newRow("an action placed nowhere") << "actionSave" << true;
}

void TestMainWindow::entriesAtStart()
{
    QFETCH(QString, name);
    MainWindow window;
    window.show();
    QTEST(entry(window, name)->isEnabled(), "active");
}

void TestMainWindow::thePlaceholderIsNeverShown()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(panels().size(), 1);
    const cDevice* placeholder = panels().first();
    QCOMPARE(window.device(), placeholder);
    QCOMPARE(placeholder->count(), 0);
    QVERIFY(placeholder->parent() == nullptr);
    QVERIFY(!placeholder->isVisible());
    QCOMPARE(window.centralWidget()->objectName(), QString("centralWidget"));
}

void TestMainWindow::theStatusBarStaysEmpty()
{
    const HomeFiles home;
    MainWindow window;
    window.show();
    QSignalSpy messages(window.statusBar(), &QStatusBar::messageChanged);
    report(window, home.write("Panel.dev", kPanel));
    report(window, "127.0.0.1", "1", home.write("lab.con", kConnection));
    trigger(window, "actionConnect");
    // A status tip would come by hovering.
    for (QAction* action : window.findChildren<QAction*>()) {
        action->hover();
    }
    QCOMPARE(messages.count(), 0);
    QCOMPARE(window.statusBar()->currentMessage(), QString());
}

void TestMainWindow::aDeviceUpdateEnablesItsEntriesOnce()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    report(window, path);
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({true, true, true, true}));
    QCOMPARE(summary(window), path + "|none|none|none");
    const QPointer<cDevice> first = window.device();
    setEnabled(window, kDeviceEntries, false);
    report(window, path);
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QVERIFY(first.isNull());
    QCOMPARE(window.device()->count(), 8);
    QVERIFY(!entry(window, "actionEdit_Connection_Configuration")->isEnabled());
}

void TestMainWindow::anEmptyDeviceFileCountsAsSet()
{
    MainWindow window;
    const QPointer<cDevice> placeholder = window.device();
    report(window, QString(""));
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({true, true, true, true}));
    setEnabled(window, kDeviceEntries, false);
    report(window, QString(""));
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QCOMPARE(window.device(), placeholder.data());
}

void TestMainWindow::aConnectionUpdateEnablesItsEntryOnce()
{
    MainWindow window;
    QAction* edit = entry(window, "actionEdit_Connection_Configuration");
    report(window, "10.0.0.5", "50001", "/d/lab.con");
    QVERIFY(edit->isEnabled());
    edit->setEnabled(false);
    report(window, "10.0.0.6", "50002", "/d/other.con");
    QVERIFY(!edit->isEnabled());
    QCOMPARE(summary(window), QString("none|/d/other.con|10.0.0.6|50002"));
}

void TestMainWindow::aConnectionUpdateAfterALoadEnablesNothing()
{
    const HomeFiles home;
    MainWindow window;
    QAction* edit = entry(window, "actionEdit_Connection_Configuration");
    ModalAnswers answers;
    answers.chooseFile(home.write("lab.con", kConnection));
    trigger(window, "actionLoad_existing_connection_configuration");
    QVERIFY(edit->isEnabled());
    edit->setEnabled(false);
    report(window, "10.0.0.6", "50002", "/d/other.con");
    QVERIFY(!edit->isEnabled());
    QCOMPARE(summary(window), QString("none|/d/other.con|10.0.0.6|50002"));
}

void TestMainWindow::aConnectionUpdateTouchesNothingElse()
{
    MainWindow window;
    const QPointer<cDevice> placeholder = window.device();
    report(window, "", "not a number", "");
    QCOMPARE(summary(window), QString("none|||not a number"));
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QCOMPARE(window.device(), placeholder.data());
}

void TestMainWindow::anotherCodeChangesNothing_data()
{
    QTest::addColumn<int>("code");
    for (const int code : {0, 3, -1}) {
        QTest::addRow("code %d", code) << code;
    }
}

void TestMainWindow::anotherCodeChangesNothing()
{
    QFETCH(int, code);
    MainWindow window;
    const QPointer<cDevice> placeholder = window.device();
    report(window, "10.0.0.5", "50001", "/d/lab.con", code);
    QCOMPARE(summary(window), QString("none|none|none|none"));
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QVERIFY(!entry(window, "actionEdit_Connection_Configuration")->isEnabled());
    QCOMPARE(window.device(), placeholder.data());
}

void TestMainWindow::loadShowsThePanel()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    window.show();
    const QPointer<cDevice> placeholder = window.device();
    ModalAnswers answers;
    answers.chooseFile(path);
    QTest::ignoreMessage(QtDebugMsg, "Load has been clicked");
    QTest::ignoreMessage(QtDebugMsg, "Read Label As:\"Panel\"");
    trigger(window, "actionLoad");
    QCOMPARE(answers.shown().size(), 1);
    QVERIFY(placeholder.isNull());
    QCOMPARE(panels().size(), 1);
    QCOMPARE(window.centralWidget(), window.device());
    QCOMPARE(window.device()->count(), 8);
    QTRY_VERIFY(window.device()->isVisible());
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({true, true, true, true}));
    QCOMPARE(summary(window), path + "|none|none|none");
}

void TestMainWindow::loadAsksForADeviceFile()
{
    const HomeFiles home;
    MainWindow window;
    ModalAnswers answers;
    answers.chooseFile(home.write("Panel.dev", kPanel));
    trigger(window, "actionLoad");
    QCOMPARE(answers.shown().size(), 1);
    expectFileDialog(answers.shown()[0], "Device File (*.dev)", &window);
}

void TestMainWindow::loadingASecondFileReplacesThePanel()
{
    const HomeFiles home;
    const QString other = home.write("Other.dev", QByteArray(kPanel).replace("Panel", "Other"));
    MainWindow window;
    window.show();
    ModalAnswers answers;
    answers.chooseFile(home.write("Panel.dev", kPanel));
    trigger(window, "actionLoad");
    const QPointer<cDevice> first = window.device();
    const QPointer<QWidget> firstPage = first->widget(0);
    setEnabled(window, kDeviceEntries, false);
    answers.chooseFile(other);
    QTest::ignoreMessage(QtDebugMsg, "Read Label As:\"Other\"");
    trigger(window, "actionLoad");
    QVERIFY(first.isNull());
    QVERIFY(firstPage.isNull());
    QCOMPARE(window.centralWidget(), window.device());
    QCOMPARE(panels().size(), 1);
    QTRY_VERIFY(window.device()->isVisible());
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QCOMPARE(summary(window), other + "|none|none|none");
}

void TestMainWindow::loadingTheSameFileTwiceBuildsAnotherPanel()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    QVERIFY(window.openDeviceFile(path));
    const QPointer<cDevice> first = window.device();
    QVERIFY(window.openDeviceFile(path));
    QVERIFY(first.isNull());
    QCOMPARE(panels().size(), 1);
}

void TestMainWindow::theOldPanelGoesBeforeTheNewOneComes()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    window.show();
    int deletions = 0;
    int othersAtDeletion = 0;
    for (int load = 0; load < 3; ++load) {
        connect(window.device(), &QObject::destroyed, &window, [&] {
            ++deletions;
            othersAtDeletion += panels().size();
        });
        QVERIFY(window.openDeviceFile(path));
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCoreApplication::processEvents();
    }
    QCOMPARE(deletions, 3);
    QCOMPARE(othersAtDeletion, 0);
    QCOMPARE(window.device()->count(), 8);
}

void TestMainWindow::cancellingLoadKeepsThePanel()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    QVERIFY(window.openDeviceFile(path));
    const QPointer<cDevice> panel = window.device();
    ModalAnswers answers;
    answers.cancel();
    answers.pressOk();
    trigger(window, "actionLoad");
    QCOMPARE(answers.shown().size(), 2);
    expectUnreadableFileBox(answers.shown()[1], &window);
    QCOMPARE(window.device(), panel.data());
    QCOMPARE(summary(window), path + "|none|none|none");
}

void TestMainWindow::loadReportsAnUnreadableFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing.dev";
    QTest::newRow("a directory") << "";
    QTest::newRow("not permitted") << "locked.dev";
}

void TestMainWindow::loadReportsAnUnreadableFile()
{
    QFETCH(QString, name);
    const HomeFiles home;
    QVERIFY(QFile::setPermissions(home.write("locked.dev", kPanel), QFile::Permissions()));
    if (name == "locked.dev" && QFile(home.pathOf(name)).open(QIODevice::ReadOnly)) {
        QSKIP("This user may read every file");
    }
    MainWindow window;
    const QPointer<cDevice> placeholder = window.device();
    ModalAnswers answers;
    answers.chooseFile(home.pathOf(name));
    answers.pressOk();
    trigger(window, "actionLoad");
    QCOMPARE(answers.shown().size(), 2);
    expectUnreadableFileBox(answers.shown()[1], &window);
    QCOMPARE(window.device(), placeholder.data());
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
    QCOMPARE(summary(window), QString("none|none|none|none"));
}

void TestMainWindow::aVanishedFileKeepsThePanelSilently()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
    const QPointer<cDevice> panel = window.device();
    ModalAnswers answers;
    report(window, home.pathOf("vanished.dev"));
    QCoreApplication::processEvents();
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(window.device(), panel.data());
    QCOMPARE(window.centralWidget(), panel.data());
    QCOMPARE(summary(window), home.pathOf("vanished.dev") + "|none|none|none");
}

void TestMainWindow::anOddDeviceFileIsLoaded_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("nine blank lines") << QByteArray(9, '\n');
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("binary") << QByteArray(10000, '\xfe');
    QTest::newRow("one long line") << QByteArray(10000000, 'x');
    QTest::newRow("another type") << QByteArray(kPanel).replace("TYPE_DISCRETE_IO", "TYPE_MODBUS");
}

void TestMainWindow::anOddDeviceFileIsLoaded()
{
    QFETCH(QByteArray, content);
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("odd.dev", content)));
    QCOMPARE(window.device()->count(), 8);
    QCOMPARE(window.centralWidget(), window.device());
}

void TestMainWindow::loadConnectionTakesTheAddress()
{
    const HomeFiles home;
    const QString path = home.write("lab.con", kConnection);
    MainWindow window;
    ModalAnswers answers;
    answers.chooseFile(path);
    QTest::ignoreMessage(QtDebugMsg, "Load connection has been clicked");
    trigger(window, "actionLoad_existing_connection_configuration");
    QCOMPARE(answers.shown().size(), 1);
    expectFileDialog(answers.shown()[0], "Connection File (*.con)", &window);
    QCOMPARE(summary(window), "none|" + path + "|127.0.0.1|1");
    QVERIFY(entry(window, "actionEdit_Connection_Configuration")->isEnabled());
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
}

void TestMainWindow::loadConnectionReportsAnUnreadableFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("cancelled") << "(cancel)";
    QTest::newRow("missing") << "missing.con";
    QTest::newRow("a directory") << "";
}

void TestMainWindow::loadConnectionReportsAnUnreadableFile()
{
    QFETCH(QString, name);
    const HomeFiles home;
    MainWindow window;
    ModalAnswers answers;
    if (name == "(cancel)") {
        answers.cancel();
    } else {
        answers.chooseFile(home.pathOf(name));
    }
    answers.pressOk();
    trigger(window, "actionLoad_existing_connection_configuration");
    QCOMPARE(answers.shown().size(), 2);
    expectUnreadableFileBox(answers.shown()[1], &window);
    QCOMPARE(summary(window), QString("none|none|none|none"));
    QVERIFY(!entry(window, "actionEdit_Connection_Configuration")->isEnabled());
}

void TestMainWindow::aFileWithOnlyAPortKeepsTheAddress()
{
    const HomeFiles home;
    const QString path = home.write("port.con", "Connection port number:  50009\n");
    MainWindow window;
    report(window, "10.0.0.5", "50001", "/d/lab.con");
    QVERIFY(window.openConnectionFile(path));
    QCOMPARE(summary(window), "none|" + path + "|10.0.0.5|50009");
}

void TestMainWindow::aFileWithoutKeysStillBecomesTheConnectionFile()
{
    const HomeFiles home;
    const QString path = home.write("empty.con", "");
    MainWindow window;
    QVERIFY(window.openConnectionFile(path));
    QCOMPARE(summary(window), "none|" + path + "|none|none");
    QVERIFY(entry(window, "actionEdit_Connection_Configuration")->isEnabled());
}

void TestMainWindow::aDeviceIsCreatedAndShown()
{
    const HomeFiles home;
    MainWindow window;
    trigger(window, "actionCreate");
    const auto dialogs = openDialogs<createdialog>();
    QCOMPARE(dialogs.size(), 1);
    QVERIFY(dialogs.first()->parent() == nullptr);
    QVERIFY(!dialogs.first()->isModal());
    describePanel7(*dialogs.first());
    press(*dialogs.first());
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QCOMPARE(summary(window), home.pathOf("Panel7.dev") + "|none|none|none");
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({true, true, true, true}));
    QCOMPARE(window.centralWidget(), static_cast<QWidget*>(window.device()));
    QCOMPARE(portCounts(window), QString("4 4 2 2"));
    QCOMPARE(window.device()->getDeviceSerial(), 1001U);
}

void TestMainWindow::aDeviceThatCannotBeWrittenKeepsThePanel()
{
    const HomeFiles home;
    MainWindow window;
    const QPointer<cDevice> placeholder = window.device();
    QVERIFY(QDir(home.configuration()).removeRecursively());
    ModalAnswers answers;
    trigger(window, "actionCreate");
    createdialog* dialog = openDialogs<createdialog>().first();
    describePanel7(*dialog);
    press(*dialog);
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(window.device(), placeholder.data());
    QCOMPARE(summary(window), home.pathOf("Panel7.dev") + "|none|none|none");
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({true, true, true, true}));
}

void TestMainWindow::creatingTheLoadedDeviceAnewReplacesThePanel()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("Panel7.dev", kPanel));
    QCOMPARE(portCounts(window), QString("2 1 1 1"));
    const QPointer<cDevice> before = window.device();
    trigger(window, "actionCreate");
    createdialog* dialog = openDialogs<createdialog>().first();
    describePanel7(*dialog);
    press(*dialog);
    QVERIFY(before.isNull());
    QCOMPARE(portCounts(window), QString("4 4 2 2"));
}

void TestMainWindow::propertiesShowAndReloadTheDevice()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("Panel7.dev", kPanel7));
    trigger(window, "actionEdit_Device_Configuration");
    const auto dialogs = openDialogs<configPropertiesDialog>();
    QCOMPARE(dialogs.size(), 1);
    QVERIFY(dialogs.first()->parent() == nullptr);
    QVERIFY(!dialogs.first()->isModal());
    auto* serial = dialogs.first()->findChild<QLineEdit*>("serialEdit");
    QCOMPARE(serial->text(), QString("1001"));
    serial->setText("2002");
    press(*dialogs.first());
    QCOMPARE(window.device()->getDeviceSerial(), 2002U);
}

void TestMainWindow::propertiesAfterARenameShowEmptyFields()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("A.dev", panelWithLine(9, "Device label:        A")));
    trigger(window, "actionEdit_Device_Configuration");
    configPropertiesDialog* dialog = openDialogs<configPropertiesDialog>().first();
    dialog->findChild<QLineEdit*>("labelEdit")->setText("B");
    press(*dialog);
    QCOMPARE(home.names(), QStringList("B.dev"));
    QCOMPARE(QByteArray(window.device()->getDeviceLabel()), QByteArray("B"));
    QCOMPARE(summary(window), home.pathOf("A.dev") + "|none|none|none");
    trigger(window, "actionEdit_Device_Configuration");
    dialog = openDialogs<configPropertiesDialog>().first();
    QCOMPARE(dialog->findChild<QLineEdit*>("labelEdit")->text(), QString());
    dialog->close();
}

void TestMainWindow::anotherPropertiesDialogIsToldToAll()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("Panel7.dev", kPanel7));
    trigger(window, "actionEdit_Device_Configuration");
    const auto* edit = openDialogs<configPropertiesDialog>().first()->findChild<QLineEdit*>("versionEdit");
    report(window, home.write("Panel8.dev", panelWithLine(7, "Device version:      8")));
    QCOMPARE(edit->text(), QString("3"));
    trigger(window, "actionEdit_Device_Configuration");
    QCOMPARE(openDialogs<configPropertiesDialog>().size(), 2);
    QCOMPARE(edit->text(), QString("8"));
}

void TestMainWindow::itemActionsSendTheirCode_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("caption");
    const QStringList kinds{"Digital_Input", "Digital_Output", "Analog_Input", "Analog_Output",
                            "Access_Event"};
    const QStringList captions{
        "Number of Digital Inputs:", "Number of Digital Outputs:", "Number of Analog Inputs:",
        "Number of Analog Outputs:", "Number of Access Events:"};
    for (int i = 0; i < kinds.size(); ++i) {
        for (const char* operation : {"Add", "Remove"}) {
            const QString action = QString("action%1_%2").arg(operation, kinds[i]);
            QTest::newRow(qPrintable(action)) << action << i + 1 << captions[i];
        }
    }
}

void TestMainWindow::itemActionsSendTheirCode()
{
    QFETCH(QString, action);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    MainWindow window;
    report(window, path);
    QSignalSpy instructions(&window, &MainWindow::transferInstruction);
    trigger(window, action);
    QCOMPARE(instructions.size(), 1);
    QTEST(instructions[0][0].toInt(), "code");
    QCOMPARE(instructions[0][1].toString(), path);
    QDialog* dialog = nullptr;
    if (action.startsWith("actionAdd")) {
        dialog = openDialogs<addItemsDialog>().value(0);
    } else {
        dialog = openDialogs<removeItemDialog>().value(0);
    }
    QVERIFY(dialog != nullptr);
    QVERIFY(dialog->parent() == nullptr);
    QVERIFY(!dialog->isModal());
    QTEST(dialog->findChild<QLabel*>()->text(), "caption");
}

void TestMainWindow::anEarlierItemsDialogKeepsItsInstruction()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    MainWindow window;
    report(window, path);
    trigger(window, "actionRemove_Digital_Input");
    removeItemDialog* earlier = openDialogs<removeItemDialog>().first();
    trigger(window, "actionRemove_Analog_Output");
    QCOMPARE(openDialogs<removeItemDialog>().size(), 2);
    QCOMPARE(earlier->findChildren<QLabel*>().size(), 1);
    earlier->findChild<QSpinBox*>()->setValue(1);
    press(*earlier);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(1, "Digital input(s):    3"));
}

void TestMainWindow::addedAndRemovedItemsReachThePanel()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("Panel7.dev", kPanel7));
    trigger(window, "actionAdd_Digital_Input");
    addItemsDialog* adding = openDialogs<addItemsDialog>().first();
    adding->findChild<QSpinBox*>()->setValue(3);
    press(*adding);
    QCOMPARE(portCounts(window), QString("7 4 2 2"));
    trigger(window, "actionRemove_Analog_Output");
    removeItemDialog* removing = openDialogs<removeItemDialog>().first();
    removing->findChild<QSpinBox*>()->setValue(9);
    press(*removing);
    QCOMPARE(portCounts(window), QString("7 4 2 0"));
}

void TestMainWindow::anOldCopyIsNeverTakenForTheDeviceFile()
{
    const HomeFiles home;
    // Shortened by hand while an old copy was there.
    const QString path = home.write("Panel7.dev", "Digital input(s):    4\n");
    home.write("Panel7.dev.tmp", kPanel7);
    MainWindow window;
    report(window, path);
    QCOMPARE(portCounts(window), QString("4 0 0 0"));
    QCOMPARE(home.read("Panel7.dev"), QByteArray("Digital input(s):    4\n"));
}

void TestMainWindow::aFileWithTooManyItemsCannotBeOpened_data()
{
    QTest::addColumn<int>("line");
    QTest::addColumn<QByteArray>("count");
    QTest::newRow("a date for digital inputs") << 1 << QByteArray("20261121");
    QTest::newRow("digital outputs") << 2 << QByteArray("99992");
    QTest::newRow("analog inputs") << 3 << QByteArray("99990");
    QTest::newRow("analog outputs") << 4 << QByteArray("99990");
    QTest::newRow("the largest number of scanners") << 5 << QByteArray("4294967295");
}

void TestMainWindow::aFileWithTooManyItemsCannotBeOpened()
{
    QFETCH(int, line);
    QFETCH(QByteArray, count);
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel7.dev", kPanel7)));
    const QPointer<cDevice> panel = window.device();
    QVERIFY(!window.openDeviceFile(home.write("huge.dev", panelWithLine(line, count))));
    QCOMPARE(window.device(), panel.data());
    QCOMPARE(summary(window), home.pathOf("Panel7.dev") + "|none|none|none");
}

void TestMainWindow::loadReportsAFileWithTooManyItems()
{
    const HomeFiles home;
    MainWindow window;
    ModalAnswers answers;
    answers.chooseFile(home.write("huge.dev", panelWithLine(1, "20261121")));
    answers.pressOk();
    trigger(window, "actionLoad");
    QCOMPARE(answers.shown().size(), 2);
    expectUnreadableFileBox(answers.shown()[1], &window);
    QCOMPARE(enabled(window, kDeviceEntries), QVector<bool>({false, false, false, false}));
}

void TestMainWindow::aChangeToTooManyItemsIsReported()
{
    const HomeFiles home;
    MainWindow window;
    report(window, home.write("Panel7.dev", kPanel7));
    const QPointer<cDevice> panel = window.device();
    ModalAnswers answers;
    answers.pressOk();
    report(window, home.write("huge.dev", panelWithLine(1, "Digital input(s):    99992")));
    QCOMPARE(answers.shown().size(), 1);
    expectUnreadableFileBox(answers.shown()[0], &window);
    QCOMPARE(window.device(), panel.data());
    QCOMPARE(summary(window), home.pathOf("huge.dev") + "|none|none|none");
}

void TestMainWindow::aDeviceFileComesThroughAPipe()
{
    const HomeFiles home;
    int ends[2] = {-1, -1};
    QCOMPARE(pipe(ends), 0);
    QCOMPARE(write(ends[1], kPanel7.constData(), static_cast<size_t>(kPanel7.size())),
             ssize_t(kPanel7.size()));
    close(ends[1]);
    MainWindow window;
    QVERIFY(window.openDeviceFile(QStringLiteral("/proc/self/fd/%1").arg(ends[0])));
    close(ends[0]);
    QCOMPARE(portCounts(window), QString("4 4 2 2"));
}

void TestMainWindow::createdConnectionsReachTheRecord()
{
    const HomeFiles home;
    MainWindow window;
    trigger(window, "actionCreate_new_connection_configuration");
    QCOMPARE(openDialogs<createConnectionDialog>().size(), 1);
    const QPointer<createConnectionDialog> dialog = openDialogs<createConnectionDialog>().first();
    QVERIFY(dialog->parent() == nullptr);
    QVERIFY(!dialog->isModal());
    dialog->findChild<QLineEdit*>("connectDescriptor")->setText("lab");
    QTest::mouseClick(dialog->findChild<QPushButton*>("buttonCreate"), Qt::LeftButton);
    QCOMPARE(summary(window), "none|" + home.pathOf("lab.con") + "|127.0.0.1|50000");
    QVERIFY(entry(window, "actionEdit_Connection_Configuration")->isEnabled());
}

void TestMainWindow::editedConnectionsReachTheRecord()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openConnectionFile(home.write("lab.con", kConnection)));
    QSignalSpy transfers(&window, &MainWindow::transferConnectionFileName);
    trigger(window, "actionEdit_Connection_Configuration");
    QCOMPARE(transfers.count(), 1);
    QCOMPARE(transfers[0][0].toString(), home.pathOf("lab.con"));
    QCOMPARE(openDialogs<ConnectionDialog>().size(), 1);
    ConnectionDialog* dialog = openDialogs<ConnectionDialog>().first();
    QVERIFY(dialog->parent() == nullptr);
    QVERIFY(!dialog->isModal());
    QCOMPARE(dialog->findChild<QLineEdit*>("connectPort")->text(), QString("1"));
    dialog->findChild<QLineEdit*>("connectDescriptor")->setText("new");
    dialog->findChild<QLineEdit*>("connectIP")->setText("10.0.0.9");
    QTest::mouseClick(dialog->findChild<QPushButton*>("buttonConfirm"), Qt::LeftButton);
    QCOMPARE(summary(window), "none|" + home.pathOf("new.con") + "|10.0.0.9|1");
    QCOMPARE(home.names(), QStringList("new.con"));
}

void TestMainWindow::severalDialogsMayBeOpen()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openConnectionFile(home.write("lab.con", kConnection)));
    trigger(window, "actionCreate_new_connection_configuration");
    trigger(window, "actionCreate_new_connection_configuration");
    trigger(window, "actionEdit_Connection_Configuration");
    QCOMPARE(openDialogs<createConnectionDialog>().size(), 2);
    QCOMPARE(openDialogs<ConnectionDialog>().size(), 1);
}

void TestMainWindow::connectNeedsSettings_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::newRow("neither") << "none"
                             << "none";
    QTest::newRow("no address") << "none"
                                << "50000";
    QTest::newRow("no port") << "127.0.0.1"
                             << "none";
    QTest::newRow("no address, empty port") << "none"
                                            << "";
}

void TestMainWindow::connectNeedsSettings()
{
    QFETCH(QString, address);
    QFETCH(QString, port);
    MainWindow window;
    report(window, address, port, "/d/lab.con");
    ModalAnswers answers;
    answers.pressOk();
    trigger(window, "actionConnect");
    QCOMPARE(answers.shown().size(), 1);
    const ModalAnswers::Shown& box = answers.shown()[0];
    QCOMPARE(box.kind, QString("message"));
    QCOMPARE(box.title, QString("No Connection Configure"));
    QCOMPARE(box.text, QString("You need to configure the connection parameters first"));
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, &window);
    QCOMPARE(enabled(window, {"menuFile", "menuEdit"}), QVector<bool>({true, true}));
}

void TestMainWindow::connectLocksTheMenus_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::newRow("nobody listens") << "127.0.0.1"
                                    << "1";
    QTest::newRow("other spelling of the mark") << "None"
                                                << "1";
    QTest::newRow("empty texts") << ""
                                 << "";
    QTest::newRow("port that is no number") << "127.0.0.1"
                                            << "abc";
}

void TestMainWindow::connectLocksTheMenus()
{
    QFETCH(QString, address);
    QFETCH(QString, port);
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
    report(window, address, port, "/d/lab.con");
    ModalAnswers answers;
    trigger(window, "actionConnect");
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(enabled(window, {"menuFile", "menuEdit"}), QVector<bool>({false, false}));
    QCOMPARE(enabled(window, {"menuScripts", "actionSelect_Script_to_Run", "actionConnect"}),
             QVector<bool>({true, true, true}));
}

void TestMainWindow::connectingAgainIsNotPrevented()
{
    MainWindow window;
    report(window, "127.0.0.1", "1", "/d/lab.con");
    QVERIFY(!window.connectToServer().has_value());
    QVERIFY(!window.connectToServer().has_value());
    QVERIFY(entry(window, "actionConnect")->isEnabled());
}

void TestMainWindow::connectingDoesNotWaitForAnAddressThatNeverAnswers()
{
    const HomeFiles home;
    const SilentPort silent;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
    report(window, "127.0.0.1", QString::number(silent.port()), "/d/lab.con");
    // Two waits of one process are compared, not a wait with the clock: a busy machine delays both.
    std::atomic<bool> secondsHavePassed{false};
    std::jthread timer([&](const std::stop_token& stop) {
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any().wait_for(lock, stop, std::chrono::seconds(2), [] { return false; });
        secondsHavePassed = !stop.stop_requested();
    });
    QVERIFY(!window.connectToServer().has_value());
    QVERIFY(!secondsHavePassed);
}

void TestMainWindow::dialogsStayUsableAfterConnecting()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openConnectionFile(home.write("lab.con", kConnection)));
    trigger(window, "actionEdit_Connection_Configuration");
    QVERIFY(!window.connectToServer().has_value());
    ConnectionDialog* dialog = openDialogs<ConnectionDialog>().first();
    dialog->findChild<QLineEdit*>("connectIP")->setText("10.0.0.9");
    QTest::mouseClick(dialog->findChild<QPushButton*>("buttonConfirm"), Qt::LeftButton);
    QCOMPARE(window.config().getZULIP(), QString("10.0.0.9"));
}

void TestMainWindow::theDeviceMayBeReplacedWhileConnected()
{
    const HomeFiles home;
    const QString path = home.write("Panel.dev", kPanel);
    MainWindow window;
    report(window, path);
    report(window, "127.0.0.1", "1", "/d/lab.con");
    QVERIFY(!window.connectToServer().has_value());
    const QPointer<cDevice> first = window.device();
    report(window, path);
    QVERIFY(first.isNull());
    QCOMPARE(window.device()->count(), 8);
    QCOMPARE(enabled(window, {"menuFile", "menuEdit"}), QVector<bool>({false, false}));
}

void TestMainWindow::aRightClickOffersNoMenu_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"mainToolBar", "menuBar", "statusBar", "centralWidget"}) {
        QTest::newRow(name) << name;
    }
}

void TestMainWindow::aRightClickOffersNoMenu()
{
    QFETCH(QString, name);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto* widget = window.findChild<QWidget*>(name);
    const QPoint point = widget->rect().center();
    QContextMenuEvent click(QContextMenuEvent::Mouse, point, widget->mapToGlobal(point));
    QApplication::sendEvent(widget, &click);
    QVERIFY(QApplication::activePopupWidget() == nullptr);
}

void TestMainWindow::theShortcutsDoWhatTheMenusDo_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("shown");
    QTest::newRow("create a device") << "Ctrl+N"
                                     << "createdialog";
    QTest::newRow("create a connection") << "Ctrl+Shift+N"
                                         << "createConnectionDialog";
    QTest::newRow("load a device") << "Ctrl+O"
                                   << "Device File (*.dev)";
    QTest::newRow("load a connection") << "Ctrl+Shift+O"
                                       << "Connection File (*.con)";
}

void TestMainWindow::theShortcutsDoWhatTheMenusDo()
{
    QFETCH(QString, keys);
    QFETCH(QString, shown);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    ModalAnswers answers;
    QTest::keySequence(&window, QKeySequence(keys));
    const auto hasOpened = [&] {
        const bool asked = !answers.shown().isEmpty() && answers.shown()[0].nameFilters == QStringList(shown);
        const auto dialogs = openDialogs<QDialog>();
        return asked || (dialogs.size() == 1 && dialogs[0]->metaObject()->className() == shown);
    };
    QTRY_VERIFY(hasOpened());
}

void TestMainWindow::theShortcutsAreLockedWithTheMenu()
{
    MainWindow window;
    report(window, "127.0.0.1", "1", "/d/lab.con");
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(!window.connectToServer().has_value());
    QTest::keySequence(&window, QKeySequence("Ctrl+N"));
    QTest::keySequence(&window, QKeySequence("Ctrl+Shift+N"));
    QCoreApplication::processEvents();
    QCOMPARE(openDialogs<QDialog>().size(), 0);
}

void TestMainWindow::droppedFilesAreOpenedInOrder_data()
{
    QTest::addColumn<bool>("onATextField");
    QTest::newRow("on the window") << false;
    QTest::newRow("on a text field") << true;
}

void TestMainWindow::droppedFilesAreOpenedInOrder()
{
    QFETCH(bool, onATextField);
    const HomeFiles home;
    const QString device = home.write("Panel.DEV", kPanel);
    const QString connection = home.write("lab.con", kConnection);
    MainWindow window;
    if (onATextField) {
        QVERIFY(window.openDeviceFile(home.write("Other.dev", QByteArray(kPanel).replace("Panel", "Other"))));
    }
    QWidget& target = onATextField ? *scanCode(window) : static_cast<QWidget&>(window);
    QVERIFY(drop(target, {home.write("a.js", ""), connection, device, "/tmp/another.txt"}));
    QTRY_COMPARE(summary(window), device + '|' + connection + "|127.0.0.1|1");
    QCOMPARE(portCounts(window), QString("2 1 1 1"));
    QCOMPARE(window.scriptCount(), size_t{1});
}

void TestMainWindow::aDroppedFileThatCannotBeOpenedIsReported()
{
    const HomeFiles home;
    MainWindow window;
    ModalAnswers answers;
    answers.pressOk();
    QVERIFY(drop(window, {home.pathOf("missing.dev")}));
    QTRY_COMPARE(answers.shown().size(), 1);
    expectUnreadableFileBox(answers.shown()[0], &window);
    QCOMPARE(summary(window), QString("none|none|none|none"));
}

void TestMainWindow::otherDropsAreRefused_data()
{
    QTest::addColumn<QUrl>("url");
    QTest::newRow("another file") << QUrl("file:///tmp/a.txt");
    QTest::newRow("a file without a suffix") << QUrl("file:///tmp/dev");
    QTest::newRow("a file elsewhere") << QUrl("http://localhost/a.dev");
    QTest::newRow("a script without a device") << QUrl("file:///tmp/a.js");
}

void TestMainWindow::otherDropsAreRefused()
{
    QFETCH(QUrl, url);
    MainWindow window;
    QMimeData data;
    data.setUrls({url});
    QVERIFY(!drop(window, data));
}

void TestMainWindow::dropsAreIgnoredWhileTheMenusAreLocked()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
    report(window, "127.0.0.1", "1", "/d/lab.con");
    QVERIFY(!window.connectToServer().has_value());
    QVERIFY(!drop(window, {home.write("Other.dev", kPanel)}));
    QVERIFY(!drop(window, {home.write("lab.con", kConnection)}));
    // The Scripts menu stays.
    QVERIFY(drop(window, {home.write("a.js", "")}));
    QTRY_COMPARE(window.scriptCount(), size_t{1});
    QCOMPARE(summary(window), home.pathOf("Panel.dev") + "|/d/lab.con|127.0.0.1|1");
}

void TestMainWindow::aTextIsStillDroppedOnATextField()
{
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
    QLineEdit* const field = scanCode(window);
    QMimeData data;
    data.setText("card 7");
    drop(*field, data);
    QCOMPARE(field->text(), QString("card 7"));
}

void TestMainWindow::closingTheWindowEndsTheProgramWithItsDialogs()
{
    const HomeFiles home;
    MainWindow window;
    window.show();
    trigger(window, "actionCreate_new_connection_configuration");
    QTimer::singleShot(0, &window, &QWidget::close);
    QTimer tooLate;
    connect(&tooLate, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    tooLate.start(5000);
    QCOMPARE(QApplication::exec(), 0);
    QCOMPARE(openDialogs<createConnectionDialog>().size(), 0);
    QCOMPARE(home.names(), QStringList());
}

void TestMainWindow::dialogsGoWithTheWindow()
{
    const HomeFiles home;
    QPointer<QDialog> create;
    QPointer<QDialog> edit;
    {
        MainWindow window;
        QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel)));
        QVERIFY(window.openConnectionFile(home.write("lab.con", kConnection)));
        trigger(window, "actionCreate_new_connection_configuration");
        trigger(window, "actionEdit_Connection_Configuration");
        create = openDialogs<createConnectionDialog>().first();
        edit = openDialogs<ConnectionDialog>().first();
    }
    QVERIFY(create.isNull());
    QVERIFY(edit.isNull());
    QCOMPARE(panels().size(), 0);
}

void TestMainWindow::aClosedDialogIsDeleted()
{
    const HomeFiles home;
    MainWindow window;
    trigger(window, "actionCreate_new_connection_configuration");
    const QPointer<createConnectionDialog> dialog = openDialogs<createConnectionDialog>().first();
    dialog->close();
    QTRY_VERIFY(dialog.isNull());
    trigger(window, "actionCreate_new_connection_configuration");
    QCOMPARE(openDialogs<createConnectionDialog>().size(), 1);
}

ZUL_QTEST(TestMainWindow)
#include "mainwindow_test.moc"
