// One side of a recording, played to another side that the tests make up.

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <jansson.h>
#include <thread>
#include <unistd.h>

#include "capture/play/player.h"
#include "messages.h"
#include "programrun.h"
#include "zulcommand/jsontext.h"

namespace {

using boost::asio::ip::tcp;
using capture::eDirection;
using capture::Pace;
using capture::Player;
using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;
using namespace std::chrono_literals;

Bytes joined(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The other side, which waits for what it hears.
class Peer
{
public:
    explicit Peer(tcp::socket socket) : mSocket(std::move(socket)) {}

    void say(const Bytes& bytes) { boost::asio::write(mSocket, boost::asio::buffer(bytes)); }

    Bytes hear(size_t size)
    {
        Bytes bytes(size);
        boost::system::error_code ended;
        bytes.resize(boost::asio::read(mSocket, boost::asio::buffer(bytes), ended));
        return bytes;
    }

    Bytes hearAll() { return hear(1024 * 1024); }

private:
    tcp::socket mSocket;
};

class PlayTest : public CaptureTest
{
protected:
    using Script = std::function<void(Peer*)>;

    PlayTest() { mSettings.pace = *Pace::parse("max"); }

    /// Plays @p made to a side that does what @p script says with each connection.
    void play(const MadeCapture& made, const Script& script)
    {
        boost::asio::io_context io;
        tcp::acceptor acceptor(io, {boost::asio::ip::address_v4::loopback(), 0});
        boost::asio::io_context peerIo;
        std::vector<std::jthread> peers;
        Player player(&io, mSettings, {});
        player.onConnect = [&](std::string*) {
            tcp::socket socket(io);
            socket.connect(acceptor.local_endpoint());
            peers.emplace_back(
                [&script, peer = std::make_shared<Peer>(acceptor.accept(peerIo))] { script(peer.get()); });
            return std::make_optional(std::move(socket));
        };
        player.onDifference = [&](const std::string& line) {
            const zulcommand::JsonPtr json(json_loads(line.c_str(), 0, nullptr));
            mKinds.emplace_back(json_string_value(json_object_get(json.get(), "kind")));
            mSentBefore = player.totals().messages;
        };
        if (mInput >= 0) {
            player.stepBy(mInput);
        }
        mEnd = [&] { boost::asio::post(io, [&player] { player.end(); }); };
        EXPECT_EQ(player.run(file(made)), "");
        mTotals = player.totals();
    }

    static MadeCapture::Line begin(MadeCapture* made)
    {
        auto line = made->open(50000);
        made->fromServer(&line, deviceRequest(1));
        made->fromClient(&line, deviceAnswer(1, 7));
        return line;
    }

    /// The server asks for the device's record under this number, and gets it.
    static void meet(Peer* peer, uint8_t seq)
    {
        peer->say(deviceRequest(seq));
        EXPECT_EQ(peer->hear(deviceAnswer(seq, 7).size()), deviceAnswer(seq, 7));
    }

    Player::Settings mSettings;
    int mInput = -1;
    std::function<void()> mEnd; ///< ends the playing, from any thread
    MadeCapture mMade{"zulserver 1", {"zulserver"}};
    Lines mKinds;             ///< of the differences
    uint64_t mSentBefore = 0; ///< messages, before the last difference
    Player::Totals mTotals;
};

TEST_F(PlayTest, TheOtherSideGetsTheRecordedBytesAlsoDamagedOnes)
{
    Bytes damaged = inputEvent(2, 7, 1, 2);
    damaged.back() ^= 1;
    const Bytes cut(damaged.begin(), damaged.begin() + 30);
    Bytes all;
    auto line = begin(&mMade);
    for (const Bytes& part :
         {inputEvent(1, 7, 1, 1), damaged, hexBytes("47 45 54"), sampleEvent(3, 7, 1.5F), cut}) {
        mMade.fromClient(&line, part);
        all.insert(all.end(), part.begin(), part.end());
    }
    Bytes heard;
    play(mMade, [&heard](Peer* peer) {
        meet(peer, 1);
        heard = peer->hearAll();
    });
    EXPECT_EQ(heard, all);
    EXPECT_EQ(mKinds, Lines());
    EXPECT_EQ(mTotals.messages, 3U);
}

TEST_F(PlayTest, AnAnswerHasTheNumberOfTheLiveQuestion)
{
    begin(&mMade);
    play(mMade, [](Peer* peer) { meet(peer, 200); });
    EXPECT_EQ(mKinds, Lines());
}

TEST_F(PlayTest, AnswersFindTheirQuestionsWhateverTheOrderOfThese)
{
    auto line = begin(&mMade);
    mMade.fromServer(&line, inputRequest(2, 1));
    mMade.fromServer(&line, inputRequest(3, 2));
    mMade.fromClient(&line, inputAnswer(2, 7, 1));
    mMade.fromClient(&line, inputAnswer(3, 7, 2));
    const Bytes expected = joined(inputAnswer(91, 7, 1), inputAnswer(90, 7, 2));
    play(mMade, [&expected](Peer* peer) {
        meet(peer, 1);
        peer->say(joined(inputRequest(90, 2), inputRequest(91, 1)));
        EXPECT_EQ(peer->hearAll(), expected);
    });
}

TEST_F(PlayTest, AMessageWaitsUntilTheOtherSideHasSaidAsMuchAsInTheRecording)
{
    mSettings.waitsForPeer = true;
    auto line = begin(&mMade);
    mMade.fromServer(&line, inputEvent(5, 7, 1, 1));
    mMade.fromClient(&line, inputEvent(1, 7, 1, 2));
    play(mMade, [](Peer* peer) {
        meet(peer, 1);
        peer->say(hexBytes("00 00"));
        peer->say(inputEvent(5, 7, 1, 1));
        peer->hearAll();
    });
    EXPECT_EQ(mKinds, Lines{"damaged"});
    EXPECT_EQ(mSentBefore, 1U);
    EXPECT_EQ(mTotals.messages, 2U);
}

TEST_F(PlayTest, WhatTheOtherSideSaysOtherwiseIsTold)
{
    auto line = begin(&mMade);
    mMade.fromServer(&line, inputEvent(5, 7, 1, 1));
    play(mMade, [](Peer* peer) {
        meet(peer, 1);
        peer->say(inputEvent(9, 7, 1, 2));
        peer->hearAll();
    });
    EXPECT_EQ(mKinds, Lines{"changed"});
}

TEST_F(PlayTest, WhatTheOtherSideDoesNotSayIsTold)
{
    mSettings.patience = 1ms;
    auto line = mMade.open(50000);
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    mMade.fromServer(&line, inputEvent(5, 7, 1, 1));
    play(mMade, [](Peer* peer) { EXPECT_EQ(peer->hearAll(), inputEvent(1, 7, 1, 1)); });
    EXPECT_EQ(mKinds, Lines{"missing"});
}

TEST_F(PlayTest, AnEndThatComesTooEarlyIsToldOnce)
{
    auto line = begin(&mMade);
    mMade.fromServer(&line, deviceRequest(2));
    mMade.fromClient(&line, deviceAnswer(2, 7));
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    play(mMade, [](Peer* peer) { meet(peer, 1); });
    EXPECT_EQ(mKinds, (Lines{"closed", "missing"}));
}

TEST_F(PlayTest, APingOfTheOtherSideIsAnswered)
{
    begin(&mMade);
    play(mMade, [](Peer* peer) {
        peer->say(pingMessage(false));
        EXPECT_EQ(peer->hear(pingMessage(true).size()), pingMessage(true));
        meet(peer, 1);
    });
    EXPECT_EQ(mKinds, Lines());
}

TEST_F(PlayTest, ItEndsWhereItIsWhenItIsTold)
{
    mSettings.pace = *Pace::parse("original");
    mSettings.rounds = 2;
    auto line = begin(&mMade);
    mMade.wait(3'600'000);
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    play(mMade, [this](Peer* peer) {
        meet(peer, 1);
        mEnd();
        EXPECT_EQ(peer->hearAll(), Bytes());
    });
    EXPECT_EQ(mTotals.connections, 1U);
    EXPECT_EQ(mTotals.messages, 1U);
    EXPECT_EQ(mKinds, Lines());
}

TEST_F(PlayTest, EachRoundHasConnectionsOfItsOwn)
{
    mSettings.rounds = 3;
    auto line = begin(&mMade);
    mMade.resetByServer(&line);
    begin(&mMade);
    play(mMade, [](Peer* peer) { meet(peer, 1); });
    EXPECT_EQ(mTotals.connections, 6U);
    EXPECT_EQ(mKinds, Lines());
}

TEST_F(PlayTest, TheServersSideIsPlayedToo)
{
    mSettings.direction = eDirection::TO_DEVICE;
    auto line = begin(&mMade);
    mMade.fromClient(&line, inputEvent(1, 7, 1, 1));
    play(mMade, [](Peer* peer) {
        EXPECT_EQ(peer->hear(deviceRequest(1).size()), deviceRequest(1));
        peer->say(deviceAnswer(1, 7));
        peer->say(inputEvent(33, 7, 1, 1));
        EXPECT_EQ(peer->hearAll(), Bytes());
    });
    EXPECT_EQ(mKinds, Lines());
}

TEST_F(PlayTest, AStepIsOneMessageForEachLine)
{
    mSettings.pace = *Pace::parse("step");
    auto line = begin(&mMade);
    for (uint8_t i = 1; i <= 5; ++i) {
        mMade.fromClient(&line, inputEvent(i, 7, 1, i % 2 + 1U));
    }
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    ASSERT_EQ(::write(pipe[1], "\n\n\n", 3), 3);
    ::close(pipe[1]);
    mInput = pipe[0];
    play(mMade, [](Peer* peer) {
        meet(peer, 1);
        EXPECT_EQ(peer->hearAll().size(), 2 * inputEvent(1, 7, 1, 1).size());
    });
    ::close(pipe[0]);
    EXPECT_EQ(mTotals.messages, 3U);
}

TEST(PaceTest, TimesAreThoseOfTheRecordingAtTheSpeed)
{
    constexpr int64_t kHourNs = 3600LL * 1'000'000'000;
    for (const auto& [text, hour] :
         {std::pair("original", 3600s), std::pair("60", 60s), std::pair("0.5", 7200s)}) {
        Pace pace = *Pace::parse(text);
        const auto begin = pace.due(kHourNs);
        EXPECT_EQ(pace.due(2 * kHourNs) - begin, hour) << text;
    }
}

TEST(PaceTest, ALongerGapBecomesAsShortAsGiven)
{
    Pace pace = *Pace::parse("original");
    pace.setMaxGap(2s);
    const auto begin = pace.due(0);
    EXPECT_EQ(pace.due(1'000'000'000) - begin, 1s);
    EXPECT_EQ(pace.due(9'000'000'000) - begin, 3s);
    EXPECT_EQ(pace.due(8'000'000'000) - begin, 3s); // the recorder's clock went back
}

class PlayOptionsTest : public CaptureTest
{};

TEST_F(PlayOptionsTest, AMistakeIsOneSentence)
{
    const std::string recording = file(MadeCapture("zulserver 1", {"zulserver"}));
    const Lines device = {"play", recording, "--side", "device"};
    const std::vector<Lines> kMistakes = {
        {},
        {"--to", "nowhere"},
        {"--listen", "0"},
        {"--to", "127.0.0.1:1", "--pace", "0"},
        {"--to", "127.0.0.1:1", "--pace", "fast"},
        {"--to", "127.0.0.1:1", "--wait", "never"},
        {"--to", "127.0.0.1:1", "--skip-gaps", "-1"},
        {"--to", "127.0.0.1:1", "--loop", "0"},
    };
    for (const Lines& mistake : kMistakes) {
        Lines words = device;
        words.insert(words.end(), mistake.begin(), mistake.end());
        const ProgramRun run = runCapture(words);
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

TEST_F(PlayOptionsTest, AServerThatIsNotThereIsAFailure)
{
    MadeCapture made("zulserver 1", {"zulserver"});
    made.open(50000);
    boost::asio::io_context io;
    tcp::acceptor acceptor(io, {boost::asio::ip::address_v4::loopback(), 0});
    const std::string server = "127.0.0.1:" + std::to_string(acceptor.local_endpoint().port());
    acceptor.close();
    const ProgramRun run = runCapture({"play", file(made), "--side", "device", "--to", server});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulcapture: Cannot connect to " + server + ": Connection refused.\n");
}

} // namespace
