#include "proxy/faults/rulechain.h"

#include <algorithm>
#include <utility>

#include "proxy/faults/faulttext.h"

namespace proxy {

namespace {

/// A message is changed in this order, whatever the order of the rules: changed records are cut into segments
/// anew, and a checksum that should be wrong must not be made right again.
enum ePhase : uint8_t
{
    RECORDS,
    SEGMENTS,
    CHECKSUMS,
    THE_REST
};

ePhase phaseOf(eFault kind)
{
    if (layerOf(kind) == eFaultLayer::RECORD) {
        return RECORDS;
    }
    if (kind == eFault::CORRUPT || kind == eFault::WRONG_CHECKSUM) {
        return CHECKSUMS;
    }
    return editsSegments(kind) ? SEGMENTS : THE_REST;
}

/// True if there is no message any more that a later rule could change.
bool takesAway(eFault kind)
{
    return (layerOf(kind) == eFaultLayer::CONNECTION && kind != eFault::STALL) || kind == eFault::LOSE ||
           kind == eFault::TRUNCATE;
}

constexpr uint32_t kMaxCopies = 1 << 20;

std::string plural(uint32_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string delayText(const Rule& rule)
{
    const std::string text = millisecondsText(rule.ns) + " later";
    return rule.jitterNs == 0 ? text : text + ", " + millisecondsText(rule.jitterNs) + " more or less";
}

std::string sliceText(const Rule& rule)
{
    const std::string size = rule.min == rule.max
                                 ? plural(rule.min, "byte", "bytes")
                                 : std::to_string(rule.min) + " to " + plural(rule.max, "byte", "bytes");
    return "in pieces of " + size + (rule.ns == 0 ? "" : ", " + millisecondsText(rule.ns) + " apart");
}

/// As much more or less as the rule's jitter says, evenly drawn.
int64_t drawnDelay(const Rule& rule, cSeededRandom* draws)
{
    const double offset = (2 * draws->nextFraction() - 1) * static_cast<double>(rule.jitterNs);
    return std::max<int64_t>(0, rule.ns + static_cast<int64_t>(offset));
}

} // namespace

/// Before the device is known, a message to the server may tell it; one to the device does not.
bool RuleChain::mayActHere(const ActiveRule& rule) const
{
    const eFaultLayer layer = layerOf(rule.rule.kind);
    if (layer == eFaultLayer::CONNECTION && !rule.rule.actsOnMessages()) {
        return false;
    }
    if (rule.rule.direction && *rule.rule.direction != mDirection) {
        return false;
    }
    const eConcern concern = concernOf(rule, mConnection);
    return concern == eConcern::YES || (concern == eConcern::NOT_YET && mDirection == eDirection::TO_SERVER);
}

void RuleChain::setRules(const std::vector<RulePtr>& rules)
{
    std::vector<State> states;
    for (const RulePtr& rule : rules) {
        if (!mayActHere(*rule)) {
            continue;
        }
        const auto known = std::ranges::find(mStates, rule, &State::rule);
        states.push_back(known == mStates.end() ? State{rule, timeOf(*rule, mConnection.begunNs)}
                                                : std::move(*known));
    }
    mStates = std::move(states);
    std::vector<const Rule*> inForce;
    for (const State& state : mStates) {
        inForce.push_back(&state.rule->rule);
    }
    mSieve = RuleSieve(std::move(inForce));
    mHasSwaps = std::ranges::any_of(mStates,
                                    [](const State& state) { return state.rule->rule.kind == eFault::SWAP; });
    mInForceAtNs = kNeverNs;
}

int64_t RuleChain::actsUntil(int64_t nowNs) const
{
    int64_t last = nowNs;
    for (const State& state : mStates) {
        last = state.time.has(nowNs) ? std::max(last, state.time.untilNs) : last;
    }
    return last;
}

const Rule* RuleChain::find(uint32_t number) const
{
    const auto found =
        std::ranges::find(mStates, number, [](const State& state) { return state.rule->number; });
    return found == mStates.end() ? nullptr : &found->rule->rule;
}

/// Found once for the messages that come at the same time.
RuleSieve::Mask RuleChain::inForce(int64_t nowNs)
{
    if (nowNs != mInForceAtNs) {
        mInForceAtNs = nowNs;
        mInForce = 0;
        for (size_t number = 0; number < mStates.size(); ++number) {
            mInForce |= mStates[number].time.has(nowNs) ? RuleSieve::bitOf(number) : 0;
        }
    }
    return mInForce;
}

bool RuleChain::ignores(const CutMessage& message, int64_t nowNs)
{
    MessageFacts facts(message, &mMemory);
    const bool ignored = mSieve.find(&facts, inForce(nowNs)) == 0;
    if (ignored) {
        mMemory.trim();
    }
    return ignored;
}

bool RuleChain::choose(const CutMessage& message, bool taken, int64_t nowNs)
{
    mInjections.clear();
    bool passes = !taken;
    MessageFacts facts(message, &mMemory);
    mSieve.forEach(mSieve.find(&facts, inForce(nowNs)), [&](size_t number) {
        State& state = mStates[number];
        if (matches(state, &facts, nowNs) && actsOn(&state, message, !passes)) {
            passes = !takesAway(state.rule->rule.kind);
        }
    });
    if (passes && mHasSwaps && mInjections.empty()) {
        nextComes({});
    }
    if (mInjections.empty()) {
        mMemory.trim();
    }
    return !mInjections.empty();
}

bool RuleChain::matches(const State& state, MessageFacts* message, int64_t nowNs) const
{
    const Rule& rule = state.rule->rule;
    const bool known = !rule.namesDevice() || mConnection.deviceSerial;
    const SegmentHeader header = message->header();
    return known && state.time.has(nowNs) && choosesHeader(rule, header.flags(), header.type()) &&
           choosesRecords(rule, message);
}

/// Counts a match. If the rule acts on the message, that is noted.
bool RuleChain::actsOn(State* state, const CutMessage& message, bool taken)
{
    ActiveRule& active = *state->rule;
    ++state->matches;
    ++active.matched;
    if (taken || state->open || !countsIn(active.rule, state->matches)) {
        return false;
    }
    cSeededRandom draws = drawsFor(active, message);
    if (draws.nextFraction() >= active.rule.chance.value_or(1)) {
        return false;
    }
    mInjections.push_back({state, draws});
    return true;
}

RuleOutcome RuleChain::apply(CutMessage* message, int64_t nowNs)
{
    Work work{*message, MessageFacts(*message, &mMemory), nowNs};
    for (const ePhase phase : {RECORDS, SEGMENTS, CHECKSUMS, THE_REST}) {
        for (Injection& injection : mInjections) {
            if (phaseOf(injection.state->rule->rule.kind) == phase) {
                inject(&injection, &work);
            }
        }
    }
    finishParcel(&work);
    if (work.outcome.passes && mHasSwaps) {
        nextComes(work.outcome.parcel);
    }
    mMemory.trim();
    return std::move(work.outcome);
}

/// The first message to the device is often on its way before the device has told its serial number, and
/// often is not: so what is drawn for it never depends on that.
cSeededRandom RuleChain::drawsFor(const ActiveRule& rule, const CutMessage& message) const
{
    DrawKey key{.direction = mDirection, .ping = message.ping, .place = message.place};
    if (mDirection == eDirection::TO_SERVER || message.ping || message.place > 1) {
        key.deviceSerial = mConnection.deviceSerial;
        key.connection = mConnection.deviceConnection;
    }
    return drawFor(mConnection.seed, rule, key);
}

void RuleChain::inject(Injection* injection, Work* work)
{
    const eFault kind = injection->state->rule->rule.kind;
    if (layerOf(kind) == eFaultLayer::RECORD) {
        editRecords(injection, work);
    } else if (editsSegments(kind)) {
        editSegments(injection, work);
    } else if (layerOf(kind) == eFaultLayer::CONNECTION) {
        actOnConnection(injection, work);
    } else if (layerOf(kind) == eFaultLayer::BYTES) {
        actOnBytes(injection, work);
    } else {
        actOnMessage(injection, work);
    }
}

void RuleChain::editRecords(Injection* injection, Work* work)
{
    if (!work->records) {
        work->records.emplace(*work->facts.records());
    }
    const Rule& rule = injection->state->rule->rule;
    if (const std::optional<Change> change = work->records->apply(rule, &injection->draws)) {
        segmentsOf(work).replacePayload(work->records->payload());
        report(*injection->state, work, *change);
    }
}

void RuleChain::editSegments(Injection* injection, Work* work)
{
    const Rule& rule = injection->state->rule->rule;
    if (const std::optional<Change> change = editMessage(rule, &injection->draws, &segmentsOf(work))) {
        report(*injection->state, work, *change);
    }
}

SegmentedMessage& RuleChain::segmentsOf(Work* work)
{
    if (!work->segments) {
        work->segments.emplace(std::vector<uint8_t>(work->message.bytes.begin(), work->message.bytes.end()));
    }
    return *work->segments;
}

void RuleChain::actOnMessage(Injection* injection, Work* work)
{
    State& state = *injection->state;
    const Rule& rule = state.rule->rule;
    Parcel& parcel = work->outcome.parcel;
    const std::string was = hexText(work->message.bytes);
    switch (rule.kind) {
    case eFault::LOSE:
        work->outcome.passes = false;
        report(state, work, {was, ""});
        break;
    case eFault::DUPLICATE:
        parcel.times = std::min(parcel.times * 2, kMaxCopies);
        report(state, work, {was, "twice"});
        break;
    case eFault::LATE:
        mark(state, rule.ns, work);
        report(state, work, {was, millisecondsText(rule.ns) + " later"});
        break;
    case eFault::SWAP:
        mark(state, 1, work);
        report(state, work, {was, "behind the next"});
        break;
    case eFault::HOLD:
        mark(state, rule.min, work);
        report(state, work, {was, "behind " + std::to_string(rule.min) + " more"});
        break;
    case eFault::TRUNCATE:
        truncate(state, work);
        break;
    default:
        break;
    }
}

void RuleChain::truncate(const State& state, Work* work)
{
    SegmentedMessage& message = segmentsOf(work);
    const std::string was = hexText(work->message.bytes);
    const size_t size = message.bytes().size();
    const size_t last = message.lastSegment().size();
    message.bytes().resize(size - last + last / 2);
    work->outcome.parcel.cutsAfter = true;
    report(state, work,
           {was, std::to_string(message.bytes().size()) + " of " + std::to_string(size) + " bytes"});
}

void RuleChain::actOnBytes(Injection* injection, Work* work)
{
    State& state = *injection->state;
    const Rule& rule = state.rule->rule;
    switch (rule.kind) {
    case eFault::DELAY:
        mark(state, drawnDelay(rule, &injection->draws), work);
        reportOnce(&state, work, {"at once", delayText(rule)});
        break;
    case eFault::RATE:
        mark(state, 0, work);
        reportOnce(&state, work, {"at once", plural(rule.min, "byte", "bytes") + " a second"});
        break;
    case eFault::SLICE:
        mark(state, static_cast<int64_t>(injection->draws.next()), work);
        reportOnce(&state, work, {"at once", sliceText(rule)});
        break;
    case eFault::JOIN:
        mark(state, 0, work);
        reportOnce(&state, work, {"at once", "when there are " + plural(rule.min, "byte", "bytes")});
        break;
    case eFault::LIMIT: // it is a fault when the limit is reached, which the connection tells
        mark(state, work->facts.header().sequence(), work);
        work->outcome.parcel.marks.back().object = objectFor(rule, work);
        break;
    default:
        break;
    }
}

void RuleChain::actOnConnection(Injection* injection, Work* work)
{
    State& state = *injection->state;
    const Rule& rule = state.rule->rule;
    RuleOutcome& outcome = work->outcome;
    if (rule.kind == eFault::STALL) {
        mark(state, rule.ns, work);
        outcome.stalls.add(state.rule->number, laterBy(rule.ns, work->nowNs));
    } else {
        outcome.passes = false;
    }
    if (rule.kind == eFault::SILENCE || rule.kind == eFault::TIMEOUT) {
        outcome.silences.add(state.rule->number, state.time.untilNs);
    }
    if (rule.kind == eFault::TIMEOUT && rule.ns > 0) {
        outcome.cuts.add(state.rule->number, laterBy(rule.ns, work->nowNs));
    }
    outcome.end = rule.kind == eFault::CUT          ? RuleOutcome::CUT
                  : rule.kind == eFault::RESET      ? RuleOutcome::RESET
                  : rule.kind == eFault::HALF_CLOSE ? RuleOutcome::HALF_CLOSE
                                                    : outcome.end;
    report(state, work, {"open", stateText(rule)});
}

void RuleChain::mark(const State& state, int64_t value, Work* work)
{
    work->outcome.parcel.marks.push_back({.rule = state.rule->number, .value = value});
}

void RuleChain::report(const State& state, Work* work, Change change) const
{
    ++state.rule->injected;
    Fault fault = faultOf(*state.rule, work->facts.header().sequence(), std::move(change));
    fault.object = objectFor(state.rule->rule, work);
    work->outcome.faults.push_back(std::move(fault));
}

Fault RuleChain::faultOf(const ActiveRule& rule, uint8_t msgSeq, Change change) const
{
    return {.rule = rule.number,
            .kind = reportedKind(rule.rule.kind),
            .connection = mConnection.number,
            .deviceSerial = mConnection.deviceSerial,
            .direction = mDirection,
            .msgSeq = msgSeq,
            .was = std::move(change.was),
            .became = std::move(change.became)};
}

std::optional<Fault> RuleChain::limitReached(const Mark& mark)
{
    const auto found =
        std::ranges::find(mStates, mark.rule, [](const State& state) { return state.rule->number; });
    if (found == mStates.end()) {
        return std::nullopt;
    }
    ++found->rule->injected;
    const std::string became = "cut after " + plural(found->rule->rule.min, "byte", "bytes");
    Fault fault = faultOf(*found->rule, static_cast<uint8_t>(mark.value), {"open", became});
    fault.object = mark.object;
    return fault;
}

/// Counts each time but tells only the first.
void RuleChain::reportOnce(State* state, Work* work, Change change) const
{
    if (std::exchange(state->begun, true)) {
        ++state->rule->injected;
    } else {
        report(*state, work, std::move(change));
    }
}

/// The type of the first record that the rule chooses.
std::optional<uint32_t> RuleChain::objectFor(const Rule& rule, Work* work)
{
    const std::vector<WendleObject>* records = work->facts.records();
    if (records == nullptr) {
        return std::nullopt;
    }
    const auto first = std::ranges::find_if(
        *records, [&rule](const WendleObject& record) { return choosesRecord(rule, record); });
    return first == records->end() ? std::nullopt : std::optional(first->type);
}

/// @p parcel is the next one for those that were to be swapped; one that is to be swapped waits for its own.
void RuleChain::nextComes(const Parcel& parcel)
{
    for (State& state : mStates) {
        state.open = state.rule->rule.kind == eFault::SWAP && parcel.markOf(state.rule->number) != nullptr;
    }
}

/// Copies the message only if a rule has changed it.
void RuleChain::finishParcel(Work* work)
{
    Parcel& parcel = work->outcome.parcel;
    if (work->segments) {
        parcel.take(std::move(work->segments->bytes()));
    } else if (!work->message.owned.empty()) {
        parcel.take(std::move(work->message.owned));
    } else {
        parcel.bytes = work->message.bytes;
    }
}

} // namespace proxy
