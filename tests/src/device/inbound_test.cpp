#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"
#include "zulobj/access.h"

#include <cmath>

using MakeObject = std::function<cObject*()>;
Q_DECLARE_METATYPE(MakeObject)

namespace {

constexpr uint32_t kEvery = cObject::kWildcard;
constexpr uint8_t kSet = cObjectList::kSet;
constexpr uint8_t kRequest = cObjectList::kRequest;
constexpr uint8_t kEvent = cObjectList::kEvent;

const Counts kInboundCounts{3, 2, 2, 2, 2};

/// A record as a line of text: its class, its key and what else tells it from its like.
QString describe(cObject* object)
{
    if (auto* input = dynamic_cast<cObjectDInput*>(object)) {
        return QString("DIN %1 %2").arg(input->getPortId()).arg(input->getPortLabel());
    }
    if (auto* output = dynamic_cast<cObjectDOutput*>(object)) {
        return QString("DOUT %1 %2").arg(output->getPortId()).arg(output->getPortLabel());
    }
    if (auto* input = dynamic_cast<cObjectAInput*>(object)) {
        return QString("AIN %1 rate %2").arg(input->getPortId()).arg(input->getSampleRate());
    }
    if (auto* output = dynamic_cast<cObjectAOutput*>(object)) {
        return QString("AOUT %1 %2").arg(output->getPortId()).arg(output->getDisplayUnit());
    }
    if (auto* port = dynamic_cast<cObjectPort*>(object)) {
        return QString("PORT %1 of type %2").arg(port->getPortId()).arg(port->getPortType());
    }
    if (auto* device = dynamic_cast<cObjectDevice*>(object)) {
        return QString("DEVICE %1 %2").arg(device->getDeviceSerial()).arg(device->getDeviceLabel());
    }
    if (auto* capability = dynamic_cast<cObjectCapability*>(object)) {
        return QString("CAPABILITY %1 %2 %3")
            .arg(capability->getCapId())
            .arg(capability->getLabel(), capability->getValue());
    }
    if (auto* sample = dynamic_cast<cObjectAnalogSample*>(object)) {
        return QString("SAMPLE %1 of %2").arg(sample->getSeqNum()).arg(sample->getPortNum());
    }
    return QString("type %1").arg(object->getType());
}

QStringList describe(const TestServer::Received& message)
{
    QStringList lines;
    for (cObject* object = message.list->first(); object != nullptr; object = message.list->next()) {
        lines.append(describe(object));
    }
    return lines;
}

/// A record that names a device and a port.
template <class Port>
MakeObject port(uint32_t serial, uint32_t portId)
{
    return [=] {
        auto* object = new Port;
        object->setDeviceSerial(serial);
        object->setPortId(portId);
        return object;
    };
}

/// The same, of a port type other than the record's own.
template <class Port>
MakeObject plainPort(uint32_t portId)
{
    return [=] {
        auto* object = new Port;
        object->setDeviceSerial(kSerial);
        object->setPortId(portId);
        object->setPortType(OBJ_PORT);
        return object;
    };
}

/// A record that names a device alone.
template <class Record>
MakeObject ofDevice(uint32_t serial)
{
    return [=] {
        auto* object = new Record;
        object->setDeviceSerial(serial);
        return object;
    };
}

MakeObject capabilityOf(uint32_t serial, uint32_t capId)
{
    return [=] {
        auto* object = new cObjectCapability;
        object->setDeviceSerial(serial);
        object->setCapId(capId);
        return object;
    };
}

MakeObject ofType(uint32_t type)
{
    return [=] { return new cObject(static_cast<eObjectTypes>(type)); };
}

cObjectAnalogSample sampleRequest(uint32_t serial, uint32_t portNum, uint32_t seq)
{
    cObjectAnalogSample request;
    request.setDeviceSerial(serial);
    request.setPortNum(portNum);
    request.setSeqNum(seq);
    return request;
}

template <class Port>
Port recordOf(uint32_t portId)
{
    Port record;
    record.setDeviceSerial(kSerial);
    record.setPortId(portId);
    return record;
}

/// Has an input take @p count periodic samples and lets the server forget that it was told.
void takeSamples(LinkedDevice& link, int number, int count)
{
    cAInput* input = analogInput(link.device(), number);
    input->setSampleRate(0);
    for (int i = 1; i <= count; ++i) {
        input->checkSample(4000000000 + i);
        link.server().next();
    }
    input->setSampleRate(10);
    link.console().take();
}

void expectSetLine() { QTest::ignoreMessage(QtDebugMsg, "SET "); }

void addRowsOfUnknownTypes(std::initializer_list<uint32_t> types)
{
    for (const uint32_t type : types) {
        QTest::addRow("type %u", type) << type;
    }
}

} // namespace

class TestInbound : public QObject
{
    Q_OBJECT

private slots:
    void requests_data();
    void requests();
    void requestsOfUnknownObjects_data();
    void requestsOfUnknownObjects();
    void capabilitiesFollowTheScanners_data();
    void capabilitiesFollowTheScanners();
    void anAnswerBearsTheNumberOfItsRequest();
    void anEmptyRequestIsAnsweredEmpty();
    void theObjectsOfARequestAreAnsweredInTheirOrder();
    void anInputIsAnsweredAsItStands();
    void aSampleIsFetchedByItsNumber();
    void samplesThatAreNotThere_data();
    void samplesThatAreNotThere();
    void anOverwrittenSampleIsGone();

    void setsChangeNothingElse_data();
    void setsChangeNothingElse();
    void setsOfUnknownObjects_data();
    void setsOfUnknownObjects();
    void anEmptySetIsAcknowledged();
    void aSetOfEveryInputsDefault();
    void aSetOfOneInputLeavesTheOthers();
    void aSetOfAnInputsStateSaysNothing();
    void aSetOfADigitalOutput();
    void aSetOfADigitalOutputWithoutStatesRecomputesItsStatus();
    void aSetOfAnAnalogInput();
    void aSetOfAnAnalogInputThatLeavesAllUnchanged();
    void aSetOfOneAnalogOutputMarksAllConnected();
    void aSetOfEveryAnalogOutput();
    void aSetOfAnotherDevicesAnalogOutputMarksNone();
    void aSetOfAnAnalogOutputTakesOnlyItsValueOver();
    void aSetEmitsNoneOfTheDevicesSignals();

    void anUnknownMessageTypeIsTracedAndNotAnswered();
    void fromThenOnEveryNumberIsHexadecimal();
    void anEventIsLoggedAndNotAnswered();
    void anObjectThatIsNotWhatItsTypeSaysAddsNothing_data();
    void anObjectThatIsNotWhatItsTypeSaysAddsNothing();
    void theConsoleFollowsTheOrderOfArrival();
};

void TestInbound::requests_data()
{
    QTest::addColumn<MakeObject>("request");
    QTest::addColumn<QStringList>("answer");
    QTest::addColumn<QByteArray>("trace");
    const QStringList none;
    const QByteArray device("DEVICE Object\n");
    const QByteArray din("DIN Object\n");
    const QByteArray dout("DOUT Object\n");
    const QByteArray ain("AIN Object\n");
    const QByteArray aout("AOUT Object\n");
    const QByteArray capability("CAPABILITY Object\n");
    const QStringList capabilities{"CAPABILITY 1 analogout yes", "CAPABILITY 2 version 4.0.2",
                                   "CAPABILITY 3 access_reader SCANNER 1",
                                   "CAPABILITY 4 access_reader SCANNER 2"};

    QTest::newRow("this device") << ofDevice<cObjectDevice>(kSerial) << QStringList{"DEVICE 1001 Panel"}
                                 << device;
    QTest::newRow("any device") << ofDevice<cObjectDevice>(kEvery) << QStringList{"DEVICE 1001 Panel"}
                                << device;
    QTest::newRow("another device") << ofDevice<cObjectDevice>(5) << none << device;

    QTest::newRow("every digital input of any device, in list order")
        << port<cObjectDInput>(kEvery, kEvery)
        << QStringList{"DIN 1 INPUT 1", "DIN 2 INPUT 2", "DIN 3 INPUT 3"} << din;
    QTest::newRow("one digital input")
        << port<cObjectDInput>(kSerial, 2) << QStringList{"DIN 2 INPUT 2"} << din;
    QTest::newRow("a digital input that is not there") << port<cObjectDInput>(kSerial, 4) << none << din;
    QTest::newRow("digital input 0") << port<cObjectDInput>(kSerial, 0) << none << din;
    QTest::newRow("a digital input of another device") << port<cObjectDInput>(5, 1) << none << din;
    QTest::newRow("digital inputs of another port type are plain ports")
        << plainPort<cObjectDInput>(kEvery)
        << QStringList{"PORT 1 of type 2", "PORT 2 of type 2", "PORT 3 of type 2"} << din;

    QTest::newRow("every digital output")
        << port<cObjectDOutput>(kSerial, kEvery) << QStringList{"DOUT 1 OUTPUT 1", "DOUT 2 OUTPUT 2"} << dout;
    QTest::newRow("one digital output")
        << port<cObjectDOutput>(kEvery, 1) << QStringList{"DOUT 1 OUTPUT 1"} << dout;
    QTest::newRow("a digital output of another device") << port<cObjectDOutput>(5, kEvery) << none << dout;
    QTest::newRow("a digital output of another port type is a plain port")
        << plainPort<cObjectDOutput>(2) << QStringList{"PORT 2 of type 3"} << dout;

    QTest::newRow("every analog input")
        << port<cObjectAInput>(kSerial, kEvery) << QStringList{"AIN 1 rate 10", "AIN 2 rate 10"}
        << ain + "Packing Ananlog Port portId 1\nPacking Ananlog Port portId 2\n";
    QTest::newRow("one analog input") << port<cObjectAInput>(kSerial, 2) << QStringList{"AIN 2 rate 10"}
                                      << ain + "Packing Ananlog Port portId 2\n";
    QTest::newRow("an analog input of another device") << port<cObjectAInput>(5, 1) << none << ain;
    QTest::newRow("an analog input of another port type is a plain port, untraced")
        << plainPort<cObjectAInput>(1) << QStringList{"PORT 1 of type 4"} << ain;

    QTest::newRow("every analog output")
        << port<cObjectAOutput>(kSerial, kEvery) << QStringList{"AOUT 1 fT %", "AOUT 2 fT %"}
        << aout + "Packing Analog Output portId 1\nPacking Analog Output portId 2\n";
    QTest::newRow("one analog output") << port<cObjectAOutput>(kSerial, 1) << QStringList{"AOUT 1 fT %"}
                                       << aout + "Packing Analog Output portId 1\n";
    QTest::newRow("an analog output of another device") << port<cObjectAOutput>(5, kEvery) << none << aout;
    QTest::newRow("an analog output of another port type is a plain port, untraced")
        << plainPort<cObjectAOutput>(2) << QStringList{"PORT 2 of type 11"} << aout;

    QTest::newRow("capabilities of this device")
        << ofDevice<cObjectCapability>(kSerial) << capabilities << capability;
    QTest::newRow("capabilities of any device")
        << ofDevice<cObjectCapability>(kEvery) << capabilities << capability;
    QTest::newRow("capabilities with an id that none has")
        << capabilityOf(kSerial, 99) << capabilities << capability;
    QTest::newRow("capabilities of another device") << ofDevice<cObjectCapability>(5) << none << capability;
    QTest::newRow("a scanner") << ofDevice<cObjectAccess>(kSerial) << none << QByteArray("Access Object\n");
    QTest::newRow("a sample never taken")
        << ofDevice<cObjectAnalogSample>(kSerial) << none << QByteArray("ASAMPLE Object\n");
}

void TestInbound::requests()
{
    QFETCH(MakeObject, request);
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    const std::unique_ptr<cObject> object(request());
    const auto answer = link.ask(kRequest, {object.get()});
    QVERIFY(answer.list != nullptr);
    QVERIFY(answer.answer);
    QCOMPARE(answer.type, kRequest);
    QTEST(describe(answer), "answer");
    QTEST(link.console().text(), "trace");
}

void TestInbound::requestsOfUnknownObjects_data()
{
    QTest::addColumn<uint32_t>("type");
    addRowsOfUnknownTypes({1, 5, 6, 7, 8, 13, 14, 4000000000});
}

void TestInbound::requestsOfUnknownObjects()
{
    QFETCH(uint32_t, type);
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    const std::unique_ptr<cObject> object(ofType(type)());
    cObjectDevice known;
    known.setDeviceSerial(kSerial);
    const auto answer = link.ask(kRequest, {object.get(), &known});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(describe(answer), QStringList("DEVICE 1001 Panel"));
    QCOMPARE(link.console().text(), "Unknown object " + QByteArray::number(type) + "\nDEVICE Object\n");
}

void TestInbound::capabilitiesFollowTheScanners_data()
{
    QTest::addColumn<uint32_t>("scanners");
    QTest::addColumn<QStringList>("answer");
    const QStringList always{"CAPABILITY 1 analogout yes", "CAPABILITY 2 version 4.0.2"};
    QTest::newRow("none") << 0U << always;
    QTest::newRow("three") << 3U
                           << always + QStringList{"CAPABILITY 3 access_reader SCANNER 1",
                                                   "CAPABILITY 4 access_reader SCANNER 2",
                                                   "CAPABILITY 5 access_reader SCANNER 3"};
}

void TestInbound::capabilitiesFollowTheScanners()
{
    QFETCH(uint32_t, scanners);
    LinkedDevice link({0, 0, 0, 0, scanners});
    QVERIFY(link.connect());
    cObjectCapability request;
    request.setDeviceSerial(kSerial);
    const auto answer = link.ask(kRequest, {&request});
    QVERIFY(answer.list != nullptr);
    QTEST(describe(answer), "answer");
    QCOMPARE(answer.object<cObjectCapability>(0)->getDeviceSerial(), kSerial);
}

void TestInbound::anAnswerBearsTheNumberOfItsRequest()
{
    LinkedDevice link({});
    QVERIFY(link.connect());
    for (const uint8_t seq : {uint8_t{7}, uint8_t{200}, uint8_t{0}}) {
        const auto answer = link.ask(kRequest, {}, seq);
        QVERIFY(answer.list != nullptr);
        QVERIFY(answer.answer);
        QVERIFY(!answer.event);
        QCOMPARE(answer.seq, seq);
    }
}

void TestInbound::anEmptyRequestIsAnsweredEmpty()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    const auto answer = link.ask(kRequest, {});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.type, kRequest);
    QCOMPARE(answer.size(), size_t{0});
    QCOMPARE(link.console().text(), QByteArray());
}

void TestInbound::theObjectsOfARequestAreAnsweredInTheirOrder()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto output = recordOf<cObjectAOutput>(2);
    auto input = recordOf<cObjectDInput>(3);
    cObjectDevice device;
    device.setDeviceSerial(kEvery);
    const auto answer = link.ask(kRequest, {&output, &input, &device});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(describe(answer), QStringList({"AOUT 2 fT %", "DIN 3 INPUT 3", "DEVICE 1001 Panel"}));
    QCOMPARE(link.console().text(), QByteArray("AOUT Object\nPacking Analog Output portId 2\nDIN Object\n"
                                               "DEVICE Object\n"));
}

void TestInbound::anInputIsAnsweredAsItStands()
{
    LinkedDevice link(kInboundCounts);
    link.device().getInput(1)->scriptInputChange(1);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectDInput>(2);
    const auto answer = link.ask(kRequest, {&request});
    QVERIFY(answer.list != nullptr);
    const auto* record = answer.object<cObjectDInput>(0);
    QVERIFY(record != nullptr);
    QCOMPARE(record->getDeviceSerial(), kSerial);
    QCOMPARE(record->getInputState(), kHigh);
    QCOMPARE(record->getDefaultState(), kLow);
    QCOMPARE(record->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    QCOMPARE(record->getPortType(), uint32_t(OBJ_PORT_DIN));
}

void TestInbound::aSampleIsFetchedByItsNumber()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    analogInput(link.device(), 2)->scriptInputChange(40);
    link.server().next();
    takeSamples(link, 2, 3);
    auto request = sampleRequest(kEvery, 2, 2);
    const auto answer = link.ask(kRequest, {&request});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(describe(answer), QStringList("SAMPLE 2 of 2"));
    QCOMPARE(answer.object<cObjectAnalogSample>(0)->getSample(), 40.0F);
    QCOMPARE(answer.object<cObjectAnalogSample>(0)->getDeviceSerial(), kSerial);
    QCOMPARE(link.console().text(), QByteArray("ASAMPLE Object\n"));
}

void TestInbound::samplesThatAreNotThere_data()
{
    QTest::addColumn<uint32_t>("serial");
    QTest::addColumn<uint32_t>("port");
    QTest::addColumn<uint32_t>("seq");
    QTest::newRow("of another device") << 5U << 1U << 2U;
    QTest::newRow("of another port") << kSerial << 2U << 2U;
    QTest::newRow("the wildcard is not every port here") << kSerial << kEvery << 2U;
    QTest::newRow("not taken yet") << kSerial << 1U << 4U;
    QTest::newRow("of a place never filled") << kSerial << 1U << 0U;
    QTest::newRow("of a number cut to 8 bits") << kSerial << 1U << 258U;
}

void TestInbound::samplesThatAreNotThere()
{
    QFETCH(uint32_t, serial);
    QFETCH(uint32_t, port);
    QFETCH(uint32_t, seq);
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    takeSamples(link, 1, 3);
    auto request = sampleRequest(serial, port, seq);
    const auto answer = link.ask(kRequest, {&request});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.type, kRequest);
    QCOMPARE(describe(answer), QStringList());
    QCOMPARE(link.console().text(), QByteArray("ASAMPLE Object\n"));
}

void TestInbound::anOverwrittenSampleIsGone()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    takeSamples(link, 1, 33);
    auto gone = sampleRequest(kSerial, 1, 1);
    auto oldest = sampleRequest(kSerial, 1, 2);
    auto newest = sampleRequest(kSerial, 1, 33);
    auto answer = link.ask(kRequest, {&gone});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(describe(answer), QStringList());
    answer = link.ask(kRequest, {&gone, &oldest, &newest});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(describe(answer), QStringList({"SAMPLE 2 of 1", "SAMPLE 33 of 1"}));
}

void TestInbound::setsChangeNothingElse_data()
{
    QTest::addColumn<MakeObject>("set");
    QTest::addColumn<QByteArray>("trace");
    QTest::newRow("this device") << ofDevice<cObjectDevice>(kSerial)
                                 << QByteArray(
                                        "DEVICE Object\nCan't think of anything to be set on a Device\n");
    QTest::newRow("any device") << ofDevice<cObjectDevice>(kEvery)
                                << QByteArray(
                                       "DEVICE Object\nCan't think of anything to be set on a Device\n");
    QTest::newRow("another device") << ofDevice<cObjectDevice>(5) << QByteArray("DEVICE Object\n");
    QTest::newRow("a digital input of another device")
        << port<cObjectDInput>(5, 1) << QByteArray("DIN Object\n");
    QTest::newRow("a digital output of another device")
        << port<cObjectDOutput>(5, 1) << QByteArray("DOUT Object\n");
    QTest::newRow("an analog input of another device")
        << port<cObjectAInput>(5, 1) << QByteArray("AIN Object\n");
    QTest::newRow("an analog output of another device")
        << port<cObjectAOutput>(5, 1) << QByteArray("AOUT Object\n");
    QTest::newRow("a scanner") << ofDevice<cObjectAccess>(kSerial) << QByteArray("Access Object\n");
}

void TestInbound::setsChangeNothingElse()
{
    QFETCH(MakeObject, set);
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    const std::unique_ptr<cObject> before(link.device().clone());
    const std::unique_ptr<cObject> object(set());
    expectSetLine();
    const auto answer = link.ask(kSet, {object.get()});
    QVERIFY(answer.list != nullptr);
    QVERIFY(answer.answer);
    QCOMPARE(answer.type, kSet);
    QCOMPARE(answer.size(), size_t{0});
    QTEST(link.console().text(), "trace");
    QCOMPARE(describe(&link.device()), describe(before.get()));
}

void TestInbound::setsOfUnknownObjects_data()
{
    QTest::addColumn<uint32_t>("type");
    addRowsOfUnknownTypes({1, 5, 6, 7, 8, 9, 12, 13, 14, 4000000000});
}

void TestInbound::setsOfUnknownObjects()
{
    QFETCH(uint32_t, type);
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    const std::unique_ptr<cObject> object(ofType(type)());
    auto known = recordOf<cObjectDOutput>(1);
    known.setOutputState(kHigh);
    expectSetLine();
    const auto answer = link.ask(kSet, {object.get(), &known});
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.size(), size_t{0});
    QCOMPARE(link.console().text(), "Unknown object " + QByteArray::number(type) + "\nDOUT Object\n");
    QCOMPARE(link.device().getOutput(0)->getOutputState(), kHigh);
}

void TestInbound::anEmptySetIsAcknowledged()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    expectSetLine();
    const auto answer = link.ask(kSet, {}, 9);
    QVERIFY(answer.list != nullptr);
    QVERIFY(answer.answer);
    QCOMPARE(answer.type, kSet);
    QCOMPARE(answer.seq, uint8_t{9});
    QCOMPARE(answer.size(), size_t{0});
    QCOMPARE(link.console().text(), QByteArray());
}

void TestInbound::aSetOfEveryInputsDefault()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectDInput>(kEvery);
    request.setDefaultState(kHigh);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(),
             QByteArray("DIN Object\nSetting default1Setting default1Setting default1"));
    for (int index = 0; index < 3; ++index) {
        const cDInput* input = link.device().getInput(index);
        QCOMPARE(input->getDefaultState(), kHigh);
        QCOMPARE(input->getInputState(), kLow);
        QCOMPARE(panelview::cells(input).at(1), QString("HIGH"));
        QCOMPARE(input->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    }
}

void TestInbound::aSetOfOneInputLeavesTheOthers()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectDInput>(2);
    request.setDefaultState(kHigh);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(), QByteArray("DIN Object\nSetting default1"));
    QCOMPARE(link.device().getInput(0)->getDefaultState(), kLow);
    QCOMPARE(link.device().getInput(1)->getDefaultState(), kHigh);
    QCOMPARE(link.device().getInput(2)->getDefaultState(), kLow);
}

void TestInbound::aSetOfAnInputsStateSaysNothing()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectDInput>(1);
    request.setInputState(kHigh);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(), QByteArray("DIN Object\n"));
    QCOMPARE(link.device().getInput(0)->getInputState(), kLow);
    QCOMPARE(link.device().getInput(0)->getDefaultState(), kLow);
}

void TestInbound::aSetOfADigitalOutput()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectDOutput>(2);
    request.setOutputState(kHigh);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(), QByteArray("DOUT Object\n"));
    const cDOutput* output = link.device().getOutput(1);
    QCOMPARE(panelview::cells(output), QStringList({"OUTPUT 2", "LOW", "HIGH"}));
    QCOMPARE(output->getOutputState(), kHigh);
    QCOMPARE(output->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    QVERIFY(!output->getConnectedStatus());
    QCOMPARE(link.device().getOutput(0)->getOutputState(), kLow);
}

void TestInbound::aSetOfADigitalOutputWithoutStatesRecomputesItsStatus()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    cDOutput* output = link.device().getOutput(0);
    output->setOutputState(kHigh);
    QCOMPARE(output->getPortStatus(), cObject::OBJ_STATUS_ALARM_CLEAR);
    auto request = recordOf<cObjectDOutput>(kEvery);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(output->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    QCOMPARE(output->getOutputState(), kHigh);
    QCOMPARE(output->getDefaultState(), kLow);
}

void TestInbound::aSetOfAnAnalogInput()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectAInput>(kEvery);
    request.setSampleRate(5);
    request.setGain(2.5F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(), QByteArray("AIN Object\n"));
    for (const int number : {1, 2}) {
        const cAInput* input = analogInput(link.device(), number);
        QCOMPARE(panelview::cells(input).mid(1, 3), QStringList({"2.5", "0", "5"}));
        QCOMPARE(input->getSampleRate(), 5U);
        QCOMPARE(input->getGain(), 2.5F);
        QCOMPARE(input->getOffset(), 0.0F);
    }
}

void TestInbound::aSetOfAnAnalogInputThatLeavesAllUnchanged()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectAInput>(1);
    request.setSampleRate(0xFFFFFFFF);
    request.setGain(NAN);
    request.setOffset(NAN);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(panelview::cells(analogInput(link.device(), 1)).mid(1, 3), QStringList({"1", "0", "10"}));
}

void TestInbound::aSetOfOneAnalogOutputMarksAllConnected()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectAOutput>(2);
    request.setSampledValue(57.9F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(link.console().text(), QByteArray("AOUT Object\n"));
    QCOMPARE(analogOutput(link.device(), 1)->getCurrentSample(), 0);
    QCOMPARE(analogOutput(link.device(), 2)->getCurrentSample(), 57);
    QCOMPARE(analogOutput(link.device(), 2)->getSampledValue(), 57.9F);
    QVERIFY(analogOutput(link.device(), 1)->getConnectedStatus());
    QVERIFY(analogOutput(link.device(), 2)->getConnectedStatus());
}

void TestInbound::aSetOfEveryAnalogOutput()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectAOutput>(kEvery);
    request.setSampledValue(8.0F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QCOMPARE(analogOutput(link.device(), 1)->getCurrentSample(), 8);
    QCOMPARE(analogOutput(link.device(), 2)->getCurrentSample(), 8);
}

void TestInbound::aSetOfAnotherDevicesAnalogOutputMarksNone()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto request = recordOf<cObjectAOutput>(kEvery);
    request.setDeviceSerial(5);
    request.setSampledValue(8.0F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&request}).answer);
    QVERIFY(!analogOutput(link.device(), 1)->getConnectedStatus());
    QCOMPARE(analogOutput(link.device(), 1)->getCurrentSample(), 0);
}

void TestInbound::aSetOfAnAnalogOutputTakesOnlyItsValueOver()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto set = recordOf<cObjectAOutput>(1);
    set.setPortLabel("Valve");
    set.setPortType(OBJ_PORT);
    set.setGain(2.0F);
    set.setOffset(3.0F);
    set.setMinimumValue(-5.0F);
    set.setMaximumValue(5.0F);
    set.setDisplayUnit("V");
    set.setSampledValue(42.0F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&set}).answer);

    auto request = recordOf<cObjectAOutput>(1);
    const auto answer = link.ask(kRequest, {&request});
    QVERIFY(answer.list != nullptr);
    auto* output = dynamic_cast<cObjectAOutput*>(answer.list->first());
    QVERIFY(output != nullptr);
    QCOMPARE(output->getPortLabel(), "AOUT 1");
    QCOMPARE(output->getPortType(), static_cast<uint32_t>(OBJ_PORT_AOUT));
    QCOMPARE(output->getGain(), 1.0F);
    QCOMPARE(output->getOffset(), 0.0F);
    QCOMPARE(output->getMinimumValue(), 0.0F);
    QCOMPARE(output->getMaximumValue(), 100.0F);
    QCOMPARE(output->getDisplayUnit(), "fT %");
    QCOMPARE(output->getSampledValue(), 42.0F);
}

void TestInbound::aSetEmitsNoneOfTheDevicesSignals()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    int emitted = 0;
    connect(&link.device(), &cDevice::digitalOutputUpdated, this, [&] { ++emitted; });
    connect(&link.device(), &cDevice::analogOutputUpdated, this, [&] { ++emitted; });
    auto digital = recordOf<cObjectDOutput>(kEvery);
    digital.setOutputState(kHigh);
    auto analog = recordOf<cObjectAOutput>(kEvery);
    analog.setSampledValue(8.0F);
    expectSetLine();
    QVERIFY(link.ask(kSet, {&digital, &analog}).answer);
    QCOMPARE(link.device().getOutput(1)->getOutputState(), kHigh);
    QCOMPARE(emitted, 0);
}

void TestInbound::anUnknownMessageTypeIsTracedAndNotAnswered()
{
    LinkedDevice link({});
    QVERIFY(link.connect());
    cObjectDevice ignored;
    link.server().send(2, 40, {&ignored});
    const auto answer = link.ask(kRequest, {}, 41);
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.seq, uint8_t{41});
    QCOMPARE(link.console().text(), QByteArray("Unknown type 2 "));
}

void TestInbound::fromThenOnEveryNumberIsHexadecimal()
{
    LinkedDevice link({0, 0, 10, 10, 0});
    QVERIFY(link.connect());
    auto input = recordOf<cObjectAInput>(10);
    auto output = recordOf<cObjectAOutput>(10);
    cObject unknown(OBJ_ADHOC_EVENT);
    QVERIFY(link.ask(kRequest, {&input, &unknown}).answer);
    QCOMPARE(link.console().take(),
             QByteArray("AIN Object\nPacking Ananlog Port portId 10\nUnknown object 13\n"));
    link.server().send(2, 1, {});
    link.server().send(10, 1, {});
    link.server().send(255, 1, {});
    QVERIFY(link.ask(kRequest, {&input, &output, &unknown}).answer);
    QCOMPARE(link.console().take(),
             QByteArray("Unknown type 2 Unknown type a Unknown type ff "
                        "AIN Object\nPacking Ananlog Port portId a\n"
                        "AOUT Object\nPacking Analog Output portId a\nUnknown object d\n"));
    analogInput(link.device(), 10)->scriptInputChange(30);
    QCOMPARE(link.console().take(), QByteArray("Got Sample event from port a\n"));
}

void TestInbound::anEventIsLoggedAndNotAnswered()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto output = recordOf<cObjectDOutput>(1);
    output.setOutputState(kHigh);
    QTest::ignoreMessage(QtDebugMsg, "EVT ");
    link.server().send(kEvent, 40, {&output});
    const auto answer = link.ask(kRequest, {}, 41);
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.seq, uint8_t{41});
    QCOMPARE(link.console().text(), QByteArray());
    QCOMPARE(link.device().getOutput(0)->getOutputState(), kLow);
}

void TestInbound::anObjectThatIsNotWhatItsTypeSaysAddsNothing_data()
{
    QTest::addColumn<uint32_t>("type");
    QTest::addColumn<QByteArray>("trace");
    QTest::newRow("device") << uint32_t(OBJ_DEVICE) << QByteArray("DEVICE Object\n");
    QTest::newRow("digital input") << uint32_t(OBJ_PORT_DIN) << QByteArray("DIN Object\n");
    QTest::newRow("digital output") << uint32_t(OBJ_PORT_DOUT) << QByteArray("DOUT Object\n");
    QTest::newRow("analog input") << uint32_t(OBJ_PORT_AIN) << QByteArray("AIN Object\n");
    QTest::newRow("analog output") << uint32_t(OBJ_PORT_AOUT) << QByteArray("AOUT Object\n");
    QTest::newRow("scanner") << uint32_t(OBJ_ACCESS) << QByteArray("Access Object\n");
}

void TestInbound::anObjectThatIsNotWhatItsTypeSaysAddsNothing()
{
    // The link never makes such an object, so it is handed over by itself.
    QFETCH(uint32_t, type);
    const ConsoleCapture console;
    const auto device = makeDevice(kInboundCounts);
    for (const uint8_t message : {kRequest, kSet}) {
        cObjectList list;
        list.setMsgType(message);
        list.add(ofType(type)());
        device->handleObjectAction(&list);
    }
    QFETCH(QByteArray, trace);
    QCOMPARE(console.text(), trace + trace);
    QVERIFY(!analogOutput(*device, 1)->getConnectedStatus());
}

void TestInbound::theConsoleFollowsTheOrderOfArrival()
{
    LinkedDevice link(kInboundCounts);
    QVERIFY(link.connect());
    auto input = recordOf<cObjectDInput>(1);
    auto output = recordOf<cObjectDOutput>(1);
    QByteArray expected;
    for (uint8_t seq = 1; seq <= 20; ++seq) {
        link.server().send(kRequest, seq, {seq % 2 == 0 ? static_cast<cObject*>(&input) : &output});
        expected += seq % 2 == 0 ? "DIN Object\n" : "DOUT Object\n";
    }
    for (uint8_t seq = 1; seq <= 20; ++seq) {
        const auto answer = link.server().next();
        QVERIFY(answer.list != nullptr);
        QCOMPARE(answer.seq, seq);
    }
    QCOMPARE(link.console().text(), expected);
}

ZUL_QTEST(TestInbound)
#include "inbound_test.moc"
