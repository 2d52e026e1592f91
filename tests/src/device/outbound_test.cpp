#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

#include <QGroupBox>

namespace {

void expectInputEvent(int port)
{
    QTest::ignoreMessage(QtDebugMsg, "Got an input event from port " + QByteArray::number(port) + "\n");
}

void select(const cDevice& device, int number, const QString& state)
{
    device.getInput(number - 1)->findChild<QComboBox*>()->setCurrentText(state);
}

void moveSlider(const cDevice& device, int number, int value)
{
    analogInput(device, number)->findChild<QSlider*>()->setValue(value);
}

cAccess* scanner(const cDevice& device, int number)
{
    return panelview::row<cAccess>(device, panelview::ACCESS, number);
}

/// Types a code, which may be empty, into a scanner's row and presses its button.
void scan(const cDevice& device, int number, const QString& code)
{
    scanner(device, number)->findChild<QLineEdit*>()->setText(code);
    scanner(device, number)->findChild<QPushButton*>()->click();
}

cAdHocEvent* editor(const cDevice& device)
{
    return panelview::row<cAdHocEvent>(device, panelview::ADHOC, 1);
}

/// What every event has in common.
void expectEvent(const TestServer::Received& message)
{
    QVERIFY(message.list != nullptr);
    QCOMPARE(message.type, uint8_t{3});
    QVERIFY(message.event);
    QVERIFY(!message.answer);
    QCOMPARE(message.size(), size_t{1});
}

} // namespace

class TestOutbound : public QObject
{
    Q_OBJECT

private slots:
    void aChangedInputIsReported();
    void anInputsReportBearsItsNewStateEachTime();
    void wiredOutputsFollowInWiringOrder();
    void outputsThatAreNotWiredStay();
    void anOutputWiredTwiceIsServedTwice();

    void aMovedSliderIsReported();
    void aSliderMoveTellsWiredOutputs();
    void anAnalogOutputTakesTheValueOfItsOwnNumberOnly();
    void theValueForTheOutputsCarriesTheInputsNumber();

    void aScannersButtonReportsTheNextScanner();
    void theNextScannersCodeIsTheOneStoredLast();
    void afterAScanNumbersAreHexadecimal();
    void aCodeNeverSetEndsTheConsole();
    void anEmptyCodeDoesNot();

    void anAdHocEventIsReported();
    void theSameAdHocEventCanBeSentAgain();
    void withoutAnEditorAnEmptyEventGoesOut();

    void eventsAreNumberedFrom1();
    void eventsWithoutAConnectionDoNoHarm();
    void connectionsToTheOutputsEndWithTheEvent();
};

void TestOutbound::aChangedInputIsReported()
{
    LinkedDevice link({3, 0, 0, 0, 0});
    QVERIFY(link.connect());
    expectInputEvent(3);
    select(link.device(), 3, "HIGH");
    const auto event = link.server().next();
    expectEvent(event);
    const auto* record = event.object<cObjectDInput>(0);
    QVERIFY(record != nullptr);
    QCOMPARE(record->getPortId(), 3U);
    QCOMPARE(record->getDeviceSerial(), kSerial);
    QCOMPARE(record->getInputState(), kHigh);
    QCOMPARE(record->getDefaultState(), kLow);
    QCOMPARE(record->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    QCOMPARE(QByteArray(record->getPortLabel()), QByteArray("INPUT 3"));
    QCOMPARE(link.console().text(), QByteArray());
}

void TestOutbound::anInputsReportBearsItsNewStateEachTime()
{
    LinkedDevice link({1, 0, 0, 0, 0});
    QVERIFY(link.connect());
    select(link.device(), 1, "HIGH");
    select(link.device(), 1, "LOW");
    for (const auto state : {kHigh, kLow}) {
        const auto event = link.server().next();
        expectEvent(event);
        QCOMPARE(event.object<cObjectDInput>(0)->getInputState(), state);
    }
}

void TestOutbound::wiredOutputsFollowInWiringOrder()
{
    LinkedDevice link({1, 3, 0, 0, 0});
    QVERIFY(link.connect());
    link.device().getInput(0)->addOutputPort(3);
    link.device().getInput(0)->addOutputPort(1);
    // This looks at the outputs each time before the one that is meant has its value.
    QStringList seen;
    connect(&link.device(), &cDevice::digitalOutputUpdated, this, [&](cObject::eObjectIOState state) {
        QCOMPARE(state, kHigh);
        seen.append(QString("%1%2%3")
                        .arg(link.device().getDigitalOutputValue(1))
                        .arg(link.device().getDigitalOutputValue(2))
                        .arg(link.device().getDigitalOutputValue(3)));
    });
    expectInputEvent(1);
    select(link.device(), 1, "HIGH");
    QCOMPARE(seen, QStringList({"000", "001"}));
    for (const int index : {0, 2}) {
        const cDOutput* output = link.device().getOutput(index);
        QCOMPARE(output->getOutputState(), kHigh);
        QVERIFY(output->getConnectedStatus());
        QCOMPARE(output->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
        QCOMPARE(panelview::cells(output).at(2), QString("HIGH"));
    }
    expectEvent(link.server().next());
}

void TestOutbound::outputsThatAreNotWiredStay()
{
    const auto device = makeDevice({2, 2, 0, 0, 0});
    device->getInput(0)->addOutputPort(2);
    select(*device, 2, "HIGH");
    QCOMPARE(device->getDigitalOutputValue(1), 0);
    QCOMPARE(device->getDigitalOutputValue(2), 0);
    select(*device, 1, "HIGH");
    QCOMPARE(device->getDigitalOutputValue(1), 0);
    QCOMPARE(device->getDigitalOutputValue(2), 1);
    QVERIFY(!device->getOutput(0)->getConnectedStatus());
}

void TestOutbound::anOutputWiredTwiceIsServedTwice()
{
    const auto device = makeDevice({1, 1, 0, 0, 0});
    device->getInput(0)->addOutputPort(1);
    device->getInput(0)->addOutputPort(1);
    int emitted = 0;
    connect(device.get(), &cDevice::digitalOutputUpdated, this, [&] { ++emitted; });
    select(*device, 1, "HIGH");
    QCOMPARE(emitted, 2);
}

void TestOutbound::aMovedSliderIsReported()
{
    LinkedDevice link({0, 0, 2, 0, 0});
    QVERIFY(link.connect());
    moveSlider(link.device(), 2, 57);
    const auto event = link.server().next();
    expectEvent(event);
    const auto* record = event.object<cObjectAnalogSample>(0);
    QVERIFY(record != nullptr);
    QCOMPARE(record->getPortNum(), 2U);
    QCOMPARE(record->getDeviceSerial(), kSerial);
    QCOMPARE(record->getSample(), 57.0F);
    QCOMPARE(record->getSeqNum(), 0U);
    QCOMPARE(link.console().text(), QByteArray("Got Sample event from port 2\n"));
}

void TestOutbound::aSliderMoveTellsWiredOutputs()
{
    const ConsoleCapture console;
    const auto device = makeDevice({0, 0, 2, 3, 0});
    analogInput(*device, 2)->addOutputPort(3);
    analogInput(*device, 2)->addOutputPort(2);
    moveSlider(*device, 2, 57);
    QCOMPARE(analogOutput(*device, 2)->getCurrentSample(), 57);
    QCOMPARE(analogOutput(*device, 2)->getSampledValue(), 57.0F);
    QVERIFY(analogOutput(*device, 3)->getConnectedStatus());
    QVERIFY(!analogOutput(*device, 1)->getConnectedStatus());
}

void TestOutbound::anAnalogOutputTakesTheValueOfItsOwnNumberOnly()
{
    const ConsoleCapture console;
    const auto device = makeDevice({0, 0, 1, 2, 0});
    analogInput(*device, 1)->addOutputPort(2);
    moveSlider(*device, 1, 57);
    QVERIFY(analogOutput(*device, 2)->getConnectedStatus());
    QCOMPARE(analogOutput(*device, 2)->getCurrentSample(), 0);

    analogOutput(*device, 2)->setPortId(1);
    moveSlider(*device, 1, 58);
    QCOMPARE(analogOutput(*device, 2)->getCurrentSample(), 58);
}

void TestOutbound::theValueForTheOutputsCarriesTheInputsNumber()
{
    const ConsoleCapture console;
    const auto device = makeDevice({0, 0, 2, 1, 0});
    analogInput(*device, 2)->addOutputPort(1);
    QString seen;
    connect(device.get(), &cDevice::analogOutputUpdated, this, [&](cObjectAOutput* value) {
        seen = QString("%1: %2").arg(value->getPortId()).arg(double(value->getSampledValue()));
    });
    moveSlider(*device, 2, 33);
    QCOMPARE(seen, QString("2: 33"));
}

void TestOutbound::aScannersButtonReportsTheNextScanner()
{
    LinkedDevice link({0, 0, 0, 0, 3});
    QVERIFY(link.connect());
    scanner(link.device(), 2)->setScanCode("B-2");
    scan(link.device(), 1, "A-1");
    const auto event = link.server().next();
    expectEvent(event);
    const auto* record = event.object<cObjectAccess>(0);
    QVERIFY(record != nullptr);
    QCOMPARE(record->getPortNum(), 2U);
    QCOMPARE(record->getDeviceSerial(), kSerial);
    QCOMPARE(QByteArray(record->getLabel()), QByteArray("SCANNER 2"));
    QCOMPARE(QByteArray(record->getScanCode()), QByteArray("B-2"));
    QCOMPARE(link.console().text(), QByteArray("Got an access event \nSerial 0x3e9\nPort 2\nScancode B-2\n"));
}

void TestOutbound::theNextScannersCodeIsTheOneStoredLast()
{
    LinkedDevice link({0, 0, 0, 0, 3});
    QVERIFY(link.connect());
    scanner(link.device(), 3)->setScanCode("");
    scan(link.device(), 2, "typed on 2"); // reports scanner 3
    scan(link.device(), 1, "typed on 1"); // reports scanner 2
    expectEvent(link.server().next());
    const auto event = link.server().next();
    expectEvent(event);
    QCOMPARE(QByteArray(event.object<cObjectAccess>(0)->getScanCode()), QByteArray("typed on 2"));
}

void TestOutbound::afterAScanNumbersAreHexadecimal()
{
    LinkedDevice link({0, 0, 10, 0, 11});
    QVERIFY(link.connect());
    moveSlider(link.device(), 10, 1);
    scanner(link.device(), 11)->setScanCode("K");
    scan(link.device(), 10, "");
    moveSlider(link.device(), 10, 2);
    analogInput(link.device(), 10)->setSampleRate(0);
    analogInput(link.device(), 10)->checkSample(4000000000);
    cObjectAInput request;
    request.setDeviceSerial(kSerial);
    request.setPortId(10);
    link.server().send(cObjectList::kRequest, 1, {&request});
    QTRY_COMPARE_WITH_TIMEOUT(link.server().count(), 5, 30000);
    QCOMPARE(link.console().text(), QByteArray("Got Sample event from port 10\n"
                                               "Got an access event \nSerial 0x3e9\nPort b\nScancode K\n"
                                               "Got Sample event from port a\n"
                                               "Sample time for port a : ee6b2800 : 2\n"
                                               "Got Sample event from port a\n"
                                               "AIN Object\nPacking Ananlog Port portId a\n"));
}

void TestOutbound::aCodeNeverSetEndsTheConsole()
{
    LinkedDevice link({0, 0, 1, 0, 2});
    QVERIFY(link.connect());
    scan(link.device(), 1, "typed on 1");
    QCOMPARE(link.console().text(), QByteArray("Got an access event \nSerial 0x3e9\nPort 2\nScancode "));
    QVERIFY(std::cout.bad());
    moveSlider(link.device(), 1, 1);
    link.server().send(2, 1, {});
    QVERIFY(link.server().next().object<cObjectAccess>(0)->getScanCode() == nullptr);
    QVERIFY(link.server().next().object<cObjectAnalogSample>(0) != nullptr);
    QVERIFY(link.ask(cObjectList::kRequest, {}).answer);
    QCOMPARE(link.console().text(), QByteArray("Got an access event \nSerial 0x3e9\nPort 2\nScancode "));
}

void TestOutbound::anEmptyCodeDoesNot()
{
    LinkedDevice link({0, 0, 0, 0, 2});
    QVERIFY(link.connect());
    scanner(link.device(), 2)->setScanCode("");
    scan(link.device(), 1, "");
    QCOMPARE(link.console().text(), QByteArray("Got an access event \nSerial 0x3e9\nPort 2\nScancode \n"));
    QVERIFY(std::cout.good());
    const auto event = link.server().next();
    expectEvent(event);
    QVERIFY(event.object<cObjectAccess>(0)->getScanCode() != nullptr);
    QCOMPARE(QByteArray(event.object<cObjectAccess>(0)->getScanCode()), QByteArray(""));
}

void TestOutbound::anAdHocEventIsReported()
{
    LinkedDevice link({});
    QVERIFY(link.connect());
    const QList<QLineEdit*> fields{
        editor(link.device())->findChildren<QGroupBox*>().at(1)->findChild<QLineEdit*>(),
        editor(link.device())->findChildren<QGroupBox*>().at(2)->findChild<QLineEdit*>()};
    editor(link.device())->findChild<QSpinBox*>()->setValue(10);
    fields[0]->setText("door");
    fields[1]->setText("open");
    QTest::ignoreMessage(QtDebugMsg, "Sending Ad hoc event: \nDevice Serial: 0x 3e9 \nEvent ID:  a \n"
                                     "Event Label: door \nEvent Value: open \n");
    editor(link.device())->findChild<QPushButton*>()->click();
    const auto event = link.server().next();
    expectEvent(event);
    const auto* record = event.object<cObjectAdhocEvent>(0);
    QVERIFY(record != nullptr);
    QCOMPARE(record->getDeviceSerial(), kSerial);
    QCOMPARE(record->getPortId(), 10U);
    QCOMPARE(QByteArray(record->getEventLabel()), QByteArray("door"));
    QCOMPARE(QByteArray(record->getEventValue()), QByteArray("open"));
    QCOMPARE(link.console().text(), QByteArray("Transmit an ad-hoc event \n"));
}

void TestOutbound::theSameAdHocEventCanBeSentAgain()
{
    LinkedDevice link({});
    QVERIFY(link.connect());
    for (int time = 0; time < 2; ++time) {
        editor(link.device())->findChild<QPushButton*>()->click();
        const auto event = link.server().next();
        expectEvent(event);
        QCOMPARE(event.object<cObjectAdhocEvent>(0)->getPortId(), 1U);
    }
}

void TestOutbound::withoutAnEditorAnEmptyEventGoesOut()
{
    const ConsoleCapture console;
    TestServer server;
    cDevice placeholder;
    QVERIFY(connectTo(placeholder, server));
    placeholder.adHocEvnt(0);
    const auto event = server.next();
    QVERIFY(event.list != nullptr);
    QCOMPARE(event.type, uint8_t{3});
    QCOMPARE(event.size(), size_t{0});
    QCOMPARE(console.text(), QByteArray("Transmit an ad-hoc event \n"));
}

void TestOutbound::eventsAreNumberedFrom1()
{
    LinkedDevice link({1, 0, 1, 0, 0});
    QVERIFY(link.connect());
    select(link.device(), 1, "HIGH");
    moveSlider(link.device(), 1, 5);
    link.device().adHocEvnt(0);
    for (const uint8_t seq : {uint8_t{1}, uint8_t{2}, uint8_t{3}}) {
        const auto event = link.server().next();
        expectEvent(event);
        QCOMPARE(event.seq, seq);
    }
}

void TestOutbound::eventsWithoutAConnectionDoNoHarm()
{
    const ConsoleCapture console;
    const auto device = makeDevice({1, 1, 1, 1, 2});
    expectInputEvent(1);
    select(*device, 1, "HIGH");
    moveSlider(*device, 1, 5);
    device->adHocEvnt(0);
    scanner(*device, 2)->setScanCode("K");
    scan(*device, 1, "");
    QCOMPARE(console.text(), QByteArray("Got Sample event from port 1\nTransmit an ad-hoc event \n"
                                        "Got an access event \nSerial 0x3e9\nPort 2\nScancode K\n"));
}

void TestOutbound::connectionsToTheOutputsEndWithTheEvent()
{
    const ConsoleCapture console;
    const auto device = makeDevice({1, 1, 1, 1, 0});
    device->getInput(0)->addOutputPort(1);
    analogInput(*device, 1)->addOutputPort(1);
    select(*device, 1, "HIGH");
    moveSlider(*device, 1, 5);
    emit device->digitalOutputUpdated(kLow);
    cObjectAOutput value;
    value.setPortId(1);
    value.setSampledValue(99.0F);
    emit device->analogOutputUpdated(&value);
    QCOMPARE(device->getDigitalOutputValue(1), 1);
    QCOMPARE(device->getAnalogOutputValue(1), 5);
}

ZUL_QTEST(TestOutbound)
#include "outbound_test.moc"
