#include "capture/sessions/recording.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include "zulcommand/commandwords.h"
#include "zulcommand/messagerecords.h"
#include "zulobj/objectlist.h"

namespace capture {

namespace {

constexpr size_t index(eDirection direction) { return static_cast<size_t>(direction); }

constexpr eDirection directionFrom(cTcpStreams::eSide side)
{
    return side == cTcpStreams::CLIENT ? eDirection::TO_SERVER : eDirection::TO_DEVICE;
}

std::string bytesText(uint64_t bytes) { return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes"); }

size_t sizeOf(const RecordedItem& item) { return item.bytes.size() + item.message.payload.size(); }

} // namespace

uint16_t keyOf(const WMsg& message)
{
    return static_cast<uint16_t>(message.seq | (message.control ? 0x100 : 0));
}

bool asks(const RecordedItem& item)
{
    const WMsg& message = item.message;
    if (item.kind != RecordedItem::MESSAGE || message.answer) {
        return false;
    }
    const bool isQuestion = message.type == cObjectList::kSet || message.type == cObjectList::kRequest;
    return message.control ? message.type == wmsg::kControlPing
                           : isQuestion && item.direction == eDirection::TO_DEVICE;
}

std::string Recording::open(const std::string& path)
{
    auto file = std::make_unique<std::ifstream>(path, std::ios::binary);
    if (!*file) {
        return "Cannot read " + zulcommand::quote(path) + ": " + std::strerror(errno) + '.';
    }
    read(std::move(file), path);
    return "";
}

void Recording::read(std::unique_ptr<std::istream> stream, const std::string& name)
{
    mPath = zulcommand::quote(name);
    mStream = std::move(stream);
    mReader.emplace(mStream.get());
}

bool Recording::next(RecordedItem* item)
{
    while (!isReady() && readPacket()) {
    }
    if (mItems.empty()) {
        return false;
    }
    *item = std::move(mItems.front());
    mItems.pop_front();
    mItemBytes -= sizeOf(*item);
    return true;
}

/// True if the first item can be given away.
bool Recording::isReady() const
{
    if (mItems.empty()) {
        return false;
    }
    const Connection& connection = *mItems.front().connection;
    return connection.deviceSerial || connection.isOver || mItems.size() > kMaxItems ||
           mItemBytes > kMaxItemBytes;
}

/// False if there is none any more.
bool Recording::readPacket()
{
    if (mIsAtEnd) {
        return false;
    }
    const cCaptureFormat::eResult result = mReader->next(&mPacket);
    if (result != cCaptureFormat::PACKET) {
        finish(result);
        return true;
    }
    const sCaptureInterface& interface = mReader->interfaces()[mPacket.interface];
    mPairs.setRecorder(mSettings.pairs ? mReader->program() : "", interface.name);
    mStreams.setServerPort(cStreamPairs::isOwn(mReader->program()) ? std::nullopt
                                                                   : std::optional(mSettings.port));
    mStreams.add(mPacket, interface);
    return true;
}

void Recording::finish(cCaptureFormat::eResult result)
{
    mIsAtEnd = true;
    if (result == cCaptureFormat::BROKEN) {
        mFailure = "Cannot read " + mPath + ": " + mReader->status().text() + '.';
    } else if (result == cCaptureFormat::CUT) {
        onProblem(mPath + " ends within a packet.");
    }
    mStreams.finish();
    if (mStreamsSeen == 0 && result == cCaptureFormat::END) {
        onProblem(mPath + " holds no connection" +
                  (cStreamPairs::isOwn(mReader->program())
                       ? "."
                       : " to port " + std::to_string(mSettings.port) + "; --port names another."));
    }
    if (mLost > 0) {
        onProblem(mPath + " lacks " + bytesText(mLost) + " that were sent.");
    }
    if (mDamaged > 0) {
        onProblem(mPath + " has " + bytesText(mDamaged) + " of no message.");
    }
}

void Recording::opened(const sStream& stream, const std::vector<std::string>& comments, int64_t timeNs)
{
    ++mStreamsSeen;
    const cStreamPairs::sPart* part = mPairs.opened(stream, comments);
    if (part == nullptr || !part->isFirst) {
        return;
    }
    Session& session = mSessions[part->connection];
    session.connection = std::make_shared<Connection>();
    *session.connection = {part->connection, mReader->interfaces()[mPacket.interface].name, stream.client,
                           stream.server, stream.isWhole};
    push(RecordedItem::OPENED, session, eDirection::TO_SERVER, timeNs);
}

/// The connection, if what side @p from of @p stream does counts; else null.
Recording::Session* Recording::sessionOf(const sStream& stream, cTcpStreams::eSide from)
{
    const cStreamPairs::sPart* part = mPairs.find(stream);
    return part != nullptr && part->counts(from) ? &mSessions.at(part->connection) : nullptr;
}

void Recording::received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                         int64_t timeNs)
{
    Session* const session = sessionOf(stream, from);
    if (session == nullptr) {
        return;
    }
    const eDirection direction = directionFrom(from);
    if (mSettings.withBytes) {
        RecordedItem* item = push(RecordedItem::BYTES, *session, direction, timeNs);
        item->bytes.assign(bytes.begin(), bytes.end());
        mItemBytes += bytes.size();
    }
    MessageFinder& finder = session->lanes[index(direction)].finder;
    mBegun -= finder.begun();
    read(session, direction, bytes, timeNs);
    if (mBegun + finder.begun() > kMaxBegun) {
        abandon(session, direction, timeNs);
    }
    mBegun += finder.begun();
}

void Recording::read(Session* session, eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs)
{
    Lane& lane = session->lanes[index(direction)];
    lane.received += bytes.size();
    for (WMsg message; lane.finder.next(&bytes, &message); message = WMsg()) {
        lane.decided = lane.received - bytes.size() - lane.finder.begun();
        tellDamaged(session, direction, timeNs);
        take(session, direction, std::move(message), timeNs);
    }
    lane.decided = lane.received - lane.finder.begun();
    tellDamaged(session, direction, timeNs);
}

void Recording::take(Session* session, eDirection direction, WMsg message, int64_t timeNs)
{
    if (direction == eDirection::TO_SERVER && !session->connection->deviceSerial) {
        learnDevice(session->connection.get(), message);
    }
    RecordedItem* item = push(RecordedItem::MESSAGE, *session, direction, timeNs);
    mItemBytes += message.payload.size();
    item->message = std::move(message);
    item->number = ++session->messages;
    if (asks(*item)) {
        ask(&session->lanes[index(direction)], *item);
    } else if (item->message.answer) {
        auto& asked = session->lanes[index(opposite(direction))].asked;
        if (const auto question = asked.find(keyOf(item->message)); question != asked.end()) {
            item->question = question->second;
            asked.erase(question);
            --mAsked;
        }
    }
}

/// Remembers the message until it is answered.
void Recording::ask(Lane* lane, const RecordedItem& item)
{
    const uint16_t key = keyOf(item.message);
    if (mAsked >= kMaxAsked && !lane->asked.contains(key)) {
        mAsked -= lane->asked.size();
        lane->asked.clear();
    }
    const Question question{item.number, item.timeNs, item.message.type};
    mAsked += lane->asked.insert_or_assign(key, question).second ? 1 : 0;
}

void Recording::learnDevice(Connection* connection, const WMsg& message)
{
    if (zulcommand::readRecords(message.payload, &mRecords)) {
        connection->deviceSerial = zulcommand::deviceSerialIn(mRecords);
    }
}

/// What has been begun in this direction will not be finished.
void Recording::abandon(Session* session, eDirection direction, int64_t timeNs)
{
    Lane& lane = session->lanes[index(direction)];
    lane.finder.abandon();
    lane.decided = lane.received;
    tellDamaged(session, direction, timeNs);
}

void Recording::tellDamaged(Session* session, eDirection direction, int64_t timeNs)
{
    if (const uint64_t damaged = session->lanes[index(direction)].finder.takeDamaged(); damaged > 0) {
        push(RecordedItem::DAMAGED, *session, direction, timeNs)->size = damaged;
        mDamaged += damaged;
    }
}

void Recording::lost(const sStream& stream, cTcpStreams::eSide from, uint64_t bytes, int64_t timeNs)
{
    if (Session* const session = sessionOf(stream, from)) {
        const eDirection direction = directionFrom(from);
        mBegun -= session->lanes[index(direction)].finder.begun();
        abandon(session, direction, timeNs);
        push(RecordedItem::LOST, *session, direction, timeNs)->size = bytes;
        mLost += bytes;
    }
}

void Recording::ended(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs)
{
    if (const Session* const session = sessionOf(stream, from)) {
        push(RecordedItem::ENDED, *session, directionFrom(from), timeNs);
    }
}

void Recording::wasReset(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs)
{
    if (const Session* const session = sessionOf(stream, from)) {
        push(RecordedItem::RESET, *session, directionFrom(from), timeNs);
    }
}

void Recording::closed(const sStream& stream, int64_t timeNs)
{
    const std::optional<uint64_t> over = mPairs.closed(stream);
    const auto found = over ? mSessions.find(*over) : mSessions.end();
    if (found == mSessions.end()) {
        return;
    }
    Session& session = found->second;
    for (const eDirection direction : zulcommand::kDirections) {
        mAsked -= session.lanes[index(direction)].asked.size();
        mBegun -= session.lanes[index(direction)].finder.begun();
        if (mIsAtEnd) {
            tellDamaged(&session, direction, timeNs); // the message that was begun is merely not recorded
        } else {
            abandon(&session, direction, timeNs);
        }
    }
    session.connection->isOver = true;
    push(RecordedItem::CLOSED, session, eDirection::TO_SERVER, timeNs);
    mSessions.erase(found);
}

RecordedItem* Recording::push(RecordedItem::eKind kind, const Session& session, eDirection direction,
                              int64_t timeNs)
{
    RecordedItem& item = mItems.emplace_back();
    item.kind = kind;
    item.direction = direction;
    item.connection = session.connection;
    item.timeNs = timeNs;
    item.end = session.lanes[index(direction)].decided;
    return &item;
}

} // namespace capture
