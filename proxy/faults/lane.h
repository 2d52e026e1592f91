#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "proxy/faults/connectionfacts.h"
#include "proxy/faults/fault.h"
#include "proxy/faults/holding.h"
#include "proxy/faults/messagecutter.h"
#include "proxy/faults/output.h"
#include "proxy/faults/rulechain.h"
#include "proxy/faults/timedrules.h"

namespace proxy {

/// One direction of a connection: cuts what comes into messages, lets rules act on them and writes the rest.
class Lane
{
public:
    /// Beyond this, and beyond one message, nothing more is read.
    static constexpr size_t kMaxWaiting = 64 * 1024;

    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// A message to the server tells the device's serial number. Calls setRules() before it returns.
        virtual void deviceKnown(uint32_t deviceSerial) = 0;

        virtual void faultDone(const Fault& fault) = 0;
        virtual void foreignBytes(eDirection direction) = 0;

        /// The connection is to end, by a reset or in good order.
        virtual void end(bool withReset) = 0;

        /// As end(), when the time of an entry has come.
        virtual void endLater(const TimedRules::Entry& entry) = 0;
    };

    /// All is borrowed.
    Lane(eDirection direction, const ConnectionFacts& connection, Owner& owner)
        : mDirection(direction), mConnection(connection), mOwner(owner)
    {}

    /// These rules are in force from now on. What those that are gone have held back is let go.
    void setRules(const RuleSet& rules, int64_t nowNs);

    /// Chooses anew among the same rules, as the device is known now.
    void chooseRules(const RuleSet& rules);

    void received(std::span<const uint8_t> bytes, int64_t nowNs);

    /// The sender has ended. That passes when everything before it has, and when nothing holds the end.
    void senderEnded(int64_t nowNs);
    void holdEnd(const TimedRules::Entry& entry) { mHeldEnds.add(entry.rule, entry.untilNs); }

    /// Does what is due.
    void advance(int64_t nowNs);
    int64_t deadline() const;

    void silence(const TimedRules::Entry& entry) { mSilences.add(entry.rule, entry.untilNs); }
    void stall(const TimedRules::Entry& entry) { mStalls.add(entry.rule, entry.untilNs); }

    /// Takes nothing more; what has not been let out is dropped. @p atOnce: all that is not written is
    /// dropped.
    void close(bool atOnce);

    bool wantsMore() const;
    std::span<const uint8_t> output() const { return mOutput.ready(); }
    bool outputContinues() const { return mOutput.moreIsReady(); }
    void written(size_t bytes, int64_t nowNs);
    void keepOutput() { mOutput.own(); }
    bool hasSenderEnded() const { return mSenderEnded; }
    bool isSilent() const { return !mSilences.empty(); }

    /// True if all is written and the receiver should get an end.
    bool hasEnded() const { return (mClosed || mEndPassed) && mOutput.empty(); }

private:
    class NextHolding;
    class Collected;

    bool keepsMessages(int64_t nowNs) const;
    bool learns() const { return mDirection == eDirection::TO_SERVER && !mConnection.deviceSerial; }
    void learnFrom(const CutMessage& message);
    void follow(std::span<const uint8_t>* bytes, bool toBoundary, int64_t nowNs);
    bool ignores(const CutMessage& message, int64_t nowNs);
    void takeMessages(std::span<const uint8_t>* bytes, int64_t nowNs);
    void passTooLarge(int64_t nowNs);
    void becomeForeign(int64_t nowNs);
    void checkKept(int64_t nowNs);
    void passKept(int64_t nowNs);
    void passPlain(std::span<const uint8_t> bytes, int64_t nowNs);
    void act(CutMessage* message, int64_t nowNs);
    void passUntouched(CutMessage* message, int64_t nowNs);
    void carryOut(RuleOutcome outcome, int64_t nowNs);
    void prepareFor(const Mark& mark);
    void pass(Parcel parcel, size_t holding, int64_t nowNs);
    void letGoDue(int64_t nowNs);
    void letGoExcess(int64_t nowNs);
    template <class Condition>
    void letGo(Condition isMeant, int64_t nowNs);
    void finish(int64_t nowNs);
    void checkCut();
    bool holdsNothing() const;

    const eDirection mDirection;
    bool mPassing = true;        ///< bytes of the unfinished message have passed
    bool mBeginningGone = false; ///< the first bytes of the unfinished message have passed unread
    bool mDropsRest = false;     ///< of the unfinished message
    bool mSenderEnded = false;
    bool mEndPassed = false;
    bool mClosed = false;
    bool mCutSeen = false;

    const ConnectionFacts& mConnection;
    Owner& mOwner;
    MessageCutter mCutter;
    int64_t mKeptUntilNs = kNeverNs; ///< when rules that wait for the end of a message give up
    uint64_t mParcels = 0;
    std::unique_ptr<RuleChain> mChain;               ///< null without rules
    std::vector<std::unique_ptr<Holding>> mHoldings; ///< in the order of their rules
    Output mOutput;
    TimedRules mSilences;
    TimedRules mStalls;
    TimedRules mHeldEnds;
};

} // namespace proxy
