// The end of a device at any moment, under full traffic both ways and with scripts running. ZUL_ROUNDS says
// how many rounds each end gets, ZUL_SEED which moments are chosen:
//     ZUL_ROUNDS=500 ./test asan -R rounds_test

#include <QRandomGenerator>
#include <QTimer>
#include <csignal>
#include <memory>

#include "consolecapture.h"
#include "homefiles.h"
#include "mainwindow.h"
#include "programs.h"
#include "qttestmain.h"

namespace {

const QByteArray kDriver("sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);"
                         "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);"
                         "for (var i = 0; true; ++i) {"
                         "  sender.setDigitalInput_Signal(1 + i % 4, i % 2);"
                         "  sender.setAnalogInput_Signal(1 + i % 2, i % 101);"
                         "}");
const QByteArray kReader("while (true) {"
                         "  receiver.getDigitalInputValue(1); receiver.getAnalogOutputValue(1);"
                         "  sender.scan(1, 'card'); sender.adhoc(7, 'label', 'value');"
                         "}");

int settingOr(const char* name, int otherwise)
{
    return qEnvironmentVariableIsSet(name) ? qEnvironmentVariableIntValue(name) : otherwise;
}

void dropDebugLines(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type != QtDebugMsg) {
        fprintf(stderr, "%s\n", qPrintable(text));
    }
}

} // namespace

class TestRounds : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void reloadingTheDevice();
    void closingTheWindow();
    void sigterm();

private:
    /// Gives the device all kinds of things to do, as fast as the server takes the commands.
    void sendCommands();
    void startTraffic(MainWindow* window);
    /// Takes note of the events and the answers that the server has got.
    void countTraffic();
    /// Waits until more of both have come.
    bool trafficFlows();
    /// Lets up to @p most milliseconds pass, with everything going on; in every second round only once there
    /// is traffic.
    void awaitSomeMoment(int round, int most);

    const int mRounds = settingOr("ZUL_ROUNDS", 10);
    QRandomGenerator mMoments{static_cast<quint32>(settingOr("ZUL_SEED", 1))};
    std::unique_ptr<HomeFiles> mHome;
    std::unique_ptr<ServerProgram> mServer;
    QTimer mCommands;
    int mMessages = 0;
    int mAnswers = 0;
    QtMessageHandler mFormerHandler = nullptr;
};

void TestRounds::init()
{
    mFormerHandler = qInstallMessageHandler(dropDebugLines);
    mHome = std::make_unique<HomeFiles>();
    mServer = std::make_unique<ServerProgram>();
    mMessages = 0;
    mAnswers = 0;
    QVERIFY(mServer->isListening());
    mHome->write("Panel7.dev", deviceFile(4, 4, 2, 2, 2));
    mHome->write("lab.con", connectionFile(mServer->port()));
    mHome->write("driver.js", kDriver);
    mHome->write("reader.js", kReader);
    connect(&mCommands, &QTimer::timeout, this, &TestRounds::sendCommands);
    mCommands.start(5);
}

void TestRounds::cleanup()
{
    mCommands.stop();
    mCommands.disconnect();
    countTraffic();
    QVERIFY(mMessages >= mRounds / 2);
    QVERIFY(mAnswers >= mRounds / 2);
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
    mServer.reset();
    mHome.reset();
    qInstallMessageHandler(mFormerHandler);
}

void TestRounds::sendCommands()
{
    QProcess& server = mServer->program().process();
    if (server.bytesToWrite() == 0) {
        server.write(
            "get device\nget din *\nset dout 1 output=high\nget ain *\nset dout 1 output=low\n"
            "set aout 1 value=42\nget aout *\nset din 2 default=high\nset ain 1 rate=0\nget dout *\n");
    }
}

void TestRounds::startTraffic(MainWindow* window)
{
    QVERIFY(window->openDeviceFile(mHome->pathOf("Panel7.dev")));
    QVERIFY(window->openConnectionFile(mHome->pathOf("lab.con")));
    QVERIFY(!window->connectToServer());
    QVERIFY(window->runScript(mHome->pathOf("driver.js")));
    QVERIFY(window->runScript(mHome->pathOf("reader.js")));
}

void TestRounds::countTraffic()
{
    const QByteArray lines = mServer->program().newOutput();
    mMessages += lines.count("\"event\":\"message\"");
    mAnswers += lines.count("\"status\":\"ok\"");
}

bool TestRounds::trafficFlows()
{
    countTraffic();
    const int messages = mMessages;
    const int answers = mAnswers;
    return mServer->program().waitFor([&] {
        countTraffic();
        return mMessages > messages && mAnswers > answers;
    });
}

void TestRounds::awaitSomeMoment(int round, int most)
{
    QVERIFY(round % 2 == 0 || trafficFlows());
    QTest::qWait(mMoments.bounded(most));
}

void TestRounds::reloadingTheDevice()
{
    MainWindow window;
    for (int round = 0; round < mRounds; ++round) {
        const ConsoleCapture console;
        startTraffic(&window);
        awaitSomeMoment(round, 100);
        QVERIFY(window.openDeviceFile(mHome->pathOf("Panel7.dev")));
    }
    QVERIFY(window.shutDown());
}

void TestRounds::closingTheWindow()
{
    for (int round = 0; round < mRounds; ++round) {
        const ConsoleCapture console;
        auto window = std::make_unique<MainWindow>();
        window->show();
        startTraffic(window.get());
        awaitSomeMoment(round, 100);
        QVERIFY(window->close());
        QVERIFY(window->shutDown());
        window.reset();
    }
}

void TestRounds::sigterm()
{
    for (int round = 0; round < mRounds; ++round) {
        Program simulator;
        simulator.start(ZULBENCH_PROGRAM,
                        {"--headless", "--device", mHome->pathOf("Panel7.dev"), "--connection",
                         mHome->pathOf("lab.con"), "--connect", "--script", mHome->pathOf("driver.js"),
                         "--script", mHome->pathOf("reader.js")});
        // Before this line it does not know of the signal yet, which then ends it as usual.
        QVERIFY(simulator.waitFor([&] { return simulator.errors().contains("Config Dir is: "); }));
        awaitSomeMoment(round, 400);
        QCOMPARE(simulator.stop(SIGTERM), 0);
    }
}

ZUL_QTEST(TestRounds)
#include "rounds_test.moc"
