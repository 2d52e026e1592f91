#include "cdinput.h"
#include "cdoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "shownrow.h"

#include <QHBoxLayout>
#include <QSignalSpy>

Q_DECLARE_METATYPE(cObject::eObjectIOState)

namespace {

using eState = cObject::eObjectIOState;
constexpr eState kUnknown = cObject::OBJ_IO_STATE_UNKNOWN;
constexpr eState kSet = cObject::OBJ_IO_STATE_SET;
constexpr eState kClear = cObject::OBJ_IO_STATE_CLEAR;

QComboBox* selector(const cDInput& input) { return input.findChild<QComboBox*>(); }

/// The colour of the row's background where it is the same in every colour group, else an invalid one.
QColor rowColour(const QWidget& row)
{
    const QBrush brush = row.palette().brush(QPalette::Active, QPalette::Window);
    for (const auto group : {QPalette::Inactive, QPalette::Disabled}) {
        if (row.palette().brush(group, QPalette::Window) != brush) {
            return {};
        }
    }
    return row.autoFillBackground() && brush.style() == Qt::SolidPattern ? brush.color() : QColor();
}

template <class Port>
void expectClear(const Port& port)
{
    QCOMPARE(port.getPortStatus(), cObject::OBJ_STATUS_ALARM_CLEAR);
    QCOMPARE(rowColour(port), QColor(Qt::green));
}

template <class Port>
void expectAlarm(const Port& port)
{
    QCOMPARE(port.getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    QCOMPARE(rowColour(port), QColor(Qt::red));
}

/// An input as the panel makes them.
std::unique_ptr<cDInput> clearInput(uint32_t portId)
{
    auto input = std::make_unique<cDInput>();
    input->setPortId(portId);
    input->setInputState(kClear);
    input->updateStatus();
    return input;
}

/// An output as the panel makes them.
std::unique_ptr<cDOutput> clearOutput()
{
    auto output = std::make_unique<cDOutput>();
    output->setDefaultState(kClear);
    output->setOutputState(kClear);
    output->updateStatus();
    return output;
}

cObjectDOutput outputSet(eState defaultState, eState outputState)
{
    cObjectDOutput request;
    request.setDefaultState(defaultState);
    request.setOutputState(outputState);
    return request;
}

} // namespace

class TestDigitalPorts : public QObject
{
    Q_OBJECT

private slots:
    void anInputsMethodsStandInTheirOrder();
    void anOutputsMethodIsItsSlot();
    void aNewInputShowsLowTwice();
    void aNewInputIsInAlarm();
    void aNewInputIsWiredToNothing();
    void aNewOutputShowsHighTwice();
    void aNewOutputIsWiredToNothing();
    void theNameOnTheRowIsNotTheRecordsLabel();

    void selectingHighAndLowAgain();
    void selectingWhatIsSelectedReportsNothing();
    void aReportBearsThePositionOfTheInput();
    void theInputFollowsTheIndexOfTheSelector_data();
    void theInputFollowsTheIndexOfTheSelector();
    void aScriptMovesTheSelector();

    void stateTexts_data();
    void stateTexts();
    void statusAndColour_data();
    void statusAndColour();
    void anInputsDefaultRecomputesItsStatus();
    void anOutputsStatesLeaveItsStatusToTheCaller();
    void valuesForScripts_data();
    void valuesForScripts();

    void aSetOfAnInputTakesTheDefaultOver();
    void aSetOfAnInputWithOnlyAnInputStateChangesNothing();
    void aSetOfAnOutput_data();
    void aSetOfAnOutput();
    void aSetOfAnOutputWithBothStatesUnknownRecomputesItsStatus();
    void aWiredOutputFollowsAndIsConnected();
    void aChangedStateMovesNoCell_data();
    void aChangedStateMovesNoCell();

    void anInputIsAnsweredWithItsRecord();
    void anOutputIsAnsweredWithItsRecord();
};

void TestDigitalPorts::anInputsMethodsStandInTheirOrder()
{
    QCOMPARE(
        panelview::ownMethods(cDInput::staticMetaObject),
        QStringList({"signal inputChanged(int)", "slot combo_select(int)", "slot scriptInputChange(int)"}));
}

void TestDigitalPorts::anOutputsMethodIsItsSlot()
{
    QCOMPARE(panelview::ownMethods(cDOutput::staticMetaObject),
             QStringList("slot updateOutput(eObjectIOState)"));
}

void TestDigitalPorts::aNewInputShowsLowTwice()
{
    const cDInput input;
    QCOMPARE(panelview::cells(&input), QStringList({"PortName", "LOW", "QComboBox"}));
    QVERIFY(qobject_cast<QHBoxLayout*>(input.layout()) != nullptr);
    const QComboBox* box = selector(input);
    QCOMPARE(box->count(), 2);
    QCOMPARE(box->itemText(0), QString("LOW"));
    QCOMPARE(box->itemText(1), QString("HIGH"));
    QCOMPARE(box->currentText(), QString("LOW"));
    QVERIFY(input.parentWidget() == nullptr);
}

void TestDigitalPorts::aNewInputIsInAlarm()
{
    const cDInput input;
    QCOMPARE(input.getInputState(), kUnknown);
    QCOMPARE(input.getDefaultState(), kClear);
    expectAlarm(input);
}

void TestDigitalPorts::aNewInputIsWiredToNothing()
{
    const cDInput input;
    QVERIFY(!input.getConnectedStatus());
    QCOMPARE(input.getOutputCount(), 0);
}

void TestDigitalPorts::aNewOutputShowsHighTwice()
{
    const cDOutput output;
    QCOMPARE(panelview::cells(&output), QStringList({"PortName", "HIGH", "HIGH"}));
    QVERIFY(qobject_cast<QHBoxLayout*>(output.layout()) != nullptr);
    QCOMPARE(QByteArray(output.getPortLabel()), QByteArray("PortName"));
    QCOMPARE(output.getOutputState(), kUnknown);
    QCOMPARE(output.getDefaultState(), kUnknown);
    expectClear(output);
}

void TestDigitalPorts::aNewOutputIsWiredToNothing()
{
    const cDOutput output;
    QVERIFY(!output.getConnectedStatus());
    QCOMPARE(output.getInputPort(), 0);
}

void TestDigitalPorts::theNameOnTheRowIsNotTheRecordsLabel()
{
    QString name("INPUT 5");
    cDInput input;
    input.setPortName(name);
    QCOMPARE(panelview::cells(&input).first(), name);
    QVERIFY(input.getPortLabel() == nullptr);

    cDOutput output;
    output.setPortName(name);
    QCOMPARE(panelview::cells(&output).first(), name);
    QCOMPARE(QByteArray(output.getPortLabel()), QByteArray("PortName"));
}

void TestDigitalPorts::selectingHighAndLowAgain()
{
    const auto input = clearInput(3);
    expectClear(*input);
    QSignalSpy reports(input.get(), SIGNAL(inputChanged(int)));

    selector(*input)->setCurrentText("HIGH");
    QCOMPARE(input->getInputState(), kSet);
    expectAlarm(*input);
    QCOMPARE(reports, QList<QVariantList>({{2}}));

    selector(*input)->setCurrentText("LOW");
    QCOMPARE(input->getInputState(), kClear);
    expectClear(*input);
    QCOMPARE(reports, QList<QVariantList>({{2}, {2}}));
}

void TestDigitalPorts::selectingWhatIsSelectedReportsNothing()
{
    const auto input = clearInput(1);
    QSignalSpy reports(input.get(), SIGNAL(inputChanged(int)));
    selector(*input)->setCurrentIndex(0);
    input->scriptInputChange(0);
    QVERIFY(reports.isEmpty());
}

void TestDigitalPorts::aReportBearsThePositionOfTheInput()
{
    const auto input = clearInput(99);
    QSignalSpy reports(input.get(), SIGNAL(inputChanged(int)));
    input->combo_select(1);
    QCOMPARE(reports, QList<QVariantList>({{98}}));
}

void TestDigitalPorts::theInputFollowsTheIndexOfTheSelector_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<eState>("state");
    QTest::newRow("1 is set") << 1 << kSet;
    QTest::newRow("0 is clear") << 0 << kClear;
    QTest::newRow("none selected is clear") << -1 << kClear;
    QTest::newRow("any other is clear") << 2 << kClear;
}

void TestDigitalPorts::theInputFollowsTheIndexOfTheSelector()
{
    QFETCH(int, index);
    cDInput input;
    input.combo_select(index);
    QTEST(input.getInputState(), "state");
}

void TestDigitalPorts::aScriptMovesTheSelector()
{
    const auto input = clearInput(2);
    QSignalSpy reports(input.get(), SIGNAL(inputChanged(int)));
    input->scriptInputChange(1);
    QCOMPARE(selector(*input)->currentText(), QString("HIGH"));
    QCOMPARE(input->getInputState(), kSet);
    QCOMPARE(reports, QList<QVariantList>({{1}}));
}

void TestDigitalPorts::stateTexts_data()
{
    QTest::addColumn<eState>("state");
    QTest::addColumn<QString>("text");
    QTest::newRow("set is HIGH") << kSet << "HIGH";
    QTest::newRow("clear is LOW") << kClear << "LOW";
    QTest::newRow("unknown is LOW") << kUnknown << "LOW";
    QTest::newRow("any other is LOW") << static_cast<eState>(7) << "LOW";
}

void TestDigitalPorts::stateTexts()
{
    QFETCH(eState, state);
    QFETCH(QString, text);
    cDInput input;
    input.setDefaultState(state);
    QCOMPARE(panelview::cells(&input).at(1), text);
    QCOMPARE(input.getDefaultState(), state);

    cDOutput output;
    output.setDefaultState(state);
    QCOMPARE(panelview::cells(&output), QStringList({"PortName", text, "HIGH"}));
    output.setOutputState(state);
    QCOMPARE(panelview::cells(&output), QStringList({"PortName", text, text}));
    QCOMPARE(output.getDefaultState(), state);
    QCOMPARE(output.getOutputState(), state);
}

void TestDigitalPorts::statusAndColour_data()
{
    QTest::addColumn<eState>("defaultState");
    QTest::addColumn<eState>("state");
    QTest::addColumn<bool>("alarm");
    QTest::newRow("clear as by default") << kClear << kClear << false;
    QTest::newRow("set as by default") << kSet << kSet << false;
    QTest::newRow("both unknown") << kUnknown << kUnknown << false;
    QTest::newRow("set, clear by default") << kClear << kSet << true;
    QTest::newRow("clear, set by default") << kSet << kClear << true;
    QTest::newRow("unknown, clear by default") << kClear << kUnknown << true;
}

void TestDigitalPorts::statusAndColour()
{
    QFETCH(eState, defaultState);
    QFETCH(eState, state);
    QFETCH(bool, alarm);
    cDInput input;
    input.setDefaultState(defaultState);
    input.setInputState(state);
    input.updateStatus();
    cDOutput output;
    output.setDefaultState(defaultState);
    output.setOutputState(state);
    output.updateStatus();
    if (alarm) {
        expectAlarm(input);
        expectAlarm(output);
    } else {
        expectClear(input);
        expectClear(output);
    }
}

void TestDigitalPorts::anInputsDefaultRecomputesItsStatus()
{
    const auto input = clearInput(1);
    input->setDefaultState(kSet);
    expectAlarm(*input);
    input->setDefaultState(kClear);
    expectClear(*input);
}

void TestDigitalPorts::anOutputsStatesLeaveItsStatusToTheCaller()
{
    const auto output = clearOutput();
    output->setDefaultState(kSet);
    expectClear(*output);
    output->updateStatus();
    expectAlarm(*output);
    output->setOutputState(kSet);
    expectAlarm(*output);
    output->updateStatus();
    expectClear(*output);
}

void TestDigitalPorts::valuesForScripts_data()
{
    QTest::addColumn<eState>("state");
    QTest::addColumn<int>("input");
    QTest::addColumn<int>("output");
    QTest::newRow("set") << kSet << 1 << 1;
    QTest::newRow("clear") << kClear << 0 << 0;
    QTest::newRow("unknown is low for an input and high for an output") << kUnknown << 0 << 1;
}

void TestDigitalPorts::valuesForScripts()
{
    QFETCH(eState, state);
    cDInput input;
    input.setInputState(state);
    QTEST(input.getCurrentState(), "input");
    cDOutput output;
    output.setOutputState(state);
    QTEST(output.getCurrentState(), "output");
}

void TestDigitalPorts::aSetOfAnInputTakesTheDefaultOver()
{
    const auto input = clearInput(1);
    cObjectDInput request;
    request.setDefaultState(kSet);
    input->updateObject(&request);
    QCOMPARE(input->getDefaultState(), kSet);
    QCOMPARE(panelview::cells(input.get()).at(1), QString("HIGH"));
    expectAlarm(*input);
}

void TestDigitalPorts::aSetOfAnInputWithOnlyAnInputStateChangesNothing()
{
    const auto input = clearInput(1);
    QSignalSpy reports(input.get(), SIGNAL(inputChanged(int)));
    cObjectDInput request;
    request.setInputState(kSet);
    input->updateObject(&request);
    QCOMPARE(input->getInputState(), kClear);
    QCOMPARE(input->getDefaultState(), kClear);
    QCOMPARE(selector(*input)->currentIndex(), 0);
    expectClear(*input);
    QVERIFY(reports.isEmpty());
}

void TestDigitalPorts::aSetOfAnOutput_data()
{
    QTest::addColumn<eState>("requestedDefault");
    QTest::addColumn<eState>("requestedOutput");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<bool>("alarm");
    QTest::newRow("the state alone") << kUnknown << kSet << QStringList{"PortName", "LOW", "HIGH"} << true;
    QTest::newRow("the default alone") << kSet << kUnknown << QStringList{"PortName", "HIGH", "LOW"} << true;
    QTest::newRow("both") << kSet << kSet << QStringList{"PortName", "HIGH", "HIGH"} << false;
    QTest::newRow("neither") << kUnknown << kUnknown << QStringList{"PortName", "LOW", "LOW"} << false;
}

void TestDigitalPorts::aSetOfAnOutput()
{
    QFETCH(eState, requestedDefault);
    QFETCH(eState, requestedOutput);
    QFETCH(bool, alarm);
    const auto output = clearOutput();
    cObjectDOutput request = outputSet(requestedDefault, requestedOutput);
    output->updateObject(&request);
    QTEST(panelview::cells(output.get()), "shown");
    if (alarm) {
        expectAlarm(*output);
    } else {
        expectClear(*output);
    }
    QVERIFY(!output->getConnectedStatus());
}

void TestDigitalPorts::aSetOfAnOutputWithBothStatesUnknownRecomputesItsStatus()
{
    const auto output = clearOutput();
    output->setOutputState(kSet);
    expectClear(*output);
    cObjectDOutput request = outputSet(kUnknown, kUnknown);
    output->updateObject(&request);
    expectAlarm(*output);
    QCOMPARE(panelview::cells(output.get()), QStringList({"PortName", "LOW", "HIGH"}));
}

void TestDigitalPorts::aWiredOutputFollowsAndIsConnected()
{
    const auto output = clearOutput();
    output->updateOutput(kSet);
    QVERIFY(output->getConnectedStatus());
    QCOMPARE(output->getInputPort(), 0);
    QCOMPARE(output->getOutputState(), kSet);
    QCOMPARE(panelview::cells(output.get()).at(2), QString("HIGH"));
    expectAlarm(*output);
    output->updateOutput(kClear);
    QVERIFY(output->getConnectedStatus());
    expectClear(*output);
}

void TestDigitalPorts::aChangedStateMovesNoCell_data()
{
    QTest::addColumn<eState>("state");
    QTest::newRow("set") << kSet;
    QTest::newRow("clear") << kClear;
}

void TestDigitalPorts::aChangedStateMovesNoCell()
{
    QFETCH(eState, state);
    const auto output = clearOutput();
    output->updateOutput(state == kSet ? kClear : kSet);
    ShownRow shown(output.get());
    const QList<QRect> places = shown.places();
    output->updateOutput(state);
    output->setDefaultState(state);
    QCOMPARE(shown.layouts(), 0);
    QCOMPARE(shown.placesLaidOutAnew(), places);
    QVERIFY(shown.layouts() > 0);
}

void TestDigitalPorts::anInputIsAnsweredWithItsRecord()
{
    const auto input = clearInput(4);
    input->setInputState(kSet);
    cObjectList list;
    input->populateMsg(&list, nullptr);
    QCOMPARE(list.size(), size_t{1});
    const auto* record = dynamic_cast<cObjectDInput*>(list.first());
    QVERIFY(record != nullptr);
    QVERIFY(dynamic_cast<const QWidget*>(record) == nullptr);
    QCOMPARE(record->getPortId(), 4U);
    QCOMPARE(record->getInputState(), kSet);
    QCOMPARE(record->getDefaultState(), kClear);
}

void TestDigitalPorts::anOutputIsAnsweredWithItsRecord()
{
    const auto output = clearOutput();
    output->setPortId(6);
    cObjectList list;
    output->populateMsg(&list, nullptr);
    QCOMPARE(list.size(), size_t{1});
    const auto* record = dynamic_cast<cObjectDOutput*>(list.first());
    QVERIFY(record != nullptr);
    QVERIFY(dynamic_cast<const QWidget*>(record) == nullptr);
    QCOMPARE(record->getPortId(), 6U);
    QCOMPARE(record->getOutputState(), kClear);
}

ZUL_QTEST(TestDigitalPorts)
#include "digitalports_test.moc"
