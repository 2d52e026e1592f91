// How scripts react to changes.

#include "cdinput.h"
#include "eventlog.h"
#include "loglines.h"
#include "qttestmain.h"
#include "scriptedwindow.h"
#include "zulobj/aoutput.h"
#include "zulobj/doutput.h"

namespace {

/// Each handler tells all that was seen so far.
const QByteArray kSee("var seen = []; function see(what) { seen.push(what); tell(seen); }"
                      "function change(value, previous) { see(previous + '>' + value); }");

} // namespace

class TestScriptHandlers : public QObject
{
    Q_OBJECT

private slots:
    void aChangeIsHandedOverWithTheValueBefore_data();
    void aChangeIsHandedOverWithTheValueBefore();
    void anAnalogOutputHasItsFraction();
    void whatTheOperatorChangesIsHandedOver();
    void whatTheServerSetsIsHandedOver();
    void aValueThatStaysIsNoChange();
    void changesComeInTheirOrder();
    void handlersOfAPortAreCalledInTheirOrder();
    void aHandlerHearsOfLaterChangesOnly();
    void changesAndTimesComeInOneOrder();
    void handlersAreCalledAfterTheText();
    void oneHandlerIsCalledAtATime();
    void aHandlerMayChangeWhatItWatches();
    void aHandlerMayCancelAnother();
    void aScriptLivesAsLongAsItHasAHandler();
    void anExceptionInAHandlerEndsTheScript();
    void anExitInAHandlerEndsTheScript();
    void theLinkIsWatched();
    void aWrongArgumentThrows_data();
    void aWrongArgumentThrows();
    void withItsDeviceTheHandlersGo();
    void withoutItsDeviceTimersGoOn();
    void withoutItsDeviceThereIsNothingToWatch();
    void whatHasEndedIsToldNothing();
    void aSlowScriptMissesTheOldestChanges();
};

void TestScriptHandlers::aChangeIsHandedOverWithTheValueBefore_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("seen");
    QTest::newRow("din") << QByteArray("sender.on('din', 2, change); receiver.setDigitalInput_Slot(2, 1);"
                                       "receiver.setDigitalInput_Slot(2, 0);")
                         << "0>1,1>0";
    QTest::newRow("dout")
        << QByteArray("sender.on('dout', 3, change); receiver.connectDigitalInput_Slot(1, 3, true);"
                      "receiver.setDigitalInput_Slot(1, 1); receiver.setDigitalInput_Slot(1, 0);")
        << "0>1,1>0";
    QTest::newRow("ain") << QByteArray("sender.on('ain', 4, change); receiver.setAnalogInput_Slot(4, 70);"
                                       "receiver.setAnalogInput_Slot(4, 0);")
                         << "0>70,70>0";
    QTest::newRow("aout") << QByteArray(
                                 "sender.on('aout', 1, change); receiver.connectAnalogInput_Slot(1, 1, true);"
                                 "receiver.setAnalogInput_Slot(1, 70); receiver.setAnalogInput_Slot(1, 71);")
                          << "0>70,70>71";
}

void TestScriptHandlers::aChangeIsHandedOverWithTheValueBefore()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + script);
    QFETCH(QString, seen);
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), seen, 30000);
}

void TestScriptHandlers::anAnalogOutputHasItsFraction()
{
    ScriptedWindow run(kScriptedCounts);
    TestServer server;
    QVERIFY(connectTo(run.device(), server));
    run.run(kSee + "sender.on('aout', 2, change); tell('ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    cObjectAOutput output;
    output.setDeviceSerial(cObject::kWildcard);
    output.setPortId(2);
    output.setSampledValue(1.5F);
    server.send(cObjectList::kSet, 1, {&output});
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("0>1.5"), 30000);
}

void TestScriptHandlers::whatTheOperatorChangesIsHandedOver()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('din', 2, change); sender.on('ain', 1, change); tell('ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    run.device().getInput(1)->combo_select(1);
    panelview::row<QWidget>(run.device(), panelview::ANALOG_INPUTS, 1)->findChild<QSlider*>()->setValue(12);
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("0>1,0>12"), 30000);
}

void TestScriptHandlers::whatTheServerSetsIsHandedOver()
{
    ScriptedWindow run(kScriptedCounts);
    TestServer server;
    QVERIFY(connectTo(run.device(), server));
    run.run(kSee + "sender.on('dout', 1, change); tell('ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    cObjectDOutput output;
    output.setDeviceSerial(cObject::kWildcard);
    output.setPortId(1);
    output.setOutputState(cObject::OBJ_IO_STATE_SET);
    server.send(cObjectList::kSet, 1, {&output});
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("0>1"), 30000);
}

void TestScriptHandlers::aValueThatStaysIsNoChange()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('ain', 1, change); receiver.setAnalogInput_Slot(1, 5);"
                   "receiver.setAnalogInput_Slot(1, 5); receiver.setAnalogInput_Slot(1, 6);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("0>5,5>6"), 30000);
}

void TestScriptHandlers::changesComeInTheirOrder()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "receiver.connectDigitalInput_Slot(1, 2, true);"
                   "['dout', 'din', 'ain'].forEach(function(kind) {"
                   "  [2, 1].forEach(function(port) {"
                   "    sender.on(kind, port, function(value) { see(kind + port + '=' + value); }); }); });"
                   "receiver.setAnalogInput_Slot(2, 9); receiver.setDigitalInput_Slot(1, 1);"
                   "receiver.setAnalogInput_Slot(1, 8); receiver.setDigitalInput_Slot(2, 1);"
                   "receiver.setAnalogInput_Slot(2, 7);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ain2=9,din1=1,dout2=1,ain1=8,din2=1,ain2=7"), 30000);
}

void TestScriptHandlers::handlersOfAPortAreCalledInTheirOrder()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "for (var i = 1; i <= 4; ++i) (function(n) {"
                   "  sender.on('ain', 1, function(value) { see(n + '=' + value); }); })(i);"
                   "receiver.setAnalogInput_Slot(1, 5); receiver.setAnalogInput_Slot(1, 6);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("1=5,2=5,3=5,4=5,1=6,2=6,3=6,4=6"), 30000);
}

void TestScriptHandlers::aHandlerHearsOfLaterChangesOnly()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "receiver.setAnalogInput_Slot(1, 1); sender.on('ain', 1, change);"
                   "receiver.setAnalogInput_Slot(1, 2);"
                   "sender.on('ain', 1, function(value) { see('late ' + value); });"
                   "receiver.setAnalogInput_Slot(1, 3);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("1>2,2>3,late 3"), 30000);
}

void TestScriptHandlers::changesAndTimesComeInOneOrder()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('ain', 1, change); sender.after(0, function() { see('first'); });"
                   "sender.sleep(5); receiver.setAnalogInput_Slot(1, 1); receiver.getAnalogInputValue(1);"
                   "sender.after(10, function() { see('last'); }); sender.sleep(30);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("first,0>1,last"), 30000);
}

void TestScriptHandlers::handlersAreCalledAfterTheText()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('ain', 1, change); receiver.setAnalogInput_Slot(1, 1);"
                   "receiver.getAnalogInputValue(1); sender.sleep(10); see('text');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("text,0>1"), 30000);
}

void TestScriptHandlers::oneHandlerIsCalledAtATime()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "var inside = 0, most = 0, calls = 0;"
                   "sender.on('ain', 1, function() { most = Math.max(most, ++inside); sender.sleep(2);"
                   "  receiver.getAnalogInputValue(1); --inside; if (++calls == 10) tell(most); });"
                   "for (var i = 1; i <= 10; ++i) receiver.setAnalogInput_Slot(1, i);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("1"), 30000);
}

void TestScriptHandlers::aHandlerMayChangeWhatItWatches()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('ain', 1, function(value) {"
                   "  if (value < 50) receiver.setAnalogInput_Slot(1, value + 1); else tell('up'); });"
                   "receiver.setAnalogInput_Slot(1, 1);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("up"), 30000);
    QCOMPARE(run.device().getAnalogInputValue(1), 50);
}

void TestScriptHandlers::aHandlerMayCancelAnother()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee + "sender.on('ain', 1, function() { see('one ' + sender.cancel(other)); });"
                   "var other = sender.on('ain', 1, function() { see('other'); });"
                   "sender.on('ain', 1, function() { see('third'); });"
                   "receiver.setAnalogInput_Slot(1, 1); receiver.setAnalogInput_Slot(1, 2);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("one true,third,one false,third"), 30000);
}

void TestScriptHandlers::aScriptLivesAsLongAsItHasAHandler()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("var handle = sender.on('din', 1, function() { sender.cancel(handle); });"
            "sender.adhoc(99, 'told', 'ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    run.device().setDigitalInput_Slot(2, 1);
    QCOMPARE(run.window().scripts().running(), size_t{1});
    run.device().setDigitalInput_Slot(1, 1);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
}

void TestScriptHandlers::anExceptionInAHandlerEndsTheScript()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("sender.on('ain', 1, function(value) { if (value == 2) throw 'two'; tell(value); });"
            "for (var i = 1; i <= 4; ++i) receiver.setAnalogInput_Slot(1, i);");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QCOMPARE(log.last().error, QString("two"));
    QCOMPARE(run.told(), QString("1"));
}

void TestScriptHandlers::anExitInAHandlerEndsTheScript()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("sender.on('ain', 1, function(value) { tell(value); if (value == 2) sender.exit(5); });"
            "for (var i = 1; i <= 4; ++i) receiver.setAnalogInput_Slot(1, i);");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    QCOMPARE(log.last().status, 5);
    QCOMPARE(run.told(), QString("2"));
}

void TestScriptHandlers::theLinkIsWatched()
{
    ScriptedWindow run(kScriptedCounts);
    run.run(kSee +
            "sender.on('link', function(up) { see(up === true ? 'up' : up === false ? 'down' : up); });"
            "tell('ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    auto server = std::make_unique<TestServer>();
    const quint16 port = server->port();
    QVERIFY(connectTo(run.device(), *server));
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("up"), 30000);
    server.reset();
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("up,down"), 30000);
    server = std::make_unique<TestServer>(port);
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("up,down,up"), 30000);
    run.device().disconnectLink();
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("up,down,up,down"), 30000);
}

void TestScriptHandlers::aWrongArgumentThrows_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QString>("error");
    const auto row = [](const QByteArray& call, const char* error) {
        QTest::newRow(call.constData()) << call << error;
    };
    for (const char* kind : {"din", "dout", "ain", "aout"}) {
        for (const char* port : {"0", "5", "-1", "1.5", "4294967297"}) {
            QTest::addRow("sender.on('%s', %s, tell)", kind, port)
                << QString("sender.on('%1', %2, tell)").arg(kind, port).toUtf8()
                << QString("RangeError: there is no %1 %2").arg(kind, port);
        }
    }
    row("sender.on('din', 'one', tell)", "RangeError: there is no din one");
    row("sender.on('din', '1', tell)", "RangeError: there is no din 1");
    row("sender.on('din', undefined, tell)", "RangeError: there is no din undefined");
    row("sender.on('DIN', 1, tell)", "RangeError: there is no kind of port 'DIN'");
    row("sender.on('link', 1, tell)", "RangeError: there is no kind of port 'link'");
    row("sender.on('din', tell)", "RangeError: only 'link' is watched without a port, not 'din'");
    row("sender.on('din', 1, 'tell')", "TypeError: there is no function to call");
    row("sender.on('link', null)", "TypeError: there is no function to call");
}

void TestScriptHandlers::aWrongArgumentThrows()
{
    QFETCH(QByteArray, call);
    ScriptedWindow run(kScriptedCounts);
    run.run(errorOf(call));
    QTRY_VERIFY_WITH_TIMEOUT(!run.told().isEmpty(), 30000);
    QTEST(run.told(), "error");
}

void TestScriptHandlers::withItsDeviceTheHandlersGo()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("sender.on('din', 1, function() { }); sender.on('link', function() { }); tell('ready');");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    run.load(kScriptedCounts);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
}

void TestScriptHandlers::withoutItsDeviceTimersGoOn()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("sender.on('din', 1, function() { }); tell('ready');"
            "sender.every(1, function() { try { receiver.getSerial(); } catch (e) { sender.exit(4); } });");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    run.load(kScriptedCounts);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    QCOMPARE(log.last().status, 4);
}

void TestScriptHandlers::withoutItsDeviceThereIsNothingToWatch()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("tell('ready'); while (true) { try { receiver.getSerial(); } catch (e) { break; } }"
            "sender.on('din', 1, function() { });");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    run.load(kScriptedCounts);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QCOMPARE(log.last().error, QString("Error: the device is gone"));
}

void TestScriptHandlers::whatHasEndedIsToldNothing()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("sender.on('din', 1, tell); sender.exit();");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    run.device().setDigitalInput_Slot(1, 1);
    // Had it been told, it would be before the second script.
    run.run(kSee + "sender.on('din', 1, change); receiver.setDigitalInput_Slot(1, 0);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("1>0"), 30000);
}

void TestScriptHandlers::aSlowScriptMissesTheOldestChanges()
{
    ScriptedWindow run(kScriptedCounts);
    LogLines log;
    run.run("var calls = 0, first; sender.on('ain', 1, function(value, previous) {"
            "  if (++calls == 1) first = previous + '>' + value;"
            "  if (calls == 1024) tell(first + ' ' + previous + '>' + value); });"
            "tell('ready'); while (receiver.getDigitalInputValue(1) == 0) sender.sleep(1);");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("ready"), 30000);
    // These calls do not wait for the script.
    for (int i = 1; i <= 1024 + 3; ++i) {
        run.device().setAnalogInput_Slot(1, i % 100);
    }
    QVERIFY(log.waitFor("This script is too slow, so the oldest changes that wait for it are dropped: " +
                        run.home().pathOf("script1.js").toLocal8Bit()));
    run.device().setDigitalInput_Slot(1, 1);
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("3>4 26>27"), 30000);
}

ZUL_QTEST(TestScriptHandlers)
#include "scripthandlers_test.moc"
