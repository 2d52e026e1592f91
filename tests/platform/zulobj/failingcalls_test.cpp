// The client while calls of the system fail, each one in turn.

#include "failingcalls.h"

#include <arpa/inet.h>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <gtest/gtest.h>
#include <mutex>
#include <netinet/in.h>
#include <ostream>
#include <string>

#include "caughtlog.h"
#include "fakenameserver.h"
#include "listeners.h"
#include "servingpeer.h"
#include "zullink/linkclock.h"
#include "zullink/linksocket.h"
#include "zullink/wakeup.h"
#include "zulobj/adhoc.h"
#include "zulobj/objclient.h"

namespace {

struct Row
{
    const char* function;
    int error;
};

std::string nameOf(const Row& row)
{
    return std::string(row.function) + "_" +
           (row.error == FailingCalls::kShort ? "short" : strerrorname_np(row.error));
}

void PrintTo(const Row& row, std::ostream* out) { *out << nameOf(row); }

std::vector<Row> everyFailureOf(std::initializer_list<const char*> functions)
{
    std::vector<Row> rows;
    for (const char* function : functions) {
        for (const int error : {EINTR, EAGAIN, ECONNRESET, EMFILE, ENFILE, ENOMEM}) {
            rows.push_back({function, error});
        }
    }
    for (const char* function : {"recv", "send"}) {
        rows.push_back({function, FailingCalls::kShort});
    }
    return rows;
}

cObjectClient::Settings quickSettings()
{
    cObjectClient::Settings settings;
    settings.connectMs = 2000;
    settings.firstPauseMs = 1;
    settings.longestPauseMs = 20;
    return settings;
}

/// True once a request is answered, however often it takes another connection.
bool isAnsweredAtLast(cObjectClient* client)
{
    const int64_t deadline = linkNowMs() + 20000;
    while (linkNowMs() < deadline) {
        cObjectList request;
        request.add(new cObjectAdhocEvent);
        cObjectList answer;
        if (client->get(&request, &answer, 1000) == cObjectClient::MSG_OK && answer.size() == 1) {
            return true;
        }
    }
    return false;
}

void sendEvent(cObjectClient* client)
{
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    list.add(new cObjectAdhocEvent);
    client->send(&list);
}

/// The whole life of a client, which comes to its end whatever fails on the way.
void liveThrough(const char* address, int port)
{
    cObjectClient client(quickSettings());
    FunctionListener listener([&client](cObjectList* list) {
        cObjectList answer;
        answer.setMsgType(list->getMsgType());
        client.send(&answer);
    });
    client.addListener(&listener);
    client.start(address, port);
    sendEvent(&client);
    EXPECT_TRUE(isAnsweredAtLast(&client));
    EXPECT_TRUE(isAnsweredAtLast(&client));
    client.stop();
}

class FailingCallTest : public testing::TestWithParam<Row>
{
protected:
    /// Lets the first, the second and each further call fail, until none is left that could.
    void liveThroughEachFailure(const char* address, int port) const
    {
        bool fired = true;
        for (int nth = 1; fired && nth < 1000 && !HasFailure(); ++nth) {
            SCOPED_TRACE(nth);
            const size_t before = FailingCalls::openDescriptors();
            FailingCalls::arm(GetParam().function, nth, GetParam().error);
            liveThrough(address, port);
            fired = FailingCalls::disarm();
            EXPECT_TRUE(fired || nth > 1) << "the call is never made";
            EXPECT_EQ(settledDescriptors(before), before);
        }
        EXPECT_FALSE(fired);
    }

private:
    /// The peer closes its end a little later than the client.
    static size_t settledDescriptors(size_t wanted)
    {
        const int64_t deadline = linkNowMs() + 20000;
        while (FailingCalls::openDescriptors() != wanted && linkNowMs() < deadline) {
            std::this_thread::yield();
        }
        return FailingCalls::openDescriptors();
    }
};

} // namespace

TEST_P(FailingCallTest, theClientConnectsAndItsRequestsAreAnswered)
{
    const ServingPeer peer;
    liveThroughEachFailure("127.0.0.1", peer.port());
}

TEST(FailingCallsTest, aSignalDoesNotEndAnAttemptToConnect)
{
    const FullPort silent;
    sLinkAddress address;
    auto* loopback = reinterpret_cast<sockaddr_in*>(&address.storage);
    loopback->sin_family = AF_INET;
    loopback->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    loopback->sin_port = htons(static_cast<uint16_t>(silent.port()));
    address.size = sizeof *loopback;
    const cWakeup wakeup;
    std::shared_ptr<cLinkSocket> connection;
    const int64_t begun = linkNowMs();
    FailingCalls::arm("poll", 1, EINTR);
    EXPECT_FALSE(cLinkSocket::connectTo({address}, 300, wakeup.fd(), &connection).isOk());
    EXPECT_TRUE(FailingCalls::disarm());
    EXPECT_GE(linkNowMs() - begun, 300);
}

TEST(FailingCallsTest, aThreadThatTheSystemRefusesLeavesTheLinkOutAndTheProgramGoesOn)
{
    const ServingPeer peer;
    cObjectClient client(quickSettings());
    for (const int nth : {1, 2}) {
        SCOPED_TRACE(nth);
        CaughtLog log;
        FailingCalls::arm("pthread_create", nth, EAGAIN);
        EXPECT_FALSE(client.start("127.0.0.1", peer.port()));
        EXPECT_TRUE(FailingCalls::disarm());
        EXPECT_EQ(log.waitFor("The link is missing").size(), 1U);
        sendEvent(&client);
        client.stop();
    }
    EXPECT_TRUE(client.start("127.0.0.1", peer.port()));
    EXPECT_TRUE(isAnsweredAtLast(&client));
}

/// A client that reads nothing for an hour, as its answers are not read, and then goes on.
class UnreadAnswersTest : public testing::Test
{
protected:
    static constexpr int kAnswers = 200; // 12 MB: far more than the system holds for a connection
    static constexpr int64_t kHourMs = 3600 * 1000;

    static cObjectClient::Settings settings()
    {
        cObjectClient::Settings settings = quickSettings();
        settings.startMs = 20000;
        settings.pingAfterMs = 5000;
        settings.giveUpAfterMs = 20000;
        settings.answerBytes = 100000;
        return settings;
    }

    void SetUp() override
    {
        mClient.addListener(&mListener);
        ASSERT_TRUE(mClient.start("127.0.0.1", mListening.port()));
        mPeer = mListening.accept();
        sendTyped(cObjectList::kRequest);
        ASSERT_TRUE(waitForDeliveries(1));
        // Once this has been read, nothing more is.
        sendTyped(cObjectList::kEvent);
        takeAnswers(kAnswers / 4);
        FailingCalls::advanceClock(kHourMs);
    }

    void TearDown() override
    {
        mClient.stop();
        FailingCalls::advanceClock(-kHourMs);
    }

    void sendTyped(uint8_t type)
    {
        WMsg message;
        message.type = type;
        message.event = type == cObjectList::kEvent;
        mPeer.send(message);
    }

    void takeAnswers(int count)
    {
        WMsg message;
        for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(mPeer.receive(&message));
            ASSERT_TRUE(message.answer);
        }
    }

    bool waitForDeliveries(int count)
    {
        // By the one clock that has not been advanced.
        const auto end = std::chrono::system_clock::now() + kTestPatience;
        std::unique_lock<std::mutex> lock(mMutex);
        return mChanged.wait_until(lock, end, [&] { return mDelivered >= count; });
    }

private:
    void handle(cObjectList* list)
    {
        const std::string text(60000, 'x');
        for (int i = 0; list->getMsgType() == cObjectList::kRequest && i < kAnswers; ++i) {
            auto* record = new cObjectAdhocEvent;
            record->setEventValue(text.c_str());
            cObjectList answer;
            answer.setMsgType(cObjectList::kRequest);
            answer.add(record);
            mClient.send(&answer);
        }
        const std::lock_guard<std::mutex> lock(mMutex);
        ++mDelivered;
        mChanged.notify_all();
    }

    LinkPeer mListening{4096};
    PeerConnection mPeer;
    std::mutex mMutex;
    std::condition_variable mChanged;
    int mDelivered = 0;
    FunctionListener mListener{[this](cObjectList* list) { handle(list); }};
    cObjectClient mClient{settings()};
};

TEST_F(UnreadAnswersTest, bytesThatWaitAreReadBeforeSilenceIsJudged)
{
    sendTyped(cObjectList::kEvent);
    takeAnswers(kAnswers - kAnswers / 4);
    EXPECT_TRUE(waitForDeliveries(3)) << "on the same connection";
}

TEST_F(UnreadAnswersTest, aPeerThatWasNotListenedToIsNotCalledSilent)
{
    takeAnswers(kAnswers - kAnswers / 4);
    EXPECT_TRUE(waitForDeliveries(2)) << "the client reads on";
    sendTyped(cObjectList::kEvent);
    EXPECT_TRUE(waitForDeliveries(3)) << "on the same connection";
}

INSTANTIATE_TEST_SUITE_P(client, FailingCallTest,
                         testing::ValuesIn(everyFailureOf({"socket", "connect", "setsockopt", "getsockopt",
                                                           "getsockname", "getpeername", "poll", "recv",
                                                           "send", "shutdown", "close", "eventfd",
                                                           "eventfd_read", "eventfd_write"})),
                         [](const testing::TestParamInfo<Row>& row) { return nameOf(row.param); });

class FailingLookupTest : public FailingCallTest
{};

TEST_P(FailingLookupTest, theClientFindsTheNameAndItsRequestsAreAnswered)
{
    const ServingPeer peer;
    const FakeNameServer names;
    liveThroughEachFailure("server.test", peer.port());
}

INSTANTIATE_TEST_SUITE_P(resolver, FailingLookupTest,
                         testing::ValuesIn(everyFailureOf({"socket", "connect", "poll", "recvfrom", "send",
                                                           "close"})),
                         [](const testing::TestParamInfo<Row>& row) { return nameOf(row.param); });
