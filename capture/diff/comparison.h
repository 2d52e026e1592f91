#pragma once

#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include "capture/diff/alignment.h"
#include "capture/diff/comparedmessage.h"
#include "capture/sessions/recording.h"
#include "zulcommand/histogram.h"

namespace capture {

/// Compares two recordings, message by message.
///
/// Of each device the messages that a side sends by itself and those with which it answers are compared in
/// their own order, as the order between them is a matter of time. Pings are left out.
///
/// While the two differ, messages wait for what follows in the other: kMaxBehind of a device, and
/// kMaxWaitingBytes of all. Beyond, what has waited longest is taken to be in one recording only.
class Comparison
{
public:
    static constexpr size_t kMaxBehind = 1024;
    static constexpr size_t kMaxWaitingBytes = 16 * 1024 * 1024;

    /// Messages that are compared in their order.
    struct Kind
    {
        std::optional<uint32_t> deviceSerial = {};
        eDirection direction = eDirection::TO_SERVER;
        bool answer = false;

        bool operator<(const Kind& other) const
        {
            return std::tie(deviceSerial, direction, answer) <
                   std::tie(other.deviceSerial, other.direction, other.answer);
        }
    };

    /// A message that one recording has and the other has not, or has with other values. One of both may be
    /// null.
    struct Difference
    {
        const Kind& kind;
        const ComparedMessage* a;
        const ComparedMessage* b;
    };

    struct Side
    {
        Recording recording;
        bool isAtEnd = false;
        size_t waiting = 0;                  ///< messages
        std::optional<int64_t> beginNs = {}; ///< of the first message
        zulcommand::Histogram answerTimes = {};
    };

    Comparison(const MessageComparer::Tags& ignored, const Recording::Settings& settings);

    std::function<void(const Difference&)> onDifference = [](const Difference&) {};

    /// Gets each device once a message of it was read, maybe more than once.
    std::function<void(const std::optional<uint32_t>&)> onDevice = [](const auto&) {};

    /// To be opened before run().
    Side& a() { return mA; }
    Side& b() { return mB; }

    /// Reads both. Returns one sentence if one of them cannot be read, or an empty text.
    std::string run();

    /// In the place of run(): adds a message, that is no ping, of a() or b().
    void add(Side* side, RecordedItem item);

    /// Nothing more comes of both.
    void end();

private:
    using Messages = std::list<ComparedMessage>;

    struct Lane
    {
        Messages a = {};
        Messages b = {};
        int lead = 0; ///< 1 if more of A waits, -1 if more of B does
    };
    using Lanes = std::map<Kind, Lane>;

    Side* sideToRead();
    void readFrom(Side* side);
    void settle(Lanes::iterator at);
    bool isDecided(const Lane& lane) const;
    void alignLane(const Kind& kind, Lane* lane, bool isWhole);
    void report(const Kind& kind, const Messages& onlyA, const Messages& onlyB);
    void dropFront(Lane* lane, bool isA, Messages* to);
    void dropLane(const Kind& kind, Lane* lane);
    void relieve();

    MessageComparer mComparer;
    Side mA;
    Side mB;
    Lanes mLanes;
    int mLead = 0; ///< the sum of those of the lanes
    size_t mWaitingBytes = 0;
};

} // namespace capture
