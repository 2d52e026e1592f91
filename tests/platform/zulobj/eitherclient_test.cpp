// What holds for a client with threads of its own as well as for one that is lent to a host.

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "clientmessages.h"
#include "eitherclient.h"
#include "hexbytes.h"
#include "linkpeer.h"
#include "listeners.h"
#include "zullink/linkclient.h"
#include "zulobj/capability.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes announceFourGigabytes() { return hexBytes("5a 57 01 08 01 01 00 00 ff ff ff ff 00 00 00 00"); }

Bytes halfOf(Bytes bytes)
{
    bytes.resize(bytes.size() / 2);
    return bytes;
}

/// Answers each request with 60,000 bytes.
class LargeAnswers : public cObjectListener
{
public:
    explicit LargeAnswers(cObjectClient* client) : mClient(client) {}

    void handleObjectAction(cObjectList*) override
    {
        cObjectCapability record;
        record.setValue(mText.c_str());
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        list.addBorrowed(&record);
        mClient->send(&list);
        ++mAnswered;
    }

    int answered() const { return mAnswered; }

private:
    cObjectClient* mClient;
    const std::string mText = std::string(60000, 'x');
    std::atomic<int> mAnswered{0};
};

class EitherClientTest : public testing::TestWithParam<bool>
{
protected:
    LinkPeer mPeer;
};

TEST_P(EitherClientTest, IdlePeerIsPingedAndStaysWhenItAnswers)
{
    cObjectClient::Settings settings = quickSettings();
    settings.pingAfterMs = 20;
    settings.giveUpAfterMs = 20000;
    EitherClient client(GetParam(), settings);
    ASSERT_TRUE(client.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    for (int i = 0; i < 5; ++i) {
        WMsg message;
        ASSERT_TRUE(peer.receiveAny(&message));
        EXPECT_EQ(framesOf(message), framesOf(WMsg::ping(false)));
        peer.send(WMsg::ping(true));
    }
}

TEST_P(EitherClientTest, SilentPeerIsPingedOnceAndGivenUp)
{
    cObjectClient::Settings settings = quickSettings();
    settings.pingAfterMs = 20;
    settings.giveUpAfterMs = 200;
    EitherClient client(GetParam(), settings);
    ASSERT_TRUE(client.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    WMsg message;
    ASSERT_TRUE(peer.receiveAny(&message));
    EXPECT_TRUE(message.control);
    EXPECT_FALSE(peer.receiveAny(&message)) << "one ping, then the end";
    EXPECT_TRUE(mPeer.accept().isOpen());
}

TEST_P(EitherClientTest, ConnectionEndsBehindTheAnswersOnceThePeerHasReadAllEvents)
{
    EitherClient client(GetParam(), quickSettings());
    FunctionListener listener([&](cObjectList* list) { sendEmpty(client.get(), list->getMsgType()); });
    client.get()->addListener(&listener);
    ASSERT_TRUE(client.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    sendEvent(client.get(), 1);
    const std::jthread finisher([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            client.get()->finish();
            std::this_thread::yield();
        }
    });
    WMsg message;
    ASSERT_TRUE(peer.receiveAny(&message));
    EXPECT_EQ(idOf(message), 1U);
    WMsg ping = WMsg::ping(false);
    ping.seq = 1;
    ASSERT_TRUE(peer.receiveAny(&message));
    EXPECT_EQ(framesOf(message), framesOf(ping));
    peer.send(messageOf(cObjectList::kRequest, 7));
    ping.answer = true;
    peer.send(ping);
    ASSERT_TRUE(peer.receiveAny(&message)) << "what was asked is answered first";
    EXPECT_TRUE(message.answer);
    EXPECT_EQ(message.seq, 7);
    EXPECT_FALSE(peer.receiveAny(&message)) << "then it ends";
}

TEST_P(EitherClientTest, EveryLossIsFollowedByACleanConnection)
{
    struct Row
    {
        const char* name;
        Bytes bytes;
        bool closes; ///< the peer closes; otherwise the client does
    };
    const Bytes longMessage = framesOf(messageOf(3, 1, Bytes(5000, 0)));
    const Row rows[] = {
        {"closed", {}, true},
        {"garbage", Bytes(100, 'x'), false},
        {"half a header", hexBytes("5a 57 01 08 01"), true},
        {"half a message", halfOf(longMessage), true},
        {"four gigabytes announced", announceFourGigabytes(), false},
        {"another version", hexBytes("5a 57 02 08 01 01 00 00 00 00 00 00 00 00 00 00"), false}};
    RecordingListener listener;
    EitherClient client(GetParam(), quickSettings());
    client.get()->addListener(&listener);
    ASSERT_TRUE(client.start(mPeer.port()));
    size_t delivered = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        PeerConnection peer = mPeer.accept();
        ASSERT_TRUE(peer.isOpen());
        peer.send(messageOf(5, 1));
        ASSERT_TRUE(listener.waitForCount(++delivered)) << "the connection reads from its first byte";
        peer.send(row.bytes);
        if (!row.closes) {
            EXPECT_TRUE(peer.waitForEnd());
        }
    }
    PeerConnection peer = mPeer.accept();
    sendEvent(client.get(), 1);
    EXPECT_EQ(receiveIds(&peer, 1), numbers(1, 1));
}

TEST_P(EitherClientTest, HalfAMessageAndSilenceIsGivenUp)
{
    cObjectClient::Settings settings = quickSettings();
    settings.pingAfterMs = 20;
    settings.giveUpAfterMs = 200;
    EitherClient client(GetParam(), settings);
    ASSERT_TRUE(client.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    peer.send(halfOf(framesOf(messageOf(3, 1, Bytes(5000, 0)))));
    EXPECT_TRUE(peer.waitForEnd());
    EXPECT_TRUE(mPeer.accept().isOpen());
}

TEST_P(EitherClientTest, AnswersOutrunTheirReaderByABoundedNumber)
{
    constexpr int kRequests = 400;
    LinkPeer listening(64 * 1024);
    cObjectClient::Settings settings = quickSettings();
    settings.answerBytes = 300000;
    EitherClient client(GetParam(), settings);
    LargeAnswers answers(client.get());
    client.get()->addListener(&answers);
    ASSERT_TRUE(client.start(listening.port()));
    PeerConnection peer = listening.accept();
    for (int i = 0; i < kRequests; ++i) {
        ASSERT_TRUE(peer.send(messageOf(1, static_cast<uint8_t>(i))));
    }
    // The bound is the client's, the kernel's send buffer of at most 4 MiB and what the peer's socket holds.
    constexpr int kMayBeAhead = 120;
    WMsg message;
    for (int i = 0; i < kRequests; ++i) {
        EXPECT_LE(answers.answered() - i, kMayBeAhead);
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_EQ(message.seq, i % 256);
    }
    client.stop();
}

TEST_P(EitherClientTest, PeerThatNeverReadsIsGivenUpAndMayComeAgain)
{
    LinkPeer listening(64 * 1024);
    cObjectClient::Settings settings = quickSettings();
    settings.answerBytes = 300000;
    settings.giveUpAfterMs = 200;
    EitherClient client(GetParam(), settings);
    LargeAnswers answers(client.get());
    client.get()->addListener(&answers);
    ASSERT_TRUE(client.start(listening.port()));
    PeerConnection peer = listening.accept();
    Bytes requests; // more than the pump holds
    for (size_t i = 0; i < 2 * cLinkClient::kMaxQueuedBytes / wmsg::kHeaderSize; ++i) {
        messageOf(1, static_cast<uint8_t>(i)).appendFrames(requests);
    }
    peer.send(requests); // in part in vain once the client has given up
    PeerConnection again = listening.accept();
    ASSERT_TRUE(again.isOpen());
    sendEvent(client.get(), 1);
    EXPECT_EQ(receiveIds(&again, 1), numbers(1, 1));
    client.stop();
}

TEST_P(EitherClientTest, StopsAndStartsUnderTraffic)
{
    RecordingListener listener;
    EitherClient client(GetParam(), quickSettings());
    client.get()->addListener(&listener);
    std::atomic<bool> over{false};
    std::thread sending([&] {
        while (!over) {
            sendEvent(client.get(), 1);
        }
    });
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(client.start(mPeer.port()));
        PeerConnection peer = mPeer.accept();
        peer.send(messageOf(5, 1));
        WMsg message;
        EXPECT_TRUE(peer.receive(&message));
        client.stop();
    }
    over = true;
    sending.join();
}

INSTANTIATE_TEST_SUITE_P(All, EitherClientTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Hosted" : "OfItsOwn"; });

} // namespace
