// When the program ends with the script of --run.

#include "cscriptrun.h"
#include "qttestmain.h"
#include "scriptedwindow.h"

#include <QLoggingCategory>
#include <atomic>
#include <thread>

namespace {

const Counts kCounts{2, 2, 2, 2, 0};

} // namespace

class TestScriptRun : public QObject
{
    Q_OBJECT

private slots:
    void itEndsWhenTheLinkHasTakenAll();
    void itWaitsTwoSecondsForALinkThatIsDown();
    void itDoesNotWaitForALinkThatIsOff();
    void aStoppedScriptEndsTheProgramWithOne();
    void anEndMayBeToldWhenTheDeviceIsGone();
};

void TestScriptRun::itEndsWhenTheLinkHasTakenAll()
{
    ScriptedWindow run(kCounts);
    TestServer server;
    run.device().connectTo({"127.0.0.1", 1});
    // The server appears when the script has ended.
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        if (event.state == sScriptEvent::ENDED) {
            QCOMPARE(run.device().linkState().waiting, uint64_t{3});
            run.device().connectTo({"127.0.0.1", server.port()});
        }
    });
    cScriptRun scriptRun(run.window(), false);
    QCOMPARE(
        scriptRun.start(run.home().write("a.js", "for (var i = 1; i <= 3; ++i)"
                                                 "  receiver.setAnalogInput_Slot(1, i); sender.exit(6);"),
                        {}),
        QString());
    QCOMPARE(QApplication::exec(), 6);
    for (int i = 0; i < 3; ++i) {
        QVERIFY(server.next().list);
    }
}

void TestScriptRun::itWaitsTwoSecondsForALinkThatIsDown()
{
    ScriptedWindow run(kCounts);
    run.device().connectTo({"127.0.0.1", 1});
    QElapsedTimer timer;
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&] { timer.start(); });
    cScriptRun scriptRun(run.window(), false);
    QCOMPARE(
        scriptRun.start(run.home().write("a.js", "receiver.setAnalogInput_Slot(1, 1); sender.exit(5);"), {}),
        QString());
    QCOMPARE(QApplication::exec(), 5);
    QVERIFY2(timer.elapsed() >= 1990, qPrintable(QString::number(timer.elapsed())));
}

void TestScriptRun::itDoesNotWaitForALinkThatIsOff()
{
    ScriptedWindow run(kCounts);
    run.device().connectTo({"127.0.0.1", 1});
    run.device().disconnectLink();
    cScriptRun scriptRun(run.window(), false);
    bool fired = false;
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        if (event.state == sScriptEvent::ENDED) {
            QTimer::singleShot(1900, this, [&] { fired = true; });
        }
    });
    QCOMPARE(scriptRun.start(run.home().write("a.js", "receiver.setAnalogInput_Slot(1, 1);"), {}), QString());
    QCOMPARE(QApplication::exec(), 0);
    QVERIFY(!fired);
    QCOMPARE(run.device().linkState().waiting, uint64_t{1});
}

void TestScriptRun::aStoppedScriptEndsTheProgramWithOne()
{
    ScriptedWindow run(kCounts);
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        if (event.state == sScriptEvent::STARTED) {
            QTimer::singleShot(0, this, [&] { run.window().scripts().stop(); });
        }
    });
    cScriptRun scriptRun(run.window(), false);
    QCOMPARE(scriptRun.start(run.home().write("a.js", "while (true) { }"), {}), QString());
    QCOMPARE(QApplication::exec(), 1);
}

void TestScriptRun::anEndMayBeToldWhenTheDeviceIsGone()
{
    static std::atomic<bool> ended = false;
    QLoggingCategory::setFilterRules("zulbench.scripts.debug=true");
    const QtMessageHandler former =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            ended = ended || text.startsWith("end ");
        });
    ScriptedWindow run(kCounts);
    cScriptRun scriptRun(run.window(), false);
    QStringList told;
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        told.append(QString::number(event.state) + (run.window().device() == nullptr ? " gone" : ""));
    });
    QCOMPARE(scriptRun.start(run.home().write("a.js", "1;"), {}), QString());
    // The event loop, which would tell the end, does not run meanwhile.
    while (!ended) {
        std::this_thread::yield();
    }
    QVERIFY(run.window().shutDown());
    qInstallMessageHandler(former);
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(told.last(), QString::number(sScriptEvent::ENDED) + " gone");
}

ZUL_QTEST(TestScriptRun)
#include "scriptrun_test.moc"
