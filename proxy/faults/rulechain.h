#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "proxy/faults/connectionfacts.h"
#include "proxy/faults/fault.h"
#include "proxy/faults/messagefacts.h"
#include "proxy/faults/parcel.h"
#include "proxy/faults/recordedit.h"
#include "proxy/faults/rulesieve.h"
#include "proxy/faults/timedrules.h"

namespace proxy {

/// What rules have made of a message.
struct RuleOutcome
{
    enum eEnd : uint8_t
    {
        NONE,
        HALF_CLOSE,
        CUT,
        RESET
    };

    Parcel parcel = {};
    bool passes = true; ///< false if nothing of it is to be written
    eEnd end = NONE;
    TimedRules silences = {};
    TimedRules stalls = {};
    TimedRules cuts = {};
    std::vector<Fault> faults = {};
};

/// Lets the rules that act on messages act on those of one direction of a connection.
class RuleChain
{
public:
    /// @p connection is borrowed.
    RuleChain(eDirection direction, const ConnectionFacts& connection)
        : mDirection(direction), mConnection(connection)
    {}

    /// Takes those of @p rules that may act here; what the others have counted is forgotten.
    void setRules(const std::vector<RulePtr>& rules);

    bool empty() const { return mStates.empty(); }

    /// Until when a rule that is in force at @p nowNs stays so; @p nowNs if none is.
    int64_t actsUntil(int64_t nowNs) const;

    /// True if no rule can match @p message. Then choose() need not be called, unless a message waits for the
    /// next one.
    bool ignores(const CutMessage& message, int64_t nowNs);

    /// Counts @p message for each rule that it matches. True if one of them acts on it, which apply() does
    /// then.
    /// @p taken: something else swallows the message, so rules only count it.
    bool choose(const CutMessage& message, bool taken, int64_t nowNs);

    /// The message of the last choose().
    RuleOutcome apply(CutMessage* message, int64_t nowNs);

    /// Null if there is no rule @p number.
    const Rule* find(uint32_t number) const;

    /// Call this when the message with @p mark reaches the limit of the mark's rule. Returns the fault.
    std::optional<Fault> limitReached(const Mark& mark);

private:
    struct State
    {
        RulePtr rule;
        TimeSpan time = {};
        uint64_t matches = 0;
        bool begun = false; ///< it has acted
        bool open = false;  ///< SWAP: it holds a message, which the next one releases
    };

    struct Injection
    {
        State* state;
        cSeededRandom draws;
    };

    /// One message and what has been made of it so far.
    struct Work
    {
        CutMessage& message;
        MessageFacts facts;
        int64_t nowNs;
        RuleOutcome outcome = {};
        std::optional<SegmentedMessage> segments = {};
        std::optional<RecordEdit> records = {};
    };

    bool mayActHere(const ActiveRule& rule) const;
    RuleSieve::Mask inForce(int64_t nowNs);
    bool matches(const State& state, MessageFacts* message, int64_t nowNs) const;
    bool actsOn(State* state, const CutMessage& message, bool taken);
    cSeededRandom drawsFor(const ActiveRule& rule, const CutMessage& message) const;
    void inject(Injection* injection, Work* work);
    void editRecords(Injection* injection, Work* work);
    void editSegments(Injection* injection, Work* work);
    void actOnConnection(Injection* injection, Work* work);
    void actOnBytes(Injection* injection, Work* work);
    void actOnMessage(Injection* injection, Work* work);
    void truncate(const State& state, Work* work);
    void report(const State& state, Work* work, Change change) const;
    void reportOnce(State* state, Work* work, Change change) const;
    void nextComes(const Parcel& parcel);
    static void mark(const State& state, int64_t value, Work* work);
    static SegmentedMessage& segmentsOf(Work* work);
    Fault faultOf(const ActiveRule& rule, uint8_t msgSeq, Change change) const;
    static std::optional<uint32_t> objectFor(const Rule& rule, Work* work);
    static void finishParcel(Work* work);

    const eDirection mDirection;
    const ConnectionFacts& mConnection;
    std::vector<State> mStates;
    RuleSieve mSieve;                ///< of the rules of mStates
    RuleSieve::Mask mInForce = 0;    ///< the rules in force at mInForceAtNs
    int64_t mInForceAtNs = kNeverNs; ///< kNeverNs before they are looked up
    bool mHasSwaps = false;
    std::vector<Injection> mInjections; ///< of one message
    MessageMemory mMemory;
};

} // namespace proxy
