// An operator's day with the mouse: from an empty window to a device that talks with the real server.

#include <QDir>
#include <QtTest>

#include "qttestmain.h"
#include "simulatorwindow.h"

namespace {

using Window = SimulatorWindow;

// The buttons of the dialogs, which have fixed places.
constexpr QPoint kCreateDevice{274, 288};
constexpr QPoint kItems{205, 78};
constexpr QPoint kConfirmDevice{249, 153};
constexpr QPoint kConnection{269, 153};

const QByteArray kRenamed = "Digital input(s):    4\n"
                            "Digital output(s):   3\n"
                            "Analog input(s):    1\n"
                            "Analog output(s):    2\n"
                            "Scanner(s):          3\n"
                            "Device type:         TYPE_DISCRETE_IO\n"
                            "Device version:      3\n"
                            "Device serial:      1001\n"
                            "Device label:      Gate2\n";

} // namespace

class TestJourney : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fromAnEmptyWindowToAScript();

private:
    void refuseToConnect();
    void createDevice();
    void addInputs();
    void removeAnalogInput();
    void rename();
    void editWhatIsGone();
    void loadAgain();
    void createConnection();
    void editConnection();
    void connectToServer();
    void setInput();
    void setOutput();
    void sendScans();
    void sendAdHocEvent();
    void runScript();

    ScreenWindow dialog(const QString& title) { return ScreenWindow::named(*mDisplay, title); }
    QJsonObject nextEvent(const QString& type);

    QScopedPointer<Display> mDisplay;
    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Window> mSimulator;
};

void TestJourney::init()
{
    mDisplay.reset(new Display);
    QVERIFY(mDisplay->isUp());
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new Window(*mDisplay));
    mSimulator->start();
    QVERIFY(mSimulator->isOpen());
}

void TestJourney::cleanup()
{
    mDisplay->keepPictureOfFailure();
    mSimulator.reset();
    mServer.reset();
    mDisplay.reset();
}

QJsonObject TestJourney::nextEvent(const QString& type)
{
    const QJsonObject reply = mServer->command("wait event " + type + " timeout=60");
    return reply["objects"].toArray()[0].toObject();
}

void TestJourney::fromAnEmptyWindowToAScript()
{
    for (const auto step :
         {&TestJourney::refuseToConnect, &TestJourney::createDevice, &TestJourney::addInputs,
          &TestJourney::removeAnalogInput, &TestJourney::rename, &TestJourney::editWhatIsGone,
          &TestJourney::loadAgain, &TestJourney::createConnection, &TestJourney::editConnection,
          &TestJourney::connectToServer, &TestJourney::setInput, &TestJourney::setOutput,
          &TestJourney::sendScans, &TestJourney::sendAdHocEvent, &TestJourney::runScript}) {
        (this->*step)();
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    QCOMPARE(mSimulator->close(), 0);
    QCOMPARE(mServer->line("disconnected")["deviceSerial"].toInt(), 1001);
}

void TestJourney::refuseToConnect()
{
    QVERIFY(mSimulator->window().keepPicture("empty-window"));
    mSimulator->clickConnect();
    const ScreenWindow refusal = dialog("No Connection Configure");
    QVERIFY(refusal.isOpen());
    QVERIFY(refusal.keepPicture("no-connection"));
    mDisplay->press("Return");
    QVERIFY(refusal.waitUntilGone());
}

void TestJourney::createDevice()
{
    mSimulator->choose(Window::FILE_MENU, {"Down", "Return"});
    const ScreenWindow form = dialog("New device setup");
    QVERIFY(form.isOpen());
    form.click(kCreateDevice);
    const ScreenWindow refusal = dialog("Device setup");
    QVERIFY(refusal.isOpen());
    QVERIFY(refusal.keepPicture("device-without-a-label"));
    mDisplay->press("Return");
    QVERIFY(refusal.waitUntilGone());
    QVERIFY(form.waitForFocus());
    // The button has the focus; the next control is the first again.
    mDisplay->press("Tab");
    mDisplay->fill({"1", "3", "2", "2", "3", {}, "Panel7", "3", "1001"});
    QVERIFY(form.keepPicture("create-device"));
    form.click(kCreateDevice);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Panel7.dev"});
    QCOMPARE(mSimulator->file("Panel7.dev"), QByteArray("Digital input(s):    1\n"
                                                        "Digital output(s):   3\n"
                                                        "Analog input(s):     2\n"
                                                        "Analog output(s):    2\n"
                                                        "Scanner(s):          3\n"
                                                        "Device type:         TYPE_DISCRETE_IO\n"
                                                        "Device version:      3\n"
                                                        "Device serial:       1001\n"
                                                        "Device label:        Panel7\n"));
    QVERIFY(mSimulator->waitForRows({"green"}));
}

void TestJourney::addInputs()
{
    mSimulator->choose(Window::EDIT_MENU, {"Down", "Right", "Return"});
    const ScreenWindow form = dialog("Add items");
    QVERIFY(form.isOpen());
    mDisplay->fill({"3"});
    QVERIFY(form.keepPicture("add-items"));
    form.click(kItems);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Panel7.dev"});
    QVERIFY(mSimulator->file("Panel7.dev").startsWith("Digital input(s):    4\nDigital output(s):   3\n"));
    QVERIFY(mSimulator->waitForRows({"green", "green", "green", "green"}));
}

void TestJourney::removeAnalogInput()
{
    mSimulator->choose(Window::EDIT_MENU, {"Down", "Down", "Right", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("Remove items");
    QVERIFY(form.isOpen());
    mDisplay->fill({"1"});
    QVERIFY(form.keepPicture("remove-items"));
    form.click(kItems);
    QVERIFY(form.waitUntilGone());
    QVERIFY(mSimulator->file("Panel7.dev").contains("\nAnalog input(s):    1\nAnalog output(s):    2\n"));
}

void TestJourney::rename()
{
    mSimulator->choose(Window::EDIT_MENU, {"Down", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("Device Configuration Properties");
    QVERIFY(form.isOpen());
    mDisplay->fill({"Gate2", {}, {}});
    QVERIFY(form.keepPicture("device-properties"));
    form.click(kConfirmDevice);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Gate2.dev"});
    QCOMPARE(mSimulator->file("Gate2.dev"), kRenamed);
}

/// The window goes on with the old name, under which no file is left to change.
void TestJourney::editWhatIsGone()
{
    mSimulator->choose(Window::EDIT_MENU, {"Down", "Right", "Return"});
    const ScreenWindow form = dialog("Add items");
    QVERIFY(form.isOpen());
    mDisplay->fill({"5"});
    form.click(kItems);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Gate2.dev"});
    QCOMPARE(mSimulator->file("Gate2.dev"), kRenamed);
    QCOMPARE(mSimulator->rows(), QStringList({"green", "green", "green", "green"}));
}

void TestJourney::loadAgain()
{
    mSimulator->choose(Window::FILE_MENU, {"Down", "Down", "Return"});
    const ScreenWindow chooser = dialog("Open File");
    QVERIFY(chooser.isOpen());
    mDisplay->type(mSimulator->pathOf("Gate2.dev"));
    mDisplay->press("Return");
    QVERIFY(chooser.waitUntilGone());
    mSimulator->choose(Window::EDIT_MENU, {"Down", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("Device Configuration Properties");
    QVERIFY(form.isOpen());
    form.click(kConfirmDevice);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Gate2.dev"});
    QCOMPARE(mSimulator->file("Gate2.dev"), kRenamed);
}

void TestJourney::createConnection()
{
    mSimulator->choose(Window::FILE_MENU, {"Down", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("New connection setup");
    QVERIFY(form.isOpen());
    mDisplay->fill({"lab", {}, {}});
    QVERIFY(form.keepPicture("create-connection"));
    form.click(kConnection);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList({"Gate2.dev", "lab.con"}));
    QCOMPARE(mSimulator->file("lab.con"), QByteArray("Connection descriptor:   lab\n"
                                                     "Connection IP address:   127.0.0.1\n"
                                                     "Connection port number:  50000\n"));
}

void TestJourney::editConnection()
{
    mSimulator->choose(Window::EDIT_MENU, {"Up", "Return"});
    const ScreenWindow form = dialog("Connection Configuration Properties");
    QVERIFY(form.isOpen());
    mDisplay->fill({"rig", {}, {}});
    QVERIFY(form.keepPicture("connection-properties"));
    // After the button comes the first field again.
    mDisplay->press("Tab");
    mDisplay->fill({{}, {}, QString::number(mServer->port())});
    form.click(kConnection);
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList({"Gate2.dev", "rig.con"}));
    QCOMPARE(mSimulator->file("rig.con"), "Connection descriptor:   rig\n"
                                          "Connection IP address:   127.0.0.1\n"
                                          "Connection port number:  " +
                                              QByteArray::number(mServer->port()) + "\n");
}

void TestJourney::connectToServer()
{
    QVERIFY(mSimulator->window().waitForFocus());
    mSimulator->clickConnect();
    QJsonObject device = mServer->line("device");
    device.remove("peer");
    device.remove("time");
    QCOMPARE(device, QJsonObject({{"event", "device"},
                                  {"deviceSerial", 1001},
                                  {"deviceLabel", "Gate2"},
                                  {"deviceType", "TYPE_DISCRETE_IO"},
                                  {"version", 3},
                                  {"discreteInCount", 4},
                                  {"discreteOutCount", 3},
                                  {"analogInCount", 1},
                                  {"analogOutCount", 2}}));
}

void TestJourney::setInput()
{
    mSimulator->chooseState(3, "Down");
    QJsonObject message = mServer->line("message");
    message.remove("time");
    QCOMPARE(message, QJsonObject({{"event", "message"},
                                   {"deviceSerial", 1001},
                                   {"msgType", 3},
                                   {"msgSeq", 1},
                                   {"objects", QJsonArray{nextEvent("OBJ_PORT_DIN")}}}));
    QCOMPARE(message["objects"].toArray()[0].toObject(),
             QJsonObject({{"type", "OBJ_PORT_DIN"},
                          {"deviceSerial", 1001},
                          {"portId", 3},
                          {"portLabel", "INPUT 3"},
                          {"portStatus", "OBJ_STATUS_ALARM_SET"},
                          {"portType", "OBJ_PORT_DIN"},
                          {"inputState", "OBJ_IO_STATE_SET"},
                          {"defaultState", "OBJ_IO_STATE_CLEAR"}}));
    QVERIFY(mSimulator->waitForRows({"green", "green", "red", "green"}));
}

void TestJourney::setOutput()
{
    mSimulator->showPage(Window::DOUTS);
    QVERIFY(mSimulator->waitForRows({"green", "green", "green"}));
    QCOMPARE(mServer->command("set dout 1 state=high")["status"].toString(), QString("ok"));
    QVERIFY(mSimulator->waitForRows({"red", "green", "green"}));
}

/// A scanner's button sends the record of the scanner after it.
void TestJourney::sendScans()
{
    mSimulator->showPage(Window::ACCESS);
    mSimulator->clickScanCode(2);
    mDisplay->type("card 0815");
    mSimulator->sendScan(2);
    QVERIFY(nextEvent("OBJ_ACCESS")["scanCode"].isNull());
    mSimulator->sendScan(1);
    QCOMPARE(nextEvent("OBJ_ACCESS"), QJsonObject({{"type", "OBJ_ACCESS"},
                                                   {"deviceSerial", 1001},
                                                   {"portNum", 2},
                                                   {"label", "SCANNER 2"},
                                                   {"scanCode", "card 0815"}}));
}

void TestJourney::sendAdHocEvent()
{
    mSimulator->showPage(Window::ADHOC);
    // From the page's tab.
    mDisplay->press("Tab");
    mDisplay->fill({"7", "door", "forced open"});
    mSimulator->sendAdHocEvent();
    QCOMPARE(nextEvent("OBJ_ADHOC_EVENT"), QJsonObject({{"type", "OBJ_ADHOC_EVENT"},
                                                        {"deviceSerial", 1001},
                                                        {"portId", 7},
                                                        {"eventLabel", "door"},
                                                        {"eventValue", "forced open"}}));
}

void TestJourney::runScript()
{
    const QString script = mSimulator->program().write(
        "low.js", "sender.setDigitalInput_Signal.connect(receiver, receiver.setDigitalInput_Slot);\n"
                  "sender.setDigitalInput_Signal(3, 0);\n");
    mSimulator->choose(Window::SCRIPTS_MENU, {"Down", "Return"});
    const ScreenWindow chooser = dialog("Open File");
    QVERIFY(chooser.isOpen());
    mDisplay->type(script);
    mDisplay->press("Return");
    const QJsonObject input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["portId"].toInt(), 3);
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
}

ZUL_QTEST_GUILESS(TestJourney)
#include "journey_test.moc"
