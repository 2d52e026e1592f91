#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <random>
#include <vector>

#include "faults.h"
#include "segmentcutter.h"

enum class eOutage
{
    NONE,
    RESET,
    CLOSE,
    SILENCE
};

/// Carries the bytes of one direction of a connection, and damages them on the way.
class FaultLane
{
public:
    /// The connection that a lane belongs to.
    class Owner : public std::enable_shared_from_this<Owner>
    {
    public:
        virtual ~Owner() = default;
        virtual void outage(eOutage kind) = 0;

        /// One of the two sides is gone.
        virtual void broken() = 0;

        /// The sender has ended in good order, and all that it sent has passed.
        virtual void laneDrained(FaultLane& lane) = 0;

        /// Nothing passes any more, be it for silence or because the connection has ended.
        virtual bool quiet() const = 0;
    };

    struct Ends
    {
        boost::asio::ip::tcp::socket& from;
        boost::asio::ip::tcp::socket& to;
        bool towardServer;
    };

    /// Everything is borrowed; @p faults may change between two segments.
    FaultLane(const Ends& ends, uint64_t connection, const Faults& faults, FaultCounts& counts, Owner& owner);

    void start() { read(); }
    void stop() { mTimer.cancel(); }
    const Ends& ends() const { return mEnds; }

private:
    using Clock = std::chrono::steady_clock;
    using Bytes = std::vector<uint8_t>;

    struct Chunk
    {
        Bytes bytes;
        Clock::time_point due;
        eOutage after;
    };

    void read();
    void received(const boost::system::error_code& error, size_t size);
    void take(Bytes segment);
    void suffer(double drawn, Bytes segment);
    void corrupt(Bytes* segment);
    void pass(Bytes bytes, eOutage after = eOutage::NONE);
    void passHalf(Bytes segment, eOutage after);

    void writeNext();
    void written(const boost::system::error_code& error, size_t size);
    void finishChunk();
    size_t nextWriteSize() const;
    size_t cutOfFront() const;
    void continueAt(Clock::time_point time);
    double draw() { return std::uniform_real_distribution<double>(0, 1)(mRandom); }

    const Ends mEnds;
    const Faults& mFaults;
    FaultCounts& mCounts;
    Owner& mOwner;
    boost::asio::steady_timer mTimer;
    std::mt19937_64 mRandom;

    std::array<uint8_t, 16384> mReceived{};
    SegmentCutter mCutter;
    bool mHeld = false; ///< too much waits to be written: nothing is read
    bool mEnded = false;

    std::deque<Chunk> mChunks;
    size_t mWaiting = 0; ///< bytes in mChunks
    size_t mWritten = 0; ///< bytes of the front
    size_t mPassed = 0;  ///< chunks before the front
    bool mBusy = false;  ///< a write or a pause is under way
    Clock::time_point mLastDue;
};
