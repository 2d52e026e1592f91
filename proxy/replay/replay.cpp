#include "proxy/replay/replay.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "proxy/faults/faultline.h"

namespace proxy {

namespace {

/// Programs whose recordings hold connections between a device and its server, and nothing else.
constexpr std::string_view kOwnPrograms[] = {"zulbench ", "zulserver ", "zulfleet ", "zulproxy "};

// What a zulproxy writes: the interface of its connections to the server, and the comment on a first packet.
constexpr std::string_view kProxy = "zulproxy ";
constexpr std::string_view kServerInterface = "server";
constexpr std::string_view kConnection = "connection ";

/// The connection that the comments on a first packet name.
std::optional<uint64_t> connectionNamed(const std::vector<std::string>& comments)
{
    for (const std::string& comment : comments) {
        uint32_t number = 0;
        const char* const end = comment.data() + comment.size();
        if (comment.starts_with(kConnection) &&
            std::from_chars(comment.data() + kConnection.size(), end, number).ptr == end && number > 0) {
            return number;
        }
    }
    return {};
}

std::string connections(uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " connection" : " connections");
}

/// Times that leave room for what is added to them: 1970 to 2116.
int64_t bounded(int64_t timeNs) { return std::clamp<int64_t>(timeNs, 0, INT64_MAX / 2); }

eDirection directionFrom(cTcpStreams::eSide side)
{
    return side == cTcpStreams::CLIENT ? eDirection::TO_SERVER : eDirection::TO_DEVICE;
}

} // namespace

Replay::Replay(const Settings& settings) : mPort(settings.port), mShared{mRules, mDevices, settings.seed}
{
    for (const Rule& rule : settings.rules) {
        mRules.add(rule, ActiveRule::kFromTheBeginning);
    }
}

void Replay::add(const sPacket& packet, const cPacketReader& reader)
{
    const int64_t timeNs = bounded(packet.timeNs);
    if (mNowNs < 0) {
        mShared.startedNs = timeNs;
    }
    advance(timeNs);
    const std::string& program = reader.program();
    const sCaptureInterface& interface = reader.interfaces()[packet.interface];
    mIsPaired = program.starts_with(kProxy);
    mIsServer = mIsPaired && interface.name == kServerInterface;
    const bool isOwn = std::ranges::any_of(
        kOwnPrograms, [&program](std::string_view own) { return program.starts_with(own); });
    mStreams.setServerPort(isOwn ? std::nullopt : mPort);
    mStreams.add(packet, interface);
}

/// Does what is due until @p timeNs. The clock of a recording may go back, that of connections never does.
void Replay::advance(int64_t timeNs)
{
    mNowNs = std::max(mNowNs, timeNs);
    while (!mDue.empty() && mDue.begin()->first <= mNowNs) {
        const auto [due, id] = *mDue.begin();
        change(id, [at = due](RecordedConnection& connection) { connection.advance(at); });
    }
}

/// Calls @p what with the connection, and sees to what waits in it and for it.
template <class Do>
void Replay::change(uint64_t id, Do what)
{
    Pair& pair = mPairs.at(id);
    RecordedConnection& connection = pair.connection;
    mWaiting -= connection.waiting();
    what(connection);
    if (mWaiting + connection.waiting() > kMaxWaiting) {
        connection.readAll();
    }
    mWaiting += connection.waiting();
    const int64_t due = connection.deadline();
    if (due != pair.due) {
        mDue.erase({pair.due, id});
        pair.due = due;
        if (due != FaultyConnection::kNever) {
            mDue.emplace(due, id);
        }
    }
}

uint64_t Replay::addPair(uint64_t number, int64_t timeNs)
{
    const uint64_t id = ++mLastPair;
    RecordedConnection::Owner* const owner = this;
    mPairs.try_emplace(id, mShared, number, owner).first->second.connection.begin(timeNs);
    return id;
}

void Replay::removePair(uint64_t id)
{
    const auto found = mPairs.find(id);
    const RecordedConnection& connection = found->second.connection;
    const auto named = mNamed.find(connection.number());
    if (named != mNamed.end() && named->second == id) {
        mNamed.erase(named);
    }
    mWaiting -= connection.waiting();
    mDue.erase({found->second.due, id});
    mLossy.erase(id);
    mPairs.erase(found);
}

void Replay::opened(const sStream& stream, const std::vector<std::string>& comments, int64_t /*timeNs*/)
{
    ++mStreamsSeen;
    mBegunBefore += stream.isWhole ? 0 : 1;
    const std::optional<uint64_t> named = mIsPaired ? connectionNamed(comments) : std::nullopt;
    Part part;
    if (mIsServer) {
        const auto device = named ? mNamed.find(*named) : mNamed.end();
        if (device == mNamed.end()) {
            return; // its pair is unknown
        }
        part = {device->second, eDirection::TO_DEVICE};
    } else {
        part.pair = addPair(named.value_or(stream.number), mNowNs);
        if (mIsPaired) {
            part.direction = eDirection::TO_SERVER;
        }
        if (named) {
            mNamed[*named] = part.pair;
        }
    }
    mParts[stream.number] = part;
    ++mPairs.at(part.pair).openStreams;
    change(part.pair, [this](RecordedConnection& connection) {
        if (mIsServer || !mIsPaired) {
            connection.reached(mNowNs);
        }
    });
}

/// Calls @p what with the connection and the direction, if what side @p from of @p stream does counts.
template <class Do>
void Replay::changeFrom(const sStream& stream, cTcpStreams::eSide from, Do what)
{
    const auto part = mParts.find(stream.number);
    const eDirection direction = directionFrom(from);
    if (part != mParts.end() && part->second.direction.value_or(direction) == direction) {
        change(part->second.pair, [&](RecordedConnection& connection) { what(connection, direction); });
    }
}

void Replay::received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                      int64_t /*timeNs*/)
{
    changeFrom(stream, from, [&](RecordedConnection& connection, eDirection direction) {
        connection.received(direction, bytes, mNowNs);
    });
}

void Replay::lost(const sStream& stream, cTcpStreams::eSide from, uint64_t /*bytes*/, int64_t /*timeNs*/)
{
    changeFrom(stream, from, [&](RecordedConnection& connection, eDirection direction) {
        mLossyCount += mLossy.insert(mParts.at(stream.number).pair).second ? 1 : 0;
        connection.lost(direction);
    });
}

void Replay::ended(const sStream& stream, cTcpStreams::eSide from, int64_t /*timeNs*/)
{
    changeFrom(stream, from, [&](RecordedConnection& connection, eDirection direction) {
        connection.ended(direction, mNowNs);
    });
}

/// A reset on one side ends both, as in the proxy.
void Replay::wasReset(const sStream& stream, cTcpStreams::eSide /*from*/, int64_t /*timeNs*/)
{
    if (const auto part = mParts.find(stream.number); part != mParts.end()) {
        change(part->second.pair, [](RecordedConnection& connection) { connection.abandon(); });
    }
}

void Replay::closed(const sStream& stream, int64_t /*timeNs*/)
{
    const auto part = mParts.find(stream.number);
    if (part == mParts.end()) {
        return;
    }
    const uint64_t id = part->second.pair;
    mParts.erase(part);
    if (--mPairs.at(id).openStreams == 0) {
        removePair(id);
    }
}

void Replay::foreignBytes(uint64_t connection, eDirection direction)
{
    onProblem(foreignSentence(connection, direction));
}

void Replay::finish()
{
    mStreams.finish();
    if (mStreamsSeen == 0) {
        onProblem("The recording holds no connection to port " + std::to_string(*mPort) +
                  "; --port names another.");
    }
    if (mBegunBefore > 0) {
        onProblem(connections(mBegunBefore) +
                  " had begun before the recording: messages are counted from its beginning.");
    }
    if (mLossyCount > 0) {
        onProblem("The recording lacks bytes of " + connections(mLossyCount) +
                  ": what follows them in their direction is left out.");
    }
}

} // namespace proxy
