#include "cainput.h"
#include "cdinput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

#include <atomic>
#include <future>
#include <thread>

namespace {

/// A device that tells when a thread has come to it with a message.
class WatchedDevice : public cDevice
{
public:
    WatchedDevice(char* label, std::atomic<int>* arrivals)
        : cDevice(1, 1, 1, 1, 1, label, "", 1, kSerial), mArrivals(arrivals)
    {}

    void handleObjectAction(cObjectList* msg) override
    {
        ++*mArrivals;
        cDevice::handleObjectAction(msg);
    }

private:
    std::atomic<int>* mArrivals;
};

std::unique_ptr<WatchedDevice> makeWatched(std::atomic<int>* arrivals)
{
    QByteArray label("Panel");
    return std::make_unique<WatchedDevice>(label.data(), arrivals);
}

/// Waits without handling events, so that whoever is at the device's door stays there.
bool waitOutside(const std::atomic<int>& arrivals)
{
    QElapsedTimer timer;
    timer.start();
    while (arrivals == 0 && timer.elapsed() < 30000) {
        std::this_thread::yield();
    }
    return arrivals > 0;
}

cObjectDevice wildcardRequest()
{
    cObjectDevice request;
    request.setDeviceSerial(cObject::kWildcard);
    return request;
}

} // namespace

class TestTeardown : public QObject
{
    Q_OBJECT

private slots:
    void aDeviceThatNeverStarted();
    void aConnectedDeviceEndsItsConnection();
    void aDeviceThatCouldNotConnect();
    void underRequestsAsFastAsTheyCome();
    void whileAMessageWaitsToBeRead();
    void whileAnotherThreadWaitsAtTheDoor();
    void whileASamplingThreadWaitsAtTheDoor();
    void startingAgainWhileAMessageWaitsToBeRead();
    void eventsThatWaitForTheLink();
    void oneDeviceAfterAnother();
};

void TestTeardown::aDeviceThatNeverStarted()
{
    QPointer<cDevice> device = makeDevice({3, 3, 3, 3, 3}).release();
    QPointer<cDInput> input = device->getInput(0);
    delete device;
    QVERIFY(device.isNull());
    QVERIFY(input.isNull());
}

void TestTeardown::aConnectedDeviceEndsItsConnection()
{
    TestServer server;
    auto device = makeDevice({1, 1, 1, 1, 1});
    QVERIFY(connectTo(*device, server));
    QVERIFY(server.hasClient());
    device.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!server.hasClient(), 30000);
}

void TestTeardown::aDeviceThatCouldNotConnect()
{
    const auto device = makeDevice({});
    cConfig config;
    setServer(&config, "1");
    device->start(&config);
    QCOMPARE(device->samplingThreads(), size_t{1});
}

void TestTeardown::underRequestsAsFastAsTheyCome()
{
    const ConsoleCapture console;
    TestServer server;
    auto device = makeDevice({9, 9, 9, 9, 9});
    panelview::row<cAInput>(*device, panelview::ANALOG_INPUTS, 1)->setSampleRate(0);
    QVERIFY(connectTo(*device, server));
    cObjectAInput request;
    request.setDeviceSerial(cObject::kWildcard);
    request.setPortId(cObject::kWildcard);
    server.flood(cObjectList::kRequest, {&request});
    QTRY_VERIFY_WITH_TIMEOUT(server.count() > 50, 60000);
    device.reset();
    QTRY_VERIFY_WITH_TIMEOUT(!server.hasClient(), 30000);
}

void TestTeardown::whileAMessageWaitsToBeRead()
{
    const ConsoleCapture console;
    TestServer server;
    auto device = makeDevice({1, 1, 1, 1, 1});
    QVERIFY(connectTo(*device, server));
    cObjectDevice request = wildcardRequest();
    server.send(cObjectList::kRequest, 1, {&request});
    device.reset();
    QCOMPARE(console.text(), QByteArray());
    QTRY_VERIFY_WITH_TIMEOUT(!server.hasClient(), 30000);
}

void TestTeardown::whileAnotherThreadWaitsAtTheDoor()
{
    const ConsoleCapture console;
    std::atomic<int> arrivals{0};
    auto device = makeWatched(&arrivals);
    auto caller = std::async(std::launch::async, [&device] {
        cObjectDevice request = wildcardRequest();
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        list.addBorrowed(&request);
        device->handleObjectAction(&list);
    });
    QVERIFY(waitOutside(arrivals));
    device->executor()->close();
    caller.get();
    device.reset();
    QCOMPARE(console.text(), QByteArray());
}

void TestTeardown::whileASamplingThreadWaitsAtTheDoor()
{
    // No event is handled between the start and the end: the thread can't get through.
    const ConsoleCapture console;
    for (int time = 0; time < 20; ++time) {
        auto device = makeDevice({0, 0, 1, 0, 0});
        panelview::row<cAInput>(*device, panelview::ANALOG_INPUTS, 1)->setSampleRate(0);
        cConfig config;
        setServer(&config, "", "");
        device->start(&config);
        QCOMPARE(device->samplingThreads(), size_t{1});
    }
    QCOMPARE(console.text(), QByteArray());
}

void TestTeardown::startingAgainWhileAMessageWaitsToBeRead()
{
    const ConsoleCapture console;
    TestServer server;
    const auto device = makeDevice({1, 1, 1, 1, 1});
    QVERIFY(connectTo(*device, server));
    cObjectDevice request = wildcardRequest();
    server.send(cObjectList::kRequest, 1, {&request});
    QVERIFY(connectTo(*device, server));

    server.send(cObjectList::kRequest, 2, {&request});
    const auto answer = server.next();
    QVERIFY(answer.list != nullptr);
    QCOMPARE(answer.seq, uint8_t{2});
    QCOMPARE(answer.size(), size_t{1});
}

void TestTeardown::eventsThatWaitForTheLink()
{
    const auto device = makeDevice({1, 0, 0, 0, 0});
    cConfig config;
    setServer(&config, "1");
    device->start(&config);
    for (int i = 0; i < 100; ++i) {
        device->getInput(0)->scriptInputChange((i + 1) % 2);
    }
    QCOMPARE(device->getDigitalInputValue(1), 0);
}

void TestTeardown::oneDeviceAfterAnother()
{
    TestServer server;
    for (int number = 1; number <= 5; ++number) {
        const auto device = makeDevice({2, 2, 2, 2, 2});
        QVERIFY(connectTo(*device, server));
        QCOMPARE(server.connections(), number);
    }
}

ZUL_QTEST(TestTeardown)
#include "teardown_test.moc"
