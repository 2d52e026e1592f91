// What scripts do in the real program, as the real server sees it.

#include "programs.h"
#include "qttestmain.h"

#include <QtTest>
#include <csignal>

class TestScript : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void whatAScriptSetsIsReported();
    void wiredOutputsFollow();
    void scansAndAdHocEventsAreReported();
    void twoScriptsRunSideBySide();
    void eventsArriveInTheOrderOfEmission();
    void aScriptReactsToTheServer();
    void aRunHandsOverWhatItSent();
    void aRunDoesNotWaitForEver();
    void aRunWithoutAConnectionWaitsForNothing();

private:
    QStringList options();
    /// Starts the simulator with these scripts and waits until it is connected.
    void start(const QByteArrayList& scripts);
    /// Runs a batch script with these options too.
    void run(const QByteArray& script, const QStringList& options);
    QJsonObject nextEvent(const QString& type);

    QScopedPointer<ServerProgram> mServer;
    QScopedPointer<Program> mSimulator;
};

void TestScript::init()
{
    mServer.reset(new ServerProgram);
    QVERIFY(mServer->isListening());
    mSimulator.reset(new Program);
}

void TestScript::cleanup()
{
    if (mSimulator->process().state() != QProcess::NotRunning) {
        QCOMPARE(mSimulator->stop(SIGTERM), 0);
    }
    QCOMPARE(mServer->program().stop(SIGTERM), 0);
}

QStringList TestScript::options()
{
    return {"--headless",
            "--device",
            mSimulator->write("test.dev", deviceFile(4, 4, 4, 4, 3)),
            "--connection",
            mSimulator->write("test.con", connectionFile(mServer->port())),
            "--connect"};
}

void TestScript::run(const QByteArray& script, const QStringList& options)
{
    mSimulator->start(ZULBENCH_PROGRAM, options + QStringList{"--run", mSimulator->write("run.js", script)});
}

void TestScript::start(const QByteArrayList& scripts)
{
    QStringList arguments = options();
    for (int i = 0; i < scripts.size(); ++i) {
        arguments << "--script" << mSimulator->write(QString("script%1.js").arg(i), scripts[i]);
    }
    mSimulator->start(ZULBENCH_PROGRAM, arguments);
    QVERIFY(!mServer->line("device").isEmpty());
}

QJsonObject TestScript::nextEvent(const QString& type)
{
    return mServer->command("wait event " + type + " timeout=30")["objects"].toArray()[0].toObject();
}

void TestScript::whatAScriptSetsIsReported()
{
    start({"sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);"
           "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);"
           "sender.setDigitalInput_Signal(3, 1); sender.setAnalogInput_Signal(2, 73);"});
    const QJsonObject input = nextEvent("OBJ_PORT_DIN");
    QCOMPARE(input["portId"].toInt(), 3);
    QCOMPARE(input["inputState"].toString(), QString("OBJ_IO_STATE_SET"));
    const QJsonObject sample = nextEvent("OBJ_ANALOG_SAMPLE");
    QCOMPARE(sample["portNum"].toInt(), 2);
    QCOMPARE(sample["sample"].toDouble(), 73.0);
}

void TestScript::wiredOutputsFollow()
{
    start({"sender.connectDigitalInput_Signal.connect(receiver.connectDigitalInput_Slot);"
           "sender.connectAnalogInput_Signal.connect(receiver.connectAnalogInput_Slot);"
           "[2, 3].forEach(function(output) {"
           "  sender.connectDigitalInput_Signal(1, output, true); sender.connectAnalogInput_Signal(2, "
           "output, true); });"
           "receiver.setDigitalInput_Slot(1, 1); receiver.setAnalogInput_Slot(2, 57);"});
    QCOMPARE(nextEvent("OBJ_ANALOG_SAMPLE")["portNum"].toInt(), 2);
    QStringList states;
    for (const QJsonValue& output : mServer->objects("get dout *")) {
        states.append(output.toObject()["outputState"].toString().mid(13));
    }
    QCOMPARE(states, QStringList({"CLEAR", "SET", "SET", "CLEAR"}));
    QList<double> values;
    for (const QJsonValue& output : mServer->objects("get aout *")) {
        values.append(output.toObject()["sampledValue"].toDouble());
    }
    // An analog output takes the value of the input of its own number only.
    QCOMPARE(values, QList<double>({0, 57, 0, 0}));
}

void TestScript::scansAndAdHocEventsAreReported()
{
    start({"sender.scan(2, 'CARD-2'); sender.scan(1, ''); sender.adhoc(10, 'door', 'open');"});
    QJsonObject scan = nextEvent("OBJ_ACCESS");
    QCOMPARE(scan["portNum"].toInt(), 3);
    QVERIFY(scan["scanCode"].isNull());
    scan = nextEvent("OBJ_ACCESS");
    QCOMPARE(scan["portNum"].toInt(), 2);
    QCOMPARE(scan["scanCode"].toString(), QString("CARD-2"));
    const QJsonObject event = nextEvent("OBJ_ADHOC_EVENT");
    QCOMPARE(event["portId"].toInt(), 10);
    QCOMPARE(event["eventLabel"].toString(), QString("door"));
    QCOMPARE(event["eventValue"].toString(), QString("open"));
}

void TestScript::twoScriptsRunSideBySide()
{
    // Each waits for the other: neither ends alone.
    start(
        {"while (receiver.getDigitalInputValue(2) == 0) sender.sleep(1); receiver.setDigitalInput_Slot(1, 1);"
         "receiver.setAnalogInput_Slot(1, 11);",
         "receiver.setDigitalInput_Slot(2, 1); while (receiver.getDigitalInputValue(1) == 0) sender.sleep(1);"
         "receiver.setAnalogInput_Slot(2, 22);"});
    const double sum = nextEvent("OBJ_ANALOG_SAMPLE")["sample"].toDouble() +
                       nextEvent("OBJ_ANALOG_SAMPLE")["sample"].toDouble();
    QCOMPARE(sum, 33.0);
}

void TestScript::eventsArriveInTheOrderOfEmission()
{
    start({"for (var i = 1; i <= 200; ++i) receiver.setAnalogInput_Slot(1 + i % 4, i % 100 + 1);"});
    QVERIFY(!mServer->line("message", 200).isEmpty());
    int number = 0;
    for (const QJsonObject& line : mServer->lines()) {
        if (line["event"].toString() == "message") {
            ++number;
            const QJsonObject sample = line["objects"].toArray()[0].toObject();
            QCOMPARE(sample["portNum"].toInt(), 1 + number % 4);
            QCOMPARE(sample["sample"].toInt(), number % 100 + 1);
        }
    }
    QCOMPARE(number, 200);
}

void TestScript::aScriptReactsToTheServer()
{
    start({"sender.on('dout', 2, function(value, previous) {"
           "  sender.adhoc(7, 'dout 2', previous + ' to ' + value); });"
           "sender.on('link', function(up) { if (up) sender.adhoc(8, 'link', 'up again'); });"
           "sender.adhoc(1, 'ready', '');"});
    QCOMPARE(nextEvent("OBJ_ADHOC_EVENT")["eventLabel"].toString(), QString("ready"));
    mServer->command("set dout 2 state=high");
    QCOMPARE(nextEvent("OBJ_ADHOC_EVENT")["eventValue"].toString(), QString("0 to 1"));
    mServer->command("drop device=1001");
    QCOMPARE(nextEvent("OBJ_ADHOC_EVENT")["eventValue"].toString(), QString("up again"));
}

void TestScript::aRunHandsOverWhatItSent()
{
    run("for (var i = 1; i <= 500; ++i) receiver.setAnalogInput_Slot(1 + i % 4, i % 100); sender.exit(9);",
        options());
    QCOMPARE(mSimulator->waitForEnd(), 9);
    QVERIFY(!mServer->line("message", 500).isEmpty());
    QCOMPARE(mServer->count("message"), 500);
}

void TestScript::aRunDoesNotWaitForEver()
{
    // No program listens at this port.
    run("receiver.setAnalogInput_Slot(1, 5); sender.exit(4);",
        {"--headless", "--ain", "1", "--server", "127.0.0.1:1"});
    QCOMPARE(mSimulator->waitForEnd(), 4);
}

void TestScript::aRunWithoutAConnectionWaitsForNothing()
{
    run("receiver.setAnalogInput_Slot(1, 5); print('ended ' + Date.now());", {"--headless", "--ain", "1"});
    QCOMPARE(mSimulator->waitForEnd(), 0);
    QVERIFY(mSimulator->errors().contains("ended "));
}

ZUL_QTEST_GUILESS(TestScript)
#include "script_test.moc"
