#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "proxy/faults/faultyconnection.h"

namespace proxy {

/// A recorded connection under the rules: does with recorded bytes what ProxiedConnection does with sockets.
///
/// Its receivers take everything at once. What the rules keep from being read waits.
class RecordedConnection : private FaultyConnection::Owner
{
public:
    class Owner
    {
    public:
        virtual ~Owner() = default;
        virtual void faultDone(const Fault& fault, int64_t timeNs) = 0;

        /// Told once for each direction, see FaultyConnection.
        virtual void foreignBytes(uint64_t connection, eDirection direction) = 0;
    };

    /// Everything is borrowed.
    RecordedConnection(const FaultyConnection::Shared& shared, uint64_t number, Owner* owner)
        : mOwner(owner), mNumber(number), mFaults(shared, number, this)
    {}

    // What was recorded. Times never go back.

    /// The device has connected.
    void begin(int64_t timeNs);

    /// The server was reached.
    void reached(int64_t timeNs);
    void received(eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs);
    void ended(eDirection direction, int64_t timeNs);

    /// The recording lacks bytes: what follows in this direction cannot be understood.
    void lost(eDirection direction) { mRoutes[index(direction)].isLost = true; }

    /// One side has broken the connection.
    void abandon();

    /// The time of deadline() has come.
    void advance(int64_t timeNs);
    int64_t deadline() const;

    /// A rule or a side has ended it: what was recorded behind that does not count.
    bool isOver() const { return mIsOver; }

    /// Bytes that wait to be read.
    size_t waiting() const { return mWaiting; }

    /// Reads what waits as if the time had come for it.
    void readAll();

    uint64_t number() const { return mNumber; }

private:
    struct Piece
    {
        std::vector<uint8_t> bytes; ///< none for the end
    };

    /// One direction.
    struct Route
    {
        std::deque<Piece> pieces; ///< that wait to be read
        bool isLost = false;
    };

    static size_t index(eDirection direction) { return static_cast<size_t>(direction); }

    void faultDone(const Fault& fault) override { mOwner->faultDone(fault, mNowNs); }
    void foreignBytes(eDirection direction) override { mOwner->foreignBytes(mNumber, direction); }

    bool canRead(eDirection direction) const;
    void take(eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs);
    void read(eDirection direction, std::span<const uint8_t> bytes);
    void readWaiting();
    void proceed();
    void checkAcceptance();
    void write();

    Owner* const mOwner;
    const uint64_t mNumber;
    FaultyConnection mFaults;
    std::array<Route, 2> mRoutes;
    int64_t mNowNs = INT64_MIN;
    size_t mWaiting = 0;
    bool mServerIsThere = false;
    bool mIsReached = false;
    bool mIsOver = false;
};

} // namespace proxy
