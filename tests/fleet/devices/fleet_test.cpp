#include "fleet/devices/fleet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <list>
#include <thread>

#include "fleet/devices/steadytime.h"

using namespace fleet;
using boost::asio::ip::tcp;
using boost::system::error_code;

namespace {

/// The server's end of one connection, which asks the device who it is and counts what it sends.
class Peer : public AsioDriver::Owner
{
public:
    Peer(tcp::socket socket, LinkNumbers* numbers)
        : mDriver(std::make_shared<AsioDriver>(std::move(socket), LinkSession::Settings{sLinkLimits(), false},
                                               numbers, nullptr, this))
    {}
    ~Peer() override { mDriver->abandon(); }

    void start()
    {
        mDriver->start();
        cObjectDevice device;
        device.setDeviceSerial(cObject::kWildcard);
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        list.addBorrowed(&device);
        WMsg message;
        static_cast<void>(list.encode(&message));
        mDriver->session().request(std::move(message), [this](const WMsg* answer) {
            cObjectList record;
            if (answer != nullptr && record.decode(*answer).isOk() && record.first() != nullptr) {
                serial = static_cast<cObjectDevice*>(record.first())->getDeviceSerial();
            }
        });
        mDriver->flush();
    }

    void linkMessage(LinkSession::Received&&) override { ++messages; }
    void linkClosed(const std::string& reason) override { closed = reason; }
    bool readingPaused() const override { return paused; }

    uint32_t serial = 0;
    uint64_t messages = 0;
    std::string closed; ///< why; empty while it is open
    bool paused = false;

private:
    std::shared_ptr<AsioDriver> mDriver;
};

/// A server in the same event loop.
class PeerServer
{
public:
    explicit PeerServer(boost::asio::io_context& io) : mAcceptor(io) { open(0); }

    void open(uint16_t port)
    {
        const tcp::endpoint endpoint(boost::asio::ip::address_v4::loopback(), port);
        mAcceptor.open(endpoint.protocol());
        mAcceptor.set_option(tcp::acceptor::reuse_address(true));
        mAcceptor.set_option(boost::asio::socket_base::receive_buffer_size(4096));
        mAcceptor.bind(endpoint);
        mAcceptor.listen();
        mEndpoint = mAcceptor.local_endpoint();
        accept();
    }

    /// As if the program was killed.
    void kill()
    {
        mAcceptor.close();
        peers.clear();
        mRaw.clear();
    }

    const tcp::endpoint& endpoint() const { return mEndpoint; }

    /// How many devices are known and connected.
    size_t known() const
    {
        return static_cast<size_t>(std::ranges::count_if(
            peers, [](const Peer& peer) { return peer.serial != 0 && peer.closed.empty(); }));
    }

    Peer* peer(uint32_t serial)
    {
        const auto found = std::ranges::find_if(
            peers, [serial](const Peer& peer) { return peer.serial == serial && peer.closed.empty(); });
        return found == peers.end() ? nullptr : &*found;
    }

    std::list<Peer> peers;
    BusiestSecond connects;
    std::function<bool(tcp::socket&)> spoil; ///< true if it has treated the connection in its own way

private:
    void accept()
    {
        mAcceptor.async_accept([this](const error_code& error, tcp::socket socket) {
            if (error) {
                return;
            }
            connects.add(nowUs());
            if (spoil && spoil(socket)) {
                mRaw.push_back(std::move(socket));
            } else {
                peers.emplace_back(std::move(socket), &mNumbers).start();
            }
            accept();
        });
    }

    tcp::acceptor mAcceptor;
    tcp::endpoint mEndpoint;
    LinkNumbers mNumbers;
    std::list<tcp::socket> mRaw;
};

class FleetTest : public testing::Test
{
protected:
    FleetTest()
    {
        mSettings.count = 20;
        mSettings.counts = {4, 4, 2, 2, 1};
        mSettings.label = *LabelPattern::parse("SITE {n}");
        mSettings.seed = 7;
        mSettings.mix = EventMix::usual(mSettings.counts);
        mSettings.link.firstPauseMs = 10;
        mSettings.link.longestPauseMs = 50;
    }

    Fleet& start()
    {
        mFleet = std::make_unique<Fleet>(mIo, mSettings, ServerTarget({mServer.endpoint()}, {}));
        mFleet->onEnd = [this] { mEnded = true; };
        mFleet->start();
        return *mFleet;
    }

    /// Runs the loop until @p holds. False if it does not within 20 seconds.
    bool runUntil(const std::function<bool()>& holds)
    {
        const int64_t end = nowUs() + 20 * kSecond;
        while (!holds() && nowUs() < end) {
            mIo.run_one_for(std::chrono::milliseconds(10));
        }
        return holds();
    }

    bool runUntilAllIn()
    {
        return runUntil([this] { return mFleet->progress().in == mSettings.count; });
    }

    /// Runs it to the end of its duration.
    FleetReport reportAtEnd()
    {
        EXPECT_TRUE(runUntil([this] { return mEnded; }));
        return mFleet->report();
    }

    /// How many messages of the device at @p index wait to be written.
    uint64_t waitingOf(size_t index) const
    {
        uint64_t waiting = 0;
        mFleet->devices()[index]->eachWaiting([&waiting](eMessage) { ++waiting; });
        return waiting;
    }

    /// Why a connection that an outage takes down ends, as the server sees it.
    std::string reasonOf(const std::string& outage)
    {
        mSettings.outages.resize(1);
        EXPECT_EQ(parseOutage(outage, &mSettings.outages[0]), "");
        start();
        const auto closed = [this] {
            return std::ranges::find_if(mServer.peers, [](auto& peer) { return !peer.closed.empty(); });
        };
        return runUntil([&] { return closed() != mServer.peers.end(); }) ? closed()->closed : "";
    }

    boost::asio::io_context mIo{1};
    PeerServer mServer{mIo};
    FleetSettings mSettings;
    std::vector<std::unique_ptr<Fleet>> mFormer;
    std::unique_ptr<Fleet> mFleet;
    bool mEnded = false;
};

void expectAllAccountedFor(const EventCounts& events)
{
    EXPECT_EQ(events.planned, events.sent + events.leftOut + events.dropped + events.waiting);
}

} // namespace

TEST_F(FleetTest, everyDeviceSaysWhichItIs)
{
    mSettings.serialStart = 1001;
    start();
    ASSERT_TRUE(runUntilAllIn());
    ASSERT_TRUE(runUntil([this] { return mServer.known() == 20; }));
    EXPECT_NE(mServer.peer(1001), nullptr);
    EXPECT_NE(mServer.peer(1020), nullptr);
    const FleetReport report = mFleet->report();
    EXPECT_EQ(report.devices.asked, 20U);
    EXPECT_EQ(report.devices.in, 20U);
    EXPECT_EQ(report.devices.lost, 0U);
    EXPECT_TRUE(report.secondsUntilAllIn);
    EXPECT_EQ(report.latencies.connect.count(), 20U);
    EXPECT_EQ(report.latencies.identified.count(), 20U);
    EXPECT_EQ(report.latencies.answer.count(), 20U);
}

TEST_F(FleetTest, aPartOfAFleetHasItsOwnSerialNumbers)
{
    mSettings.shard = {1, 3};
    start();
    ASSERT_TRUE(runUntil([this] { return mServer.known() == mSettings.shard.size(20); }));
    EXPECT_EQ(mServer.peer(mSettings.shard.first(20)), nullptr);
    EXPECT_NE(mServer.peer(mSettings.shard.first(20) + 1), nullptr);
}

TEST_F(FleetTest, connectionsBeginOnSchedule)
{
    mSettings.count = 40;
    mSettings.connectRate = 100.0;
    start();
    ASSERT_TRUE(runUntilAllIn());
    EXPECT_GE(*mFleet->report().secondsUntilAllIn, 0.39);
    EXPECT_NEAR(mFleet->report().connects.reached, 100.0, 20.0);
}

TEST_F(FleetTest, everyPlannedEventIsSentAndReceived)
{
    mSettings.eventRate = 500.0;
    mSettings.duration = kSecond;
    start();
    const FleetReport report = reportAtEnd();
    EXPECT_EQ(report.events().planned, 500U);
    EXPECT_EQ(report.events().sent, 500U);
    EXPECT_EQ(report.latencies.event.count(), 500U);
    for (const EventCounts& kind : report.kinds) {
        EXPECT_GT(kind.sent, 0U);
        expectAllAccountedFor(kind);
    }
    EXPECT_TRUE(runUntil([this] {
        uint64_t received = 0;
        std::ranges::for_each(mServer.peers, [&](const Peer& peer) { received += peer.messages; });
        return received == 500;
    }));
}

TEST_F(FleetTest, lateEventsAreCountedAndVeryLateOnesAreLeftOut)
{
    mSettings.eventRate = 1000.0;
    mSettings.duration = 2 * kSecond;
    start();
    ASSERT_TRUE(runUntil([this] { return mFleet->progress().sent > 0; }));
    // The loop gets no time, as on a machine that is too slow.
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    const EventCounts events = reportAtEnd().events();
    EXPECT_EQ(events.planned, 2000U);
    EXPECT_GE(events.leftOut, 250U);
    EXPECT_GE(events.late, 900U);
    expectAllAccountedFor(events);
}

TEST_F(FleetTest, aServerThatStopsReadingDoesNotSlowTheScheduleDown)
{
    mSettings.count = 1;
    mSettings.eventRate = 60'000.0;
    mSettings.duration = 60 * kSecond;
    mSettings.link.queueBytes = 64 * 1024;
    start();
    ASSERT_TRUE(runUntilAllIn());
    ASSERT_TRUE(runUntil([this] { return mServer.known() == 1; }));
    mServer.peers.front().paused = true;
    EXPECT_TRUE(runUntil([this] { return mFleet->report().events().dropped > 0; }));
    const EventCounts before = mFleet->report().events();
    EXPECT_GT(before.waiting, 0U);
    EXPECT_TRUE(runUntil([&] { return mFleet->report().events().planned > before.planned; }));
    expectAllAccountedFor(mFleet->report().events());
}

TEST_F(FleetTest, aDeviceThatIsNotReadDelaysNoOther)
{
    mSettings.eventRate = 60'000.0;
    mSettings.duration = 60 * kSecond;
    mSettings.count = 2;
    mSettings.mix = EventMix::usual({});
    start();
    ASSERT_TRUE(runUntil([this] { return mServer.known() == 2; }));
    mServer.peer(1)->paused = true;
    ASSERT_TRUE(runUntil([this] { return waitingOf(0) > 0; }));
    const uint64_t received = mServer.peer(2)->messages;
    EXPECT_TRUE(runUntil([&] { return mServer.peer(2)->messages > received + 1000; }));
    EXPECT_GT(waitingOf(0), 0U);
    expectAllAccountedFor(mFleet->report().events());
}

TEST_F(FleetTest, aDeviceThatFailsEndsNoOther)
{
    int connections = 0;
    mServer.spoil = [&connections](tcp::socket& socket) {
        error_code ignored;
        switch (connections++) {
        case 0: // bytes that make no sense
            socket.send(boost::asio::buffer(std::string(100, 'x')), 0, ignored);
            return true;
        case 1:
            socket.set_option(boost::asio::socket_base::linger(true, 0), ignored);
            socket.close(ignored);
            return true;
        case 2:
            socket.shutdown(tcp::socket::shutdown_both, ignored);
            return true;
        default:
            return false;
        }
    };
    start();
    ASSERT_TRUE(runUntilAllIn());
    EXPECT_EQ(mFleet->report().devices.in, 20U);
    EXPECT_GE(connections, 23);
}

TEST_F(FleetTest, whoIsRefusedIsCountedByTheReason)
{
    mServer.kill();
    mSettings.duration = 100 * kMillisecond;
    start();
    const FleetReport report = reportAtEnd();
    EXPECT_EQ(report.devices.in, 0U);
    EXPECT_EQ(report.devices.refused, (std::map<std::string, uint64_t>{{"Connection refused", 20}}));
    EXPECT_FALSE(report.secondsUntilAllIn);
}

TEST_F(FleetTest, allComeBackToAServerThatWasKilledAndNoSecondSeesTooManyConnects)
{
    mSettings.count = 60;
    mSettings.connectRate = 30.0;
    mSettings.eventRate = 50.0;
    start();
    ASSERT_TRUE(runUntilAllIn());
    mServer.kill();
    ASSERT_TRUE(runUntil([this] { return mFleet->progress().in == 0; }));
    EXPECT_EQ(mFleet->report().devices.lost, 60U);
    mServer.connects = BusiestSecond();
    mServer.open(mServer.endpoint().port());
    ASSERT_TRUE(runUntilAllIn());
    EXPECT_LE(mServer.connects.most(), 30U);
    EXPECT_EQ(mFleet->report().devices.lost, 0U);
    EXPECT_TRUE(runUntil([this] { return mFleet->report().events().waiting == 0; }));
    EXPECT_EQ(mFleet->report().events().dropped, 0U);
}

TEST_F(FleetTest, inAStormNobodyIsInUntilItIsOver)
{
    OutageOrder storm;
    ASSERT_EQ(parseOutage("storm@100ms:500ms", &storm), "");
    mSettings.outages = {storm};
    start();
    ASSERT_TRUE(runUntilAllIn());
    ASSERT_TRUE(runUntil([this] { return mFleet->progress().down == 20; }));
    EXPECT_EQ(mFleet->report().devices.lost, 0U);
    ASSERT_TRUE(runUntilAllIn());
    const FleetReport report = mFleet->report();
    ASSERT_EQ(report.outages.size(), 1U);
    EXPECT_EQ(report.outages[0].kind, "storm");
    EXPECT_EQ(report.outages[0].at, 0.1);
    EXPECT_EQ(report.outages[0].devices, 20U);
    EXPECT_GE(report.outages[0].secondsUntilBack, 0.5);
    EXPECT_EQ(report.outages[0].mostConnects, 20U);
}

TEST_F(FleetTest, aRollingOutageTakesTheNextDevicesDownEachTime)
{
    OutageOrder rolling;
    ASSERT_EQ(parseOutage("rolling:25%/200ms", &rolling), "");
    mSettings.outages = {rolling};
    mSettings.duration = 950 * kMillisecond;
    start();
    const FleetReport report = reportAtEnd();
    ASSERT_EQ(report.outages.size(), 4U);
    for (const Outage& outage : report.outages) {
        EXPECT_EQ(outage.kind, "rolling");
        EXPECT_EQ(outage.devices, 5U);
    }
    EXPECT_GE(mServer.peers.size(), 35U);
}

TEST_F(FleetTest, aConnectionIsEnded)
{
    EXPECT_EQ(reasonOf("flap:5%:100ms"), "the peer closed the connection");
}

TEST_F(FleetTest, aConnectionIsReset)
{
    EXPECT_EQ(reasonOf("flap:5%:100ms:reset"), "Connection reset by peer");
}

TEST_F(FleetTest, samplesComeAsOftenAsAsked)
{
    mSettings.count = 2;
    mSettings.sampleEvery = 200 * kMillisecond;
    start();
    ASSERT_TRUE(runUntil([this] {
        Peer* first = mServer.peer(1);
        Peer* second = mServer.peer(2);
        return first != nullptr && second != nullptr && first->messages >= 6 && second->messages >= 6;
    }));
    EXPECT_EQ(mFleet->report().events().planned, 0U); // they are no planned events
}

TEST_F(FleetTest, samplesFollowTheTimeScale)
{
    mSettings.count = 2;
    mSettings.timeScale = 10'000.0; // the rate is 10 minutes
    start();
    ASSERT_TRUE(runUntil([this] {
        Peer* first = mServer.peer(1);
        Peer* second = mServer.peer(2);
        return first != nullptr && second != nullptr && first->messages >= 6 && second->messages >= 6;
    }));
}

TEST_F(FleetTest, anotherSeedGivesOtherEvents)
{
    mSettings.count = 3;
    mSettings.eventRate = 200.0;
    mSettings.duration = kSecond / 2;
    std::vector<uint64_t> sent;
    for (const uint32_t seed : {1U, 1U, 2U}) {
        mSettings.seed = seed;
        mEnded = false;
        start();
        sent.push_back(reportAtEnd().events(eEventKind::DIN).planned);
        mFormer.push_back(std::move(mFleet));
    }
    EXPECT_EQ(sent[0], sent[1]);
    EXPECT_NE(sent[0], sent[2]);
}
