#include "proxy/replay/replay.h"

#include <algorithm>

#include "proxy/faults/faultline.h"

namespace proxy {

namespace {

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
    const sCaptureInterface& interface = reader.interfaces()[packet.interface];
    mStreamPairs.setRecorder(reader.program(), interface.name);
    mStreams.setServerPort(cStreamPairs::isOwn(reader.program()) ? std::nullopt : mPort);
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

/// Calls @p what with the connection, then bounds what waits in it and updates its deadline.
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

void Replay::addPair(uint64_t id, uint64_t number)
{
    RecordedConnection::Owner* const owner = this;
    mPairs.try_emplace(id, mShared, number, owner).first->second.connection.begin(mNowNs);
}

void Replay::removePair(uint64_t id)
{
    const auto found = mPairs.find(id);
    mWaiting -= found->second.connection.waiting();
    mDue.erase({found->second.due, id});
    mLossy.erase(id);
    mPairs.erase(found);
}

void Replay::opened(const sStream& stream, const std::vector<std::string>& comments, int64_t /*timeNs*/)
{
    ++mStreamsSeen;
    mBegunBefore += stream.isWhole ? 0 : 1;
    const cStreamPairs::sPart* part = mStreamPairs.opened(stream, comments);
    if (part == nullptr) {
        return;
    }
    if (part->isFirst) {
        addPair(part->connection, part->named.value_or(stream.number));
    }
    change(part->connection, [&](RecordedConnection& connection) {
        if (part->reachesServer) {
            connection.reached(mNowNs);
        }
    });
}

/// Calls @p what with the connection and the direction, if what side @p from of @p stream does counts.
template <class Do>
void Replay::changeFrom(const sStream& stream, cTcpStreams::eSide from, Do what)
{
    const cStreamPairs::sPart* part = mStreamPairs.find(stream);
    if (part != nullptr && part->counts(from)) {
        change(part->connection,
               [&](RecordedConnection& connection) { what(connection, directionFrom(from)); });
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
        mLossyCount += mLossy.insert(mStreamPairs.find(stream)->connection).second ? 1 : 0;
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
    if (const cStreamPairs::sPart* part = mStreamPairs.find(stream)) {
        change(part->connection, [](RecordedConnection& connection) { connection.abandon(); });
    }
}

void Replay::closed(const sStream& stream, int64_t /*timeNs*/)
{
    if (const std::optional<uint64_t> over = mStreamPairs.closed(stream)) {
        removePair(*over);
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
