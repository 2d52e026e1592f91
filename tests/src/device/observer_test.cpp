#include "cainput.h"
#include "caoutput.h"
#include "cdeviceobserver.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

namespace {

const Counts kObservedCounts{2, 2, 2, 2, 0};

/// Keeps a line for each thing that it is told.
class Listing : public cDeviceObserver
{
public:
    explicit Listing(cDevice& device) : mDevice(device) { device.addObserver(this); }
    ~Listing() override { mDevice.removeObserver(this); }

    void setReceived(cObjectList& message) override
    {
        mLines.append(QString("set of %1").arg(message.size()));
    }

    void portChanged(const cObjectPort& port) override { mLines.append(QString(port.getPortLabel())); }

    void linkChanged(const sLinkState& state) override
    {
        constexpr const char* kWords[] = {"off", "down", "up"};
        mLines.append(QString("link ") + kWords[state.state]);
    }

    QStringList take() { return std::exchange(mLines, {}); }
    const QStringList& lines() const { return mLines; }

private:
    cDevice& mDevice;
    QStringList mLines;
};

} // namespace

/// What a device tells those who watch it.
class TestObserver : public QObject
{
    Q_OBJECT

private slots:
    void anInputChangesBeforeTheOutputsWiredToIt();
    void aStateOrValueThatStaysIsNoChange();
    void aSetComesBeforeTheChangesInTheOrderOfThePorts();
    void aPeriodicSampleChangesTheInput();
    void theLinkIsToldDownUpAndOff();
    void aLostServerIsToldWithItsReason();
    void eventsWaitWhileTheDeviceIsDisconnected();
    void connectingAgainAsksForNoSecondAnswer();
    void nothingIsToldAfterRemoval();
};

void TestObserver::anInputChangesBeforeTheOutputsWiredToIt()
{
    const auto device = makeDevice(kObservedCounts);
    device->connectDigitalInput_Slot(1, 2, true);
    device->connectAnalogInput_Slot(2, 2, true);
    Listing listing(*device);
    device->setDigitalInput_Slot(1, 1);
    QCOMPARE(listing.take(), QStringList({"INPUT 1", "OUTPUT 2"}));
    device->setAnalogInput_Slot(2, 40);
    QCOMPARE(listing.take(), QStringList({"AIN 2", "AOUT 2"}));
}

void TestObserver::aStateOrValueThatStaysIsNoChange()
{
    const auto device = makeDevice(kObservedCounts);
    Listing listing(*device);
    device->setDigitalInput_Slot(1, 0);
    device->setAnalogInput_Slot(1, 0);
    QCOMPARE(listing.take(), QStringList());
}

void TestObserver::aSetComesBeforeTheChangesInTheOrderOfThePorts()
{
    LinkedDevice linked(kObservedCounts);
    QVERIFY(linked.connect());
    Listing listing(linked.device());
    cObjectAInput rate;
    rate.setPortId(2);
    rate.setDeviceSerial(kSerial);
    rate.setSampleRate(7);
    cObjectDOutput high;
    high.setPortId(cObject::kWildcard);
    high.setDeviceSerial(kSerial);
    high.setOutputState(cObject::OBJ_IO_STATE_SET);
    QVERIFY(linked.ask(cObjectList::kSet, {&rate, &high}).list);
    QCOMPARE(listing.take(), QStringList({"set of 2", "OUTPUT 1", "OUTPUT 2", "AIN 2"}));
    QVERIFY(linked.ask(cObjectList::kSet, {&high}).list);
    QCOMPARE(listing.take(), QStringList({"set of 1"}));
}

void TestObserver::aPeriodicSampleChangesTheInput()
{
    const auto device = makeDevice(kObservedCounts);
    Listing listing(*device);
    panelview::row<cAInput>(*device, panelview::ANALOG_INPUTS, 2)->checkSample(time(nullptr) + 3600);
    QCOMPARE(listing.take(), QStringList({"AIN 2"}));
}

void TestObserver::theLinkIsToldDownUpAndOff()
{
    LinkedDevice linked({});
    Listing listing(linked.device());
    QCOMPARE(linked.device().linkState().state, sLinkState::OFF);
    QVERIFY(linked.connect());
    QTRY_COMPARE(listing.lines(), QStringList({"link down", "link up"}));
    const sLinkState state = linked.device().linkState();
    QCOMPARE(state.state, sLinkState::UP);
    QCOMPARE(state.server, "127.0.0.1:" + std::to_string(linked.server().port()));
    listing.take();
    linked.device().disconnectLink();
    QCOMPARE(listing.take(), QStringList({"link off"}));
    QCOMPARE(linked.device().linkState().state, sLinkState::OFF);
}

void TestObserver::aLostServerIsToldWithItsReason()
{
    const auto device = makeDevice({});
    Listing listing(*device);
    {
        TestServer server;
        QVERIFY(connectTo(*device, server));
        QTRY_COMPARE(device->linkState().state, sLinkState::UP);
    }
    QTRY_COMPARE(listing.lines().last(), QString("link down"));
    QCOMPARE(device->linkState().reason, std::string("the connection was closed"));
}

void TestObserver::eventsWaitWhileTheDeviceIsDisconnected()
{
    LinkedDevice linked({1, 0, 0, 0, 0});
    QVERIFY(linked.connect());
    QTRY_COMPARE(linked.device().linkState().state, sLinkState::UP);
    linked.device().disconnectLink();
    linked.device().setDigitalInput_Slot(1, 1);
    linked.device().setDigitalInput_Slot(1, 0);
    QCOMPARE(linked.device().linkState().waiting, uint64_t{2});
    linked.device().connectTo({"127.0.0.1", linked.server().port()});
    for (const cObject::eObjectIOState state : {cObject::OBJ_IO_STATE_SET, cObject::OBJ_IO_STATE_CLEAR}) {
        const TestServer::Received event = linked.server().next();
        QVERIFY(event.list && event.object<cObjectDInput>(0) != nullptr);
        QCOMPARE(event.object<cObjectDInput>(0)->getInputState(), state);
    }
    QCOMPARE(linked.device().linkState().waiting, uint64_t{0});
}

void TestObserver::connectingAgainAsksForNoSecondAnswer()
{
    LinkedDevice linked({});
    QVERIFY(linked.connect());
    const int connections = linked.server().connections();
    linked.device().connectTo({"127.0.0.1", linked.server().port()});
    QTRY_COMPARE(linked.server().connections(), connections + 1);
    cObjectDevice every;
    every.setDeviceSerial(cObject::kWildcard);
    QVERIFY(linked.ask(cObjectList::kRequest, {&every}, 1).list);
    QCOMPARE(linked.ask(cObjectList::kRequest, {&every}, 2).seq, uint8_t{2});
    QCOMPARE(linked.device().samplingThreads(), size_t{1});
}

void TestObserver::nothingIsToldAfterRemoval()
{
    const auto device = makeDevice(kObservedCounts);
    Listing listing(*device);
    device->removeObserver(&listing);
    device->setDigitalInput_Slot(1, 1);
    QCOMPARE(listing.take(), QStringList());
    device->addObserver(&listing);
    device->setDigitalInput_Slot(1, 0);
    QCOMPARE(listing.take(), QStringList({"INPUT 1"}));
}

ZUL_QTEST(TestObserver)
#include "observer_test.moc"
