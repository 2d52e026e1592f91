// A client whose connection is read on the thread of a host.

#include "hostedclient.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "clientmessages.h"
#include "hexbytes.h"
#include "linkpeer.h"
#include "listeners.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// The host is relieved soon where it is busy.
cObjectClient::Settings impatientSettings()
{
    cObjectClient::Settings settings = quickSettings();
    settings.pingAfterMs = 20;
    settings.giveUpAfterMs = 20000;
    return settings;
}

/// Waits for the answer to a ping, whatever else comes before it.
bool receivePingAnswer(PeerConnection* peer)
{
    WMsg message;
    while (peer->receiveAny(&message)) {
        if (message.control && message.answer) {
            return true;
        }
    }
    return false;
}

class HostedClientTest : public testing::Test
{
protected:
    LinkPeer mPeer;
};

TEST_F(HostedClientTest, ListenersAreCalledOnTheHostsThreadInOrder)
{
    HostedClient hosted(quickSettings());
    RecordingListener recording;
    std::atomic<int> elsewhere{0};
    FunctionListener looking(
        [&](cObjectList*) { elsewhere += std::this_thread::get_id() == hosted.thread() ? 0 : 1; });
    hosted.client()->addListener(&looking);
    hosted.client()->addListener(&recording);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    for (int type = 0; type < 256; ++type) {
        peer.send(messageOf(static_cast<uint8_t>(type), 9));
    }
    ASSERT_TRUE(recording.waitForCount(256));
    for (int type = 0; type < 256; ++type) {
        EXPECT_EQ(recording.types()[static_cast<size_t>(type)], type);
    }
    EXPECT_EQ(elsewhere, 0);
    hosted.stop();
}

TEST_F(HostedClientTest, ListOfTheSameTypeIsTheAnswerAndWhatElseIsSentIsNot)
{
    HostedClient hosted(quickSettings());
    FunctionListener listener([&](cObjectList* list) {
        sendEvent(hosted.client(), 7);
        sendEmpty(hosted.client(), list->getMsgType());
    });
    hosted.client()->addListener(&listener);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    for (const uint8_t type : {cObjectList::kSet, cObjectList::kRequest}) {
        SCOPED_TRACE(int(type));
        peer.send(messageOf(type, 200));
        WMsg message;
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_EQ(idOf(message), 7U);
        EXPECT_FALSE(message.answer);
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_TRUE(message.answer);
        EXPECT_EQ(message.type, type);
        EXPECT_EQ(message.seq, 200);
    }
    hosted.stop();
}

TEST_F(HostedClientTest, MessageInManyPiecesIsDeliveredOnce)
{
    HostedClient hosted(quickSettings());
    RecordingListener listener;
    hosted.client()->addListener(&listener);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    // An object of a type that nobody knows, with one tag of 4,992 bytes.
    Bytes payload = hexBytes("00 00 00 63 00 00 13 84 00 63 13 80");
    payload.resize(payload.size() + 0x1380);
    for (const uint8_t byte : framesOf(messageOf(5, 1, payload))) {
        ASSERT_TRUE(peer.send(Bytes{byte}));
    }
    peer.send(messageOf(6, 2));
    ASSERT_TRUE(listener.waitForCount(2));
    EXPECT_EQ(listener.types(), (std::vector<int>{5, 6}));
    hosted.stop();
}

TEST_F(HostedClientTest, RequestOfAnotherThreadIsAnswered)
{
    HostedClient hosted(quickSettings());
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    std::thread answering([&] {
        WMsg message;
        ASSERT_TRUE(peer.receive(&message));
        message.answer = true;
        peer.send(message);
    });
    cObjectList request;
    cObjectList answer;
    EXPECT_EQ(hosted.client()->get(&request, &answer, 20000), cObjectClient::MSG_OK);
    answering.join();
}

TEST_F(HostedClientTest, ListenerThatServesGetsNoMessageWithinAnother)
{
    HostedClient hosted(quickSettings());
    int depth = 0;
    int deepest = 0;
    std::atomic<int> calls{0};
    FunctionListener listener([&](cObjectList*) {
        deepest = std::max(deepest, ++depth);
        hosted.client()->processIo();
        --depth;
        ++calls;
    });
    RecordingListener recording;
    hosted.client()->addListener(&listener);
    hosted.client()->addListener(&recording);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    Bytes stream;
    for (uint8_t type = 4; type < 40; ++type) {
        messageOf(type, 1).appendFrames(stream);
    }
    ASSERT_TRUE(peer.send(stream));
    ASSERT_TRUE(recording.waitForCount(36));
    hosted.stop();
    EXPECT_EQ(calls, 36);
    EXPECT_EQ(deepest, 1);
}

TEST_F(HostedClientTest, StatesOfTheLinkAreToldOnTheHostsThread)
{
    HostedClient hosted(quickSettings());
    std::vector<sLinkState::eState> states; // the host's thread's own
    bool elsewhere = false;
    hosted.client()->setStateObserver([&](const sLinkState& state) {
        states.push_back(state.state);
        elsewhere = elsewhere || std::this_thread::get_id() != hosted.thread();
    });
    const auto told = [&](const std::vector<sLinkState::eState>& expected) {
        bool same = false;
        while (!same) {
            hosted.run([&] { same = states == expected; });
        }
        return same;
    };
    ASSERT_TRUE(hosted.start(mPeer.port()));
    ASSERT_TRUE(told({sLinkState::DOWN, sLinkState::UP}));
    mPeer.accept().close();
    PeerConnection second = mPeer.accept();
    ASSERT_TRUE(told({sLinkState::DOWN, sLinkState::UP, sLinkState::DOWN, sLinkState::UP}));
    hosted.run([&] { hosted.client()->disconnect(); });
    ASSERT_TRUE(told({sLinkState::DOWN, sLinkState::UP, sLinkState::DOWN, sLinkState::UP, sLinkState::OFF}));
    EXPECT_FALSE(elsewhere);
    EXPECT_EQ(hosted.client()->state().state, sLinkState::OFF);
    hosted.stop();
}

// A host that is busy.

TEST_F(HostedClientTest, PingsAreAnsweredWhileAListenerIsBusy)
{
    HostedClient hosted(impatientSettings());
    BlockingListener listener;
    hosted.client()->addListener(&listener);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    peer.send(messageOf(1, 1));
    ASSERT_TRUE(listener.waitUntilCalled());
    for (int i = 0; i < 3; ++i) {
        peer.send(WMsg::ping(false));
        EXPECT_TRUE(receivePingAnswer(&peer));
    }
    EXPECT_EQ(listener.calls(), 1);
    listener.release();
}

TEST_F(HostedClientTest, WhatComesWhileAListenerIsBusyIsDeliveredInOrder)
{
    HostedClient hosted(impatientSettings());
    BlockingListener blocking;
    RecordingListener recording;
    hosted.client()->addListener(&blocking);
    hosted.client()->addListener(&recording);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection peer = mPeer.accept();
    peer.send(messageOf(0, 1));
    ASSERT_TRUE(blocking.waitUntilCalled());
    for (int type = 1; type < 128; ++type) {
        peer.send(messageOf(static_cast<uint8_t>(type), 1));
    }
    peer.send(WMsg::ping(false));
    ASSERT_TRUE(receivePingAnswer(&peer)) << "what came before it has been read";
    EXPECT_EQ(recording.types().size(), 0U);
    blocking.release();
    for (int type = 128; type < 256; ++type) {
        peer.send(messageOf(static_cast<uint8_t>(type), 1));
    }
    ASSERT_TRUE(recording.waitForCount(256));
    for (int type = 0; type < 256; ++type) {
        EXPECT_EQ(recording.types()[static_cast<size_t>(type)], type);
    }
    hosted.stop();
}

TEST_F(HostedClientTest, LossWhileAListenerIsBusyIsFollowedByAConnection)
{
    HostedClient hosted(impatientSettings());
    BlockingListener listener;
    hosted.client()->addListener(&listener);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection first = mPeer.accept();
    first.send(messageOf(1, 1));
    ASSERT_TRUE(listener.waitUntilCalled());
    first.close();
    PeerConnection second = mPeer.accept();
    EXPECT_TRUE(second.isOpen());
    listener.release();
    second.send(messageOf(1, 1));
    EXPECT_TRUE(listener.waitForCalls(2));
    hosted.stop();
}

// The life of the link.

TEST_F(HostedClientTest, SendingNoticesALossThatNobodyReads)
{
    HostedClient hosted(quickSettings());
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection first = mPeer.accept();
    std::atomic<bool> again{false};
    std::vector<uint32_t> ids;
    std::thread waiting([&] {
        PeerConnection second = mPeer.accept();
        again = true;
        ids = receiveIds(&second, 2);
    });
    hosted.run([&] {
        first.close();
        for (uint32_t id = 1; id <= 1000; ++id) {
            sendEvent(hosted.client(), id);
        }
        while (!again) {
            std::this_thread::yield();
        }
    });
    waiting.join();
    ASSERT_EQ(ids.size(), 2U);
    EXPECT_EQ(ids[1], ids[0] + 1);
    EXPECT_LT(ids[1], 1000U) << "what came after the loss was kept";
}

TEST_F(HostedClientTest, StartedAgainReadsTheNewConnection)
{
    HostedClient hosted(quickSettings());
    RecordingListener listener;
    hosted.client()->addListener(&listener);
    ASSERT_TRUE(hosted.start(mPeer.port()));
    PeerConnection first = mPeer.accept();
    LinkPeer other;
    ASSERT_TRUE(hosted.start(other.port()));
    EXPECT_TRUE(first.waitForEnd());
    PeerConnection second = other.accept();
    second.send(messageOf(6, 1));
    ASSERT_TRUE(listener.waitForCount(1));
    EXPECT_EQ(listener.types(), (std::vector<int>{6}));
    hosted.stop();
}

} // namespace
