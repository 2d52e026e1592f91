#include "caccess.h"
#include "cainput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "cscripts.h"
#include "panelview.h"
#include "qttestmain.h"
#include "scriptworker.h"
#include "testdevice.h"

#include <QProcess>
#include <QPushButton>
#include <QTemporaryFile>
#include <cstdlib>
#include <limits>

// Each scenario ends the program that runs it. So the test starts itself once more for each of them.

namespace {

const Counts kCounts{2, 2, 1, 1, 3};

struct Scenario
{
    const char* name;
    const char* message;
    void (*run)(cDevice& device);
};

void pressScanner(const cDevice& device, int number)
{
    panelview::row<cAccess>(device, panelview::ACCESS, number)->findChild<QPushButton*>()->click();
}

void reportSample(cDevice& device, uint32_t port)
{
    auto* sample = new cObjectAnalogSample;
    sample->setPortNum(port);
    device.analogEvent(sample);
}

/// Ticks an output's box, whose name has no number, while input 1 is selected.
void tickNamelessBox(const cDevice& device, const QString& kind)
{
    device.findChild<QRadioButton*>(kind + "RadioButton_1")->click();
    auto* box = device.findChild<QCheckBox*>(kind + "CheckBox_1");
    box->setObjectName(kind + "CheckBox_");
    box->click();
}

/// Runs a script to its end, which the script shows by setting digital input 2.
void runScript(cDevice& device, const QByteArray& script)
{
    QTemporaryFile file;
    if (!file.open() || file.write(script + "; receiver.setDigitalInput_Slot(2, 1)") < 0 || !file.flush()) {
        return;
    }
    auto worker = std::make_unique<scriptWorker>(device.executor());
    worker->receiveScriptFileName(file.fileName(), &device);
    cScripts scripts;
    scripts.start(std::move(worker));
    if (!QTest::qWaitFor([&] { return device.getDigitalInputValue(2) == 1; }, 30000)) {
        qFatal("the script has not ended");
    }
}

const std::initializer_list<Scenario>& scenarios()
{
    static const std::initializer_list<Scenario> kScenarios = {
        {"the last scanner's button", "Index 3 is outside mAccessList, which holds 3",
         [](cDevice& device) { pressScanner(device, 3); }},
        {"a scanner before the first", "Index -1 is outside mAccessList, which holds 3",
         [](cDevice& device) { device.accesEvnt(-1); }},
        {"an input event from nowhere", "Index 2 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.inputEvent(2); }},
        {"a digital input wired to a missing output", "Index 2 is outside mDigitalOutputList, which holds 2",
         [](cDevice& device) {
             device.getInput(0)->addOutputPort(3);
             device.getInput(0)->scriptInputChange(1);
         }},
        {"a digital input wired to output 0", "Index -1 is outside mDigitalOutputList, which holds 2",
         [](cDevice& device) {
             device.getInput(0)->addOutputPort(0);
             device.getInput(0)->scriptInputChange(1);
         }},
        {"an analog input wired to a missing output", "Index 1 is outside mAnalogOutputList, which holds 1",
         [](cDevice& device) {
             analogInput(device, 1)->addOutputPort(2);
             analogInput(device, 1)->scriptInputChange(9);
         }},
        {"a sample of port 0", "Index -1 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { reportSample(device, 0); }},
        {"a sample of a port beyond the last", "Index 1 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { reportSample(device, 2); }},
        {"a sample of the wildcard port", "Index 4294967294 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { reportSample(device, 0xFFFFFFFF); }},
        {"the value of digital input 0", "Index -1 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.getDigitalInputValue(0); }},
        {"the value of a digital input beyond the last",
         "Index 2 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.getDigitalInputValue(3); }},
        {"the value of the lowest number there is",
         "Index -2147483649 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.getDigitalInputValue(std::numeric_limits<int>::min()); }},
        {"the value of digital output 0", "Index -1 is outside mDigitalOutputList, which holds 2",
         [](cDevice& device) { device.getDigitalOutputValue(0); }},
        {"the value of analog input 2", "Index 1 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { device.getAnalogInputValue(2); }},
        {"the value of analog output 0", "Index -1 is outside mAnalogOutputList, which holds 1",
         [](cDevice& device) { device.getAnalogOutputValue(0); }},
        {"an input widget beyond the last", "Index 2 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.getInput(2); }},
        {"an output widget before the first", "Index -1 is outside mDigitalOutputList, which holds 2",
         [](cDevice& device) { device.getOutput(-1); }},
        {"a wire beyond the last", "Index 1 is outside outputList, which holds 1",
         [](cDevice& device) { device.getInput(0)->getOutputPort(1); }},
        {"wiring analog input 2 without a digital one",
         "Index 1 is outside mDigitalInputRadioButtonList, which holds 1",
         [](cDevice&) {
             makeDevice({1, 1, 2, 1, 0})->connectAnalogInput_Slot(2, 1, true);
         }},
        {"a digital box without a number", "Index -1 is outside mDigitalOutputList, which holds 2",
         [](cDevice& device) { tickNamelessBox(device, "digital"); }},
        {"an analog box without a number", "Index -1 is outside mAnalogOutputList, which holds 1",
         [](cDevice& device) { tickNamelessBox(device, "analog"); }},
        {"setting digital input 0", "Index -1 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.setDigitalInput_Slot(0, 1); }},
        {"setting a digital input beyond the last", "Index 2 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { device.setDigitalInput_Slot(3, 1); }},
        {"setting analog input 2", "Index 1 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { device.setAnalogInput_Slot(2, 1); }},
        {"setting the lowest number there is", "Index -2147483649 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) { device.setAnalogInput_Slot(std::numeric_limits<int>::min(), 1); }},
        {"a script that reads digital input 3", "Index 2 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { runScript(device, "receiver.getDigitalInputValue(3)"); }},
        {"a script whose port is no number", "Index -1 is outside mDigitalInputList, which holds 2",
         [](cDevice& device) { runScript(device, "receiver.setDigitalInput_Slot('two', 1)"); }},
        {"a script that emits analog input 2", "Index 1 is outside mAnalogInputList, which holds 1",
         [](cDevice& device) {
             runScript(device, "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);"
                               "sender.setAnalogInput_Signal(2, 5)");
         }},
        {"a script that scans at the last scanner", "Index 3 is outside mAccessList, which holds 3",
         [](cDevice& device) { runScript(device, "sender.scan(3, 'K')"); }},
        {"a script that does nothing wrong", nullptr,
         [](cDevice& device) { runScript(device, "receiver.getDigitalInputValue(2)"); }},
        {"nothing wrong", nullptr, [](cDevice& device) { device.getDigitalInputValue(2); }},
    };
    return kScenarios;
}

/// Names the scenario that a child process runs.
constexpr char kScenario[] = "ZUL_WRONG_INDEX_SCENARIO";

/// Runs one scenario and returns the exit status. Only a harmless one returns.
int runScenario(const QByteArray& name)
{
    const auto device = makeDevice(kCounts);
    for (const Scenario& scenario : scenarios()) {
        if (name == scenario.name) {
            scenario.run(*device);
            return 0;
        }
    }
    return 1;
}

} // namespace

class TestWrongIndex : public QObject
{
    Q_OBJECT

public:
    /// Runs the scenario if this is a child process: before QtTest takes the messages of the program.
    TestWrongIndex();

private slots:
    void theProgramStopsAndNamesListAndIndex_data();
    void theProgramStopsAndNamesListAndIndex();
};

TestWrongIndex::TestWrongIndex()
{
    if (qEnvironmentVariableIsSet(kScenario)) {
        std::exit(runScenario(qgetenv(kScenario)));
    }
}

void TestWrongIndex::theProgramStopsAndNamesListAndIndex_data()
{
    QTest::addColumn<QByteArray>("message");
    for (const Scenario& scenario : scenarios()) {
        QTest::newRow(scenario.name) << QByteArray(scenario.message);
    }
}

void TestWrongIndex::theProgramStopsAndNamesListAndIndex()
{
    QFETCH(QByteArray, message);
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_LOGGING_TO_CONSOLE", "1");
    environment.insert(kScenario, QTest::currentDataTag());
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), {"wrongindex_test"});
    QVERIFY(program.waitForFinished(60000));
    const QByteArray error = program.readAllStandardError();
    if (message.isEmpty()) {
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY2(!error.contains("Index"), error);
    } else {
        QCOMPARE(program.exitStatus(), QProcess::CrashExit);
        QVERIFY2(error.contains(message + '\n'), error);
    }
}

ZUL_QTEST(TestWrongIndex)

#include "wrongindex_test.moc"
