#include "proxy/faults/faultyconnection.h"

#include <algorithm>
#include <utility>

#include "proxy/faults/faulttext.h"

namespace proxy {

uint32_t DeviceCounts::connected(uint32_t deviceSerial)
{
    const auto known = mCounts.find(deviceSerial);
    if (known != mCounts.end()) {
        return ++known->second;
    }
    if (mCounts.size() < kMaxDevices) {
        mCounts.emplace(deviceSerial, 1);
    }
    return 1;
}

namespace {

bool actsByTime(const Rule& rule)
{
    return layerOf(rule.kind) == eFaultLayer::CONNECTION && !rule.actsOnMessages() &&
           rule.kind != eFault::REFUSE && rule.kind != eFault::ACCEPT_LATE && rule.kind != eFault::SLOW_CLOSE;
}

} // namespace

FaultyConnection::FaultyConnection(const Shared& shared, uint64_t number, Owner* owner)
    : mShared(shared),
      mOwner(*owner),
      mFacts{.number = number, .seed = shared.seed},
      mLanes{Lane(eDirection::TO_SERVER, mFacts, *this), Lane(eDirection::TO_DEVICE, mFacts, *this)}
{}

void FaultyConnection::begin(int64_t nowNs)
{
    mFacts.begunNs = nowNs;
    askRulesOfAcceptance(nowNs);
    setRules(nowNs);
}

/// Each connection that comes in the time of such a rule matches it.
void FaultyConnection::askRulesOfAcceptance(int64_t nowNs)
{
    for (const RulePtr& rule : mShared.rules.all()) {
        const bool late = rule->rule.kind == eFault::ACCEPT_LATE;
        const bool meant = late || rule->rule.kind == eFault::REFUSE;
        if (!meant || !timeOf(*rule, mShared.startedNs).has(nowNs) || !acceptanceRuleActs(rule.get())) {
            continue;
        }
        report(rule.get(), {}, "begun");
        mRefused = mRefused || !late;
        if (late) {
            mAcceptLate.add(rule->number, laterBy(rule->rule.ns, nowNs));
        }
    }
}

/// Counts a match; nothing happens to a connection that has been refused.
bool FaultyConnection::acceptanceRuleActs(ActiveRule* rule) const
{
    ++rule->matched;
    if (mRefused || !countsIn(rule->rule, rule->matched)) {
        return false;
    }
    return drawFor(mFacts.seed, *rule, {.place = mFacts.number}).nextFraction() <
           rule->rule.chance.value_or(1);
}

FaultyConnection::eAcceptance FaultyConnection::acceptance() const
{
    if (mRefused) {
        return eAcceptance::REFUSE;
    }
    return mAcceptLate.empty() ? eAcceptance::CONNECT : eAcceptance::WAIT;
}

void FaultyConnection::reached(int64_t nowNs)
{
    mReached = true;
    advance(nowNs);
}

void FaultyConnection::received(eDirection direction, std::span<const uint8_t> bytes, int64_t nowNs)
{
    follow(nowNs);
    if (mEnd == eEnd::NONE) {
        lane(direction).received(bytes, nowNs);
        actByTime(nowNs);
    }
}

void FaultyConnection::ended(eDirection direction, int64_t nowNs)
{
    follow(nowNs);
    if (mEnd == eEnd::NONE && !lane(direction).hasSenderEnded()) {
        holdEnd(direction, nowNs);
        lane(direction).senderEnded(nowNs);
        actByTime(nowNs);
        endIfBothHave();
    }
}

/// Lets rules of the kind SLOW_CLOSE hold the end of a sender.
void FaultyConnection::holdEnd(eDirection direction, int64_t nowNs)
{
    for (const RulePtr& rule : mShared.rules.all()) {
        const bool meant =
            rule->rule.kind == eFault::SLOW_CLOSE && rule->rule.direction.value_or(direction) == direction &&
            concernOf(*rule, mFacts) == eConcern::YES && timeOf(*rule, mFacts.begunNs).has(nowNs);
        if (meant) {
            ++rule->matched;
            report(rule.get(), direction, "ended");
            lane(direction).holdEnd({rule->number, laterBy(rule->rule.ns, nowNs)});
        }
    }
}

/// Silence swallows the ends too, so a silent connection ends once both sides have.
void FaultyConnection::endIfBothHave()
{
    const bool silent = mLanes[0].isSilent() || mLanes[1].isSilent();
    if (silent && mLanes[0].hasSenderEnded() && mLanes[1].hasSenderEnded()) {
        end(false);
    }
}

void FaultyConnection::written(eDirection direction, size_t bytes, int64_t nowNs)
{
    lane(direction).written(bytes, nowNs);
}

void FaultyConnection::advance(int64_t nowNs)
{
    follow(nowNs);
    mAcceptLate.dropDue(nowNs);
    for (Lane& each : mLanes) {
        each.advance(nowNs);
    }
    actByTime(nowNs);
}

void FaultyConnection::command(eFault kind, int64_t nowNs)
{
    follow(nowNs);
    if (mEnd != eEnd::NONE) {
        return;
    }
    Rule rule;
    rule.kind = kind;
    Fault fault = faultOf(kind);
    fault.was = "open";
    fault.became = stateText(rule);
    mOwner.faultDone(fault);
    if (kind == eFault::SILENCE) {
        for (Lane& each : mLanes) {
            each.silence({});
        }
        endIfBothHave();
    } else {
        end(kind == eFault::RESET);
    }
}

/// Applies rules that were added or cleared.
void FaultyConnection::follow(int64_t nowNs)
{
    if (mRulesVersion != mShared.rules.version()) {
        setRules(nowNs);
    }
}

void FaultyConnection::setRules(int64_t nowNs)
{
    mRulesVersion = mShared.rules.version();
    const std::vector<RulePtr>& rules = mShared.rules.all();
    const auto isCleared = [this](uint32_t number) { return !mShared.rules.has(number); };
    mAcceptLate.dropCleared(isCleared);
    mCuts.dropCleared(isCleared);
    std::vector<TimeRule> timed;
    for (const RulePtr& rule : rules) {
        if (actsByTime(rule->rule)) {
            const auto known = std::ranges::find(mTimeRules, rule, &TimeRule::rule);
            timed.push_back(known == mTimeRules.end() ? TimeRule{rule} : *known);
        }
    }
    mTimeRules = std::move(timed);
    for (Lane& each : mLanes) {
        each.setRules(mShared.rules, nowNs);
    }
}

void FaultyConnection::deviceKnown(uint32_t deviceSerial)
{
    mFacts.deviceSerial = deviceSerial;
    mFacts.deviceConnection = mShared.devices.connected(deviceSerial);
    for (Lane& each : mLanes) {
        each.chooseRules(mShared.rules);
    }
}

/// Does nothing before the server is reached.
void FaultyConnection::actByTime(int64_t nowNs)
{
    for (size_t i = 0; mReached && mEnd == eEnd::NONE && i < mTimeRules.size(); ++i) {
        TimeRule& timed = mTimeRules[i];
        if (isDue(timed, nowNs)) {
            timed.done = true;
            act(timed.rule.get(), nowNs);
        }
        timed.done = timed.done || nowNs >= timeOf(*timed.rule, mFacts.begunNs).untilNs;
    }
    TimedRules::Entry cut;
    while (mEnd == eEnd::NONE && mCuts.takeDue(nowNs, &cut)) {
        Fault fault = faultOf(eFault::CUT);
        fault.rule = cut.rule;
        fault.was = "silent";
        fault.became = "cut";
        mOwner.faultDone(fault);
        end(false);
    }
}

bool FaultyConnection::isDue(const TimeRule& timed, int64_t nowNs) const
{
    return !timed.done && concernOf(*timed.rule, mFacts) == eConcern::YES &&
           timeOf(*timed.rule, mFacts.begunNs).has(nowNs);
}

void FaultyConnection::act(ActiveRule* rule, int64_t nowNs)
{
    const Rule& what = rule->rule;
    ++rule->matched;
    report(rule, what.direction, "open");
    for (const eDirection direction : kDirections) {
        if (what.direction.value_or(direction) != direction) {
            continue;
        }
        if (what.kind == eFault::SILENCE || what.kind == eFault::TIMEOUT) {
            lane(direction).silence({rule->number, timeOf(*rule, mFacts.begunNs).untilNs});
        } else if (what.kind == eFault::STALL) {
            lane(direction).stall({rule->number, laterBy(what.ns, nowNs)});
        } else if (what.kind == eFault::HALF_CLOSE) {
            lane(direction).close(false);
        }
    }
    if (what.kind == eFault::TIMEOUT && what.ns > 0) {
        mCuts.add(rule->number, laterBy(what.ns, nowNs));
    }
    if (what.kind == eFault::CUT || what.kind == eFault::RESET) {
        end(what.kind == eFault::RESET);
    }
    endIfBothHave();
}

void FaultyConnection::end(bool withReset)
{
    if (mEnd != eEnd::NONE) {
        return;
    }
    mEnd = withReset ? eEnd::RESET : eEnd::CUT;
    for (Lane& each : mLanes) {
        each.close(withReset);
    }
}

void FaultyConnection::report(ActiveRule* rule, std::optional<eDirection> direction, std::string was)
{
    ++rule->injected;
    Fault fault = faultOf(reportedKind(rule->rule.kind));
    fault.rule = rule->number;
    fault.direction = direction;
    fault.was = std::move(was);
    fault.became = stateText(rule->rule);
    mOwner.faultDone(fault);
}

Fault FaultyConnection::faultOf(eFault kind) const
{
    return {.kind = kind, .connection = mFacts.number, .deviceSerial = mFacts.deviceSerial};
}

bool FaultyConnection::wantsMore(eDirection direction) const
{
    return mReached && mEnd == eEnd::NONE && lane(direction).wantsMore();
}

bool FaultyConnection::outputEnded(eDirection direction) const { return lane(direction).hasEnded(); }

int64_t FaultyConnection::deadline() const
{
    if (mEnd != eEnd::NONE) {
        return kNever;
    }
    int64_t next = std::min({mAcceptLate.next(), mCuts.next(), mLanes[0].deadline(), mLanes[1].deadline()});
    for (const TimeRule& timed : mTimeRules) {
        const bool waits = mReached && !timed.done && concernOf(*timed.rule, mFacts) == eConcern::YES;
        next = waits ? std::min(next, timeOf(*timed.rule, mFacts.begunNs).fromNs) : next;
    }
    return next;
}

} // namespace proxy
