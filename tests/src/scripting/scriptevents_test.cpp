// What a program is told about the scripts that it starts.

#include "eventlog.h"
#include "failingthreads.h"
#include "qttestmain.h"
#include "scriptedwindow.h"
#include "scriptworker.h"

class TestScriptEvents : public QObject
{
    Q_OBJECT

private slots:
    void aScriptStartsAndEnds();
    void aScriptHasStartedWhileItRuns();
    void everyScriptHasItsNumber();
    void whatAScriptAskedForIsDoneAtItsEnd();
    void anExceptionTellsItsPlaceAndItsCalls();
    void anExceptionOfAnyKindIsToldWithItsLine_data();
    void anExceptionOfAnyKindIsToldWithItsLine();
    void aLongErrorIsCut();
    void aSyntaxErrorIsToldWithoutAStart();
    void theSyntaxIsTheEnginesOwn_data();
    void theSyntaxIsTheEnginesOwn();
    void anUnreadableFileFails();
    void aFileThatIsTooLongFails();
    void theEndOfTheProgramStopsAScript_data();
    void theEndOfTheProgramStopsAScript();
    void afterAStopOthersMayBeStarted();
    void aHandlerMayStopTheScripts();
    void aRefusedThreadHasNoNumberAndNoEvent();
    void theNumberOfRunningScriptsFollows();
    void aScriptFindsItsArguments();
};

void TestScriptEvents::aScriptStartsAndEnds()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("1;");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    QCOMPARE(log.last().file, run.home().pathOf("script1.js"));
    QCOMPARE(log.last().error, QString());
    QCOMPARE(log.last().line, 0);
}

void TestScriptEvents::aScriptHasStartedWhileItRuns()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("while (true) { }");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 started"), 30000);
    QCOMPARE(log.last().file, run.home().pathOf("script1.js"));
}

void TestScriptEvents::everyScriptHasItsNumber()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path = run.home().write("a.js", "1;");
    for (uint64_t number = 1; number <= 3; ++number) {
        QCOMPARE(run.window().runScript(path), std::make_optional(number));
    }
    QTRY_COMPARE_WITH_TIMEOUT(log.words().size(), 6, 30000);
    for (const char* words : {"1 ended", "2 ended", "3 ended"}) {
        QVERIFY2(log.words().contains(words), words);
    }
}

void TestScriptEvents::whatAScriptAskedForIsDoneAtItsEnd()
{
    ScriptedWindow run({4, 4, 100, 4, 3});
    int atEnd = -1;
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        if (event.state == sScriptEvent::ENDED) {
            atEnd = run.device().getAnalogInputValue(100);
        }
    });
    run.run("for (var i = 1; i <= 100; ++i) receiver.setAnalogInput_Slot(i, i);");
    QTRY_COMPARE_WITH_TIMEOUT(atEnd, 100, 30000);
}

void TestScriptEvents::anExceptionTellsItsPlaceAndItsCalls()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path = run.home().write("a.js", "function outer() {\n    inner(7);\n}\n"
                                                  "function inner(n) {\n    nobody();\n}\nouter();\n");
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QCOMPARE(log.last().file, path);
    QCOMPARE(log.last().errorFile, path);
    QCOMPARE(log.last().line, 5);
    QCOMPARE(log.last().error, QString("ReferenceError: Can't find variable: nobody"));
    QCOMPARE(log.last().calls, QStringList({"inner(n = 7) at " + path + ":5", "outer() at " + path + ":2",
                                            "<global>() at " + path + ":7"}));
}

void TestScriptEvents::anExceptionOfAnyKindIsToldWithItsLine_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("error");
    QTest::newRow("a text") << QByteArray("throw 'no';") << "no";
    QTest::newRow("nothing") << QByteArray("throw undefined;") << "undefined";
    QTest::newRow("an object") << QByteArray("throw {};") << "[object Object]";
    QTest::newRow("an error") << QByteArray("throw new Error('no');") << "Error: no";
    QTest::newRow("an object whose text throws")
        << QByteArray("throw {toString: function() { throw 'text'; }};") << "text";
    QTest::newRow("an object that names a file")
        << QByteArray("throw {fileName: 'b.js'};") << "[object Object]";
    QTest::newRow("too deep a recursion")
        << QByteArray("(function f() { f(); })();") << "RangeError: Maximum call stack size exceeded.";
}

void TestScriptEvents::anExceptionOfAnyKindIsToldWithItsLine()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path = run.home().write("a.js", "\n" + script);
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QTEST(log.last().error, "error");
    QCOMPARE(log.last().errorFile, path);
    QCOMPARE(log.last().line, 2);
}

void TestScriptEvents::aLongErrorIsCut()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("function fail(text, n) { if (n > 0) fail(text, n - 1); else throw text; }"
            "fail(new Array(100000).join('x'), 100);");
    QTRY_VERIFY_WITH_TIMEOUT(log.hasEnd(), 30000);
    QCOMPARE(log.last().error, QString(1000, 'x'));
    QCOMPARE(log.last().calls.size(), sScriptEvent::kMaxCalls);
    for (const QString& call : log.last().calls) {
        QCOMPARE(call.size(), 201);
        QVERIFY2(call.endsWith("/script1.js:1"), qPrintable(call));
    }
}

void TestScriptEvents::aSyntaxErrorIsToldWithoutAStart()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path = run.home().write("a.js", "var a = 1;\nvar b = ;\n");
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 failed"), 30000);
    QCOMPARE(log.last().errorFile, path);
    QCOMPARE(log.last().error, QString("SyntaxError: Parse error"));
    QCOMPARE(log.last().line, 2);
    QCOMPARE(log.last().calls, QStringList());
}

void TestScriptEvents::theSyntaxIsTheEnginesOwn_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("an empty file") << QByteArray();
    QTest::newRow("a comment without an end of line") << QByteArray("// all");
    QTest::newRow("a constant") << QByteArray("const a = 1; a;");
    QTest::newRow("a getter") << QByteArray("var a = {get b() { return 1; }}; a.b;");
}

void TestScriptEvents::theSyntaxIsTheEnginesOwn()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.window().runScript(run.home().write("a.js", script));
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
}

void TestScriptEvents::anUnreadableFileFails()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    // It may be opened, but not read.
    const QString path = run.home().write("a.js", "1;");
    auto worker = std::make_unique<scriptWorker>(run.device().executor());
    worker->receiveScriptFileName(path, &run.device());
    QVERIFY(QFile::remove(path));
    QCOMPARE(run.window().scripts().start(std::move(worker)), uint64_t{1});
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 failed"), 30000);
    QCOMPARE(log.last().error, QString("the script file '%1' could not be opened").arg(path));
    QCOMPARE(log.last().line, 0);
}

void TestScriptEvents::aFileThatIsTooLongFails()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path =
        run.home().write("a.js", "1;" + QByteArray(static_cast<int>(scriptWorker::kMaxBytes) - 1, ' '));
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 failed"), 30000);
    QCOMPARE(log.last().error, QString("the script file '%1' is longer than 16 MiB").arg(path));
}

void TestScriptEvents::theEndOfTheProgramStopsAScript_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("in a loop") << QByteArray("while (true) { }");
    QTest::newRow("in a sleep") << QByteArray("sender.sleep(1e9);");
    QTest::newRow("in a call") << QByteArray("while (true) receiver.getAnalogInputValue(1);");
    QTest::newRow("in a tight loop of settings")
        << QByteArray("while (true) receiver.setAnalogInput_Slot(1, 2);");
    QTest::newRow("in the text of its exception")
        << QByteArray("throw {toString: function() { while (true) { } }};");
}

void TestScriptEvents::theEndOfTheProgramStopsAScript()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("receiver.setDigitalInput_Slot(1, 1);" + script);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getDigitalInputValue(1), 1, 30000);
    QVERIFY(run.window().shutDown());
    QCOMPARE(log.words(), QStringList({"1 started", "1 stopped"}));
    QCOMPARE(log.last().error, QString());
}

void TestScriptEvents::afterAStopOthersMayBeStarted()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("while (true) { }");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 started"), 30000);
    QVERIFY(run.window().scripts().stop());
    QCOMPARE(log.words(), QStringList({"1 started", "1 stopped"}));
    run.run("receiver.setDigitalInput_Slot(1, 1);");
    QTRY_COMPARE_WITH_TIMEOUT(log.words().mid(2), QStringList({"2 started", "2 ended"}), 30000);
    QCOMPARE(run.device().getDigitalInputValue(1), 1);
}

void TestScriptEvents::aHandlerMayStopTheScripts()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    bool stopped = false;
    connect(&run.window().scripts(), &cScripts::scriptChanged, this, [&](const sScriptEvent& event) {
        if (event.script == 2 && event.state == sScriptEvent::ENDED) {
            stopped = run.window().scripts().stop();
        }
    });
    run.run("while (true) { }");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList("1 started"), 30000);
    run.run("1;");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "2 started", "2 ended", "1 stopped"}),
                              30000);
    QVERIFY(stopped);
}

void TestScriptEvents::aRefusedThreadHasNoNumberAndNoEvent()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path = run.home().write("a.js", "1;");
    FailingThreads::refuseNext();
    QCOMPARE(run.window().runScript(path), std::make_optional(uint64_t{0}));
    QCOMPARE(run.window().runScript(path), std::make_optional(uint64_t{1}));
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
}

void TestScriptEvents::theNumberOfRunningScriptsFollows()
{
    ScriptedWindow run(kScriptedCounts);
    const cScripts& scripts = run.window().scripts();
    QCOMPARE(scripts.running(), size_t{0});
    run.run("while (true) { }");
    run.run("while (receiver.getDigitalInputValue(1) == 0) { }");
    QCOMPARE(scripts.running(), size_t{2});
    run.device().setDigitalInput_Slot(1, 1);
    QTRY_COMPARE_WITH_TIMEOUT(scripts.running(), size_t{1}, 30000);
    QCOMPARE(scripts.count(), size_t{2});
    QVERIFY(run.window().shutDown());
    QCOMPARE(scripts.running(), size_t{0});
}

void TestScriptEvents::aScriptFindsItsArguments()
{
    ScriptedWindow run(kScriptedCounts);
    const QString path = run.home().write(
        "a.js", "sender.adhoc(99, 'told', sender.arguments.length + sender.arguments.join())");
    run.window().runScript(path, {"one", "", QString::fromUtf8("zw\xC3\xB6lf")});
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString::fromUtf8("3one,,zw\xC3\xB6lf"), 30000);
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("0"), 30000);
}

ZUL_QTEST(TestScriptEvents)
#include "scriptevents_test.moc"
