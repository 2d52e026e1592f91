#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "proxy/faults/fault.h"
#include "proxy/faults/lane.h"
#include "proxy/faults/timedrules.h"
#include "proxy/rules/ruleset.h"

namespace proxy {

/// How often each device has connected.
class DeviceCounts
{
public:
    /// More devices than this are not told apart: each connection of a further one is its first.
    static constexpr size_t kMaxDevices = 1'000'000;

    /// Counts a connection of the device and returns its number, from 1.
    uint32_t connected(uint32_t deviceSerial);

private:
    std::unordered_map<uint32_t, uint32_t> mCounts;
};

/// One connection that passes through the proxy, without sockets and clock: bytes and the time in, bytes, the
/// next deadline and faults out.
///
/// Without a rule that could act it hands on every piece at once, and only follows where messages begin. All
/// times are in nanoseconds by one clock that never goes back.
class FaultyConnection : private Lane::Owner
{
public:
    /// "Never", as a time.
    static constexpr int64_t kNever = kNeverNs;

    /// Beyond this, and beyond one message, a direction takes no more bytes.
    static constexpr size_t kMaxWaiting = Lane::kMaxWaiting;

    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void faultDone(const Fault& fault) = 0;

        /// Said once for each direction: what comes is not the protocol and passes untouched from here on.
        virtual void foreignBytes(eDirection direction) = 0;
    };

    /// What all connections of a proxy share; borrowed.
    struct Shared
    {
        RuleSet& rules;
        DeviceCounts& devices;
        uint64_t seed;
        int64_t startedNs = 0; ///< when the proxy began to listen; the time of rules for connections to come
    };

    /// @p number is that of the connection, from 1. @p owner is borrowed.
    FaultyConnection(const Shared& shared, uint64_t number, Owner* owner);
    ~FaultyConnection() override = default;
    FaultyConnection(const FaultyConnection&) = delete;
    FaultyConnection& operator=(const FaultyConnection&) = delete;

    // The driver tells what happens.

    /// The device has connected. Then acceptance() says what to do.
    void begin(int64_t nowNs);

    /// The server is reached: bytes may pass from now on.
    void reached(int64_t nowNs);

    /// @p bytes came; all are taken. Call only while wantsMore(). They are borrowed, so that what passes at
    /// once is not copied: they stay where they are until keepOutput() is called.
    void received(eDirection direction, std::span<const uint8_t> bytes, int64_t nowNs);

    /// The sender of @p direction has ended in good order.
    void ended(eDirection direction, int64_t nowNs);

    /// A rule was added or cleared, or the time of deadline() has come.
    void advance(int64_t nowNs);

    /// Does what the command CUT, RESET or SILENCE says.
    void command(eFault kind, int64_t nowNs);

    // And asks what to do. After each of the calls above any of these may have changed.

    enum class eAcceptance : uint8_t
    {
        CONNECT, ///< to the server, now
        WAIT,    ///< until the deadline
        REFUSE   ///< close with a reset
    };
    eAcceptance acceptance() const;

    /// Whether bytes of @p direction should be read.
    bool wantsMore(eDirection direction) const;

    /// The next piece to write, in one write if the system takes it; empty if nothing is due. Holds until the
    /// next call that changes anything.
    std::span<const uint8_t> output(eDirection direction) const { return lane(direction).output(); }

    /// True if another piece is due as soon as all of output() is written.
    bool outputContinues(eDirection direction) const { return lane(direction).outputContinues(); }
    void written(eDirection direction, size_t bytes, int64_t nowNs);

    /// Copies what is still borrowed from received(), also what only waits for its time. Call it before these
    /// bytes change.
    void keepOutput(eDirection direction) { lane(direction).keepOutput(); }

    /// True if the receiver of @p direction should be told that nothing more comes: everything is written.
    bool outputEnded(eDirection direction) const;

    enum class eEnd : uint8_t
    {
        NONE,
        CUT,  ///< after output() is empty in both directions both sides get an end
        RESET ///< both sides get a reset, now
    };
    eEnd end() const { return mEnd; }

    /// When advance() is to be called, if not before; kNever if there is no such time.
    int64_t deadline() const;

    /// The device's serial number, as soon as it has passed.
    std::optional<uint32_t> deviceSerial() const { return mFacts.deviceSerial; }

    /// Which of the device's connections this is, from 1; 0 before its serial number is known.
    uint32_t deviceConnection() const { return mFacts.deviceConnection; }

private:
    /// A rule of the connection that acts by time.
    struct TimeRule
    {
        RulePtr rule;
        bool done = false; ///< it has acted, or its time is over
    };

    void deviceKnown(uint32_t deviceSerial) override;
    void faultDone(const Fault& fault) override { mOwner.faultDone(fault); }
    void foreignBytes(eDirection direction) override { mOwner.foreignBytes(direction); }
    void end(bool withReset) override;
    void endLater(const TimedRules::Entry& entry) override { mCuts.add(entry.rule, entry.untilNs); }

    void askRulesOfAcceptance(int64_t nowNs);
    bool acceptanceRuleActs(ActiveRule* rule) const;
    void follow(int64_t nowNs);
    void setRules(int64_t nowNs);
    void actByTime(int64_t nowNs);
    bool isDue(const TimeRule& timed, int64_t nowNs) const;
    void act(ActiveRule* rule, int64_t nowNs);
    void report(ActiveRule* rule, std::optional<eDirection> direction, std::string was);
    void holdEnd(eDirection direction, int64_t nowNs);
    void endIfBothHave();
    Fault faultOf(eFault kind) const;
    Lane& lane(eDirection direction) { return mLanes[static_cast<size_t>(direction)]; }
    const Lane& lane(eDirection direction) const { return mLanes[static_cast<size_t>(direction)]; }

    const Shared mShared;
    Owner& mOwner;
    ConnectionFacts mFacts;
    uint64_t mRulesVersion = 0;
    eEnd mEnd = eEnd::NONE;
    bool mRefused = false;
    bool mReached = false;
    TimedRules mAcceptLate;
    TimedRules mCuts;
    std::vector<TimeRule> mTimeRules;
    Lane mLanes[2]; ///< by direction
};

} // namespace proxy
