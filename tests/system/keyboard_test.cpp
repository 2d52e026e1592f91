// The same day without a mouse.

#include <QtTest>

#include "qttestmain.h"
#include "simulatorwindow.h"

class TestKeyboard : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fromAnEmptyWindowToAScan();

private:
    void createDevice();
    void addOutputs();
    void editDevice();
    void createConnection();
    void connectToServer();
    void setInput();
    void sendScan();

    ScreenWindow dialog(const QString& title) { return ScreenWindow::named(*mDisplay, title); }
    QJsonObject nextEvent(const QString& type);
    void choose(const QStringList& keys);

    QScopedPointer<Display> mDisplay;
    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<SimulatorWindow> mSimulator;
};

void TestKeyboard::init()
{
    mDisplay.reset(new Display);
    QVERIFY(mDisplay->isUp());
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new SimulatorWindow(*mDisplay));
    mSimulator->start();
    QVERIFY(mSimulator->isOpen());
}

void TestKeyboard::cleanup()
{
    mDisplay->keepPictureOfFailure();
    mSimulator.reset();
    mServer.reset();
    mDisplay.reset();
}

QJsonObject TestKeyboard::nextEvent(const QString& type)
{
    const QJsonObject reply = mServer->command("wait event " + type + " timeout=60");
    return reply["objects"].toArray()[0].toObject();
}

/// Alt leads to the menu bar, the keys through it.
void TestKeyboard::choose(const QStringList& keys)
{
    QVERIFY(mSimulator->window().waitForFocus());
    mDisplay->press(QStringList{"Alt_L"} + keys);
}

void TestKeyboard::fromAnEmptyWindowToAScan()
{
    for (const auto step : {&TestKeyboard::createDevice, &TestKeyboard::addOutputs, &TestKeyboard::editDevice,
                            &TestKeyboard::createConnection, &TestKeyboard::connectToServer,
                            &TestKeyboard::setInput, &TestKeyboard::sendScan}) {
        (this->*step)();
        if (QTest::currentTestFailed()) {
            return;
        }
    }
    QCOMPARE(mSimulator->close(), 0);
}

void TestKeyboard::createDevice()
{
    choose({"Down", "Return"});
    const ScreenWindow form = dialog("New device setup");
    QVERIFY(form.isOpen());
    mDisplay->fill({"3", "1", "2", "4", "3", {}, "Hall", "5", "77"});
    mDisplay->press("space");
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->file("Hall.dev"), QByteArray("Digital input(s):    3\n"
                                                      "Digital output(s):   1\n"
                                                      "Analog input(s):     2\n"
                                                      "Analog output(s):    4\n"
                                                      "Scanner(s):          3\n"
                                                      "Device type:         TYPE_DISCRETE_IO\n"
                                                      "Device version:      5\n"
                                                      "Device serial:       77\n"
                                                      "Device label:        Hall\n"));
}

void TestKeyboard::addOutputs()
{
    choose({"Right", "Down", "Right", "Down", "Return"});
    const ScreenWindow form = dialog("Add items");
    QVERIFY(form.isOpen());
    mDisplay->fill({"2"});
    mDisplay->press("space");
    QVERIFY(form.waitUntilGone());
    QVERIFY(mSimulator->file("Hall.dev").contains("\nDigital output(s):    3\n"));
}

void TestKeyboard::editDevice()
{
    choose({"Right", "Down", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("Device Configuration Properties");
    QVERIFY(form.isOpen());
    mDisplay->fill({{}, "6", "78"});
    mDisplay->press("space");
    QVERIFY(form.waitUntilGone());
    QCOMPARE(mSimulator->fileNames(), QStringList{"Hall.dev"});
    QVERIFY(mSimulator->file("Hall.dev")
                .endsWith("\nDevice version:      6\n"
                          "Device serial:      78\n"
                          "Device label:      Hall\n"));
}

void TestKeyboard::createConnection()
{
    choose({"Down", "Down", "Down", "Return"});
    const ScreenWindow form = dialog("New connection setup");
    QVERIFY(form.isOpen());
    mDisplay->fill({"lab", {}, QString::number(mServer->port())});
    mDisplay->press("space");
    QVERIFY(form.waitUntilGone());
    choose({"Right", "Down", "Down", "Down", "Down", "Return"});
    const ScreenWindow properties = dialog("Connection Configuration Properties");
    QVERIFY(properties.isOpen());
    mDisplay->fill({"rig", "localhost", {}});
    mDisplay->press("space");
    QVERIFY(properties.waitUntilGone());
    QCOMPARE(mSimulator->file("rig.con"), "Connection descriptor:   rig\n"
                                          "Connection IP address:   localhost\n"
                                          "Connection port number:  " +
                                              QByteArray::number(mServer->port()) + "\n");
}

/// Tab goes from the button to the tabs of the pages, Shift and Tab back.
void TestKeyboard::connectToServer()
{
    QVERIFY(mSimulator->window().waitForFocus());
    mDisplay->press({"Tab", "shift+Tab", "space"});
    const QJsonObject device = mServer->line("device");
    QCOMPARE(device["deviceSerial"].toInt(), 78);
    QCOMPARE(device["deviceLabel"].toString(), QString("Hall"));
    QCOMPARE(device["discreteOutCount"].toInt(), 3);
}

/// From the button backwards: the last input, the one before it.
void TestKeyboard::setInput()
{
    mDisplay->press({"shift+Tab", "shift+Tab", "Down"});
    QJsonObject input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["portId"].toInt(), 2);
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_SET"));
    QVERIFY(mSimulator->waitForRows({"green", "red", "green"}));
    mDisplay->press("Up");
    input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["portId"].toInt(), 2);
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
    QVERIFY(mSimulator->waitForRows({"green", "green", "green"}));
    // The last input, the button, the tabs.
    mDisplay->press("Tab", 3);
}

/// A row goes from its scan code to its button. A scanner's button sends the record of the scanner after it.
void TestKeyboard::sendScan()
{
    mDisplay->press("Right", 6);
    // Backwards again: the button, two fields of the last row, two of the second.
    mDisplay->press("shift+Tab", 5);
    mDisplay->type("card 42");
    mDisplay->press({"Tab", "space"});
    QCOMPARE(nextEvent("OBJ_ACCESS")["portNum"].toInt(), 3);
    mDisplay->press({"shift+Tab", "shift+Tab", "space"});
    const QJsonObject scan = nextEvent("OBJ_ACCESS");
    QCOMPARE(scan["portNum"].toInt(), 2);
    QCOMPARE(scan["scanCode"].toString(), QString("card 42"));
}

ZUL_QTEST_GUILESS(TestKeyboard)
#include "keyboard_test.moc"
