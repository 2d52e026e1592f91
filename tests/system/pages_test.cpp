// The eight pages, each used with the mouse, and how they look.

#include <QtTest>

#include "qttestmain.h"
#include "simulatorwindow.h"

namespace {

using Window = SimulatorWindow;

constexpr QPoint kFirstSlider{700, 123};
constexpr QPoint kFirstInputToWire{31, 126};
constexpr QPoint kThirdOutputToWire{582, 180};

} // namespace

class TestPages : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void digitalInputs();
    void digitalOutputs();
    void analogInputs();
    void analogOutputs();
    void wiring();
    void events();
    void menus();
    void icon();

private:
    QJsonObject nextEvent(const QString& type);
    QJsonObject only(const QString& command) { return mServer->objects(command)[0].toObject(); }

    QScopedPointer<Display> mDisplay;
    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Window> mSimulator;
};

void TestPages::init()
{
    mDisplay.reset(new Display);
    QVERIFY(mDisplay->isUp());
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new Window(*mDisplay));
    Program& program = mSimulator->program();
    mSimulator->start({"--device", program.write("demo.dev", deviceFile(4, 4, 2, 2, 3)), "--connection",
                       program.write("local.con", connectionFile(mServer->port())), "--connect"});
    QVERIFY(mSimulator->isOpen());
    QVERIFY(!mServer->line("device").isEmpty());
}

void TestPages::cleanup()
{
    mDisplay->keepPictureOfFailure();
    if (mSimulator->isOpen()) {
        QCOMPARE(mSimulator->close(), 0);
    }
    mSimulator.reset();
    mServer.reset();
    mDisplay.reset();
}

QJsonObject TestPages::nextEvent(const QString& type)
{
    const QJsonObject reply = mServer->command("wait event " + type + " timeout=60");
    return reply["objects"].toArray()[0].toObject();
}

void TestPages::digitalInputs()
{
    QVERIFY(mSimulator->waitForRows({"green", "green", "green", "green"}));
    mServer->command("set din 2 default=high");
    QVERIFY(mSimulator->waitForRows({"green", "red", "green", "green"}));
    QVERIFY(mSimulator->window().keepPicture("window"));
}

void TestPages::digitalOutputs()
{
    mSimulator->showPage(Window::DOUTS);
    mServer->command("set dout * state=high");
    QVERIFY(mSimulator->waitForRows({"red", "red", "red", "red"}));
    mServer->command("set dout 2 default=high");
    QVERIFY(mSimulator->waitForRows({"red", "green", "red", "red"}));
    QVERIFY(mSimulator->window().keepPicture("digital-outputs"));
}

void TestPages::analogInputs()
{
    mSimulator->showPage(Window::AINS);
    mSimulator->window().click(kFirstSlider);
    QCOMPARE(nextEvent("OBJ_ANALOG_SAMPLE")["sample"].toDouble(), 10.0);
    mDisplay->press("Right");
    const QJsonObject sample = nextEvent("OBJ_ANALOG_SAMPLE");
    QCOMPARE(sample["portNum"].toInt(), 1);
    QCOMPARE(sample["sample"].toDouble(), 11.0);
    QVERIFY(mSimulator->window().keepPicture("analog-inputs"));
}

void TestPages::analogOutputs()
{
    mSimulator->showPage(Window::AOUTS);
    const QImage before = mSimulator->window().content();
    mServer->command("set aout 1 value=42");
    QVERIFY(Program::waitFor([&] { return mSimulator->window().content() != before; }));
    QVERIFY(mSimulator->window().keepPicture("analog-outputs"));
}

void TestPages::wiring()
{
    mSimulator->showPage(Window::ANALOG_WIRING);
    QVERIFY(mSimulator->window().keepPicture("analog-connections"));
    mSimulator->showPage(Window::DIGITAL_WIRING);
    mSimulator->window().click(kFirstInputToWire);
    mSimulator->window().click(kThirdOutputToWire);
    QVERIFY(mSimulator->window().keepPicture("digital-connections"));
    mSimulator->showPage(Window::DINS);
    mSimulator->chooseState(1, "Down");
    QCOMPARE(nextEvent("OBJ_PORT_DIN")["portId"].toInt(), 1);
    QCOMPARE(only("get dout 3")["outputState"].toString(), QString("OBJ_IO_STATE_SET"));
    QCOMPARE(only("get dout 2")["outputState"].toString(), QString("OBJ_IO_STATE_CLEAR"));
    mSimulator->showPage(Window::DOUTS);
    QVERIFY(mSimulator->waitForRows({"green", "green", "red", "green"}));
}

void TestPages::events()
{
    mSimulator->showPage(Window::ACCESS);
    mSimulator->clickScanCode(2);
    mDisplay->fill({"card 0815"});
    QVERIFY(mSimulator->window().keepPicture("access-events"));
    mSimulator->showPage(Window::ADHOC);
    mDisplay->press("Tab");
    mDisplay->fill({"7", "door", "forced open"});
    QVERIFY(mSimulator->window().keepPicture("adhoc-events"));
    mSimulator->sendAdHocEvent();
    QCOMPARE(nextEvent("OBJ_ADHOC_EVENT")["portId"].toInt(), 7);
}

/// A running connection has locked two of the three.
void TestPages::menus()
{
    mSimulator->choose(Window::SCRIPTS_MENU, {"Down"});
    QVERIFY(mSimulator->window().keepPicture("scripts-menu"));
    mDisplay->press("Escape", 2);
}

void TestPages::icon()
{
    // The icon shows a red and a green lamp; the window manager's own is grey and blue.
    const auto has = [this](auto isColour) {
        const QImage corner = mSimulator->window().titleBar().copy(0, 0, 24, 20);
        for (int y = 0; y < corner.height(); ++y) {
            for (int x = 0; x < corner.width(); ++x) {
                if (isColour(corner.pixelColor(x, y))) {
                    return true;
                }
            }
        }
        return false;
    };
    const auto isRed = [](const QColor& colour) { return colour.red() > colour.green() + 80; };
    const auto isGreen = [](const QColor& colour) { return colour.green() > colour.red() + 80; };
    QVERIFY(Program::waitFor([&] { return has(isRed) && has(isGreen); }));
}

ZUL_QTEST_GUILESS(TestPages)
#include "pages_test.moc"
