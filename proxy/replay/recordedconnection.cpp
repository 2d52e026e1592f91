#include "proxy/replay/recordedconnection.h"

#include <algorithm>

namespace proxy {

void RecordedConnection::begin(int64_t timeNs)
{
    mNowNs = timeNs;
    mFaults.begin(mNowNs);
    proceed();
}

void RecordedConnection::reached(int64_t timeNs)
{
    mNowNs = std::max(mNowNs, timeNs);
    mServerIsThere = true;
    proceed();
}

void RecordedConnection::received(eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs)
{
    if (!bytes.empty()) {
        take(direction, bytes, timeNs);
    }
}

void RecordedConnection::ended(eDirection direction, int64_t timeNs) { take(direction, {}, timeNs); }

/// Reads @p bytes, of which none mean the end, now or when the rules let it.
void RecordedConnection::take(eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs)
{
    mNowNs = std::max(mNowNs, timeNs);
    Route& route = mRoutes[index(direction)];
    if (mIsOver || route.isLost) {
        return;
    }
    if (route.pieces.empty() && canRead(direction)) {
        read(direction, bytes);
        proceed();
    } else {
        route.pieces.push_back({{bytes.begin(), bytes.end()}});
        mWaiting += bytes.size();
    }
}

bool RecordedConnection::canRead(eDirection direction) const
{
    return mIsReached && !mIsOver && mFaults.wantsMore(direction);
}

void RecordedConnection::read(eDirection direction, std::span<const uint8_t> bytes)
{
    if (bytes.empty()) {
        mFaults.ended(direction, mNowNs);
    } else {
        mFaults.received(direction, bytes, mNowNs);
    }
    write(); // the bytes are borrowed only until here
}

void RecordedConnection::advance(int64_t timeNs)
{
    mNowNs = std::max(mNowNs, timeNs);
    mFaults.advance(mNowNs);
    proceed();
}

int64_t RecordedConnection::deadline() const
{
    return mIsOver ? FaultyConnection::kNever : mFaults.deadline();
}

void RecordedConnection::readAll()
{
    while (mWaiting > 0 && deadline() != FaultyConnection::kNever) {
        advance(deadline());
    }
    for (Route& route : mRoutes) {
        route.isLost = route.isLost || !route.pieces.empty(); // the rules never let it be read
        route.pieces.clear();
    }
    mWaiting = 0;
}

/// Does all that can be done now, after anything has happened.
void RecordedConnection::proceed()
{
    checkAcceptance();
    write();
    readWaiting();
    if (mFaults.end() != FaultyConnection::eEnd::NONE) {
        abandon();
    }
}

void RecordedConnection::abandon()
{
    mIsOver = true;
    mWaiting = 0;
    for (Route& route : mRoutes) {
        route.pieces.clear();
    }
}

void RecordedConnection::checkAcceptance()
{
    if (mIsReached || mIsOver) {
        return;
    }
    const auto acceptance = mFaults.acceptance();
    if (acceptance == FaultyConnection::eAcceptance::REFUSE) {
        abandon();
    } else if (acceptance == FaultyConnection::eAcceptance::CONNECT && mServerIsThere) {
        mIsReached = true;
        mFaults.reached(mNowNs);
    }
}

void RecordedConnection::readWaiting()
{
    for (const eDirection direction : kDirections) {
        std::deque<Piece>& pieces = mRoutes[index(direction)].pieces;
        while (!pieces.empty() && canRead(direction)) {
            const Piece piece = std::move(pieces.front());
            pieces.pop_front();
            mWaiting -= piece.bytes.size();
            read(direction, piece.bytes);
        }
    }
}

/// The receivers take everything at once.
void RecordedConnection::write()
{
    for (const eDirection direction : kDirections) {
        for (auto piece = mFaults.output(direction); !piece.empty(); piece = mFaults.output(direction)) {
            mFaults.written(direction, piece.size(), mNowNs);
        }
    }
}

} // namespace proxy
