#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/diff/comparison.h"
#include "capture/play/answernumbers.h"
#include "capture/play/liveconnection.h"
#include "capture/play/pace.h"
#include "zulconsole/lineinput.h"

namespace capture {

/// Plays one side of a recording to a live other side, and compares what that says with the recording.
///
/// What is recorded is read while it is played. Everything happens in run().
class Player
{
public:
    using Socket = LiveConnection::Socket;

    struct Settings
    {
        eDirection direction = eDirection::TO_SERVER; ///< of what is played
        Pace pace = {};
        bool waitsForPeer = false;
        uint32_t rounds = 1;

        /// How long the other side may take to say what it said in the recording; then it counts as missing.
        std::chrono::milliseconds patience = std::chrono::seconds(10);
    };

    struct Totals
    {
        uint64_t connections = 0;
        uint64_t messages = 0;
        uint64_t bytes = 0;
        uint64_t differences = 0;
        zulcommand::Histogram lateness = {}; ///< of messages with a time
    };

    Player(boost::asio::io_context* io, const Settings& settings, const Recording::Settings& recording);

    /// Returns a connection to the other side. Nothing if there is none, which @p *failure tells in one
    /// sentence unless the playing has ended.
    std::function<std::optional<Socket>(std::string* failure)> onConnect;

    /// Gets each line about what the other side said otherwise.
    std::function<void(const std::string&)> onDifference = [](const std::string&) {};
    std::function<void(const std::string&)> onProblem = [](const std::string&) {};

    /// Reads the lines of Pace::eKind::STEP from @p fd; where they end, the playing does.
    void stepBy(int fd);

    /// Ends the playing where it is: run() returns soon.
    void end() { mIsToldToEnd = true; }

    /// True if it was told to end, or has used all lines of its input.
    bool isEnded() const
    {
        return mIsToldToEnd || (mPace.kind() == Pace::eKind::STEP && mInputEnded && mSteps == 0);
    }

    /// Plays the file. Returns one sentence if that is not possible, or an empty text.
    std::string run(const std::string& path);

    const Totals& totals() const { return mTotals; }

private:
    /// A recorded connection that is played.
    struct Played
    {
        std::shared_ptr<LiveConnection> live = {};
        std::vector<uint8_t> unsent = {}; ///< recorded bytes that are not sent yet
        uint64_t sent = 0;                ///< how many recorded bytes were
        AnswerNumbers numbers = {};
        uint64_t recordedMessages = 0; ///< of the other side, without pings
        uint64_t liveMessages = 0;
        bool isCut = false; ///< the other side has ended too early
    };

    std::string playOnce(const std::string& path);
    std::string play(const RecordedItem& item);
    std::string open(const RecordedItem& item);
    void playOwn(const RecordedItem& item, Played* played);
    void sendMessage(const RecordedItem& item, Played* played);
    void awaitQuestion(const RecordedItem& item, Played* played);
    void send(const RecordedItem& item, uint64_t end, Played* played);
    void finish(const RecordedItem& item, Played* played);
    void expect(const RecordedItem& item, Played* played);
    void heard(const std::shared_ptr<const Connection>& connection, Played* played, WMsg message);
    void tell(const char* kind, const Connection& connection, const char* member, uint64_t value);
    void awaitPeer(Played* played);
    bool waitFor(const std::function<bool()>& isDone, std::optional<Pace::Clock::time_point> until = {});
    void waitUntil(Pace::Clock::time_point time);

    boost::asio::io_context& mIo;
    const Settings mSettings;
    Recording::Settings mRecordingSettings;
    Pace mPace;
    const MessageComparer mComparer;
    std::unique_ptr<Comparison> mComparison;
    std::map<uint64_t, Played> mPlayed; ///< by the number of the connection
    std::unique_ptr<zulconsole::LineInput> mInput;
    uint64_t mSteps = 0; ///< lines that were read and not used
    bool mInputEnded = false;
    bool mIsToldToEnd = false;
    Totals mTotals;
};

} // namespace capture
