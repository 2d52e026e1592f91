#include "capture/play/play.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <deque>
#include <ostream>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "capture/options/recordingoptions.h"
#include "capture/play/player.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/jsontext.h"
#include "zullink/endpoints.h"
#include "zullink/hostport.h"
#include "zullink/peeracceptor.h"
#include "zuloptions/deviceoptions.h"

namespace capture {

using boost::asio::ip::tcp;
using zulcommand::JsonPtr;
using zulcommand::quote;

namespace {

constexpr int kOtherwise = 4;
constexpr int kResolveMs = 10000;

/// Connects to @p server. Returns nothing if that is not possible, which @p *failure tells, or if the playing
/// ends before.
std::optional<tcp::socket> connectTo(const sHostPort& server, const Player& player,
                                     boost::asio::io_context* io, std::string* failure)
{
    const auto endpoints = endpointsOf(resolveAddress(server.host, server.port, kResolveMs, -1));
    tcp::socket socket(*io);
    std::optional<boost::system::error_code> result;
    boost::asio::async_connect(socket, endpoints,
                               [&result](const auto& error, const auto&) { result = error; });
    io->restart();
    while (!result) {
        if (player.isEnded()) {
            boost::system::error_code ignored;
            socket.close(ignored);
        }
        io->run_one();
    }
    const boost::system::error_code error =
        endpoints.empty() ? make_error_code(boost::asio::error::host_not_found) : *result;
    if (player.isEnded()) {
        return std::nullopt;
    }
    if (error) {
        *failure = "Cannot connect to " + toText(server) + ": " + error.message() + '.';
        return std::nullopt;
    }
    return socket;
}

/// Asks the scheduler for short turns: then a thread that wakes is run sooner beside busy programs. Linux
/// before 6.12 does nothing about it.
void askForShortTurns()
{
    // As in sched_setattr(2), which the C library of Debian 12 does not have.
    struct Attributes
    {
        uint32_t size;
        uint32_t policy;
        uint64_t flags;
        int32_t nice;
        uint32_t priority;
        uint64_t runtimeNs;
        uint64_t deadlineNs;
        uint64_t periodNs;
    };
    Attributes wanted{};
    wanted.size = sizeof wanted;
    wanted.policy = SCHED_OTHER;
    wanted.nice = ::getpriority(PRIO_PROCESS, 0);
    wanted.runtimeNs = 100'000;
    ::syscall(SYS_sched_setattr, 0, &wanted, 0U);
}

json_t* latenessJson(const zulcommand::Histogram& lateness)
{
    const auto seconds = [&lateness](double percent) {
        return lateness.count() == 0 ? json_null()
                                     : json_real(static_cast<double>(lateness.percentile(percent)) / 1e6);
    };
    return json_pack("{s:o, s:o, s:o}", "p50", seconds(50), "p99", seconds(99), "max", seconds(100));
}

std::string lineNow(const JsonPtr& line)
{
    return zulcommand::lineText(line, std::chrono::system_clock::now());
}

class Play : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const play = app->add_subcommand("play", "Play one side of a recording to a program");
        play->footer("Exit status: 0 the other side said what it had said in the recording; 4 it did not; 1 "
                     "wrong usage, a file cannot be read, or there is no connection.");
        play->add_option("FILE", mFile, "The recording (pcapng or pcap)")->required();
        play->add_option("--side", mSide, "Whose bytes are sent: device or server")
            ->required()
            ->check(CLI::IsMember({"device", "server"}));
        play->add_option("--to", mTo, "The server to connect to, with --side device")->type_name("HOST:PORT");
        zuloptions::addNumber(play, "--listen", &mListen, 65535,
                              "The port to listen at, with --side server; 0 picks a free one");
        play->add_option("--pace", mPace,
                         "original: as recorded, the default; K: K times as fast; max: without waiting; "
                         "step: a message for each line of standard input");
        play->add_option("--wait", mWait,
                         "time: a message is sent when it is time, the default; peer: not before the other "
                         "side has said as much as in the recording")
            ->check(CLI::IsMember({"time", "peer"}));
        play->add_option("--skip-gaps", mMaxGap, "A pause of more than S seconds lasts S seconds")
            ->type_name("S");
        zuloptions::addNumber(play, "--loop", &mRounds, kMaxRounds,
                              "Play the recording N times, each with new connections");
        addPort(play, &mPort);
        return play;
    }

    std::string check() override
    {
        const bool isDevice = mSide == "device";
        mServer = parseHostPort(mTo.value_or(""));
        if (isDevice ? !mTo || mListen : !mListen || mTo) {
            return isDevice ? "--side device needs --to HOST:PORT, and no --listen."
                            : "--side server needs --listen PORT, and no --to.";
        }
        if (isDevice && !mServer) {
            return "--to: " + quote(*mTo) + " is not HOST:PORT.";
        }
        return checkTimes();
    }

    int run(std::ostream& out, std::ostream& err) override
    {
        const auto say = sayTo(err);
        askForShortTurns();
        boost::asio::io_context io;
        Player player(&io, mSettings, recordingSettings(mPort));
        player.onProblem = say;
        player.onDifference = [&out](const std::string& line) { out << line << std::endl; };
        if (mSettings.pace.kind() == Pace::eKind::STEP) {
            player.stepBy(STDIN_FILENO);
        }
        boost::asio::signal_set signals(io, SIGINT, SIGTERM, SIGHUP);
        signals.async_wait([&player](const boost::system::error_code&, int) { player.end(); });
        PeerAcceptor acceptor(io);
        std::deque<tcp::socket> peers;
        std::string failure;
        if (mServer) {
            player.onConnect = [&](std::string* why) { return connectTo(*mServer, player, &io, why); };
        } else {
            failure = listen(&acceptor, &peers, out, say);
            player.onConnect = [&](std::string*) { return accepted(player, &io, &peers); };
        }
        failure = failure.empty() ? player.run(mFile) : failure;
        if (!failure.empty()) {
            say(failure);
            return 1;
        }
        printTotals(player.totals(), out);
        return player.totals().differences > 0 ? kOtherwise : 0;
    }

private:
    static constexpr uint32_t kMaxRounds = 1'000'000'000;

    std::string checkTimes()
    {
        const std::optional<Pace> pace = Pace::parse(mPace);
        if (!pace) {
            return "--pace is neither original, max nor step nor a number from 0.001 to 1000000: " +
                   quote(mPace) + '.';
        }
        mSettings.pace = *pace;
        if (mMaxGap) {
            const std::optional<double> seconds = zulcommand::parseDouble(*mMaxGap);
            if (!seconds || !(*seconds >= 0.0 && *seconds <= zulcommand::kMaxSeconds)) {
                return "--skip-gaps is not a number from 0 to 86400: " + quote(*mMaxGap) + '.';
            }
            mSettings.pace.setMaxGap(std::chrono::nanoseconds(static_cast<int64_t>(*seconds * 1e9)));
        }
        if (mRounds == 0U) {
            return "--loop is not a number from 1.";
        }
        mSettings.direction = mSide == "device" ? eDirection::TO_SERVER : eDirection::TO_DEVICE;
        mSettings.waitsForPeer = mWait == "peer";
        mSettings.rounds = mRounds.value_or(1);
        return "";
    }

    /// Returns one sentence if that is not possible, or an empty text.
    std::string listen(PeerAcceptor* acceptor, std::deque<tcp::socket>* peers, std::ostream& out,
                       const std::function<void(const std::string&)>& say) const
    {
        std::string failure = acceptor->open("127.0.0.1", static_cast<uint16_t>(*mListen));
        if (!failure.empty()) {
            return failure;
        }
        acceptor->onPeer = [peers](tcp::socket socket) { peers->push_back(std::move(socket)); };
        acceptor->onError = say;
        acceptor->accept();
        const JsonPtr line(json_pack("{s:s, s:s, s:i}", "event", "listening", "address", "127.0.0.1", "port",
                                     acceptor->endpoint().port()));
        out << lineNow(line) << std::endl;
        return "";
    }

    /// The next device that connects; nothing if the playing ends before.
    static std::optional<tcp::socket> accepted(const Player& player, boost::asio::io_context* io,
                                               std::deque<tcp::socket>* peers)
    {
        io->restart();
        while (peers->empty() && !player.isEnded()) {
            io->run_one();
        }
        if (peers->empty()) {
            return std::nullopt;
        }
        tcp::socket socket = std::move(peers->front());
        peers->pop_front();
        return socket;
    }

    static void printTotals(const Player::Totals& totals, std::ostream& out)
    {
        const JsonPtr line(json_pack(
            "{s:s, s:I, s:I, s:I, s:I, s:o}", "event", "played", "connections",
            static_cast<json_int_t>(totals.connections), "messages", static_cast<json_int_t>(totals.messages),
            "bytes", static_cast<json_int_t>(totals.bytes), "differences",
            static_cast<json_int_t>(totals.differences), "lateness", latenessJson(totals.lateness)));
        out << lineNow(line) << std::endl;
    }

    std::string mFile;
    std::string mSide;
    std::optional<std::string> mTo;
    std::optional<uint32_t> mListen;
    std::string mPace = "original";
    std::string mWait = "time";
    std::optional<std::string> mMaxGap;
    std::optional<uint32_t> mRounds;
    std::optional<uint32_t> mPort;
    std::optional<sHostPort> mServer;
    Player::Settings mSettings;
};

} // namespace

std::unique_ptr<Subcommand> makePlay() { return std::make_unique<Play>(); }

} // namespace capture
