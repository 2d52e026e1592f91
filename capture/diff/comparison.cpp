#include "capture/diff/comparison.h"

#include <algorithm>
#include <utility>

namespace capture {

namespace {

/// What a message takes while it waits, beside its payload.
constexpr size_t kMessageCost = 160;

size_t costOf(const ComparedMessage& message) { return kMessageCost + message.message.payload.capacity(); }

std::vector<uint64_t> contentsOf(const std::list<ComparedMessage>& messages)
{
    std::vector<uint64_t> contents;
    contents.reserve(messages.size());
    std::ranges::transform(messages, std::back_inserter(contents), &ComparedMessage::content);
    return contents;
}

} // namespace

Comparison::Comparison(const MessageComparer::Tags& ignored, const Recording::Settings& settings)
    : mComparer(ignored), mA{Recording(settings)}, mB{Recording(settings)}
{}

std::string Comparison::run()
{
    while (!mA.isAtEnd || !mB.isAtEnd) {
        Side* const side = sideToRead();
        readFrom(side);
        if (!side->recording.failure().empty()) {
            return side->recording.failure();
        }
    }
    end();
    return "";
}

/// The one that lags behind in more lanes: so what only one of both has makes the other not run ahead.
Comparison::Side* Comparison::sideToRead()
{
    const bool isB = mLead != 0 ? mLead > 0 : mA.waiting > mB.waiting;
    return mA.isAtEnd || (isB && !mB.isAtEnd) ? &mB : &mA;
}

void Comparison::readFrom(Side* side)
{
    RecordedItem item;
    if (!side->recording.next(&item)) {
        side->isAtEnd = true;
    } else if (item.kind == RecordedItem::MESSAGE && !item.message.control) {
        add(side, std::move(item));
    }
}

void Comparison::add(Side* side, RecordedItem item)
{
    side->beginNs = side->beginNs.value_or(item.timeNs);
    if (item.question) {
        const int64_t ns = std::max<int64_t>(item.timeNs - item.question->timeNs, 0);
        side->answerTimes.record(static_cast<uint64_t>(ns) / 1000);
    }
    const Kind kind{item.connection->deviceSerial, item.direction, item.message.answer};
    onDevice(kind.deviceSerial);
    const auto lane = mLanes.try_emplace(kind).first;
    Messages& messages = side == &mA ? lane->second.a : lane->second.b;
    messages.push_back(mComparer(std::move(item)));
    ++side->waiting;
    mWaitingBytes += costOf(messages.back());
    settle(lane);
    if (mWaitingBytes > kMaxWaitingBytes) {
        relieve();
    }
}

/// Decides what can be decided about the lane.
void Comparison::settle(Lanes::iterator at)
{
    Lane& lane = at->second;
    while (!lane.a.empty() && !lane.b.empty() && lane.a.front().content == lane.b.front().content) {
        Messages same;
        dropFront(&lane, true, &same);
        dropFront(&lane, false, &same);
    }
    while (isDecided(lane)) {
        const bool isLast = (mA.isAtEnd && (mB.isAtEnd || lane.a.empty())) || (mB.isAtEnd && lane.b.empty());
        alignLane(at->first, &lane, isLast);
    }
    const int lead = (lane.a.size() > lane.b.size() ? 1 : 0) - (lane.a.size() < lane.b.size() ? 1 : 0);
    mLead += lead - std::exchange(lane.lead, lead);
    if (lane.a.empty() && lane.b.empty()) {
        mLanes.erase(at);
    }
}

/// True if enough is there to align it.
bool Comparison::isDecided(const Lane& lane) const
{
    const bool isA = lane.a.size() >= kMaxBehind || mA.isAtEnd;
    const bool isB = lane.b.size() >= kMaxBehind || mB.isAtEnd;
    return isA && isB && !(lane.a.empty() && lane.b.empty());
}

/// @p isWhole: nothing follows that could fit.
void Comparison::alignLane(const Kind& kind, Lane* lane, bool isWhole)
{
    Messages onlyA;
    Messages onlyB;
    for (const eStep step : align(contentsOf(lane->a), contentsOf(lane->b), isWhole)) {
        if (step == eStep::BOTH) {
            report(kind, std::exchange(onlyA, {}), std::exchange(onlyB, {}));
            Messages same;
            dropFront(lane, true, &same);
            dropFront(lane, false, &same);
        } else if (step == eStep::ONLY_A) {
            dropFront(lane, true, &onlyA);
        } else {
            dropFront(lane, false, &onlyB);
        }
    }
    report(kind, onlyA, onlyB);
}

void Comparison::dropFront(Lane* lane, bool isA, Messages* to)
{
    Messages& from = isA ? lane->a : lane->b;
    --(isA ? mA : mB).waiting;
    mWaitingBytes -= costOf(from.front());
    to->splice(to->end(), from, from.begin());
}

/// Reports the messages of one place of both sides. Two messages of the same shape count as one that was
/// changed.
void Comparison::report(const Kind& kind, const Messages& onlyA, const Messages& onlyB)
{
    auto b = onlyB.begin();
    for (const ComparedMessage& a : onlyA) {
        const auto twin = std::find_if(
            b, onlyB.end(), [&a](const ComparedMessage& message) { return message.shape == a.shape; });
        if (twin == onlyB.end()) {
            onDifference({kind, &a, nullptr});
            continue;
        }
        for (; b != twin; ++b) {
            onDifference({kind, nullptr, &*b});
        }
        onDifference({kind, &a, &*b++});
    }
    for (; b != onlyB.end(); ++b) {
        onDifference({kind, nullptr, &*b});
    }
}

/// Decides about the lanes in which most waits with what is there.
void Comparison::relieve()
{
    std::vector<std::pair<size_t, Lanes::iterator>> lanes;
    for (auto at = mLanes.begin(); at != mLanes.end(); ++at) {
        lanes.emplace_back(at->second.a.size() + at->second.b.size(), at);
    }
    std::ranges::sort(lanes, std::greater<>(), &std::pair<size_t, Lanes::iterator>::first);
    for (const auto& [size, at] : lanes) {
        if (mWaitingBytes <= kMaxWaitingBytes / 2) {
            break;
        }
        Lane& lane = at->second;
        alignLane(at->first, &lane, lane.a.empty() || lane.b.empty());
        settle(at);
    }
}

void Comparison::end()
{
    mA.isAtEnd = mB.isAtEnd = true;
    while (!mLanes.empty()) {
        settle(mLanes.begin());
    }
}

} // namespace capture
