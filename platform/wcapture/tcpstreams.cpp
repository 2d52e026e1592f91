#include "wcapture/tcpstreams.h"

#include <algorithm>

namespace {

bool has(const sTcpSegment& segment, uint8_t flag) { return (segment.fields.flags & flag) != 0; }

cTcpStreams::eSide opposite(cTcpStreams::eSide side)
{
    return side == cTcpStreams::CLIENT ? cTcpStreams::SERVER : cTcpStreams::CLIENT;
}

std::string describe(const sCaptureInterface& interface)
{
    return interface.name.empty() ? "Packets" : "Packets of the interface \"" + interface.name + '"';
}

} // namespace

void cTcpStreams::sLane::beginAt(uint32_t sequence)
{
    isKnown = true;
    next = sequence;
}

int64_t cTcpStreams::sLane::positionOf(uint32_t sequence) const
{
    // Sequence numbers wrap around (RFC 9293, 3.4): the nearest place is meant.
    return position + static_cast<int32_t>(sequence - next);
}

void cTcpStreams::add(const sPacket& packet, const sCaptureInterface& interface)
{
    mNowNs = packet.timeNs;
    sTcpSegment segment;
    switch (decodePacket(interface.linkType, packet.bytes, packet.wireSize, &segment)) {
    case eDecoded::SEGMENT:
        break;
    case eDecoded::OTHER:
        return;
    case eDecoded::FRAGMENT:
        remarkOnce("Fragments of IP packets are left out.");
        return;
    case eDecoded::CUT:
        remarkOnce("Packets whose headers were not recorded as a whole are left out.");
        return;
    case eDecoded::UNKNOWN_LINK:
        remarkOnce(describe(interface) + " with link type " + std::to_string(interface.linkType) +
                   " are left out, as it is not known.");
        return;
    }
    const auto state = stateFor(packet, segment);
    if (state != mStates.end() && !state->isClosed) {
        if (segment.missing > 0) {
            remarkOnce("Packets were cut when they were recorded: bytes are missing.");
        }
        take(&*state, segment.from == state->stream.client ? CLIENT : SERVER, segment);
    }
}

/// The connection of @p segment, which may be a new one; mStates.end() if it is not followed.
cTcpStreams::States::iterator cTcpStreams::stateFor(const sPacket& packet, const sTcpSegment& segment)
{
    const auto [lower, upper] = std::minmax(segment.from, segment.to);
    const sKey key{packet.interface, lower, upper};
    const bool opens = has(segment, sTcpFields::kSyn) && !has(segment, sTcpFields::kAck);
    const auto found = mByKey.find(key);
    if (found != mByKey.end()) {
        const States::iterator state = found->second;
        if (!opens || state->opening == segment.fields.sequence) {
            mStates.splice(mStates.end(), mStates, state);
            return state;
        }
        remove(state); // the same ports once more
    }
    const std::optional<eSide> sender = openerOf(segment);
    return sender ? open(packet, segment, key, *sender) : mStates.end();
}

/// Which side has sent @p segment, the first of a connection; nothing if it should not be followed.
std::optional<cTcpStreams::eSide> cTcpStreams::openerOf(const sTcpSegment& segment) const
{
    if (segment.payload.empty() && segment.missing == 0 && !has(segment, sTcpFields::kSyn)) {
        return {}; // the last acknowledgement of a connection that is over, say
    }
    eSide sender = CLIENT;
    if (has(segment, sTcpFields::kSyn)) {
        sender = has(segment, sTcpFields::kAck) ? SERVER : CLIENT;
    } else if (mServerPort) {
        sender = segment.to.port == *mServerPort ? CLIENT : SERVER;
    } else {
        sender = segment.to.port <= segment.from.port ? CLIENT : SERVER;
    }
    const sEndpoint& server = sender == CLIENT ? segment.to : segment.from;
    return !mServerPort || server.port == *mServerPort ? std::optional(sender) : std::nullopt;
}

cTcpStreams::States::iterator cTcpStreams::open(const sPacket& packet, const sTcpSegment& segment,
                                                const sKey& key, eSide sender)
{
    if (mStates.size() == kMaxStreams) {
        if (!mStates.front().isClosed) {
            remarkOnce("There are more than 65,536 connections at once: those that are idle longest are left "
                       "out from there on.");
        }
        remove(mStates.begin());
    }
    const auto state = mStates.insert(mStates.end(), sState{key});
    mByKey[key] = state;
    const bool isClient = sender == CLIENT;
    state->stream = {++mLastNumber, packet.interface, isClient ? segment.from : segment.to,
                     isClient ? segment.to : segment.from, has(segment, sTcpFields::kSyn)};
    if (isClient && state->stream.isWhole) {
        state->opening = segment.fields.sequence;
    }
    mListener->opened(state->stream, packet.comments, mNowNs);
    return state;
}

void cTcpStreams::remove(States::iterator state)
{
    close(&*state);
    mByKey.erase(state->key);
    mStates.erase(state);
}

void cTcpStreams::take(sState* state, eSide from, const sTcpSegment& segment)
{
    if (has(segment, sTcpFields::kReset)) {
        flush(state);
        mListener->wasReset(state->stream, from, mNowNs);
        close(state);
        return;
    }
    sLane& lane = state->lanes[from];
    const bool opens = has(segment, sTcpFields::kSyn);
    const uint32_t first = segment.fields.sequence + (opens ? 1 : 0);
    const size_t size = segment.payload.size() + segment.missing;
    if (!lane.isKnown && (opens || size > 0 || has(segment, sTcpFields::kFin))) {
        lane.beginAt(first);
    }
    if (has(segment, sTcpFields::kAck)) {
        takeAcknowledged(state, opposite(from), segment.fields.acknowledged);
    }
    if (!lane.isKnown || lane.isEnded) {
        return;
    }
    const int64_t at = lane.positionOf(first);
    if (has(segment, sTcpFields::kFin) && !lane.end) {
        lane.end = std::max(lane.position, at + static_cast<int64_t>(size));
    }
    if (size > 0) {
        takeBytes(state, from, at, segment.payload, segment.missing);
    }
    checkEnd(state, from);
}

void cTcpStreams::takeBytes(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes,
                            size_t missing)
{
    if (at > state->lanes[from].position) {
        hold(state, from, at, bytes, missing);
        return;
    }
    handOut(state, from, at, bytes, missing);
    handOutWaiting(state, from);
}

/// Hands out what is new of bytes that begin at @p at, which is not behind the next one.
void cTcpStreams::handOut(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes,
                          size_t missing)
{
    sLane& lane = state->lanes[from];
    const auto known = static_cast<size_t>(lane.position - at);
    if (known < bytes.size()) {
        const auto fresh = bytes.subspan(known);
        lane.position += static_cast<int64_t>(fresh.size());
        lane.next += static_cast<uint32_t>(fresh.size());
        mListener->received(state->stream, from, fresh, mNowNs);
    }
    lose(state, from, at + static_cast<int64_t>(bytes.size() + missing));
}

void cTcpStreams::handOutWaiting(sState* state, eSide from)
{
    sLane& lane = state->lanes[from];
    while (!lane.waiting.empty() && lane.waiting.begin()->first <= lane.position) {
        const auto node = lane.waiting.extract(lane.waiting.begin());
        const size_t cost = node.mapped().bytes.size() + kPieceCost;
        lane.cost -= cost;
        mAllWaiting -= cost;
        handOut(state, from, node.key(), node.mapped().bytes, node.mapped().missing);
    }
}

/// Keeps bytes until those before them come. If too much waits, what is missing is given up.
void cTcpStreams::hold(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes, size_t missing)
{
    sLane& lane = state->lanes[from];
    const size_t cost = bytes.size() + kPieceCost;
    while (at > lane.position && (lane.cost + cost > kMaxWaiting || mAllWaiting + cost > kMaxAllWaiting)) {
        lose(state, from, lane.waiting.empty() ? at : std::min(at, lane.waiting.begin()->first));
        handOutWaiting(state, from);
    }
    if (at <= lane.position) {
        takeBytes(state, from, at, bytes, missing);
        return;
    }
    const auto [place, isNew] = lane.waiting.try_emplace(at);
    sPiece& piece = place->second;
    const size_t had = isNew ? 0 : piece.bytes.size() + kPieceCost;
    if (isNew || piece.bytes.size() + piece.missing < bytes.size() + missing) {
        piece = {{bytes.begin(), bytes.end()}, missing};
        lane.cost += cost - had;
        mAllWaiting += cost - had;
    }
}

/// Gives up what is missing before @p upTo.
void cTcpStreams::lose(sState* state, eSide from, int64_t upTo)
{
    sLane& lane = state->lanes[from];
    if (upTo > lane.position) {
        const auto bytes = static_cast<uint64_t>(upTo - lane.position);
        lane.position = upTo;
        lane.next += static_cast<uint32_t>(bytes);
        mListener->lost(state->stream, from, bytes, mNowNs);
    }
}

/// The receiver has everything up to @p acknowledged of what side @p from sent: what of it is still missing
/// before recorded bytes was not recorded.
void cTcpStreams::takeAcknowledged(sState* state, eSide from, uint32_t acknowledged)
{
    sLane& lane = state->lanes[from];
    if (!lane.isKnown || lane.isEnded) {
        return;
    }
    const int64_t received = lane.positionOf(acknowledged);
    while (!lane.waiting.empty() && lane.waiting.begin()->first <= received) {
        lose(state, from, lane.waiting.begin()->first);
        handOutWaiting(state, from);
    }
    if (lane.end && received > *lane.end) {
        lose(state, from, *lane.end);
    }
    checkEnd(state, from);
}

void cTcpStreams::checkEnd(sState* state, eSide from)
{
    sLane& lane = state->lanes[from];
    if (lane.isEnded || !lane.end || lane.position < *lane.end) {
        return;
    }
    lane.isEnded = true;
    mAllWaiting -= lane.cost; // nothing behind the end counts
    lane.cost = 0;
    lane.waiting.clear();
    mListener->ended(state->stream, from, mNowNs);
    if (state->lanes[opposite(from)].isEnded) {
        close(state);
    }
}

/// Hands out what waits, and tells what is missing before it.
void cTcpStreams::flush(sState* state)
{
    for (const eSide from : {CLIENT, SERVER}) {
        sLane& lane = state->lanes[from];
        while (!lane.waiting.empty()) {
            lose(state, from, lane.waiting.begin()->first);
            handOutWaiting(state, from);
        }
        if (lane.end) {
            lose(state, from, *lane.end);
        }
    }
}

void cTcpStreams::close(sState* state)
{
    if (!state->isClosed) {
        state->isClosed = true;
        flush(state);
        mListener->closed(state->stream, mNowNs);
    }
}

void cTcpStreams::finish()
{
    while (!mStates.empty()) {
        remove(mStates.begin());
    }
}

void cTcpStreams::remarkOnce(const std::string& sentence)
{
    if (mRemarks.size() < kMaxRemarks && mRemarks.insert(sentence).second) {
        mListener->remark(sentence);
    }
}
