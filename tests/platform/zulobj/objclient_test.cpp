#include "zulobj/objclient.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "capturereader.h"
#include "clientmessages.h"
#include "hexbytes.h"
#include "linkpeer.h"
#include "listeners.h"
#include "samplerecords.h"
#include "zullink/linkclient.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// A request that is given up after this has gone out before.
constexpr int kLongEnoughToBeSentMs = 1000;

/// A client and the peer that it is told to connect to.
class ObjClientTest : public testing::Test
{
protected:
    bool startClient(cObjectClient* client) { return client->start("127.0.0.1", mPeer.port()); }

    LinkPeer mPeer;
};

// Starting.

TEST_F(ObjClientTest, StartSaysThatTheConnectionStands)
{
    cObjectClient client(quickSettings());
    EXPECT_TRUE(startClient(&client));
    EXPECT_TRUE(mPeer.accept().isOpen());
}

/// What crossed, inbound and outbound, and how often a connection was opened.
struct Recorded
{
    explicit Recorded(const char* path)
    {
        for (const RecordedPacket& packet : packetsIn(fileBytes(path), &isWhole)) {
            Bytes& lane = bytes[packet.direction];
            const Bytes payload = packet.payload();
            lane.insert(lane.end(), payload.begin(), payload.end());
            opened += packet.tcpFlags() == sTcpFields::kSyn ? 1 : 0;
        }
    }

    std::array<Bytes, 3> bytes;
    int opened = 0;
    bool isWhole = false;
};

TEST_F(ObjClientTest, RecordsWhatItSendsAndReceivesAlsoWhenStartedAgain)
{
    char path[] = "/tmp/objclient-test-XXXXXX";
    ::close(::mkstemp(path));
    std::shared_ptr<cCaptureFile> file;
    ASSERT_TRUE(cCaptureFile::create(path, "test 1", &file).isOk());
    Bytes received;
    {
        // The peers stay until the end, or the client would reconnect before it is started again.
        std::vector<PeerConnection> peers;
        cObjectClient client(quickSettings());
        for (int round = 0; round < 2; ++round) {
            client.recordTo(file);
            EXPECT_TRUE(startClient(&client));
            PeerConnection& peer = peers.emplace_back(mPeer.accept());
            peer.send(WMsg::ping(false));
            WMsg message;
            ASSERT_TRUE(peer.receiveAny(&message));
            message.appendFrames(received);
            sendEvent(&client, 7);
            ASSERT_TRUE(peer.receiveAny(&message));
            message.appendFrames(received);
        }
    }
    file->flush();
    const Recorded recorded(path);
    std::remove(path);
    EXPECT_TRUE(recorded.isWhole);
    EXPECT_EQ(recorded.opened, 2);
    Bytes pings;
    WMsg::ping(false).appendFrames(pings);
    WMsg::ping(false).appendFrames(pings);
    EXPECT_EQ(recorded.bytes[1], pings);
    EXPECT_EQ(recorded.bytes[2], received);
}

TEST_F(ObjClientTest, StartByNameConnects)
{
    cObjectClient client(quickSettings());
    EXPECT_TRUE(client.start("localhost", mPeer.port()));
    EXPECT_TRUE(mPeer.accept().isOpen());
}

TEST_F(ObjClientTest, StartRefusesWhatIsNoAddress)
{
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start(nullptr, mPeer.port()));
    EXPECT_FALSE(client.start("", mPeer.port()));
    EXPECT_FALSE(client.start("127.0.0.1", -1));
    EXPECT_FALSE(client.start("127.0.0.1", 65536));
}

TEST(ObjClientStartTest, NobodyListensIsAnsweredAtOnce)
{
    const ClosedPort closed;
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start("127.0.0.1", closed.port()));
}

TEST(ObjClientStartTest, NoAnswerIsGivenUpInTime)
{
    const FullPort full;
    cObjectClient::Settings settings = quickSettings();
    settings.startMs = 50;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("127.0.0.1", full.port()));
    client.stop();
}

TEST(ObjClientStartTest, NameThatDoesNotResolveIsGivenUpInTime)
{
    cObjectClient::Settings settings = quickSettings();
    settings.startMs = 50;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("no-such-host.invalid", 50000));
    client.stop();
}

TEST(ObjClientStartTest, ClientComesWhenSomebodyListensAtLast)
{
    ClosedPort port;
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start("127.0.0.1", port.port()));
    sendEvent(&client, 1);
    port.listen();
    PeerConnection peer = port.accept();
    EXPECT_EQ(receiveIds(&peer, 1), numbers(1, 1));
}

// Events and numbers.

TEST_F(ObjClientTest, EventHasItsExactBytes)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    sendEvent(&client, 5);
    PeerConnection peer = mPeer.accept();
    WMsg message;
    ASSERT_TRUE(peer.receive(&message));
    EXPECT_EQ(message.seq, 1);
    EXPECT_TRUE(message.event);
    EXPECT_FALSE(message.answer);
    EXPECT_EQ(message.payload, hexBytes("00 00 00 0d  00 00 00 10\n"
                                        "  00 01 00 04  00 00 00 00\n"
                                        "  00 02 00 04  00 00 00 05\n"));
}

TEST_F(ObjClientTest, NumbersCountFromOneAndTheTwoHundredFiftySixthIsZero)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    for (int i = 1; i <= 600; ++i) {
        sendEvent(&client, 1);
        peer.send(WMsg::ping(false)); // answered, and not counted
    }
    WMsg message;
    for (int i = 1; i <= 600; ++i) {
        ASSERT_TRUE(peer.receive(&message));
        ASSERT_EQ(message.seq, i % 256) << "message " << i;
    }
}

TEST_F(ObjClientTest, NewConnectionGoesOnCounting)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    WMsg message;
    for (int i = 1; i <= 3; ++i) {
        PeerConnection peer = mPeer.accept();
        sendEvent(&client, 1);
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_EQ(message.seq, i);
    }
}

TEST(ObjClientQueueTest, EventsWaitForTheLinkInOrder)
{
    ClosedPort port;
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start("127.0.0.1", port.port()));
    for (uint32_t id = 1; id <= 300; ++id) {
        sendEvent(&client, id);
    }
    port.listen();
    PeerConnection peer = port.accept();
    EXPECT_EQ(receiveIds(&peer, 300), numbers(1, 300));
}

TEST(ObjClientQueueTest, OldestEventsAreDroppedPastTheBound)
{
    ClosedPort port;
    cObjectClient::Settings settings = quickSettings();
    settings.queueBytes = 100 * 1024;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("127.0.0.1", port.port()));
    const std::string text(10000, 'x');
    for (uint32_t id = 1; id <= 50; ++id) {
        sendEvent(&client, id, text.c_str());
    }
    port.listen();
    PeerConnection peer = port.accept();
    EXPECT_EQ(receiveIds(&peer, 10), numbers(41, 50));
}

TEST_F(ObjClientTest, NeverStartedClientDropsWhatItIsGiven)
{
    cObjectClient client(quickSettings());
    sendEvent(&client, 1);
    ASSERT_TRUE(startClient(&client));
    sendEvent(&client, 2);
    PeerConnection peer = mPeer.accept();
    EXPECT_EQ(receiveIds(&peer, 1), numbers(2, 2));
}

TEST_F(ObjClientTest, StoppedClientDropsWhatItIsGiven)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    client.stop();
    sendEvent(&client, 1);
    ASSERT_TRUE(startClient(&client));
    sendEvent(&client, 2);
    PeerConnection first = mPeer.accept();
    PeerConnection second = mPeer.accept();
    EXPECT_EQ(receiveIds(&second, 1), numbers(2, 2));
}

TEST_F(ObjClientTest, ManyThreadsMaySend)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&client, thread] {
            for (uint32_t i = 0; i < 100; ++i) {
                sendEvent(&client, thread * 1000 + i);
            }
        });
    }
    std::vector<uint32_t> ids = receiveIds(&peer, 800);
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(ids.size(), 800U);
    for (uint32_t thread = 0; thread < 8; ++thread) {
        std::vector<uint32_t> own;
        std::copy_if(ids.begin(), ids.end(), std::back_inserter(own),
                     [thread](uint32_t id) { return id / 1000 == thread; });
        EXPECT_EQ(own, numbers(thread * 1000, thread * 1000 + 99)) << "each thread's events keep their order";
    }
}

TEST_F(ObjClientTest, TooLargeAListIsNotSentAndTheLinkStays)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    const std::string text(60000, 'x');
    cObjectAdhocEvent record;
    record.setEventValue(text.c_str());
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    for (int i = 0; i < 20; ++i) {
        list.addBorrowed(&record);
    }
    client.send(&list);
    sendEvent(&client, 2);
    PeerConnection peer = mPeer.accept();
    EXPECT_EQ(receiveIds(&peer, 1), numbers(2, 2));
}

// Delivery and answers.

TEST_F(ObjClientTest, EveryMessageTypeReachesTheListenerAsItWasSent)
{
    RecordingListener listener;
    cObjectClient client(quickSettings());
    client.addListener(&listener);
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    for (int type = 0; type < 256; ++type) {
        peer.send(messageOf(static_cast<uint8_t>(type), 9));
    }
    ASSERT_TRUE(listener.waitForCount(256));
    for (int type = 0; type < 256; ++type) {
        EXPECT_EQ(listener.types()[static_cast<size_t>(type)], type);
    }
}

TEST_F(ObjClientTest, AListenerAddedTwiceIsCalledTwiceAndOneAddedByAListenerFromTheNextMessageOn)
{
    cObjectClient client(quickSettings());
    RecordingListener twice;
    RecordingListener late;
    FunctionListener adding([&](cObjectList* list) {
        if (list->getMsgType() == 3) {
            client.addListener(&late);
        }
    });
    client.addListener(&twice);
    client.addListener(&adding);
    client.addListener(&twice);
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    peer.send(messageOf(3, 1));
    peer.send(messageOf(4, 2));
    EXPECT_TRUE(late.waitForCount(1));
    client.stop();
    EXPECT_EQ(twice.types(), (std::vector<int>{3, 3, 4, 4}));
    EXPECT_EQ(late.types(), (std::vector<int>{4}));
}

TEST_F(ObjClientTest, ListOfTheSameTypeIsTheAnswerWhicheverThreadSendsIt)
{
    for (const uint8_t type : {cObjectList::kSet, cObjectList::kRequest}) {
        SCOPED_TRACE(int(type));
        cObjectClient client(quickSettings());
        FunctionListener listener(
            [&](cObjectList* list) { std::thread(sendEmpty, &client, list->getMsgType()).join(); });
        client.addListener(&listener);
        ASSERT_TRUE(startClient(&client));
        PeerConnection peer = mPeer.accept();
        for (const uint8_t seq : {200, 7, 0}) {
            peer.send(messageOf(type, seq));
            WMsg answer;
            ASSERT_TRUE(peer.receive(&answer));
            EXPECT_TRUE(answer.answer);
            EXPECT_EQ(answer.type, type);
            EXPECT_EQ(answer.seq, seq);
        }
        client.stop();
    }
}

TEST_F(ObjClientTest, WhatElseIsSentDuringADeliveryIsNoAnswer)
{
    struct Row
    {
        const char* name;
        uint8_t received, sent;
    };
    const Row rows[] = {{"event during a request", 1, 3},
                        {"event during an event", 3, 3},
                        {"set during a request", 1, 0},
                        {"request during a set", 0, 1},
                        {"unknown type during itself", 77, 77}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        cObjectClient client(quickSettings());
        FunctionListener listener([&](cObjectList*) { sendEmpty(&client, row.sent); });
        client.addListener(&listener);
        ASSERT_TRUE(startClient(&client));
        PeerConnection peer = mPeer.accept();
        peer.send(messageOf(row.received, 200));
        WMsg message;
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_FALSE(message.answer);
        EXPECT_EQ(message.type, row.sent);
        EXPECT_EQ(message.seq, 1);
        client.stop();
    }
}

TEST_F(ObjClientTest, AnswersDoNotCount)
{
    cObjectClient client(quickSettings());
    FunctionListener listener([&](cObjectList* list) { sendEmpty(&client, list->getMsgType()); });
    client.addListener(&listener);
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    peer.send(messageOf(1, 200));
    WMsg message;
    ASSERT_TRUE(peer.receive(&message));
    sendEvent(&client, 1);
    ASSERT_TRUE(peer.receive(&message));
    EXPECT_EQ(message.seq, 1);
    client.stop();
}

TEST_F(ObjClientTest, AnswerToADeadConnectionIsDropped)
{
    BlockingListener blocking;
    cObjectClient client(quickSettings());
    FunctionListener answering([&](cObjectList* list) { sendEmpty(&client, list->getMsgType()); });
    client.addListener(&blocking);
    client.addListener(&answering);
    ASSERT_TRUE(startClient(&client));
    PeerConnection first = mPeer.accept();
    first.send(messageOf(1, 200));
    ASSERT_TRUE(blocking.waitUntilCalled());
    first.close();
    PeerConnection second = mPeer.accept();
    second.send(WMsg::ping(false));
    WMsg message;
    ASSERT_TRUE(second.receiveAny(&message)) << "the client is at home on the new connection";
    blocking.release();
    second.send(messageOf(1, 201));
    ASSERT_TRUE(second.receive(&message));
    EXPECT_EQ(message.seq, 201) << "the answer to number 200 is not sent";
    client.stop();
}

TEST_F(ObjClientTest, MalformedPayloadDropsTheMessageAndKeepsTheLink)
{
    RecordingListener listener;
    cObjectClient client(quickSettings());
    client.addListener(&listener);
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    peer.send(messageOf(4, 1, hexBytes("00 00 00 0c ff ff ff ff")));
    peer.send(messageOf(5, 2));
    ASSERT_TRUE(listener.waitForCount(1));
    EXPECT_EQ(listener.types(), (std::vector<int>{5}));
}

TEST_F(ObjClientTest, AnswerThatNobodyAskedForIsDroppedAndCounted)
{
    RecordingListener listener;
    cObjectClient client(quickSettings());
    client.addListener(&listener);
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    WMsg answer = messageOf(1, 9);
    answer.answer = true;
    peer.send(answer);
    peer.send(messageOf(5, 2));
    ASSERT_TRUE(listener.waitForCount(1));
    EXPECT_EQ(listener.types(), (std::vector<int>{5}));
    EXPECT_EQ(client.unmatchedAnswers(), 1U);
}

// Requests of the client.

TEST_F(ObjClientTest, RequestsAreAnswered)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    struct Row
    {
        const char* name;
        cObjectClient::eMsgStatus (cObjectClient::*call)(cObjectList*, cObjectList*, int);
        uint8_t type;
        const char* label;
    };
    const Row rows[] = {{"get", &cObjectClient::get, 1, "Gate"},
                        {"set", &cObjectClient::set, 0, "Gate"},
                        {"getIndexes", &cObjectClient::getIndexes, 1, nullptr}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        cObjectList request;
        request.add(new cObjectAccess);
        cObjectList answer;
        auto result =
            std::async(std::launch::async, [&] { return (client.*row.call)(&request, &answer, 20000); });
        WMsg message;
        ASSERT_TRUE(peer.receive(&message));
        EXPECT_EQ(message.type, row.type);
        EXPECT_FALSE(message.answer);
        cObjectAccess access;
        access.setPortNum(4);
        access.setLabel("Gate");
        WMsg reply = messageOf(message.type, message.seq, encoded(access));
        reply.answer = true;
        peer.send(reply);
        EXPECT_EQ(result.get(), cObjectClient::MSG_OK);
        const auto* received = dynamic_cast<cObjectAccess*>(answer.first());
        ASSERT_NE(received, nullptr);
        EXPECT_EQ(received->getPortNum(), 4U);
        EXPECT_STREQ(received->getLabel(), row.label);
    }
}

TEST_F(ObjClientTest, RequestWithoutAnAnswerFailsInTime)
{
    cObjectClient client(quickSettings());
    cObjectList request;
    cObjectList answer;
    EXPECT_EQ(client.get(&request, &answer, 20000), cObjectClient::MSG_ERROR) << "never started";
    ASSERT_TRUE(startClient(&client));
    EXPECT_EQ(client.get(&request, &answer, 10), cObjectClient::MSG_ERROR);
}

TEST_F(ObjClientTest, LateAnswerNeverPairsWithALaterRequest)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    cObjectList request;
    cObjectList answer;
    EXPECT_EQ(client.get(&request, &answer, kLongEnoughToBeSentMs), cObjectClient::MSG_ERROR);
    WMsg late;
    ASSERT_TRUE(peer.receive(&late));
    WMsg message;
    for (int i = 0; i < 300; ++i) {
        sendEvent(&client, 1);
        ASSERT_TRUE(peer.receive(&message));
        ASSERT_NE(message.seq, late.seq) << "its answer may still come";
    }
    late.answer = true;
    peer.send(late);
    auto result = std::async(std::launch::async, [&] { return client.get(&request, &answer, 20000); });
    ASSERT_TRUE(peer.receive(&message));
    message.answer = true;
    peer.send(message);
    EXPECT_EQ(result.get(), cObjectClient::MSG_OK);
    EXPECT_EQ(client.unmatchedAnswers(), 1U);
}

TEST_F(ObjClientTest, PeerThatAnswersNothingIsAskedNoMoreThan255Times)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    std::vector<std::thread> threads;
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        threads.emplace_back([&client] {
            cObjectList request;
            cObjectList answer;
            client.get(&request, &answer, kLongEnoughToBeSentMs);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    WMsg message;
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        ASSERT_TRUE(peer.receive(&message));
    }
    cObjectList request;
    cObjectList answer;
    EXPECT_EQ(client.get(&request, &answer, 600000), cObjectClient::MSG_BUSY);
    peer.close();
    PeerConnection next = mPeer.accept();
    next.send(WMsg::ping(false));
    ASSERT_TRUE(next.receiveAny(&message)) << "a new connection begins anew";
    EXPECT_EQ(client.get(&request, &answer, kLongEnoughToBeSentMs), cObjectClient::MSG_ERROR);
    EXPECT_TRUE(next.receive(&message));
}

TEST_F(ObjClientTest, RequestFailsWhenTheConnectionIsLost)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    cObjectList request;
    cObjectList answer;
    auto result = std::async(std::launch::async, [&] { return client.get(&request, &answer, 600000); });
    WMsg message;
    ASSERT_TRUE(peer.receive(&message));
    peer.close();
    EXPECT_EQ(result.get(), cObjectClient::MSG_ERROR);
}

TEST(ObjClientQueueTest, StopEndsARequestThatWaitsForTheLink)
{
    const ClosedPort port;
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start("127.0.0.1", port.port()));
    cObjectList request;
    cObjectList answer;
    auto result = std::async(std::launch::async, [&] { return client.get(&request, &answer, 600000); });
    // Whether the request is queued already or comes too late: it ends with an error.
    client.stop();
    EXPECT_EQ(result.get(), cObjectClient::MSG_ERROR);
}

TEST_F(ObjClientTest, TooManyOutstandingRequestsAreBusy)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    std::vector<std::thread> threads;
    std::atomic<int> failed{0};
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        threads.emplace_back([&] {
            cObjectList request;
            cObjectList answer;
            failed += client.get(&request, &answer, 600000) == cObjectClient::MSG_ERROR ? 1 : 0;
        });
    }
    std::vector<bool> seen(256);
    WMsg message;
    for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
        EXPECT_TRUE(peer.receive(&message));
        EXPECT_FALSE(seen[message.seq]) << "a number stands for one request only";
        seen[message.seq] = true;
    }
    cObjectList request;
    cObjectList answer;
    EXPECT_EQ(client.get(&request, &answer, 600000), cObjectClient::MSG_BUSY);
    client.stop();
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failed, static_cast<int>(LinkSession::kMaxOutstanding));
}

// Keeping the link.

TEST_F(ObjClientTest, PingIsAnsweredWithItsNumber)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    WMsg ping = WMsg::ping(false);
    WMsg answer = WMsg::ping(true);
    for (const uint8_t seq : {0, 5}) {
        ping.seq = answer.seq = seq;
        peer.send(ping);
        WMsg message;
        ASSERT_TRUE(peer.receiveAny(&message));
        EXPECT_EQ(framesOf(message), framesOf(answer)) << "it bears the ping's number";
    }
}

// A peer that does not read.

TEST(ObjClientBackPressureTest, EventCutOffIsSentWholeOnTheNextConnection)
{
    LinkPeer listening(4096);
    cObjectClient::Settings settings = quickSettings();
    settings.queueBytes = 64 * 1024 * 1024;
    cObjectClient client(settings);
    ASSERT_TRUE(client.start("127.0.0.1", listening.port()));
    const std::string text(65000, 'x');
    constexpr uint32_t kEvents = 300; // more than the kernel's buffers hold
    for (uint32_t id = 1; id <= kEvents; ++id) {
        sendEvent(&client, id, text.c_str());
    }
    {
        PeerConnection first = listening.accept();
        EXPECT_EQ(receiveIds(&first, 3), numbers(1, 3));
    }
    PeerConnection second = listening.accept();
    WMsg message;
    ASSERT_TRUE(second.receive(&message));
    const uint32_t next = idOf(message);
    ASSERT_GT(next, 3U);
    ASSERT_LT(next, kEvents) << "what had been taken into the kernel is lost, the rest is kept";
    EXPECT_EQ(message.seq, next % 256) << "it keeps its number";
    EXPECT_EQ(receiveIds(&second, kEvents - next), numbers(next + 1, kEvents));
}

TEST(ObjClientBackPressureTest, StopEndsWhileThePeerDoesNotRead)
{
    LinkPeer listening(4096);
    cObjectClient client(quickSettings());
    ASSERT_TRUE(client.start("127.0.0.1", listening.port()));
    PeerConnection peer = listening.accept();
    const std::string text(65000, 'x');
    for (uint32_t id = 1; id <= 300; ++id) {
        sendEvent(&client, id, text.c_str());
    }
    client.stop();
    EXPECT_TRUE(peer.waitForEnd());
}

// Stopping and starting again.

TEST_F(ObjClientTest, StopsWithoutHavingStarted)
{
    cObjectClient client(quickSettings());
    client.stop();
    client.stop();
    EXPECT_TRUE(startClient(&client));
}

TEST(ObjClientStopTest, StopsWhileConnecting)
{
    const FullPort full;
    cObjectClient::Settings settings;
    settings.startMs = 10;
    settings.connectMs = 600000;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("127.0.0.1", full.port()));
    client.stop();
}

TEST(ObjClientStopTest, StopsWhilePausing)
{
    const ClosedPort closed;
    cObjectClient::Settings settings;
    settings.firstPauseMs = 600000;
    settings.longestPauseMs = 600000;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("127.0.0.1", closed.port()));
    client.stop();
}

TEST_F(ObjClientTest, StopsWhileConnected)
{
    cObjectClient client(quickSettings());
    ASSERT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    client.stop();
    EXPECT_TRUE(peer.waitForEnd());
}

TEST_F(ObjClientTest, StartedAgainTurnsToAnotherAddressWithItsEvents)
{
    const ClosedPort closed;
    cObjectClient client(quickSettings());
    EXPECT_FALSE(client.start("127.0.0.1", closed.port()));
    sendEvent(&client, 1);
    sendEvent(&client, 2);
    EXPECT_TRUE(startClient(&client));
    PeerConnection peer = mPeer.accept();
    EXPECT_EQ(receiveIds(&peer, 2), numbers(1, 2));
}

TEST_F(ObjClientTest, StartedAgainWhileAListenerIsBusyDoesNotWaitForIt)
{
    BlockingListener listener;
    cObjectClient client(quickSettings());
    client.addListener(&listener);
    ASSERT_TRUE(startClient(&client));
    PeerConnection first = mPeer.accept();
    const Bytes message = framesOf(messageOf(5, 1, hexBytes("00 00 00 63 00 00 00 00")));
    Bytes stream;
    for (size_t i = 0; i < 2 * cLinkClient::kMaxQueuedBytes / message.size(); ++i) {
        stream.insert(stream.end(), message.begin(), message.end());
    }
    ASSERT_TRUE(first.send(stream)) << "more than the pump holds";
    ASSERT_TRUE(listener.waitUntilCalled());
    LinkPeer other;
    EXPECT_TRUE(client.start("127.0.0.1", other.port()));
    EXPECT_TRUE(first.waitForEnd());
    PeerConnection second = other.accept();
    sendEvent(&client, 1);
    EXPECT_EQ(receiveIds(&second, 1), numbers(1, 1));
    listener.release();
    client.stop();
}

} // namespace
