// What scripts leave for later, and how they end themselves.

#include "eventlog.h"
#include "qttestmain.h"
#include "scriptedwindow.h"

namespace {

/// Runs @p script and compares what it has told at its end.
#define COMPARE_TOLD_AT_END(run, script, expected)                                                           \
    do {                                                                                                     \
        const EventLog log((run).window());                                                                  \
        (run).run(script);                                                                                   \
        QTRY_VERIFY_WITH_TIMEOUT(log.hasEnd(), 30000);                                                       \
        QCOMPARE(log.last().error, QString());                                                               \
        QCOMPARE((run).told(), QString(expected));                                                           \
    } while (false)

} // namespace

class TestScriptCallbacks : public QObject
{
    Q_OBJECT

private slots:
    void aFunctionIsCalledAfterItsDelay();
    void theTextRunsToItsEndFirst();
    void functionsAreCalledInTheOrderOfTheirTimes();
    void functionsOfOneTimeAreCalledInTheOrderOfTheirHandles();
    void oneFunctionIsCalledAtATime();
    void aFunctionIsCalledAgainAndAgain();
    void lateCallsAreLeftOut();
    void aScriptThatWaitsForNothingEnds();
    void aCancelledFunctionIsNotCalled();
    void cancellingTellsWhetherAnythingWasLeft();
    void aFunctionMayCancelItself();
    void aWrongArgumentThrows_data();
    void aWrongArgumentThrows();
    void anExceptionInAFunctionEndsTheScript();
    void nothingRunsAfterAnExit_data();
    void nothingRunsAfterAnExit();
    void aScriptEndsWithItsStatus_data();
    void aScriptEndsWithItsStatus();
    void anExitEndsThatScriptOnly();

    void anIncludedFileIsRunAsPartOfTheScript();
    void aRelativePathStartsAtTheFolderOfTheScript();
    void anAbsolutePathIsTakenAsItIs();
    void anIncludedFileMayBeIncludedAgain();
    void whatAnIncludedFileThrowsIsThrown();
    void anErrorInAnIncludedFileTellsItsPlace_data();
    void anErrorInAnIncludedFileTellsItsPlace();
    void aFileThatCannotBeIncludedThrows();
    void anIncludedFileThatIsTooLongThrows();
    void filesThatIncludeEachOtherThrow();

    void randomNumbersFollowFromTheSeed();
    void everyScriptHasRandomNumbersOfItsOwn();
    void randomNumbersAreFractions();
    void drawingIsToldAtTheEnd();
    void timesFollowTheTimeScale();
};

void TestScriptCallbacks::aFunctionIsCalledAfterItsDelay()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var begin = new Date();"
                        "sender.after(30.5, function() { var late = new Date() - begin;"
                        "                                tell(late >= 30 ? 'late' : late); });",
                        "late");
}

void TestScriptCallbacks::theTextRunsToItsEndFirst()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var seen = 'text'; sender.after(0, function() { seen += ' function'; tell(seen); });"
                        "sender.sleep(20); seen += ' end';",
                        "text end function");
}

void TestScriptCallbacks::functionsAreCalledInTheOrderOfTheirTimes()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(
        run,
        "var seen = ''; function see(what) { return function() { seen += what; tell(seen); }; }"
        "sender.after(40, see('d')); sender.after(1, see('b')); sender.after(20, see('c'));"
        "sender.after(0, see('a')); sender.sleep(5);",
        "abcd");
}

void TestScriptCallbacks::functionsOfOneTimeAreCalledInTheOrderOfTheirHandles()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var seen = []; for (var i = 0; i < 20; ++i) (function(n) {"
                        "  sender.after(0, function() { seen.push(n); tell(seen); }); })(i);",
                        "0,1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19");
}

void TestScriptCallbacks::oneFunctionIsCalledAtATime()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var inside = 0, most = 0;"
                        "function visit() { most = Math.max(most, ++inside); sender.sleep(2);"
                        "                   receiver.getDigitalInputValue(1); --inside; tell(most); }"
                        "for (var i = 0; i < 5; ++i) sender.after(i, visit);",
                        "1");
}

void TestScriptCallbacks::aFunctionIsCalledAgainAndAgain()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var begin = new Date(); var calls = 0;"
                        "var handle = sender.every(10, function() {"
                        "  if (++calls == 4) { sender.cancel(handle);"
                        "                      tell(new Date() - begin >= 40 ? 'in time' : 'early'); } });",
                        "in time");
}

void TestScriptCallbacks::lateCallsAreLeftOut()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(
        run,
        "var calls = 0; var handle = sender.every(100, function() { ++calls; });"
        "sender.after(460, function() { sender.cancel(handle); tell(calls < 3 ? 'few' : calls); });"
        "sender.sleep(450);",
        "few");
}

void TestScriptCallbacks::aScriptThatWaitsForNothingEnds()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("var handle = sender.every(1e9, function() { });"
            "sender.after(1, function() { sender.cancel(handle); });");
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
}

void TestScriptCallbacks::aCancelledFunctionIsNotCalled()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var first = sender.after(1, function() { tell('called'); });"
                        "sender.after(5, function() { tell('end'); });"
                        "var late = sender.after(10, function() { tell('late'); });"
                        "sender.cancel(first); sender.after(6, function() { sender.cancel(late); });",
                        "end");
}

void TestScriptCallbacks::cancellingTellsWhetherAnythingWasLeft()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(
        run,
        "var first = sender.after(1, function() { }); var second = sender.every(1e9, function() { });"
        "sender.after(5, function() { tell([sender.cancel(first), sender.cancel(second),"
        "                                   sender.cancel(second)]); });",
        "false,true,false");
}

void TestScriptCallbacks::aFunctionMayCancelItself()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var calls = 0; var handle = sender.every(1, function() {"
                        "  var left = sender.cancel(handle); tell(left + ' ' + ++calls); });",
                        "true 1");
}

void TestScriptCallbacks::aWrongArgumentThrows_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<QString>("error");
    const auto row = [](const QByteArray& call, const char* error) {
        QTest::newRow(call.constData()) << call << error;
    };
    for (const char* delay : {"-1", "NaN", "'1'", "undefined", "null", "{}", "true"}) {
        row(QByteArray("sender.after(") + delay + ", tell)", "RangeError: the delay is not a number from 0");
        row(QByteArray("sender.every(") + delay + ", tell)", "RangeError: the delay is not a number from 1");
    }
    row("sender.every(0, tell)", "RangeError: the delay is not a number from 1");
    for (const char* function : {"1", "'tell'", "null", "undefined", "{}"}) {
        row(QByteArray("sender.after(1, ") + function + ")", "TypeError: there is no function to call");
        row(QByteArray("sender.every(1, ") + function + ")", "TypeError: there is no function to call");
    }
    for (const char* handle : {"0", "1", "-1", "1.5"}) {
        QTest::addRow("sender.cancel(%s)", handle)
            << QByteArray("sender.cancel(") + handle + ")"
            << QString("RangeError: there is no handle %1").arg(QLatin1String(handle));
    }
    row("sender.cancel('x')", "RangeError: there is no handle nan");
    for (const char* status : {"-1", "256", "1.5", "NaN", "'x'", "{}", "undefined"}) {
        row(QByteArray("sender.exit(") + status + ")",
            "RangeError: the status is not a whole number from 0 to 255");
    }
}

void TestScriptCallbacks::aWrongArgumentThrows()
{
    QFETCH(QByteArray, call);
    QFETCH(QString, error);
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run, errorOf(call), error);
}

void TestScriptCallbacks::anExceptionInAFunctionEndsTheScript()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString path =
        run.home().write("a.js", "sender.after(1, function late() {\n    nobody();\n});\n"
                                 "sender.after(2, function() { receiver.setDigitalInput_Slot(1, 1); });\n");
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QCOMPARE(log.last().error, QString("ReferenceError: Can't find variable: nobody"));
    QCOMPARE(log.last().errorFile, path);
    QCOMPARE(log.last().line, 2);
    QCOMPARE(log.last().calls, QStringList("late() at " + path + ":2"));
    QCOMPARE(run.device().getDigitalInputValue(1), 0);
}

void TestScriptCallbacks::nothingRunsAfterAnExit_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("in the text") << QByteArray("sender.exit(); reach();");
    QTest::newRow("where everything is caught")
        << QByteArray("try { sender.exit(); } catch (e) { reach(); } finally { reach(); } reach();");
    QTest::newRow("in a function of the text") << QByteArray("(function() { sender.exit(); reach(); })();");
    QTest::newRow("with functions left")
        << QByteArray("sender.after(0, reach); sender.every(1, reach); sender.exit();");
    QTest::newRow("in a function that is called later")
        << QByteArray("sender.after(1, function() { sender.exit(); reach(); }); sender.after(2, reach);");
    QTest::newRow("where everything is caught later")
        << QByteArray("sender.after(1, function() { try { sender.exit(); } catch (e) { reach(); }"
                      "                             finally { reach(); } });");
    QTest::newRow("in an included file")
        << QByteArray("try { sender.include('exit.js'); } catch (e) { reach(); } reach();");
    QTest::newRow("in an included file, later")
        << QByteArray("sender.after(1, function() { sender.include('exit.js'); reach(); });");
    QTest::newRow("in a handler of a signal")
        << QByteArray("sender.setAnalogInput_Signal.connect(function() { sender.exit(); reach(); });"
                      "try { sender.setAnalogInput_Signal(1, 1); } catch (e) { reach(); } reach();");
    QTest::newRow("in the text of an exception")
        << QByteArray("throw {toString: function() { sender.exit(); reach(); }};");
}

void TestScriptCallbacks::nothingRunsAfterAnExit()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.home().write("exit.js", "sender.exit(); reach();");
    run.run("function reach() { receiver.setDigitalInput_Slot(1, 1); }" + script);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    QCOMPARE(log.last().status, 0);
    QCOMPARE(run.device().getDigitalInputValue(1), 0);
}

void TestScriptCallbacks::aScriptEndsWithItsStatus_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("status");
    QTest::newRow("none") << QByteArray("1;") << 0;
    QTest::newRow("zero") << QByteArray("sender.exit(0);") << 0;
    QTest::newRow("the greatest") << QByteArray("sender.exit(255);") << 255;
    QTest::newRow("later") << QByteArray("sender.after(1, function() { sender.exit(7); });") << 7;
}

void TestScriptCallbacks::aScriptEndsWithItsStatus()
{
    QFETCH(QByteArray, script);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run(script);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 ended"}), 30000);
    QTEST(log.last().status, "status");
}

void TestScriptCallbacks::anExitEndsThatScriptOnly()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("while (receiver.getDigitalInputValue(1) == 0) sender.sleep(1);");
    run.run("sender.exit(3);");
    QTRY_VERIFY_WITH_TIMEOUT(log.words().contains("2 ended"), 30000);
    QCOMPARE(run.window().scripts().running(), size_t{1});
    run.device().setDigitalInput_Slot(1, 1);
    QTRY_COMPARE_WITH_TIMEOUT(log.words().last(), QString("1 ended"), 30000);
}

void TestScriptCallbacks::anIncludedFileIsRunAsPartOfTheScript()
{
    ScriptedWindow run(kScriptedCounts);
    run.home().write("part.js", "var found = mine; function twice(n) { return 2 * n; } tell('ran');");
    COMPARE_TOLD_AT_END(
        run, "var mine = 4; (function() { sender.include('part.js'); })(); tell(twice(found));", "8");
}

void TestScriptCallbacks::aRelativePathStartsAtTheFolderOfTheScript()
{
    ScriptedWindow run(kScriptedCounts);
    QVERIFY(QDir(run.home().configuration()).mkdir("parts"));
    run.home().write("parts/outer.js", "sender.include('parts/inner.js');");
    run.home().write("parts/inner.js", "tell('inner');");
    COMPARE_TOLD_AT_END(run, "sender.include('parts/../parts/outer.js');", "inner");
}

void TestScriptCallbacks::anAbsolutePathIsTakenAsItIs()
{
    ScriptedWindow run(kScriptedCounts);
    const QTemporaryDir elsewhere;
    QFile file(elsewhere.filePath("part.js"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("tell('part');") > 0);
    file.close();
    COMPARE_TOLD_AT_END(run, "sender.include('" + file.fileName().toUtf8() + "');", "part");
}

void TestScriptCallbacks::anIncludedFileMayBeIncludedAgain()
{
    ScriptedWindow run(kScriptedCounts);
    run.home().write("part.js", "++count;");
    COMPARE_TOLD_AT_END(
        run, "var count = 0; for (var i = 0; i < 40; ++i) sender.include('part.js'); tell(count);", "40");
}

void TestScriptCallbacks::whatAnIncludedFileThrowsIsThrown()
{
    ScriptedWindow run(kScriptedCounts);
    run.home().write("part.js", "throw 'from the part';");
    COMPARE_TOLD_AT_END(run, errorOf("sender.include('part.js')"), "from the part");
}

void TestScriptCallbacks::anErrorInAnIncludedFileTellsItsPlace_data()
{
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("calls");
    QTest::newRow("an error") << QByteArray("\nnobody();") << "ReferenceError: Can't find variable: nobody"
                              << 3;
    QTest::newRow("a text") << QByteArray("\nthrow 'no';") << "no" << 3;
    QTest::newRow("wrong syntax") << QByteArray("\nvar a = ;") << "SyntaxError: Parse error" << 2;
}

void TestScriptCallbacks::anErrorInAnIncludedFileTellsItsPlace()
{
    QFETCH(QByteArray, part);
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    const QString partPath = run.home().write("part.js", part);
    const QString path =
        run.home().write("a.js", "function load() {\n\n    sender.include('part.js');\n}\nload();");
    run.window().runScript(path);
    QTRY_COMPARE_WITH_TIMEOUT(log.words(), QStringList({"1 started", "1 failed"}), 30000);
    QTEST(log.last().error, "error");
    QCOMPARE(log.last().file, path);
    QCOMPARE(log.last().errorFile, partPath);
    QCOMPARE(log.last().line, 2);
    QCOMPARE(log.last().calls.last(), "<global>() at " + path + ":5");
    QTEST(log.last().calls.size(), "calls");
}

void TestScriptCallbacks::aFileThatCannotBeIncludedThrows()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(
        run, errorOf("sender.include('no.js')"),
        QString("Error: the script file '%1' could not be opened").arg(run.home().pathOf("no.js")));
}

void TestScriptCallbacks::anIncludedFileThatIsTooLongThrows()
{
    ScriptedWindow run(kScriptedCounts);
    const QString path = run.home().write("part.js", QByteArray(16 * 1024 * 1024 + 1, ' '));
    COMPARE_TOLD_AT_END(run, errorOf("sender.include('part.js')"),
                        QString("Error: the script file '%1' is longer than 16 MiB").arg(path));
}

void TestScriptCallbacks::filesThatIncludeEachOtherThrow()
{
    ScriptedWindow run(kScriptedCounts);
    run.home().write("part.js", "++depth; sender.include('part.js');");
    COMPARE_TOLD_AT_END(
        run, "var depth = 0; try { sender.include('part.js'); } catch (e) { tell(depth + ' ' + e); }",
        "8 RangeError: more than 8 files include each other");
}

void TestScriptCallbacks::randomNumbersFollowFromTheSeed()
{
    const auto drawn = [](uint32_t seed) {
        ScriptedWindow run(kScriptedCounts);
        run.window().scripts().setSeed(seed);
        const EventLog log(run.window());
        run.run("tell([sender.random(), sender.random(), sender.random()]);");
        return QTest::qWaitFor([&] { return log.hasEnd(); }, 30000) ? run.told() : QString();
    };
    const QString first = drawn(7);
    QCOMPARE(first, QString("0.6952540962054399,0.03498987134377041,0.06985749328453428"));
    QCOMPARE(drawn(7), first);
    QVERIFY(drawn(8) != first);
}

void TestScriptCallbacks::everyScriptHasRandomNumbersOfItsOwn()
{
    ScriptedWindow run(kScriptedCounts);
    run.window().scripts().setSeed(7);
    COMPARE_TOLD_AT_END(run, "tell(sender.random());", "0.6952540962054399");
    COMPARE_TOLD_AT_END(run, "tell(sender.random());", "0.4545902357207109");
}

void TestScriptCallbacks::randomNumbersAreFractions()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD_AT_END(run,
                        "var wrong = 0, sum = 0;"
                        "for (var i = 0; i < 10000; ++i) { var x = sender.random(); sum += x;"
                        "                                  if (!(x >= 0 && x < 1)) ++wrong; }"
                        "tell(wrong + ' ' + (sum > 4500 && sum < 5500));",
                        "0 true");
}

void TestScriptCallbacks::drawingIsToldAtTheEnd()
{
    ScriptedWindow run(kScriptedCounts);
    const EventLog log(run.window());
    run.run("1;");
    QTRY_VERIFY_WITH_TIMEOUT(log.hasEnd(), 30000);
    QVERIFY(!log.last().random);
    run.run("sender.random();");
    QTRY_COMPARE_WITH_TIMEOUT(log.words().last(), QString("2 ended"), 30000);
    QVERIFY(log.last().random);
}

void TestScriptCallbacks::timesFollowTheTimeScale()
{
    ScriptedWindow run(kScriptedCounts);
    run.window().setClock(cScaledClock(10000.0));
    COMPARE_TOLD_AT_END(
        run,
        "var begin = new Date(); var calls = 0; sender.sleep(300000);"
        "sender.after(300000, function() {"
        "  var handle = sender.every(100000, function() {"
        "    if (++calls == 3) { sender.cancel(handle);"
        "                        tell(new Date() - begin < 300000 ? 'fast' : 'real'); } }); });",
        "fast");
}

ZUL_QTEST(TestScriptCallbacks)
#include "scriptcallbacks_test.moc"
