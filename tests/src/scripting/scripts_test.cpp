#include "caccess.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "modalanswers.h"
#include "qttestmain.h"
#include "scriptedwindow.h"
#include "scriptworker.h"

#include <QAction>
#include <QResource>

namespace {

/// Runs @p script and compares what it tells.
#define COMPARE_TOLD(run, script, expected)                                                                  \
    do {                                                                                                     \
        (run).run(script);                                                                                   \
        QTRY_VERIFY_WITH_TIMEOUT(!(run).told().isEmpty(), 30000);                                            \
        QCOMPARE((run).told(), QString(expected));                                                           \
    } while (false)

QByteArray sampleScript()
{
    QFile file(":/script.js");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("tell('no sample')");
}

/// What the wiring page says: the outputs of input 1.
QList<int> wires(const cDInput& input)
{
    QList<int> found;
    for (int i = 0; i < input.getOutputCount(); ++i) {
        found.append(input.getOutputPort(i));
    }
    return found;
}

const QByteArray kConnectAll("sender.connectDigitalInput_Signal.connect(receiver.connectDigitalInput_Slot);"
                             "sender.connectAnalogInput_Signal.connect(receiver.connectAnalogInput_Slot);"
                             "sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);"
                             "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);\n");

} // namespace

class TestScripts : public QObject
{
    Q_OBJECT

private slots:
    void theWorkersMethodsAreInOrder();
    void theReceiverHasTheDevicesNames();
    void theReceiverTellsWhoTheDeviceIs();
    void theReceiverTellsDefaultStatesAndAlarms();
    void theReceiverTellsWhatAnalogRecordsHold();
    void aMissingPortThrowsWhereTheReceiverReads_data();
    void aMissingPortThrowsWhereTheReceiverReads();

    void cancellingReportsAnUnreadableFile();
    void aChosenFileIsRun();
    void aMissingFileStartsNoThread();
    void everyScriptHasAThreadThatStays();
    void aFileThatVanishedRunsNothing();
    void aFileThatIsTooLongRunsNothing_data();
    void aFileThatIsTooLongRunsNothing();

    void aScriptReadsTheDevice_data();
    void aScriptReadsTheDevice();
    void statesThatAreNotKnownAreReadDifferently();
    void anErrorIsSilentAndEndsTheScript_data();
    void anErrorIsSilentAndEndsTheScript();
    void theErrorOfAScriptNamesItsFileAndLine();
    void aScriptMayHoldAnyLetter();

    void settingAnInputIsTraced();
    void theNextLineSeesTheEffect();
    void emissionsArriveInOrder();
    void settingADigitalInputAgainIsNotReported();
    void settingAnAnalogInputAgainIsReported();
    void aValueBeyondTheEndOfASliderIsReportedIfItMoves();
    void aWiredOutputFollowsBeforeTheNextLine();
    void theDeviceMayBeCalledDirectly();
    void aScriptsOwnHandlerIsCalledToo();
    void endlessEmissionFromAHandlerEnds();
    void callingTheWorkerFromItsScriptIsHarmless();

    void theSampleScriptIsCompressedWithZlib();
    void theSampleScriptAsItStandsChangesNothing();
    void theSampleScriptWiresAndSets();
    void theSampleScriptPrintsThePorts();

    void sleepReturnsAtOnce_data();
    void sleepReturnsAtOnce();
    void sleepTakesItsTime();
    void aScanIsWhatTheOperatorDoes();
    void aScanReportsTheNextScanner();
    void aMissingScannerThrows_data();
    void aMissingScannerThrows();
    void anAdHocEventIsWhatTheOperatorSends();
    void anIdOutOfRangeThrows_data();
    void anIdOutOfRangeThrows();
};

void TestScripts::theWorkersMethodsAreInOrder()
{
    const QStringList expected{"signal finished()",
                               "signal setDigitalInput_Signal(int,int)",
                               "signal setAnalogInput_Signal(int,int)",
                               "signal connectDigitalInput_Signal(int,int,bool)",
                               "signal connectAnalogInput_Signal(int,int,bool)",
                               "slot receiveScriptFileName(QString,cDevice*)",
                               "slot processScript()"};
    QCOMPARE(panelview::ownMethods(scriptWorker::staticMetaObject).mid(0, 7), expected);
}

void TestScripts::theReceiverHasTheDevicesNames()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "var missing = [];"
                 "['getDiscreteInputCount', 'getDiscreteOutputCount', 'getAnalogInputCount',"
                 " 'getAnalogOutputCount', 'getDigitalInputValue', 'getAnalogInputValue',"
                 " 'getDigitalOutputValue', 'getAnalogOutputValue', 'setDigitalInput_Slot',"
                 " 'setAnalogInput_Slot', 'connectDigitalInput_Slot', 'connectAnalogInput_Slot']"
                 ".forEach(function(name) { if (!receiver[name]) missing.push(name); });"
                 "tell('missing: ' + missing)",
                 "missing: ");
}

void TestScripts::theReceiverTellsWhoTheDeviceIs()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run, "tell([receiver.getScannerCount(), receiver.getSerial(), receiver.getLabel()])",
                 QString("3,%1,%2").arg(run.device().getDeviceSerial()).arg(run.device().getDeviceLabel()));
}

void TestScripts::theReceiverTellsDefaultStatesAndAlarms()
{
    ScriptedWindow run(kScriptedCounts);
    cDInput* input = run.device().getInput(1);
    input->setDefaultState(cObject::OBJ_IO_STATE_SET);
    run.device().getInput(2)->cObjectDInput::setDefaultState(cObject::OBJ_IO_STATE_UNKNOWN);
    run.device().getOutput(3)->setDefaultState(cObject::OBJ_IO_STATE_SET);
    COMPARE_TOLD(
        run,
        "tell([1, 2, 3].map(function(n) { return receiver.getDefaultState('din', n); }) + ' ' +"
        "     [receiver.getDefaultState('dout', 1), receiver.getDefaultState('dout', 4)] + ' ' +"
        "     [receiver.getAlarm('din', 1), receiver.getAlarm('din', 2), receiver.getAlarm('ain', 1),"
        "      receiver.getAlarm('aout', 4)])",
        "0,1,-1 0,1 false,true,false,false");
}

void TestScripts::theReceiverTellsWhatAnalogRecordsHold()
{
    ScriptedWindow run(kScriptedCounts);
    auto* input = panelview::row<cAInput>(run.device(), panelview::ANALOG_INPUTS, 2);
    input->setGain(1.5F);
    input->setOffset(-0.25F);
    input->setSampleRate(7);
    panelview::row<cAOutput>(run.device(), panelview::ANALOG_OUTPUTS, 4)->setSampledValue(20.75F);
    COMPARE_TOLD(run,
                 "tell([receiver.getGain(2), receiver.getOffset(2), receiver.getSampleRate(2),"
                 "      receiver.getOutputSample(4), receiver.getAnalogOutputValue(4)])",
                 "1.5,-0.25,7,20.75,20");
}

void TestScripts::aMissingPortThrowsWhereTheReceiverReads_data()
{
    QTest::addColumn<QByteArray>("call");
    for (const char* number : {"0", "5", "-1", "1.5", "NaN", "4294967297", "'two'", "1e300"}) {
        QTest::addRow("port %s", number) << QByteArray("getGain(") + number + ')';
    }
    for (const char* call :
         {"getOffset(5)", "getSampleRate(5)", "getOutputSample(5)", "getAlarm('din', 5)",
          "getAlarm('dout', 5)", "getAlarm('ain', 5)", "getAlarm('aout', 5)", "getAlarm('port', 1)",
          "getAlarm('scanner', 1)", "getDefaultState('din', 5)", "getDefaultState('dout', 0)",
          "getDefaultState('ain', 1)", "getDefaultState('', 1)"}) {
        QTest::newRow(call) << QByteArray(call);
    }
}

void TestScripts::aMissingPortThrowsWhereTheReceiverReads()
{
    QFETCH(QByteArray, call);
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "try { receiver." + call + "; tell('read'); }" +
                     "catch (e) { tell(e instanceof RangeError ? 'RangeError' : e); }",
                 "RangeError");
}

void TestScripts::cancellingReportsAnUnreadableFile()
{
    ScriptedWindow run(kScriptedCounts);
    ModalAnswers answers;
    answers.cancel();
    answers.pressOk();
    run.window().findChild<QAction*>("actionSelect_Script_to_Run")->trigger();
    QCOMPARE(answers.shown().size(), 2);
    const ModalAnswers::Shown& file = answers.shown().at(0);
    QCOMPARE(file.kind, QString("file"));
    QCOMPARE(file.title, QString("Open File"));
    QCOMPARE(file.nameFilters, QStringList("JavaScript File (*.js)"));
    QCOMPARE(file.parent, &run.window());
    const ModalAnswers::Shown& box = answers.shown().at(1);
    QCOMPARE(box.title, QString("File Opening Error"));
    QCOMPARE(box.text, QString("Error: Could not open file."));
    QCOMPARE(box.icon, QMessageBox::Critical);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(box.parent, &run.window());
    QCOMPARE(run.window().scriptCount(), size_t{0});
}

void TestScripts::aChosenFileIsRun()
{
    ScriptedWindow run(kScriptedCounts);
    ModalAnswers answers;
    answers.chooseFile(run.home().write("chosen.js", "sender.adhoc(1, 'a', 'chosen')"));
    run.window().findChild<QAction*>("actionSelect_Script_to_Run")->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("chosen"), 30000);
    QCOMPARE(answers.shown().size(), 1);
}

void TestScripts::aMissingFileStartsNoThread()
{
    ScriptedWindow run(kScriptedCounts);
    QVERIFY(!run.window().runScript(run.home().pathOf("missing.js")));
    QVERIFY(!run.window().runScript(QString()));
    QVERIFY(!run.window().runScript(run.home().path()));
    QCOMPARE(run.window().scriptCount(), size_t{0});
}

void TestScripts::everyScriptHasAThreadThatStays()
{
    const auto threads = [] {
        return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    };
    ScriptedWindow run(kScriptedCounts);
    const int before = threads();
    run.run("tell('first')");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("first"), 30000);
    run.run("tell('second')");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("second"), 30000);
    QCOMPARE(threads(), before + 2);
    QCOMPARE(run.window().scriptCount(), size_t{2});
}

void TestScripts::aFileThatVanishedRunsNothing()
{
    ScriptedWindow run(kScriptedCounts);
    cScripts scripts;
    auto worker = std::make_unique<scriptWorker>(run.device().executor());
    worker->receiveScriptFileName(run.home().pathOf("vanished.js"), &run.device());
    scripts.start(std::move(worker));
    run.run("tell('another')");
    QTRY_COMPARE_WITH_TIMEOUT(run.told(), QString("another"), 30000);
    QVERIFY(scripts.stop());
}

void TestScripts::aFileThatIsTooLongRunsNothing_data()
{
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("runs");
    QTest::newRow("the longest") << scriptWorker::kMaxBytes << 1;
    QTest::newRow("one byte more") << scriptWorker::kMaxBytes + 1 << 0;
    QTest::newRow("a hundred megabytes") << qint64(100 * 1000 * 1000) << 0;
}

void TestScripts::aFileThatIsTooLongRunsNothing()
{
    QFETCH(qint64, size);
    ScriptedWindow run(kScriptedCounts);
    const QByteArray statement = "sender.setDigitalInput_Signal(1, 1);";
    const QByteArray script = statement + QByteArray(static_cast<int>(size) - statement.size(), '\n');
    scriptWorker worker(run.device().executor());
    int runs = 0;
    connect(&worker, &scriptWorker::setDigitalInput_Signal, [&runs] { ++runs; });
    worker.receiveScriptFileName(run.home().write("long.js", script), &run.device());
    worker.processScript();
    QTEST(runs, "runs");
}

void TestScripts::aScriptReadsTheDevice_data()
{
    QTest::addColumn<QByteArray>("expression");
    QTest::addColumn<QString>("value");
    QTest::newRow("digital inputs") << QByteArray("receiver.getDiscreteInputCount()") << "2";
    QTest::newRow("digital outputs") << QByteArray("receiver.getDiscreteOutputCount()") << "3";
    QTest::newRow("analog inputs") << QByteArray("receiver.getAnalogInputCount()") << "1";
    QTest::newRow("analog outputs") << QByteArray("receiver.getAnalogOutputCount()") << "5";
    QTest::newRow("an input that is set") << QByteArray("receiver.getDigitalInputValue(2)") << "1";
    QTest::newRow("an input that is clear") << QByteArray("receiver.getDigitalInputValue(1)") << "0";
    QTest::newRow("an output that is set") << QByteArray("receiver.getDigitalOutputValue(3)") << "1";
    QTest::newRow("an output that is clear") << QByteArray("receiver.getDigitalOutputValue(1)") << "0";
    QTest::newRow("an analog input") << QByteArray("receiver.getAnalogInputValue(1)") << "64";
    QTest::newRow("an analog output") << QByteArray("receiver.getAnalogOutputValue(5)") << "0";
    QTest::newRow("a number, not a text") << QByteArray("typeof receiver.getAnalogInputValue(1)") << "number";
}

void TestScripts::aScriptReadsTheDevice()
{
    QFETCH(QByteArray, expression);
    QFETCH(QString, value);
    ScriptedWindow run({2, 3, 1, 5, 0});
    run.device().getInput(1)->combo_select(1);
    run.device().getOutput(2)->updateOutput(cObject::OBJ_IO_STATE_SET);
    run.device().setAnalogInput_Slot(1, 64);
    COMPARE_TOLD(run, "tell(" + expression + ")", value);
}

void TestScripts::statesThatAreNotKnownAreReadDifferently()
{
    ScriptedWindow run(kScriptedCounts);
    run.device().getInput(0)->setInputState(cObject::OBJ_IO_STATE_UNKNOWN);
    run.device().getOutput(0)->setOutputState(cObject::OBJ_IO_STATE_UNKNOWN);
    COMPARE_TOLD(run, "tell(receiver.getDigitalInputValue(1) + ' ' + receiver.getDigitalOutputValue(1))",
                 "0 1");
}

void TestScripts::anErrorIsSilentAndEndsTheScript_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("reached");
    QTest::newRow("an exception") << QByteArray("reach(1); throw 'no'; reach(2);") << 1;
    QTest::newRow("a name that is not known") << QByteArray("reach(1); nobody(); reach(2);") << 1;
    QTest::newRow("a syntax error") << QByteArray("reach(2); this is no script") << 0;
    QTest::newRow("an empty file") << QByteArray() << 0;
}

void TestScripts::anErrorIsSilentAndEndsTheScript()
{
    QFETCH(QByteArray, script);
    QFETCH(int, reached);
    ScriptedWindow run(kScriptedCounts);
    ModalAnswers answers;
    run.run("function reach(place) { receiver.setAnalogInput_Slot(1, place); }" + script);
    QTRY_COMPARE_WITH_TIMEOUT(run.device().getAnalogInputValue(1), reached, 30000);
    // While another script does its work, this one would go on.
    COMPARE_TOLD(run, "for (var i = 0; i < 200; ++i) receiver.setAnalogInput_Slot(2, i % 100); tell('done')",
                 "done");
    QCOMPARE(run.device().getAnalogInputValue(1), reached);
    QVERIFY(answers.shown().isEmpty());
}

void TestScripts::theErrorOfAScriptNamesItsFileAndLine()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run, "\n\ntry { nobody(); } catch (e) { tell(e.fileName + ':' + e.lineNumber); }",
                 run.home().pathOf("script1.js") + ":3");
}

void TestScripts::aScriptMayHoldAnyLetter()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run, "tell('T\xC3\xBCr'.length)",
                 QString::number(QTextStream("T\xC3\xBCr").readAll().size()));
}

void TestScripts::settingAnInputIsTraced()
{
    ScriptedWindow run(kScriptedCounts);
    QTest::ignoreMessage(QtDebugMsg, "Digital slot");
    QTest::ignoreMessage(QtDebugMsg, "Port: 2 Value: 1");
    QTest::ignoreMessage(QtDebugMsg, "Analog slot");
    QTest::ignoreMessage(QtDebugMsg, "Port: 3 Value: 42");
    COMPARE_TOLD(run,
                 kConnectAll + "sender.setDigitalInput_Signal(2, 1); sender.setAnalogInput_Signal(3, 42);"
                               "tell('done')",
                 "done");
    QCOMPARE(run.device().getDigitalInputValue(2), 1);
    QCOMPARE(run.device().getAnalogInputValue(3), 42);
}

void TestScripts::theNextLineSeesTheEffect()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 kConnectAll + "var wrong = 0;"
                               "for (var i = 0; i < 300; ++i) {"
                               "  sender.setDigitalInput_Signal(1, i % 2);"
                               "  sender.setAnalogInput_Signal(1, i % 101);"
                               "  if (receiver.getDigitalInputValue(1) != i % 2) ++wrong;"
                               "  if (receiver.getAnalogInputValue(1) != i % 101) ++wrong;"
                               "}"
                               "tell(wrong + ' wrong')",
                 "0 wrong");
}

void TestScripts::emissionsArriveInOrder()
{
    ScriptedWindow run(kScriptedCounts);
    QStringList seen;
    connect(&run.device(), &cDevice::setDigitalInput_Signal, this, [&](int value) {
        QCOMPARE(QThread::currentThread(), thread());
        seen.append(QString("d%1").arg(value));
    });
    connect(&run.device(), &cDevice::setAnalogInput_Signal, this,
            [&](int value) { seen.append(QString("a%1").arg(value)); });
    COMPARE_TOLD(run,
                 kConnectAll +
                     "for (var i = 0; i < 50; ++i) {"
                     "  sender.setAnalogInput_Signal(1 + i % 4, i); sender.setDigitalInput_Signal(1, i);"
                     "}"
                     "tell('done')",
                 "done");
    QStringList expected;
    for (int i = 0; i < 50; ++i) {
        expected << QString("a%1").arg(i) << QString("d%1").arg(i);
    }
    QCOMPARE(seen, expected);
}

void TestScripts::settingADigitalInputAgainIsNotReported()
{
    ScriptedWindow run(kScriptedCounts);
    QSignalSpy reports(run.device().getInput(0), &cDInput::inputChanged);
    COMPARE_TOLD(run,
                 kConnectAll + "sender.setDigitalInput_Signal(1, 0); sender.setDigitalInput_Signal(1, 1);"
                               "sender.setDigitalInput_Signal(1, 1); tell('done')",
                 "done");
    QCOMPARE(reports.count(), 1);
}

void TestScripts::settingAnAnalogInputAgainIsReported()
{
    ScriptedWindow run(kScriptedCounts);
    int reports = 0;
    connect(panelview::row<cAInput>(run.device(), panelview::ANALOG_INPUTS, 1), &cAInput::sampleEvent, this,
            [&] { ++reports; });
    COMPARE_TOLD(run,
                 kConnectAll + "sender.setAnalogInput_Signal(1, 7); sender.setAnalogInput_Signal(1, 7);"
                               "sender.setAnalogInput_Signal(1, 7); tell('done')",
                 "done");
    QCOMPARE(reports, 3);
}

void TestScripts::aValueBeyondTheEndOfASliderIsReportedIfItMoves()
{
    ScriptedWindow run(kScriptedCounts);
    QList<int> reports;
    // The device, which is called first, has taken the sample.
    connect(panelview::row<cAInput>(run.device(), panelview::ANALOG_INPUTS, 1), &cAInput::sampleEvent, this,
            [&] { reports.append(run.device().getAnalogInputValue(1)); });
    COMPARE_TOLD(run,
                 "receiver.setAnalogInput_Slot(1, -5); receiver.setAnalogInput_Slot(1, 150);"
                 "receiver.setAnalogInput_Slot(1, 101); receiver.setAnalogInput_Slot(1, 100); tell('done')",
                 "done");
    QCOMPARE(reports, QList<int>({100, 100}));
}

void TestScripts::aWiredOutputFollowsBeforeTheNextLine()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 kConnectAll + "sender.connectDigitalInput_Signal(2, 3, true);"
                               "sender.connectAnalogInput_Signal(2, 2, true);"
                               "sender.connectAnalogInput_Signal(2, 3, true);"
                               "sender.setDigitalInput_Signal(2, 1); sender.setAnalogInput_Signal(2, 33);"
                               "tell([receiver.getDigitalOutputValue(3), receiver.getDigitalOutputValue(2),"
                               "      receiver.getAnalogOutputValue(2), receiver.getAnalogOutputValue(3)])",
                 "1,0,33,0");
}

void TestScripts::theDeviceMayBeCalledDirectly()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "receiver.connectDigitalInput_Slot(1, 4, true); receiver.setDigitalInput_Slot(1, 1);"
                 "receiver.connectAnalogInput_Slot(1, 1, true); receiver.setAnalogInput_Slot(1, 8);"
                 "tell([receiver.getDigitalOutputValue(4), receiver.getAnalogOutputValue(1)])",
                 "1,8");
}

void TestScripts::aScriptsOwnHandlerIsCalledToo()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 kConnectAll + "var seen = [];"
                               "sender.setAnalogInput_Signal.connect(function(port, value) {"
                               "  seen.push(port, value, receiver.getAnalogInputValue(port)); });"
                               "sender.setAnalogInput_Signal(2, 5);"
                               "tell(seen)",
                 "2,5,5");
}

void TestScripts::endlessEmissionFromAHandlerEnds()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "var depth = 0; function again() { ++depth; sender.setAnalogInput_Signal(1, 1); }"
                 "sender.setAnalogInput_Signal.connect(again);"
                 "try { again(); } catch (e) { } tell(depth > 1 ? 'ended' : 'never began')",
                 "ended");
}

void TestScripts::callingTheWorkerFromItsScriptIsHarmless()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "sender.processScript();"
                 "try { sender.receiveScriptFileName('other.js', null); } catch (e) { }"
                 "tell(receiver.getDiscreteInputCount() + ' ' + typeof receiver.deleteLater)",
                 "4 undefined");
}

void TestScripts::theSampleScriptIsCompressedWithZlib()
{
    const QResource sample(":/script.js");
    QVERIFY(sample.isValid());
    QCOMPARE(sample.compressionAlgorithm(), QResource::ZlibCompression);
}

void TestScripts::theSampleScriptAsItStandsChangesNothing()
{
    ScriptedWindow run(kScriptedCounts);
    QSignalSpy digital(&run.device(), &cDevice::setDigitalInput_Signal);
    QSignalSpy analog(&run.device(), &cDevice::setAnalogInput_Signal);
    COMPARE_TOLD(run, sampleScript() + "tell(typeof displayPorts + ' ' + typeof connectAndSet)",
                 "function function");
    QCOMPARE(digital.count() + analog.count(), 0);
    for (const auto* button : run.device().findChildren<QAbstractButton*>()) {
        QVERIFY2(!button->isChecked(), qPrintable(button->objectName()));
    }
}

void TestScripts::theSampleScriptWiresAndSets()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run, sampleScript() + "\nconnectAndSet(); tell('done')", "done");
    cDevice& device = run.device();
    QCOMPARE(wires(*device.getInput(0)), QList<int>({2, 2, 3, 3, 4, 4}));
    QCOMPARE(device.getDigitalInputValue(1), 1);
    QCOMPARE(device.getAnalogInputValue(1), 100);
    for (int port = 1; port <= 4; ++port) {
        QCOMPARE(device.getDigitalOutputValue(port), port == 1 ? 0 : 1);
        QCOMPARE(device.getAnalogOutputValue(port), 0);
        const QString number = QString::number(port);
        for (const char* kind : {"digital", "analog"}) {
            const auto* box = device.findChild<QCheckBox*>(kind + ("CheckBox_" + number));
            QCOMPARE(box->isChecked(), port != 1);
        }
    }
}

void TestScripts::theSampleScriptPrintsThePorts()
{
    ScriptedWindow run(kScriptedCounts);
    run.device().setDigitalInput_Slot(1, 1);
    run.device().setAnalogInput_Slot(1, 42);
    for (const char* line :
         {"Digital input: 1", "Analog input: 42", "Digital output: 0", "Analog output: 0"}) {
        QTest::ignoreMessage(QtDebugMsg, line);
    }
    COMPARE_TOLD(run, sampleScript() + "\ndisplayPorts(); tell('done')", "done");
}

void TestScripts::sleepReturnsAtOnce_data()
{
    QTest::addColumn<QByteArray>("arguments");
    for (const char* arguments : {"", "0", "-1", "-1e9", "NaN", "-Infinity", "'soon'", "'1000000000'",
                                  "undefined", "null", "true", "{}", "[1000000000]", "function() {}"}) {
        QTest::addRow("sleep(%s)", arguments) << QByteArray(arguments);
    }
}

void TestScripts::sleepReturnsAtOnce()
{
    QFETCH(QByteArray, arguments);
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run, "try { sender.sleep(" + arguments + "); tell('awake'); } catch (e) { tell(e); }",
                 "awake");
}

void TestScripts::sleepTakesItsTime()
{
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "var begin = new Date(); sender.sleep(30.5); var slept = new Date() - begin;"
                 "tell(slept >= 30 ? 'slept' : slept)",
                 "slept");
}

void TestScripts::aScanIsWhatTheOperatorDoes()
{
    ScriptedWindow run(kScriptedCounts);
    auto* row = panelview::row<cAccess>(run.device(), panelview::ACCESS, 2);
    QList<int> pressed;
    connect(row, &cAccess::send_accesss_evnt, this, [&](int number) { pressed.append(number); });
    COMPARE_TOLD(run, "sender.scan(2, 'B-7'); tell('done')", "done");
    QCOMPARE(row->findChild<QLineEdit*>()->text(), QString("B-7"));
    QCOMPARE(QByteArray(row->getScanCode()), QByteArray("B-7"));
    QCOMPARE(pressed, QList<int>{2});
}

void TestScripts::aScanReportsTheNextScanner()
{
    ScriptedWindow run(kScriptedCounts);
    TestServer server;
    QVERIFY(connectTo(run.device(), server));
    panelview::row<cAccess>(run.device(), panelview::ACCESS, 3)->setScanCode("");
    run.run("sender.scan(2, 'B'); sender.scan(1, 'A');");
    QCOMPARE(server.next().object<cObjectAccess>(0)->getPortNum(), 3U);
    const auto event = server.next();
    QCOMPARE(event.object<cObjectAccess>(0)->getPortNum(), 2U);
    QCOMPARE(QByteArray(event.object<cObjectAccess>(0)->getScanCode()), QByteArray("B"));
}

void TestScripts::aMissingScannerThrows_data()
{
    QTest::addColumn<QByteArray>("number");
    for (const char* number : {"0", "4", "-1", "1.5", "NaN", "4294967297", "'two'", "1e300"}) {
        QTest::addRow("scanner %s", number) << QByteArray(number);
    }
}

void TestScripts::aMissingScannerThrows()
{
    QFETCH(QByteArray, number);
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "try { sender.scan(" + number + ", 'K'); tell('scanned'); }" +
                     "catch (e) { tell(e instanceof RangeError ? 'RangeError' : e); }",
                 "RangeError");
}

void TestScripts::anAdHocEventIsWhatTheOperatorSends()
{
    ScriptedWindow run(kScriptedCounts);
    TestServer server;
    QVERIFY(connectTo(run.device(), server));
    run.run("sender.adhoc(1, 'first', 'one'); sender.adhoc(99, 'last', '');");
    auto event = server.next();
    QCOMPARE(event.object<cObjectAdhocEvent>(0)->getPortId(), 1U);
    QCOMPARE(QByteArray(event.object<cObjectAdhocEvent>(0)->getEventLabel()), QByteArray("first"));
    QCOMPARE(QByteArray(event.object<cObjectAdhocEvent>(0)->getEventValue()), QByteArray("one"));
    event = server.next();
    QCOMPARE(event.object<cObjectAdhocEvent>(0)->getPortId(), 99U);
    QCOMPARE(QByteArray(event.object<cObjectAdhocEvent>(0)->getEventValue()), QByteArray(""));
    const auto* editor = panelview::row<cAdHocEvent>(run.device(), panelview::ADHOC, 1);
    QCOMPARE(editor->findChild<QSpinBox*>()->value(), 99);
    QCOMPARE(editor->findChildren<QGroupBox*>().at(1)->findChild<QLineEdit*>()->text(), QString("last"));
}

void TestScripts::anIdOutOfRangeThrows_data()
{
    QTest::addColumn<QByteArray>("id");
    for (const char* id : {"0", "100", "-1", "1.5", "NaN", "4294967297"}) {
        QTest::addRow("id %s", id) << QByteArray(id);
    }
}

void TestScripts::anIdOutOfRangeThrows()
{
    QFETCH(QByteArray, id);
    ScriptedWindow run(kScriptedCounts);
    COMPARE_TOLD(run,
                 "try { sender.adhoc(" + id + ", 'a', 'sent'); }" +
                     "catch (e) { tell(e instanceof RangeError ? 'RangeError' : e); }",
                 "RangeError");
}

ZUL_QTEST(TestScripts)
#include "scripts_test.moc"
