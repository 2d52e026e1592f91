#include "cdinput.h"
#include "cscriptreceiver.h"
#include "failingthreads.h"
#include "loglines.h"
#include "qttestmain.h"
#include "scriptedwindow.h"
#include "scriptworker.h"

#include <QScriptEngine>
#include <atomic>
#include <thread>

namespace {

/// Where a script may be when it has to end. Each first sets digital input 1.
void whereScriptsAre()
{
    QTest::addColumn<QByteArray>("script");
    const auto row = [](const char* name, const QByteArray& script) {
        QTest::newRow(name) << "receiver.setDigitalInput_Slot(1, 1);" + script;
    };
    const QByteArray connected("sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);");
    row("in an endless loop", "while (true) { }");
    row("in a loop that catches everything",
        "while (true) { try { while (true) { } } catch (e) { } finally { } }");
    row("in a tight loop of emissions",
        connected + "for (var i = 0; true; ++i) sender.setAnalogInput_Signal(1, i % 100);");
    row("in a loop of emissions that nobody hears", "while (true) sender.setAnalogInput_Signal(1, 1);");
    row("in a loop that prints", "while (true) print('on and on');");
    row("in a loop of questions", "while (true) receiver.getDigitalInputValue(1);");
    row("in a loop of questions that catches everything",
        "while (true) { try { receiver.getDigitalInputValue(1); } catch (e) { } }");
    row("in a fast loop that became a slow one", "for (var i = 0; i < 3000000; ++i) { } while (true) { try { "
                                                 "receiver.getDiscreteInputCount(); } catch (e) { } }");
    row("in a loop of short sleeps", "while (true) sender.sleep(1);");
    row("in a long sleep", "sender.sleep(1e9);");
    row("in a sleep for ever", "sender.sleep(Infinity); while (true) { }");
    row("in a handler of its own", "sender.setAnalogInput_Signal.connect(function() { while (true) { } }); "
                                   "sender.setAnalogInput_Signal(1, 1);");
    row("in a handler of a handler", "sender.setAnalogInput_Signal.connect(function() { "
                                     "sender.setDigitalInput_Signal(1, 1); while (true) { } });"
                                     "sender.setDigitalInput_Signal.connect(function() { while (true) { } "
                                     "}); sender.setAnalogInput_Signal(1, 1);");
    row("in an endless loop of a function that it left", "sender.after(1, function() { while (true) { } });");
    row("in a function that it left and that catches everything",
        "sender.after(1, function() { while (true) { try { while (true) { } } catch (e) { } finally { } } "
        "});");
    row("in functions that leave functions",
        "function again() { sender.after(0, again); sender.after(0, again); } again();");
    row("in a sleep of a function that it left", "sender.every(1, function() { sender.sleep(1e9); });");
    row("waiting for a function's time", "sender.after(1e9, function() { });");
    row("waiting for a time that never comes", "sender.every(Infinity, function() { });");
    row("waiting for a change", "sender.on('ain', 1, function() { }); sender.on('link', function() { });");
    row("in an endless loop of a handler",
        "sender.on('ain', 2, function() { while (true) { } }); receiver.setAnalogInput_Slot(2, 1);");
    row("in a handler that changes what it watches",
        "sender.on('ain', 2, function(value) { receiver.setAnalogInput_Slot(2, (value + 1) % 101); });"
        "receiver.setAnalogInput_Slot(2, 1);");
    row("in the text of its exception", "throw {toString: function() { while (true) { } }};");
    row("at its exit", "sender.exit(1);");
    row("at its end", "");
    row("at an error", "nobody();");
    row("after it has ended its thread", "sender.finished();");
    row("after it has tried to delete its sender", "sender.deleteLater();");
    row("after it has tried to announce the end of its sender", "sender.destroyed();");
}

/// Runs scripts against a device without a window, and hears of their analog signals.
class ScriptRun
{
public:
    // A script that waits for the GUI thread is released first.
    ~ScriptRun() { deleteDevice(); }

    void start(const QByteArray& script)
    {
        auto worker = std::make_unique<scriptWorker>(mDevice->executor());
        worker->receiveScriptFileName(mHome.write("script.js", script), mDevice.get());
        QObject::connect(worker.get(), &scriptWorker::setAnalogInput_Signal,
                         [this](int, int value) { mSaid = value; });
        mScripts.start(std::move(worker));
    }

    /// The value of the script's last analog signal, 0 before that.
    int said() const { return mSaid; }

    cDevice& device() { return *mDevice; }
    void deleteDevice() { mDevice.reset(); }
    bool stop() { return mScripts.stop(); }

private:
    ConsoleCapture mConsole;
    HomeFiles mHome;
    std::atomic<int> mSaid{0};
    std::unique_ptr<cDevice> mDevice = makeDevice(kScriptedCounts);
    cScripts mScripts;
};

} // namespace

class TestScriptLifetime : public QObject
{
    Q_OBJECT

private slots:
    void destroyingTheWindowEndsAScript_data() { whereScriptsAre(); }
    void destroyingTheWindowEndsAScript();
    void reloadingTheDeviceLeavesAScriptAlone_data() { whereScriptsAre(); }
    void reloadingTheDeviceLeavesAScriptAlone();
    void aScriptEndsBeforeItBegins();
    void aScriptThatWaitsForTheGuiThreadEnds();
    void anEmissionDoesNotWaitForTheWindow();
    void aScriptThatWaitsForRoomInTheExecutorEnds();
    void whatAScriptLeftIsDoneAfterItsEnd();
    void manyScriptsEndTogether();
    void aTightLoopDoesNotStarveTheWindow();
    void closingTheWindowLeavesItsScriptsToItsEnd();
    void aLaterStartDoesNotDisturbAnEarlierScript();
    void startingWhileAScriptLoops();

    void withoutItsDeviceACallThrows_data();
    void withoutItsDeviceACallThrows();
    void withoutItsDeviceAnEmissionThrows_data();
    void withoutItsDeviceAnEmissionThrows();
    void withoutADeviceEveryCallThrows();
    void anOldScriptNeverReachesTheNewDevice();
    void aStoppedScriptRunsNoFurtherLine();
    void stoppingTwiceIsFine();
    void aRefusedThreadIsAnErrorInTheLog();
};

void TestScriptLifetime::destroyingTheWindowEndsAScript()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    run.run(script);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(1), 1, 30000);
    // This gives up after less than two seconds.
    QVERIFY(run.window().shutDown());
    run.destroyWindow();
}

void TestScriptLifetime::reloadingTheDeviceLeavesAScriptAlone()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    run.run(script);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(1), 1, 30000);
    run.load({1, 1, 1, 1, 1});
    run.load(kScriptedCounts);
    run.run("receiver.setDigitalInput_Slot(2, 1)");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(2), 1, 30000);
    QCOMPARE(run.device().getDigitalInputValue(1), 0);
    QCOMPARE(run.device().getAnalogInputValue(1), 0);
    QVERIFY(run.window().shutDown());
}

void TestScriptLifetime::aScriptEndsBeforeItBegins()
{
    for (int time = 0; time < 20; ++time) {
        ScriptRun run;
        run.start("while (true) { }");
        run.deleteDevice();
        QVERIFY(run.stop());
    }
}

void TestScriptLifetime::aScriptThatWaitsForTheGuiThreadEnds()
{
    ScriptRun run;
    // This thread handles no events from here on.
    run.start("sender.setAnalogInput_Signal(1, 7); receiver.getAnalogInputValue(1); "
              "sender.setAnalogInput_Signal(1, 8);");
    while (run.said() != 7) {
        std::this_thread::yield();
    }
    run.deleteDevice();
    QVERIFY(run.stop());
    QCOMPARE(run.said(), 7);
}

void TestScriptLifetime::anEmissionDoesNotWaitForTheWindow()
{
    ScriptRun run;
    // This thread handles no events until the script has said something.
    run.start("sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);"
              "sender.setDigitalInput_Signal(1, 1); sender.setDigitalInput_Signal(2, 1);"
              "sender.setAnalogInput_Signal(1, 7);");
    while (run.said() != 7) {
        std::this_thread::yield();
    }
    QCOMPARE(run.device().getDigitalInputValue(1), 0);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(2), 1, 30000);
    QCOMPARE(run.device().getDigitalInputValue(1), 1);
}

void TestScriptLifetime::aScriptThatWaitsForRoomInTheExecutorEnds()
{
    const auto most = static_cast<int>(cGuiExecutor::kMaxPosted);
    ScriptRun run;
    // This thread handles no events from here on.
    run.start("sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);"
              "for (var i = 1; true; ++i) sender.setAnalogInput_Signal(1, i);");
    while (run.said() != most + 1) {
        std::this_thread::yield();
    }
    run.deleteDevice();
    QVERIFY(run.stop());
    QCOMPARE(run.said(), most + 1);
}

void TestScriptLifetime::whatAScriptLeftIsDoneAfterItsEnd()
{
    ScriptRun run;
    run.start("for (var i = 1; i <= 100; ++i) receiver.setAnalogInput_Slot(1, i);"
              "sender.setAnalogInput_Signal(1, 7);");
    while (run.said() != 7) {
        std::this_thread::yield();
    }
    QVERIFY(run.stop());
    QCOMPARE(run.device().getAnalogInputValue(1), 0);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getAnalogInputValue(1), 100, 30000);
}

void TestScriptLifetime::manyScriptsEndTogether()
{
    ScriptedWindow run({40, 0, 1, 0, 0});
    const QByteArrayList bodies{"while (true) { }",
                                "for (var i = 0; true; ++i) receiver.setAnalogInput_Slot(1, i % 100);",
                                "while (true) receiver.getAnalogInputValue(1);", "sender.sleep(1e9);"};
    for (int number = 1; number <= 40; ++number) {
        run.run("receiver.setDigitalInput_Slot(" + QByteArray::number(number) + ", 1);" +
                bodies.at(number % bodies.size()));
    }
    for (int number = 1; number <= 40; ++number) {
        QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(number), 1, 60000);
    }
    QCOMPARE(run.window().scriptCount(), size_t{40});
    QVERIFY(run.window().shutDown());
    QCOMPARE(run.window().scriptCount(), size_t{0});
}

void TestScriptLifetime::aTightLoopDoesNotStarveTheWindow()
{
    ScriptedWindow run(kScriptedCounts);
    run.window().show();
    for (int number = 1; number <= 4; ++number) {
        const QByteArray port = QByteArray::number(number);
        run.run("receiver.setDigitalInput_Slot(" + port + ", 1);" +
                "for (var i = 0; true; ++i) receiver.setAnalogInput_Slot(" + port + ", i % 100);");
        QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(number), 1, 30000);
    }
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&] { ++ticks; });
    timer.start(1);
    QTRY_VERIFY_WITH_TIMEOUT(ticks > 100, 30000);
    QVERIFY(run.window().shutDown());
}

void TestScriptLifetime::closingTheWindowLeavesItsScriptsToItsEnd()
{
    ScriptedWindow run(kScriptedCounts);
    run.window().show();
    run.run("for (var i = 0; true; ++i) receiver.setAnalogInput_Slot(1, 1 + i % 100);");
    QTRY_VERIFY_WITH_TIMEOUT(run.device().getAnalogInputValue(1) > 0, 30000);
    QVERIFY(run.window().close());
    QVERIFY(run.window().shutDown());
    QVERIFY(run.window().device() == nullptr);
}

void TestScriptLifetime::aLaterStartDoesNotDisturbAnEarlierScript()
{
    // Each start is told to the earlier workers too, whose scripts are under way already.
    ScriptedWindow run(kScriptedCounts);
    run.run("for (var i = 0; receiver.getDigitalInputValue(2) == 0; ++i) { } "
            "receiver.setDigitalInput_Slot(3, 1);");
    run.run("receiver.setDigitalInput_Slot(2, 1); receiver.setDigitalInput_Slot(4, 1);");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(3), 1, 30000);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(4), 1, 30000);
}

void TestScriptLifetime::startingWhileAScriptLoops()
{
    ScriptedWindow run(kScriptedCounts);
    run.run("receiver.setDigitalInput_Slot(1, 1); while (true) { }");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(1), 1, 30000);
    for (int time = 0; time < 10; ++time) {
        run.run("receiver.setAnalogInput_Slot(1, receiver.getAnalogInputValue(1) + 1);");
        QTRY_COMPARE_WITH_TIMEOUT(run.device().getAnalogInputValue(1), time + 1, 30000);
    }
    QVERIFY(run.window().shutDown());
}

void TestScriptLifetime::withoutItsDeviceACallThrows_data()
{
    QTest::addColumn<QByteArray>("call");
    for (const char* call : {"receiver.getDiscreteInputCount()",
                             "receiver.getDiscreteOutputCount()",
                             "receiver.getAnalogInputCount()",
                             "receiver.getAnalogOutputCount()",
                             "receiver.getDigitalInputValue(1)",
                             "receiver.getAnalogInputValue(1)",
                             "receiver.getDigitalOutputValue(1)",
                             "receiver.getAnalogOutputValue(1)",
                             "receiver.getScannerCount()",
                             "receiver.getSerial()",
                             "receiver.getLabel()",
                             "receiver.getDefaultState('din', 1)",
                             "receiver.getAlarm('din', 1)",
                             "receiver.getGain(1)",
                             "receiver.getOffset(1)",
                             "receiver.getSampleRate(1)",
                             "receiver.getOutputSample(1)",
                             "receiver.setDigitalInput_Slot(1, 1)",
                             "receiver.setAnalogInput_Slot(1, 1)",
                             "receiver.connectDigitalInput_Slot(1, 1, true)",
                             "receiver.connectAnalogInput_Slot(1, 1, true)",
                             "sender.on('din', 1, print)",
                             "sender.on('link', print)",
                             "sender.scan(1, 'K')",
                             "sender.adhoc(1, 'a', 'b')"}) {
        QTest::newRow(call) << QByteArray(call);
    }
}

void TestScriptLifetime::withoutItsDeviceACallThrows()
{
    QFETCH(QByteArray, call);
    ScriptRun run;
    run.start("sender.setAnalogInput_Signal(1, 1);"
              "while (true) { try { receiver.getAnalogInputValue(1); } catch (e) { break; } }"
              "try { " +
              call +
              "; sender.setAnalogInput_Signal(1, 2); }"
              "catch (e) { sender.setAnalogInput_Signal(1, e instanceof Error ? 3 : 4); }");
    QTRY_COMPARE_WITH_TIMEOUT(run.said(), 1, 30000);
    run.deleteDevice();
    QTRY_VERIFY_WITH_TIMEOUT(run.said() != 1, 30000);
    QCOMPARE(run.said(), 3);
}

void TestScriptLifetime::withoutItsDeviceAnEmissionThrows_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<QByteArray>("arguments");
    QTest::newRow("a digital value") << QByteArray("setDigitalInput") << QByteArray("(1, 1)");
    QTest::newRow("a digital wire") << QByteArray("connectDigitalInput") << QByteArray("(1, 1, true)");
    QTest::newRow("an analog wire") << QByteArray("connectAnalogInput") << QByteArray("(1, 1, true)");
}

void TestScriptLifetime::withoutItsDeviceAnEmissionThrows()
{
    QFETCH(QByteArray, signal);
    QFETCH(QByteArray, arguments);
    ScriptRun run;
    run.start("sender." + signal + "_Signal.connect(receiver." + signal +
              "_Slot);"
              "sender.setAnalogInput_Signal(1, 1);"
              "while (true) { try { receiver.getAnalogInputValue(1); } catch (e) { break; } }"
              "try { sender." +
              signal + "_Signal" + arguments +
              "; sender.setAnalogInput_Signal(1, 2); }"
              "catch (e) { sender.setAnalogInput_Signal(1, 3); }");
    QTRY_COMPARE_WITH_TIMEOUT(run.said(), 1, 30000);
    run.deleteDevice();
    QTRY_VERIFY_WITH_TIMEOUT(run.said() != 1, 30000);
    QCOMPARE(run.said(), 3);
}

void TestScriptLifetime::withoutADeviceEveryCallThrows()
{
    QString caught;
    std::thread([&] {
        QScriptEngine engine;
        cScriptReceiver receiver(nullptr, std::make_shared<cGuiExecutor>(), {});
        engine.globalObject().setProperty("receiver", engine.newQObject(&receiver));
        caught = engine.evaluate("try { receiver.getDiscreteInputCount(); } catch (e) { 'caught ' + e }")
                     .toString();
    }).join();
    QCOMPARE(caught, QString("caught Error: the device is gone"));
}

void TestScriptLifetime::anOldScriptNeverReachesTheNewDevice()
{
    ScriptedWindow run(kScriptedCounts);
    run.run("receiver.setDigitalInput_Slot(1, 1);"
            "while (true) { try { receiver.setDigitalInput_Slot(2, 1); receiver.setDigitalInput_Slot(2, 0); }"
            "               catch (e) { } }");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(1), 1, 30000);
    run.load(kScriptedCounts);
    QSignalSpy changes(run.device().getInput(1), &cDInput::inputChanged);
    // By the time that a new script has done its work, the old one has tried.
    run.run("for (var i = 1; i <= 100; ++i) receiver.setAnalogInput_Slot(1, i);");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getAnalogInputValue(1), 100, 30000);
    QCOMPARE(changes.count(), 0);
    QVERIFY(run.window().shutDown());
}

void TestScriptLifetime::aStoppedScriptRunsNoFurtherLine()
{
    ScriptRun run;
    run.start("sender.setAnalogInput_Signal(1, 1); sender.sleep(1e9); sender.setAnalogInput_Signal(1, 2);");
    QTRY_COMPARE_WITH_TIMEOUT(run.said(), 1, 30000);
    QVERIFY(run.stop());
    QCOMPARE(run.said(), 1);
}

void TestScriptLifetime::stoppingTwiceIsFine()
{
    ScriptRun run;
    run.start("sender.setAnalogInput_Signal(1, 1); while (true) { }");
    QTRY_COMPARE_WITH_TIMEOUT(run.said(), 1, 30000);
    QVERIFY(run.stop());
    QVERIFY(run.stop());
}

void TestScriptLifetime::aRefusedThreadIsAnErrorInTheLog()
{
    ScriptedWindow run(kScriptedCounts);
    LogLines log;
    FailingThreads::refuseNext();
    run.run("receiver.setDigitalInput_Slot(1, 1);");
    QVERIFY(FailingThreads::hasRefused());
    QVERIFY(log.waitFor(
        ("The system refuses a thread, so this script does not run: " + run.home().pathOf("script1.js"))
            .toLocal8Bit()));
    QCOMPARE(run.window().scriptCount(), size_t{0});
    run.run("receiver.setDigitalInput_Slot(2, 1);");
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(2), 1, 30000);
    QCOMPARE(run.device().getDigitalInputValue(1), 0);
    QVERIFY(run.window().shutDown());
}

ZUL_QTEST(TestScriptLifetime)
#include "scriptlifetime_test.moc"
