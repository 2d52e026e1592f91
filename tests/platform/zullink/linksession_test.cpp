// One end of a link, by a clock that the tests set and without a socket.

#include "zullink/linksession.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "hexbytes.h"

namespace {

using Bytes = std::vector<uint8_t>;

WMsg sizedMessage(uint8_t type, uint8_t seq = 0, size_t payload = 0)
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.event = type == 3;
    message.payload.resize(payload);
    return message;
}

WMsg answerTo(uint8_t seq)
{
    WMsg message = sizedMessage(1, seq);
    message.answer = true;
    return message;
}

WMsg pingOf(bool isAnswer, uint8_t seq = 0)
{
    WMsg ping = WMsg::ping(isAnswer);
    ping.seq = seq;
    return ping;
}

/// What a queue counts for a message of such a payload. The rest of the entry does not depend on the payload.
size_t costOf(size_t payload)
{
    for (size_t bound = payload;; ++bound) {
        LinkNumbers numbers;
        LinkSession::Settings settings;
        settings.queueBytes = bound;
        LinkSession session(settings, &numbers);
        session.send(sizedMessage(3, 0, payload));
        if (session.takeDropped().whileDown == 0) {
            return bound;
        }
    }
}

/// A session and the peer at the other end of its bytes.
class Ends
{
public:
    explicit Ends(const LinkSession::Settings& settings = {}, LinkNumbers* numbers = nullptr)
        : session(settings, numbers == nullptr ? &mNumbers : numbers)
    {}

    void connect()
    {
        session.connected(nowMs);
        mReader = WMsgReader();
    }

    /// The session receives @p bytes, at most @p piece at a time.
    void feed(const Bytes& bytes, size_t piece = 65536)
    {
        for (size_t at = 0; at < bytes.size(); at += piece) {
            std::span<const uint8_t> some(bytes.data() + at, std::min(piece, bytes.size() - at));
            LinkSession::Received message;
            while (session.read(&some, nowMs, &message)) {
                received.push_back(message);
            }
        }
    }

    void feed(const WMsg& message) { feed(framesOf(message)); }

    /// The peer takes @p size bytes of what the session writes.
    void take(size_t size)
    {
        for (std::span<const uint8_t> bytes = session.output(nowMs); size > 0 && !bytes.empty();
             bytes = session.output(nowMs)) {
            const size_t taken = std::min(size, bytes.size());
            const uint8_t* data = bytes.data();
            size_t left = taken;
            WMsg message;
            while (mReader.read(&data, &left, nowMs, &message) == WMsgReader::MESSAGE) {
                written.push_back(message);
            }
            session.written(taken, nowMs);
            size -= taken;
        }
    }

    /// The messages that the peer takes, in their order.
    std::vector<WMsg> takeAll()
    {
        take(SIZE_MAX);
        return std::exchange(written, {});
    }

    /// The numbers of those.
    std::vector<int> takeNumbers()
    {
        std::vector<int> all;
        for (const WMsg& message : takeAll()) {
            all.push_back(message.seq);
        }
        return all;
    }

    /// Lets the time pass in steps, and looks at it as often as the session asks for.
    void pass(int64_t ms)
    {
        const int64_t end = nowMs + ms;
        while (session.deadline() <= end) {
            nowMs = std::max(nowMs, session.deadline());
            session.checkTimes(nowMs);
            if (!reads) {
                session.output(nowMs);
            } else {
                take(SIZE_MAX);
            }
        }
        nowMs = end;
    }

    LinkSession session;
    int64_t nowMs = 1000000;
    bool reads = true; ///< the peer takes what is written while time passes
    std::vector<LinkSession::Received> received;
    std::vector<WMsg> written;

private:
    LinkNumbers mNumbers;
    WMsgReader mReader;
};

/// Notes how a request ended.
struct Outcome
{
    std::optional<WMsg> answer;
    int ends = 0;

    LinkSession::AnswerHandler handler()
    {
        return [this](const WMsg* message) {
            ++ends;
            answer = message == nullptr ? std::nullopt : std::optional(*message);
        };
    }
};

void callAll(const std::vector<LinkSession::AnswerHandler>& handlers)
{
    for (const LinkSession::AnswerHandler& handler : handlers) {
        handler(nullptr);
    }
}

std::vector<int> typesOf(const std::vector<WMsg>& messages)
{
    std::vector<int> types;
    for (const WMsg& message : messages) {
        types.push_back(message.type);
    }
    return types;
}

} // namespace

// Numbers.

TEST(LinkSessionTest, numbersCountFromOneAndTheTwoHundredFiftySixthIsZero)
{
    Ends ends;
    ends.connect();
    for (int i = 1; i <= 600; ++i) {
        ends.session.send(sizedMessage(3));
        ends.feed(pingOf(false)); // answered, and not counted
        ends.feed(sizedMessage(1, 77));
        ends.session.answer(ends.received.back().token, sizedMessage(1));
        const std::vector<WMsg> written = ends.takeAll();
        ASSERT_EQ(written.size(), 3U);
        EXPECT_TRUE(written[0].control);
        EXPECT_EQ(written[1].seq, i % 256);
        EXPECT_EQ(written[2].seq, 77);
    }
}

TEST(LinkSessionTest, aNewConnectionGoesOnCounting)
{
    Ends ends;
    for (int i = 1; i <= 3; ++i) {
        ends.connect();
        ends.session.send(sizedMessage(3));
        EXPECT_EQ(ends.takeNumbers(), std::vector<int>{i});
        ends.session.disconnected();
    }
}

TEST(LinkSessionTest, twoSessionsShareOneCount)
{
    LinkNumbers numbers;
    Ends first({}, &numbers);
    Ends second({}, &numbers);
    first.connect();
    second.connect();
    for (int i = 1; i <= 300; ++i) {
        Ends& ends = i % 3 == 0 ? first : second;
        ends.session.send(sizedMessage(3));
        EXPECT_EQ(ends.takeNumbers(), std::vector<int>{i % 256});
    }
}

TEST(LinkSessionTest, theNumberOfAnOutstandingRequestOfAnyConnectionIsPassedOver)
{
    LinkNumbers numbers;
    Ends asking({}, &numbers);
    Ends other({}, &numbers);
    asking.connect();
    other.connect();
    Outcome outcome;
    asking.session.request(sizedMessage(1), outcome.handler());
    ASSERT_EQ(asking.takeNumbers(), std::vector<int>{1});
    for (int i = 0; i < 600; ++i) {
        other.session.send(sizedMessage(3));
        EXPECT_NE(other.takeNumbers(), std::vector<int>{1}) << i;
    }
    asking.session.disconnected();
    bool again = false;
    for (int i = 0; i < 256; ++i) {
        other.session.send(sizedMessage(3));
        again = again || other.takeNumbers() == std::vector<int>{1};
    }
    EXPECT_TRUE(again) << "the end of the connection frees its numbers";
}

TEST(LinkSessionTest, connectionsThatHaveAllNumbersOutstandingTogetherDoNotStopEachOther)
{
    LinkNumbers numbers;
    std::vector<std::unique_ptr<Ends>> all;
    for (int i = 0; i < 300; ++i) {
        all.push_back(std::make_unique<Ends>(LinkSession::Settings(), &numbers));
        all.back()->connect();
        EXPECT_NE(all.back()->session.request(sizedMessage(1), nullptr), 0U);
        const std::vector<int> first = all.back()->takeNumbers();
        ASSERT_EQ(first.size(), 1U);
        all.back()->session.send(sizedMessage(3));
        EXPECT_NE(all.back()->takeNumbers(), first) << "its own is passed over all the same";
    }
}

// Requests and answers.

TEST(LinkSessionTest, anAnswerReachesTheHandlerOfItsRequestOnce)
{
    Ends ends;
    ends.connect();
    Outcome outcomes[3];
    for (Outcome& outcome : outcomes) {
        EXPECT_NE(ends.session.request(sizedMessage(1), outcome.handler()), 0U);
    }
    EXPECT_EQ(ends.takeNumbers(), (std::vector<int>{1, 2, 3}));
    ends.feed(answerTo(2));
    ASSERT_EQ(ends.received.size(), 1U);
    ends.received[0].handler(&ends.received[0].message);
    EXPECT_EQ(outcomes[1].answer->seq, 2);
    EXPECT_EQ(outcomes[0].ends + outcomes[2].ends, 0);
    ends.feed(answerTo(2));
    EXPECT_EQ(ends.received[1].handler, nullptr);
    EXPECT_EQ(ends.session.unmatchedAnswers(), 1U);
    ends.feed(answerTo(1));
    EXPECT_NE(ends.received[2].handler, nullptr) << "an earlier request still gets its answer";
}

TEST(LinkSessionTest, anAnswerThatNobodyAskedForIsCounted)
{
    Ends ends;
    ends.connect();
    ends.feed(answerTo(9));
    ASSERT_EQ(ends.received.size(), 1U);
    EXPECT_EQ(ends.received[0].handler, nullptr);
    EXPECT_EQ(ends.session.unmatchedAnswers(), 1U);
}

TEST(LinkSessionTest, aRequestGivenUpKeepsItsNumberUntilTheAnswerComes)
{
    Ends ends;
    ends.connect();
    Outcome outcome;
    const uint64_t request = ends.session.request(sizedMessage(1), outcome.handler());
    ASSERT_EQ(ends.takeNumbers(), std::vector<int>{1});
    ends.session.giveUp(request);
    for (int i = 0; i < 300; ++i) {
        ends.session.send(sizedMessage(3));
        ASSERT_NE(ends.takeNumbers(), std::vector<int>{1}) << "its answer may still come";
    }
    ends.feed(answerTo(1));
    EXPECT_EQ(ends.received[0].handler, nullptr);
    EXPECT_EQ(ends.session.unmatchedAnswers(), 1U);
    EXPECT_TRUE(ends.session.disconnected().empty());
    EXPECT_EQ(outcome.ends, 0);
}

TEST(LinkSessionTest, anAnswerFreesTheEarlierNumbersThatNobodyWaitsFor)
{
    Ends ends;
    ends.connect();
    Outcome waiting;
    std::vector<uint64_t> requests;
    for (int i = 0; i < 4; ++i) {
        requests.push_back(ends.session.request(sizedMessage(1), waiting.handler()));
    }
    ends.takeAll();
    ends.session.giveUp(requests[1]);
    ends.session.giveUp(requests[3]);
    ends.feed(answerTo(3));
    EXPECT_NE(ends.received[0].handler, nullptr);
    std::vector<bool> used(256);
    for (int i = 0; i < 256; ++i) {
        ends.session.send(sizedMessage(3));
        used[static_cast<size_t>(ends.takeNumbers().at(0))] = true;
    }
    EXPECT_FALSE(used[1]) << "somebody waits for it";
    EXPECT_TRUE(used[2]);
    EXPECT_TRUE(used[3]);
    EXPECT_FALSE(used[4]) << "it was sent later";
}

TEST(LinkSessionTest, aRequestGivenUpBeforeItWasWrittenIsNotSent)
{
    Ends ends;
    Outcome outcome;
    const uint64_t request = ends.session.request(sizedMessage(1), outcome.handler());
    ends.session.send(sizedMessage(3));
    ends.session.giveUp(request);
    ends.session.giveUp(request);
    ends.connect();
    EXPECT_EQ(typesOf(ends.takeAll()), std::vector<int>{3});
}

TEST(LinkSessionTest, only255RequestsAreOutstandingWhetherSomebodyWaitsOrNot)
{
    for (const bool written : {false, true}) {
        SCOPED_TRACE(written ? "written" : "queued");
        Ends ends;
        ends.connect();
        Outcome outcome;
        for (size_t i = 0; i < LinkSession::kMaxOutstanding; ++i) {
            EXPECT_NE(ends.session.request(sizedMessage(1), i % 2 == 0 ? outcome.handler() : nullptr), 0U);
            if (written) {
                ends.takeAll();
            }
        }
        EXPECT_EQ(ends.session.request(sizedMessage(1), nullptr), 0U);
        ends.session.send(sizedMessage(3));
        EXPECT_FALSE(ends.takeAll().empty()) << "a number stays free for an event";
        callAll(ends.session.disconnected());
        EXPECT_EQ(outcome.ends, 128);
        EXPECT_NE(ends.session.request(sizedMessage(1), nullptr), 0U) << "a new connection begins anew";
    }
}

TEST(LinkSessionTest, theEndOfAConnectionEndsItsRequests)
{
    Ends ends;
    ends.connect();
    Outcome sent;
    Outcome cutOff;
    Outcome queued;
    ends.session.request(sizedMessage(1), sent.handler());
    ends.takeAll();
    ends.session.request(sizedMessage(1, 0, 100), cutOff.handler());
    ends.take(50);
    ends.session.request(sizedMessage(1), queued.handler());
    callAll(ends.session.disconnected());
    EXPECT_EQ(sent.ends, 1);
    EXPECT_EQ(cutOff.ends, 1);
    EXPECT_EQ(queued.ends, 0) << "it waits for the next connection";
    ends.connect();
    EXPECT_EQ(ends.takeNumbers(), std::vector<int>{3});
    callAll(ends.session.clear());
    EXPECT_EQ(queued.ends, 1);
}

TEST(LinkSessionTest, anAnswerBearsTheNumberOfItsMessageAndGoesOverThatConnectionOnly)
{
    Ends ends;
    ends.connect();
    ends.feed(sizedMessage(1, 200));
    ends.session.disconnected();
    ends.session.answer(ends.received[0].token, sizedMessage(1));
    ends.connect();
    ends.session.answer(ends.received[0].token, sizedMessage(1));
    ends.session.answer({}, sizedMessage(1));
    ends.feed(sizedMessage(0, 201));
    ends.session.answer(ends.received[1].token, sizedMessage(0));
    const std::vector<WMsg> written = ends.takeAll();
    ASSERT_EQ(written.size(), 1U);
    EXPECT_TRUE(written[0].answer);
    EXPECT_EQ(written[0].type, 0);
    EXPECT_EQ(written[0].seq, 201);
}

// Receiving.

TEST(LinkSessionTest, everyMessageTypeArrivesAsItWasSent)
{
    Ends ends;
    ends.connect();
    for (int type = 0; type < 256; ++type) {
        ends.feed(sizedMessage(static_cast<uint8_t>(type), 9));
        EXPECT_EQ(ends.received.back().message.type, type);
    }
    EXPECT_EQ(ends.received.size(), 256U);
}

TEST(LinkSessionTest, typeAndEventFlagOfAnAnswerAndEventFlagOfAPingAreIgnored)
{
    Ends ends;
    ends.connect();
    Outcome outcome;
    EXPECT_NE(ends.session.request(sizedMessage(1), outcome.handler()), 0U);
    EXPECT_EQ(ends.takeNumbers(), std::vector<int>{1});
    WMsg answer = answerTo(1);
    answer.type = 9;
    answer.event = true;
    ends.feed(answer);
    ASSERT_EQ(ends.received.size(), 1U);
    EXPECT_NE(ends.received[0].handler, nullptr);

    WMsg ping = pingOf(false, 5);
    ping.event = true;
    ends.feed(ping);
    const std::vector<WMsg> written = ends.takeAll();
    ASSERT_EQ(written.size(), 1U);
    EXPECT_EQ(framesOf(written[0]), framesOf(pingOf(true, 5)));
}

TEST(LinkSessionTest, theEventFlagChangesNoDelivery)
{
    Ends ends;
    ends.connect();
    for (const uint8_t type : {uint8_t{0}, uint8_t{1}, uint8_t{3}}) {
        WMsg message = sizedMessage(type, 4);
        message.event = !message.event;
        ends.feed(message);
        EXPECT_EQ(ends.received.back().message.type, type);
    }
    EXPECT_EQ(ends.received.size(), 3U);
}

TEST(LinkSessionTest, everyCutOfAStreamDecodesTheSame)
{
    Bytes stream;
    for (const WMsg& message :
         {sizedMessage(1, 7, 20), pingOf(false, 5), sizedMessage(3, 8, 2100), answerTo(3)}) {
        message.appendFrames(stream);
    }
    Ends whole;
    whole.connect();
    whole.feed(stream);
    const std::vector<WMsg> pings = whole.takeAll();
    ASSERT_EQ(whole.received.size(), 3U);
    const auto expectSame = [&](Ends* cut) {
        ASSERT_EQ(cut->received.size(), whole.received.size());
        for (size_t i = 0; i < whole.received.size(); ++i) {
            EXPECT_EQ(framesOf(cut->received[i].message), framesOf(whole.received[i].message));
        }
        EXPECT_EQ(cut->session.problem(), "");
        EXPECT_EQ(typesOf(cut->takeAll()), typesOf(pings));
    };
    for (size_t at = 0; at <= stream.size(); ++at) {
        SCOPED_TRACE(at);
        Ends cut;
        cut.connect();
        cut.feed({stream.begin(), stream.begin() + static_cast<ptrdiff_t>(at)});
        cut.feed({stream.begin() + static_cast<ptrdiff_t>(at), stream.end()});
        expectSame(&cut);
    }
    for (const size_t piece : {1, 2, 15, 17, 100}) {
        SCOPED_TRACE(piece);
        Ends cut;
        cut.connect();
        cut.feed(stream, piece);
        expectSame(&cut);
    }
}

TEST(LinkSessionTest, brokenBytesEndTheConnectionAfterTheMessagesBeforeThem)
{
    LinkSession::Settings settings;
    settings.brokenBytes = "received bytes make no sense: ";
    Ends ends(settings);
    ends.connect();
    Bytes stream = framesOf(sizedMessage(5, 1));
    const Bytes garbage(100, 'x');
    stream.insert(stream.end(), garbage.begin(), garbage.end());
    ends.feed(stream);
    EXPECT_EQ(ends.received.size(), 1U);
    EXPECT_EQ(ends.session.problem(), "received bytes make no sense: magic: is not that of a message");
    ends.session.send(sizedMessage(3));
    EXPECT_TRUE(ends.session.output(ends.nowMs).empty());
    EXPECT_EQ(ends.session.deadline(), LinkSession::kNever);
}

TEST(LinkSessionTest, nothingHalfReceivedIsCarriedOver)
{
    Ends ends;
    ends.connect();
    Bytes half = framesOf(sizedMessage(3, 1, 50));
    half.resize(half.size() / 2);
    ends.feed(half);
    EXPECT_FALSE(ends.session.hasReceived());
    ends.session.disconnected();
    ends.connect();
    ends.feed(sizedMessage(4, 2));
    ASSERT_EQ(ends.received.size(), 1U);
    EXPECT_EQ(ends.received[0].message.type, 4);
    EXPECT_TRUE(ends.session.hasReceived());
}

// Pings.

TEST(LinkSessionTest, theAnswerToAPingBearsItsNumber)
{
    Ends ends;
    ends.connect();
    for (const int seq : {0, 5, 255, 5}) {
        ends.feed(pingOf(false, static_cast<uint8_t>(seq)));
        ends.feed(pingOf(true, 9));
    }
    WMsg other = pingOf(false, 6);
    other.type = 1;
    ends.feed(other);
    const std::vector<WMsg> written = ends.takeAll();
    ASSERT_EQ(written.size(), 4U) << "neither an answer nor another control message is answered";
    EXPECT_EQ(framesOf(written[0]), framesOf(pingOf(true, 0)));
    EXPECT_EQ(framesOf(written[1]), framesOf(pingOf(true, 5)));
    EXPECT_EQ(framesOf(written[2]), framesOf(pingOf(true, 255)));
    EXPECT_TRUE(ends.received.empty());
}

TEST(LinkSessionTest, pingsAreAnsweredAsFarAsThePeerReadsAndTakeBoundedMemory)
{
    Ends ends;
    ends.connect();
    Bytes pings;
    for (size_t i = 0; i < LinkSession::kMaxPings + 1000; ++i) {
        WMsg::ping(false).appendFrames(pings);
    }
    ends.feed(pings);
    ends.session.send(sizedMessage(3));
    ends.take(5000);
    EXPECT_TRUE(std::any_of(ends.written.begin(), ends.written.end(), [](const WMsg& message) {
        return !message.control;
    })) << "pings do not hold other messages up";
    EXPECT_EQ(ends.takeAll().size(), LinkSession::kMaxPings + 1);
}

TEST(LinkSessionTest, anIdlePeerIsPingedOnceAfterTenSecondsAndGivenUpAfterThirty)
{
    Ends ends;
    ends.connect();
    ends.pass(9999);
    EXPECT_TRUE(ends.written.empty());
    ends.pass(1);
    ASSERT_EQ(ends.written.size(), 1U);
    EXPECT_EQ(framesOf(ends.written[0]), framesOf(WMsg::ping(false)));
    ends.pass(19999);
    EXPECT_EQ(ends.session.problem(), "");
    EXPECT_EQ(ends.written.size(), 1U);
    ends.pass(1);
    EXPECT_EQ(ends.session.problem(), "it is silent");
}

TEST(LinkSessionTest, anyByteStartsTheIdleTimeAnew)
{
    Ends ends;
    ends.connect();
    const Bytes message = framesOf(sizedMessage(3, 1, 50));
    for (size_t i = 0; i < 3; ++i) {
        ends.pass(9000);
        ends.feed(Bytes{message[i]});
    }
    EXPECT_TRUE(ends.written.empty());
}

TEST(LinkSessionTest, aPeerThatAnswersPingsStaysAndIsPingedEachTime)
{
    Ends ends;
    ends.connect();
    for (size_t i = 1; i <= 100; ++i) {
        ends.pass(10000);
        EXPECT_EQ(ends.written.size(), i);
        ends.feed(pingOf(true));
    }
    EXPECT_EQ(ends.session.problem(), "");
}

TEST(LinkSessionTest, aMessageThatTakesTooLongEndsTheConnection)
{
    Ends ends;
    ends.connect();
    const Bytes message = framesOf(sizedMessage(3, 1, 50));
    ends.feed(Bytes{message[0]});
    for (size_t i = 1; i <= 3; ++i) {
        ends.pass(9000);
        ends.feed(Bytes{message[i]});
    }
    ends.pass(3000);
    EXPECT_EQ(ends.session.problem(), "");
    ends.pass(1);
    EXPECT_EQ(ends.session.problem(), "a message takes too long to arrive");
}

// Paused reading.

TEST(LinkSessionTest, aPeerThatIsNotReadIsNotSilent)
{
    Ends ends;
    ends.connect();
    ends.pass(9000);
    ends.session.setReading(false, ends.nowMs);
    EXPECT_EQ(ends.session.deadline(), LinkSession::kNever);
    ends.pass(100000);
    ends.session.setReading(true, ends.nowMs);
    ends.pass(9999);
    EXPECT_EQ(ends.session.problem(), "");
    EXPECT_TRUE(ends.written.empty());
    ends.pass(20001);
    EXPECT_EQ(ends.session.problem(), "it is silent");
}

TEST(LinkSessionTest, theTimeOfAMessageDoesNotRunWhileNobodyReads)
{
    const Bytes message = framesOf(sizedMessage(3, 1, 50));
    Ends ends;
    ends.connect();
    ends.feed({message.begin(), message.begin() + 20});
    ends.pass(8000);
    for (int i = 0; i < 2; ++i) {
        ends.session.setReading(false, ends.nowMs);
        ends.pass(60000);
        ends.session.setReading(true, ends.nowMs);
        ends.pass(8000);
    }
    ends.feed({message.begin() + 20, message.begin() + 21});
    ends.pass(6000);
    EXPECT_EQ(ends.session.problem(), "");
    ends.pass(1);
    EXPECT_EQ(ends.session.problem(), "a message takes too long to arrive") << "30 s of reading are over";
}

// Writing.

TEST(LinkSessionTest, oddPiecesOfWritingGiveTheSameBytes)
{
    for (const size_t piece : {1, 7, 16, 100, 2048}) {
        SCOPED_TRACE(piece);
        Ends ends;
        ends.connect();
        ends.session.send(sizedMessage(3, 0, 5000));
        ends.feed(pingOf(false, 4));
        ends.session.request(sizedMessage(1, 0, 100), nullptr);
        while (!ends.session.output(ends.nowMs).empty()) {
            ends.take(piece);
        }
        EXPECT_EQ(typesOf(ends.written), (std::vector<int>{0, 3, 1}));
        EXPECT_EQ(ends.written[1].payload.size(), 5000U);
    }
}

TEST(LinkSessionTest, aPeerThatTakesNothingForThirtySecondsIsGivenUp)
{
    Ends ends;
    ends.reads = false;
    ends.connect();
    ends.session.send(sizedMessage(3, 0, 5000));
    ends.pass(9000);
    ends.take(100);
    for (int i = 0; i < 3; ++i) {
        ends.pass(9000);
        ends.feed(pingOf(true));
    }
    ends.pass(2999);
    EXPECT_EQ(ends.session.problem(), "");
    ends.pass(1);
    EXPECT_EQ(ends.session.problem(), "it does not read what is sent to it");
}

TEST(LinkSessionTest, aPeerThatTakesNothingIsGivenUpAlsoWhileReadingIsPaused)
{
    Ends ends;
    ends.reads = false;
    ends.connect();
    ends.session.send(sizedMessage(3, 0, 5000));
    ends.session.setReading(false, ends.nowMs);
    ends.session.output(ends.nowMs);
    ends.pass(30000);
    EXPECT_EQ(ends.session.problem(), "it does not read what is sent to it");
}

TEST(LinkSessionTest, aWriteThatGoesOnIsNotCutShort)
{
    Ends ends;
    ends.reads = false;
    ends.connect();
    ends.session.send(sizedMessage(3, 0, 500));
    for (int i = 0; i < 10; ++i) {
        ends.pass(9000);
        ends.take(10);
        ends.feed(pingOf(true));
    }
    EXPECT_EQ(ends.session.problem(), "");
}

// What waits.

TEST(LinkSessionTest, eventsWaitForTheLinkInOrder)
{
    Ends ends;
    for (int type = 10; type < 50; ++type) {
        ends.session.send(sizedMessage(static_cast<uint8_t>(type)));
    }
    ends.connect();
    std::vector<int> expected(40);
    std::iota(expected.begin(), expected.end(), 10);
    EXPECT_EQ(typesOf(ends.takeAll()), expected);
}

TEST(LinkSessionTest, eventsThatWaitAndThatWereDroppedAreCounted)
{
    LinkSession::Settings settings;
    settings.queueBytes = 2 * costOf(1000);
    Ends ends(settings);
    for (const uint8_t type : {11, 12, 13}) {
        ends.session.send(sizedMessage(type, 0, 1000));
    }
    EXPECT_EQ(ends.session.waitingEvents(), 2U);
    EXPECT_EQ(ends.session.droppedEvents(), 1U);
    EXPECT_EQ(ends.session.takeDropped().whileDown, 1U);
    EXPECT_EQ(ends.session.droppedEvents(), 1U) << "of the session's whole life";
    ends.connect();
    EXPECT_EQ(ends.takeNumbers().size(), 2U);
    EXPECT_EQ(ends.session.waitingEvents(), 0U);
}

TEST(LinkSessionTest, theOldestEventIsDroppedPastTheBoundAndTakesNoNumber)
{
    const size_t cost = costOf(1000);
    for (const size_t bound : {3 * cost - 1, 3 * cost, 3 * cost + 1}) {
        SCOPED_TRACE(bound);
        LinkSession::Settings settings;
        settings.queueBytes = bound;
        Ends ends(settings);
        for (const uint8_t type : {11, 12, 13}) {
            ends.session.send(sizedMessage(type, 0, 1000));
        }
        EXPECT_EQ(ends.session.takeDropped().whileDown, bound < 3 * cost ? 1U : 0U);
        ends.session.send(sizedMessage(14, 0, 1000));
        EXPECT_EQ(ends.session.takeDropped().whileDown, 1U) << "counted from the last call";
        ends.connect();
        EXPECT_EQ(ends.takeNumbers().front(), 1);
    }
}

TEST(LinkSessionTest, eventsDroppedWhileTheLinkIsUpAreCountedApart)
{
    LinkSession::Settings settings;
    settings.queueBytes = costOf(1000);
    Ends ends(settings);
    ends.session.send(sizedMessage(11, 0, 1000));
    ends.session.send(sizedMessage(12, 0, 1000));
    ends.connect();
    ends.take(10);
    for (const uint8_t type : {13, 14, 15}) {
        ends.session.send(sizedMessage(type, 0, 1000));
    }
    const LinkSession::Dropped dropped = ends.session.takeDropped();
    EXPECT_EQ(dropped.whileDown, 1U);
    EXPECT_EQ(dropped.whileUp, 2U);
    EXPECT_EQ(typesOf(ends.takeAll()), (std::vector<int>{12, 15}));
}

TEST(LinkSessionTest, requestsAndAnswersAreNotDroppedForEvents)
{
    LinkSession::Settings settings;
    settings.queueBytes = 2 * costOf(1000);
    Ends ends(settings);
    ends.connect();
    ends.feed(sizedMessage(1, 9));
    ends.session.request(sizedMessage(1, 0, 1000), nullptr);
    ends.session.answer(ends.received[0].token, sizedMessage(2, 0, 1000));
    for (const uint8_t type : {13, 14, 15}) {
        ends.session.send(sizedMessage(type, 0, 1000));
    }
    EXPECT_EQ(typesOf(ends.takeAll()), (std::vector<int>{1, 2, 15}));
}

TEST(LinkSessionTest, anEventThatWasCutOffIsSentWholeOnTheNextConnectionWithItsNumber)
{
    const size_t frames = framesOf(sizedMessage(3, 1, 3000)).size();
    for (const size_t cut : {size_t{0}, size_t{1}, frames / 2, frames - 1, frames, frames + 1}) {
        SCOPED_TRACE(cut);
        Ends ends;
        ends.connect();
        for (const uint8_t type : {11, 12}) {
            ends.session.send(sizedMessage(type, 0, 3000));
        }
        ends.take(cut);
        ends.session.disconnected();
        ends.written.clear();
        ends.connect();
        const std::vector<WMsg> again = ends.takeAll();
        ASSERT_EQ(again.size(), cut < frames ? 2U : 1U) << "what was written in full is not sent again";
        EXPECT_EQ(again.back().type, 12);
        EXPECT_EQ(again.front().seq, cut < frames ? 1 : 2);
        EXPECT_EQ(again.back().payload.size(), 3000U);
    }
}

TEST(LinkSessionTest, anEventThatIsPutBackIsTheOldest)
{
    LinkSession::Settings settings;
    settings.queueBytes = 2 * costOf(1000);
    Ends ends(settings);
    ends.connect();
    ends.session.send(sizedMessage(11, 0, 1000));
    ends.take(10);
    ends.session.send(sizedMessage(12, 0, 1000));
    ends.session.send(sizedMessage(13, 0, 1000));
    ends.session.disconnected();
    EXPECT_EQ(ends.session.takeDropped().whileDown, 1U);
    ends.connect();
    EXPECT_EQ(typesOf(ends.takeAll()), (std::vector<int>{12, 13}));
}

TEST(LinkSessionTest, answersPileUpToTheirBoundAndEndWithTheConnection)
{
    LinkSession::Settings settings;
    settings.answerBytes = 2 * costOf(1000);
    Ends ends(settings);
    ends.connect();
    ends.feed(sizedMessage(1, 9));
    const LinkSession::ReplyToken token = ends.received[0].token;
    for (int i = 0; i < 2; ++i) {
        ends.session.answer(token, sizedMessage(1, 0, 1000));
        EXPECT_FALSE(ends.session.backlogExceeded());
    }
    ends.session.answer(token, sizedMessage(1, 0, 1000));
    EXPECT_TRUE(ends.session.backlogExceeded());
    ends.take(10);
    EXPECT_FALSE(ends.session.backlogExceeded());
    ends.session.answer(token, sizedMessage(1, 0, 1000));
    EXPECT_TRUE(ends.session.backlogExceeded());
    ends.session.disconnected();
    EXPECT_FALSE(ends.session.backlogExceeded());
    ends.connect();
    EXPECT_TRUE(ends.takeAll().empty());
}

TEST(LinkSessionTest, clearDropsEverything)
{
    Ends ends;
    ends.connect();
    ends.session.send(sizedMessage(3, 0, 100));
    ends.take(10);
    ends.session.send(sizedMessage(3));
    EXPECT_TRUE(ends.session.clear().empty());
    ends.connect();
    EXPECT_TRUE(ends.takeAll().empty());
}

TEST(LinkSessionTest, anAbandonedConnectionSaysWhyAndKeepsEventsOnly)
{
    Ends ends;
    ends.connect();
    ends.feed(sizedMessage(1, 9));
    ends.session.abandon("the connection was closed");
    ends.session.abandon("another reason");
    EXPECT_EQ(ends.session.problem(), "the connection was closed");
    ends.session.answer(ends.received[0].token, sizedMessage(1));
    ends.session.send(sizedMessage(3));
    ends.feed(sizedMessage(5));
    EXPECT_EQ(ends.received.size(), 1U);
    ends.session.disconnected();
    ends.connect();
    EXPECT_EQ(ends.session.problem(), "");
    EXPECT_EQ(typesOf(ends.takeAll()), std::vector<int>{3});
}

// A session whose messages end with its connection.

TEST(LinkSessionTest, withoutKeepingAFullQueueGivesTheConnectionUp)
{
    const size_t cost = costOf(1000);
    for (const size_t bound : {2 * cost - 1, 2 * cost}) {
        SCOPED_TRACE(bound);
        LinkSession::Settings settings;
        settings.keepsMessages = false;
        settings.queueBytes = bound;
        Ends ends(settings);
        ends.connect();
        ends.session.send(sizedMessage(3, 0, 1000));
        ends.session.request(sizedMessage(1, 0, 1000), nullptr);
        EXPECT_EQ(ends.session.problem(), bound < 2 * cost ? "it does not read what is sent to it" : "");
        EXPECT_EQ(ends.session.takeDropped().whileUp, 0U);
    }
}

TEST(LinkSessionTest, withoutKeepingNothingOutlivesTheConnection)
{
    LinkSession::Settings settings;
    settings.keepsMessages = false;
    Ends ends(settings);
    EXPECT_EQ(ends.session.request(sizedMessage(1), nullptr), 0U);
    ends.session.send(sizedMessage(3));
    ends.connect();
    EXPECT_TRUE(ends.takeAll().empty());
    Outcome queued;
    ends.session.send(sizedMessage(3, 0, 100));
    ends.take(10);
    ends.session.request(sizedMessage(1), queued.handler());
    callAll(ends.session.disconnected());
    EXPECT_EQ(queued.ends, 1);
    ends.connect();
    EXPECT_TRUE(ends.takeAll().empty());
}

// The end.

TEST(LinkSessionTest, aPingBehindAllThatWaitsAsksWhetherThePeerHasReadIt)
{
    Ends ends;
    ends.session.send(sizedMessage(3));
    ends.session.send(sizedMessage(3));
    ends.connect();
    EXPECT_FALSE(ends.session.finish(ends.nowMs));
    const std::vector<WMsg> written = ends.takeAll();
    ASSERT_EQ(typesOf(written), (std::vector<int>{3, 3, wmsg::kControlPing}));
    EXPECT_EQ(framesOf(written[2]), framesOf(pingOf(false, 1)));
    ends.feed(pingOf(true, 0));
    EXPECT_FALSE(ends.session.finish(ends.nowMs)) << "that answers another ping";
    ends.feed(pingOf(true, 1));
    EXPECT_TRUE(ends.session.finish(ends.nowMs));
    ends.session.send(sizedMessage(3));
    EXPECT_TRUE(ends.takeAll().empty());
    EXPECT_EQ(ends.session.waitingEvents(), 1U);
}

TEST(LinkSessionTest, whatThePeerAskedBeforeTheEndIsAnswered)
{
    Ends ends;
    ends.connect();
    ends.session.finish(ends.nowMs);
    EXPECT_EQ(ends.takeAll().size(), 1U);
    ends.feed(sizedMessage(1, 7));
    ends.feed(pingOf(true, 1));
    ASSERT_EQ(ends.received.size(), 1U);
    ends.session.answer(ends.received[0].token, sizedMessage(1));
    EXPECT_FALSE(ends.session.finish(ends.nowMs));
    ends.take(10);
    EXPECT_FALSE(ends.session.finish(ends.nowMs));
    EXPECT_EQ(ends.takeNumbers(), std::vector<int>{7});
    EXPECT_TRUE(ends.session.finish(ends.nowMs));
}

TEST(LinkSessionTest, aNewConnectionIsAskedAnewWhetherItHasReadEverything)
{
    Ends ends;
    ends.connect();
    ends.session.finish(ends.nowMs);
    ends.takeAll();
    ends.feed(pingOf(true, 1));
    callAll(ends.session.disconnected());
    EXPECT_FALSE(ends.session.finish(ends.nowMs)) << "there is no peer";
    ends.connect();
    EXPECT_FALSE(ends.session.finish(ends.nowMs));
    EXPECT_EQ(ends.takeNumbers(), std::vector<int>{1});
}

TEST(LinkSessionTest, aPeerThatDoesNotEndTheConnectionIsGivenUpAfterThirtySeconds)
{
    for (const bool answers : {true, false}) {
        Ends ends;
        ends.connect();
        ends.session.finish(ends.nowMs);
        ends.takeAll();
        for (int seconds = 0; seconds < 30; ++seconds) {
            EXPECT_EQ(ends.session.problem(), "");
            ends.feed(answers ? pingOf(true, 1) : sizedMessage(3));
            ends.session.finish(ends.nowMs);
            ends.pass(1000);
        }
        EXPECT_EQ(ends.session.problem(), "it does not end the connection");
    }
}
