#include "proxy/faults/lane.h"

#include <algorithm>
#include <utility>

namespace proxy {

/// Puts what one holding lets go into the next one.
class Lane::NextHolding : public ParcelSink
{
public:
    NextHolding(Lane& lane, size_t holding) : mLane(lane), mHolding(holding) {}
    void put(Parcel parcel, int64_t nowNs) override { mLane.pass(std::move(parcel), mHolding, nowNs); }

private:
    Lane& mLane;
    const size_t mHolding;
};

/// Keeps what holdings let go, until it can be put in order.
class Lane::Collected : public ParcelSink
{
public:
    struct Entry
    {
        Parcel parcel;
        size_t holding; ///< where it goes next
    };

    void put(Parcel parcel, int64_t /*nowNs*/) override { mEntries.push_back({std::move(parcel), mNext}); }

    /// What comes now goes to the holding with this index.
    void setNext(size_t holding) { mNext = holding; }

    std::vector<Entry> takeSorted()
    {
        std::ranges::stable_sort(mEntries, {}, [](const Entry& entry) { return entry.parcel.number; });
        return std::move(mEntries);
    }

private:
    std::vector<Entry> mEntries;
    size_t mNext = 0;
};

void Lane::chooseRules(const RuleSet& rules)
{
    if (!mChain && !rules.all().empty()) {
        mChain = std::make_unique<RuleChain>(mDirection, mConnection);
    }
    if (mChain) {
        mChain->setRules(rules.all());
    }
    if (mChain && mChain->empty()) {
        mChain.reset();
    }
}

void Lane::setRules(const RuleSet& rules, int64_t nowNs)
{
    chooseRules(rules);
    const auto isCleared = [&rules](uint32_t number) { return !rules.has(number); };
    letGo([&](const Holding& holding) { return isCleared(holding.rule()); }, nowNs);
    mOutput.removePacers(isCleared);
    mSilences.dropCleared(isCleared);
    mStalls.dropCleared(isCleared);
    mHeldEnds.dropCleared(isCleared);
    advance(nowNs);
}

bool Lane::holdsNothing() const
{
    return std::ranges::all_of(mHoldings, [](const auto& holding) { return holding->empty(); });
}

/// While something is held, it must not come out in the middle of a message.
bool Lane::keepsMessages(int64_t nowNs) const
{
    return isSilent() || (mChain && mChain->actsUntil(nowNs) > nowNs) || !holdsNothing();
}

void Lane::received(std::span<const uint8_t> bytes, int64_t nowNs)
{
    advance(nowNs);
    const bool keeps = keepsMessages(nowNs);
    while (!bytes.empty() && !mClosed) {
        if (mCutter.isForeign()) {
            passPlain(std::exchange(bytes, {}), nowNs);
        } else {
            if (mCutter.atBoundary()) {
                mPassing = !keeps;
                mBeginningGone = false;
                mDropsRest = false;
            }
            mPassing ? follow(&bytes, keeps, nowNs) : takeMessages(&bytes, nowNs);
        }
    }
    checkKept(nowNs);
    mOutput.prepare(nowNs);
    checkCut();
}

/// Passes @p *bytes as they are; with @p toBoundary no further than the end of the message that has begun to
/// pass.
void Lane::follow(std::span<const uint8_t>* bytes, bool toBoundary, int64_t nowNs)
{
    const std::span<const uint8_t> piece = *bytes;
    CutMessage message;
    bool ended = false;
    while (!bytes->empty() && !mCutter.isForeign() && !(toBoundary && ended)) {
        const bool reads = learns() && !mBeginningGone;
        const MessageCutter::eResult result = reads ? mCutter.take(bytes, &message) : mCutter.skip(bytes);
        ended = result == MessageCutter::MESSAGE && mCutter.atBoundary();
        if (result == MessageCutter::MESSAGE && reads) {
            learnFrom(message);
        }
        if (result == MessageCutter::TOO_LARGE || result == MessageCutter::FOREIGN) {
            mCutter.takeKept(); // a copy of what has passed
        }
        mBeginningGone = (mBeginningGone || result == MessageCutter::TOO_LARGE) && !mCutter.atBoundary();
    }
    if (mCutter.isForeign()) {
        *bytes = {};
        becomeForeign(nowNs);
    }
    passPlain(piece.first(piece.size() - bytes->size()), nowNs);
}

/// True if @p message may pass as a part of the bytes that have come: nothing acts on it or waits for it.
bool Lane::ignores(const CutMessage& message, int64_t nowNs)
{
    const bool plain = message.owned.empty() && mHoldings.empty() && !isSilent() && !learns();
    return plain && (!mChain || mChain->ignores(message, nowNs));
}

/// Reads up to the end of the first message that rules may act on, and lets them; those before it pass
/// together.
void Lane::takeMessages(std::span<const uint8_t>* bytes, int64_t nowNs)
{
    const std::span<const uint8_t> piece = *bytes;
    size_t passing = 0;
    CutMessage message;
    MessageCutter::eResult result = mCutter.take(bytes, &message);
    for (; result == MessageCutter::MESSAGE && ignores(message, nowNs);
         result = mCutter.take(bytes, &message)) {
        passing = piece.size() - bytes->size();
    }
    passPlain(piece.first(passing), nowNs);
    switch (result) {
    case MessageCutter::MORE:
        break;
    case MessageCutter::MESSAGE:
        act(&message, nowNs);
        break;
    case MessageCutter::TOO_LARGE:
        passTooLarge(nowNs);
        break;
    case MessageCutter::FOREIGN:
        becomeForeign(nowNs);
        break;
    }
}

/// No rule acts on a message above the limits.
void Lane::passTooLarge(int64_t nowNs)
{
    letGo([](const Holding&) { return true; }, nowNs);
    mDropsRest = isSilent();
    passKept(nowNs);
}

void Lane::becomeForeign(int64_t nowNs)
{
    letGo([](const Holding&) { return true; }, nowNs);
    passKept(nowNs);
    mOwner.foreignBytes(mDirection);
}

/// Lets the beginning of the unfinished message pass, if it has not.
void Lane::passKept(int64_t nowNs)
{
    if (mPassing || !mCutter.hasKept()) {
        return;
    }
    Parcel parcel;
    parcel.take(mCutter.takeKept());
    if (!isSilent()) {
        mOutput.put(std::move(parcel), nowNs);
    }
    mPassing = true;
    mBeginningGone = true;
}

void Lane::passPlain(std::span<const uint8_t> bytes, int64_t nowNs)
{
    const bool swallows = mDropsRest || (mCutter.isForeign() && isSilent());
    if (!swallows && !bytes.empty()) {
        mOutput.put(bytes, nowNs);
    }
}

void Lane::learnFrom(const CutMessage& message)
{
    MessageMemory memory;
    MessageFacts facts(message, &memory);
    const std::vector<WendleObject>* records = facts.records();
    if (const auto serial = records == nullptr ? std::nullopt : zulcommand::deviceSerialIn(*records)) {
        mOwner.deviceKnown(*serial);
    }
}

void Lane::act(CutMessage* message, int64_t nowNs)
{
    if (learns()) {
        learnFrom(*message);
    }
    if (mChain && mChain->choose(*message, isSilent(), nowNs)) {
        carryOut(mChain->apply(message, nowNs), nowNs);
    } else if (!isSilent()) {
        passUntouched(message, nowNs);
    }
    letGoExcess(nowNs);
}

void Lane::passUntouched(CutMessage* message, int64_t nowNs)
{
    if (mHoldings.empty() && message->owned.empty()) {
        mOutput.put(message->bytes, nowNs);
        return;
    }
    Parcel parcel(message->bytes);
    if (!message->owned.empty()) {
        parcel.take(std::move(message->owned));
    }
    parcel.number = ++mParcels;
    pass(std::move(parcel), 0, nowNs);
}

void Lane::carryOut(RuleOutcome outcome, int64_t nowNs)
{
    for (const Fault& fault : outcome.faults) {
        mOwner.faultDone(fault);
    }
    for (const TimedRules::Entry& entry : outcome.silences.entries()) {
        silence(entry);
    }
    for (const TimedRules::Entry& entry : outcome.stalls.entries()) {
        stall(entry);
    }
    for (const TimedRules::Entry& entry : outcome.cuts.entries()) {
        mOwner.endLater(entry);
    }
    if (outcome.passes) {
        for (const Mark& mark : outcome.parcel.marks) {
            prepareFor(mark);
        }
        outcome.parcel.number = ++mParcels;
        pass(std::move(outcome.parcel), 0, nowNs);
    }
    switch (outcome.end) {
    case RuleOutcome::NONE:
        break;
    case RuleOutcome::HALF_CLOSE:
        close(false);
        break;
    case RuleOutcome::CUT:
    case RuleOutcome::RESET:
        mOwner.end(outcome.end == RuleOutcome::RESET);
        break;
    }
}

/// Makes what the mark's rule needs to hold messages back or to pace them.
void Lane::prepareFor(const Mark& mark)
{
    const auto at = std::ranges::lower_bound(mHoldings, mark.rule, {},
                                             [](const auto& holding) { return holding->rule(); });
    const bool known = (at != mHoldings.end() && (*at)->rule() == mark.rule) || mOutput.hasPacer(mark.rule);
    const Rule* rule = known ? nullptr : mChain->find(mark.rule);
    if (rule == nullptr) {
        return;
    }
    if (auto holding = makeHolding(*rule, mark.rule)) {
        mHoldings.insert(at, std::move(holding));
    } else if (auto pacer = makePacer(*rule, mark.rule)) {
        mOutput.addPacer(std::move(pacer));
    }
}

/// Puts @p parcel into the holding with this index, or behind the last one to what is written.
void Lane::pass(Parcel parcel, size_t holding, int64_t nowNs)
{
    if (holding >= mHoldings.size()) {
        mOutput.put(std::move(parcel), nowNs);
        return;
    }
    NextHolding next(*this, holding + 1);
    mHoldings[holding]->take(std::move(parcel), nowNs, next);
}

/// Removes the holdings that are meant. What they held goes to those that are left, in the order in which it
/// came.
template <class Condition>
void Lane::letGo(Condition isMeant, int64_t nowNs)
{
    Collected collected;
    for (size_t i = 0; i < mHoldings.size();) {
        if (isMeant(*mHoldings[i])) {
            collected.setNext(i);
            mHoldings[i]->letGoAll(nowNs, collected);
            mHoldings.erase(mHoldings.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
    for (Collected::Entry& entry : collected.takeSorted()) {
        pass(std::move(entry.parcel), entry.holding, nowNs);
    }
}

/// After the sender's end nothing comes that a parcel could wait for.
void Lane::letGoDue(int64_t nowNs)
{
    bool nothingComes = mSenderEnded;
    for (size_t i = 0; i < mHoldings.size(); ++i) {
        NextHolding next(*this, i + 1);
        mHoldings[i]->letGoDue(nowNs, next);
        if (nothingComes && mHoldings[i]->earliest() != nullptr) {
            mHoldings[i]->letGoAll(nowNs, next);
        }
        nothingComes = nothingComes && mHoldings[i]->empty();
    }
    letGoExcess(nowNs);
}

/// Lets the earliest parcels go that wait for others, as these could not come if nothing more is read. The
/// last one stays, whatever its size.
void Lane::letGoExcess(int64_t nowNs)
{
    for (;;) {
        size_t cost = 0;
        size_t first = mHoldings.size();
        for (size_t i = 0; i < mHoldings.size(); ++i) {
            if (const Parcel* parcel = mHoldings[i]->earliest()) {
                cost += mHoldings[i]->cost();
                first = first == mHoldings.size() || parcel->number < mHoldings[first]->earliest()->number
                            ? i
                            : first;
            }
        }
        if (cost <= kMaxWaiting || cost == mHoldings[first]->earliest()->cost()) {
            return;
        }
        NextHolding next(*this, first + 1);
        mHoldings[first]->letGoEarliest(nowNs, next);
    }
}

void Lane::senderEnded(int64_t nowNs)
{
    mSenderEnded = true;
    advance(nowNs);
}

void Lane::advance(int64_t nowNs)
{
    mSilences.dropDue(nowNs);
    mStalls.dropDue(nowNs);
    mHeldEnds.dropDue(nowNs);
    letGoDue(nowNs);
    checkKept(nowNs);
    finish(nowNs);
    mOutput.prepare(nowNs);
    checkCut();
}

/// The beginning of a message is kept as long as a rule may act on the message.
void Lane::checkKept(int64_t nowNs)
{
    if (!keepsMessages(nowNs)) {
        passKept(nowNs);
    }
    const bool keeps = mCutter.hasKept() && !mPassing && mChain;
    const int64_t untilNs = keeps ? mChain->actsUntil(nowNs) : nowNs;
    mKeptUntilNs = untilNs > nowNs ? untilNs : kNeverNs;
}

/// Passes the end of the sender on, behind everything else.
void Lane::finish(int64_t nowNs)
{
    if (!mSenderEnded || mEndPassed || isSilent() || !holdsNothing()) {
        return;
    }
    passKept(nowNs);
    mEndPassed = mHeldEnds.empty();
}

int64_t Lane::deadline() const
{
    int64_t next =
        std::min({mSilences.next(), mStalls.next(), mHeldEnds.next(), mKeptUntilNs, mOutput.deadline()});
    for (const auto& holding : mHoldings) {
        next = std::min(next, holding->deadline());
    }
    return next;
}

void Lane::close(bool atOnce)
{
    mClosed = true;
    mHoldings.clear();
    mSilences.clear();
    mStalls.clear();
    mHeldEnds.clear();
    mCutter.takeKept();
    mKeptUntilNs = kNeverNs;
    if (atOnce) {
        mOutput.clear();
    } else {
        mOutput.dropHeldBack();
    }
}

bool Lane::wantsMore() const
{
    if (mSenderEnded || !mStalls.empty()) {
        return false;
    }
    size_t forOthers = 0;
    size_t waiting = mOutput.cost();
    for (const auto& holding : mHoldings) {
        (holding->earliest() != nullptr ? forOthers : waiting) += holding->cost();
    }
    // One message may be larger; it waits for others, which then have to be read.
    return waiting + std::min(forOthers, kMaxWaiting) <= kMaxWaiting;
}

void Lane::written(size_t bytes, int64_t nowNs)
{
    mOutput.written(bytes, nowNs);
    checkCut();
}

/// A message that was to be the last one, or a limit.
void Lane::checkCut()
{
    Output::Cut cut;
    if (!mCutSeen && mOutput.reachedCut(&cut)) {
        mCutSeen = true;
        const auto fault = cut.limit && mChain ? mChain->limitReached(*cut.limit) : std::nullopt;
        if (fault) {
            mOwner.faultDone(*fault);
        }
        mOwner.end(false);
    }
}

} // namespace proxy
