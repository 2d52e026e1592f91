#include "faultlane.h"

#include <algorithm>
#include <boost/asio/write.hpp>
#include <utility>

#include "wmsg/wmsg.h"

namespace {

constexpr size_t kMaxWaiting = 256 * 1024;

std::mt19937_64 randomFor(uint64_t seed, uint64_t connection, bool towardServer)
{
    std::seed_seq all{static_cast<uint32_t>(seed), static_cast<uint32_t>(seed >> 32),
                      static_cast<uint32_t>(connection), static_cast<uint32_t>(towardServer)};
    return std::mt19937_64(all);
}

std::chrono::nanoseconds millisecondsOf(double count)
{
    return std::chrono::nanoseconds(static_cast<int64_t>(count * 1e6));
}

} // namespace

FaultLane::FaultLane(const Ends& ends, uint64_t connection, const Faults& faults, FaultCounts& counts,
                     Owner& owner)
    : mEnds(ends),
      mFaults(faults),
      mCounts(counts),
      mOwner(owner),
      mTimer(ends.from.get_executor()),
      mRandom(randomFor(faults.seed, connection, ends.towardServer))
{}

void FaultLane::read()
{
    mEnds.from.async_read_some(boost::asio::buffer(mReceived), [this, owner = mOwner.shared_from_this()](
                                                                   const boost::system::error_code& error,
                                                                   size_t size) { received(error, size); });
}

void FaultLane::received(const boost::system::error_code& error, size_t size)
{
    if (mOwner.quiet()) {
        return;
    }
    if (error && error != boost::asio::error::eof) {
        mOwner.broken();
        return;
    }
    mCutter.add(mReceived.data(), size);
    Bytes segment;
    while (mCutter.next(&segment)) {
        take(std::move(segment));
    }
    if (error) {
        mEnded = true;
        pass(mCutter.rest());
        return;
    }
    mHeld = mWaiting > kMaxWaiting;
    if (!mHeld) {
        read();
    }
}

void FaultLane::take(Bytes segment)
{
    ++mCounts.segments;
    mCounts.bytes += segment.size();
    const double drawn = draw();
    if (mFaults.towardServerOnly && !mEnds.towardServer) {
        pass(std::move(segment));
    } else {
        suffer(drawn, std::move(segment));
    }
}

/// @p drawn picks one of the faults, or none.
void FaultLane::suffer(double drawn, Bytes segment)
{
    const auto falls = [&drawn](double chance) { return (drawn -= chance) < 0; };
    if (falls(mFaults.corrupt)) {
        ++mCounts.corrupted;
        corrupt(&segment);
        pass(std::move(segment));
    } else if (falls(mFaults.duplicate)) {
        ++mCounts.duplicated;
        pass(segment);
        pass(std::move(segment));
    } else if (falls(mFaults.drop)) {
        ++mCounts.dropped;
    } else if (falls(mFaults.stall)) {
        ++mCounts.stalled;
        mLastDue = std::max(mLastDue, Clock::now()) + std::chrono::milliseconds(mFaults.stallMs);
        pass(std::move(segment));
    } else if (falls(mFaults.reset)) {
        passHalf(std::move(segment), eOutage::RESET);
    } else if (falls(mFaults.close)) {
        passHalf(std::move(segment), eOutage::CLOSE);
    } else if (falls(mFaults.silence)) {
        passHalf(std::move(segment), eOutage::SILENCE);
    } else {
        pass(std::move(segment));
    }
}

/// A burst that the checksum promises to notice: no more than 32 bits in a row, each byte another one.
void FaultLane::corrupt(Bytes* segment)
{
    const size_t first = mRandom() % segment->size();
    const size_t end = std::min<size_t>(segment->size(), first + 1 + mRandom() % 4);
    for (size_t at = first; at < end; ++at) {
        (*segment)[at] = static_cast<uint8_t>((*segment)[at] ^ (1 + mRandom() % 255));
    }
}

void FaultLane::passHalf(Bytes segment, eOutage after)
{
    segment.resize(segment.size() / 2);
    pass(std::move(segment), after);
}

void FaultLane::pass(Bytes bytes, eOutage after)
{
    const auto delay =
        millisecondsOf(mFaults.delayMs + (mFaults.jitterMs > 0 ? mFaults.jitterMs * draw() : 0));
    mLastDue = std::max(mLastDue, Clock::now() + delay);
    mWaiting += bytes.size();
    mChunks.push_back({std::move(bytes), mLastDue, after});
    writeNext();
}

void FaultLane::writeNext()
{
    if (mBusy || mOwner.quiet()) {
        return;
    }
    if (mChunks.empty()) {
        if (mEnded) {
            mOwner.laneDrained(*this);
        }
        return;
    }
    const Chunk& front = mChunks.front();
    if (front.due > Clock::now()) {
        continueAt(front.due);
        return;
    }
    mBusy = true;
    boost::asio::async_write(
        mEnds.to, boost::asio::buffer(front.bytes.data() + mWritten, nextWriteSize()),
        [this, owner = mOwner.shared_from_this()](const boost::system::error_code& error, size_t size) {
            written(error, size);
        });
}

size_t FaultLane::nextWriteSize() const
{
    const size_t left = mChunks.front().bytes.size() - mWritten;
    if (cutOfFront() > mWritten) {
        return std::min(left, cutOfFront() - mWritten);
    }
    return mFaults.sliceBytes > 0 ? std::min(left, mFaults.sliceBytes) : left;
}

size_t FaultLane::cutOfFront() const
{
    return mFaults.sweepCut ? mPassed % wmsg::kMaxSegmentSize : mFaults.cutAt;
}

void FaultLane::written(const boost::system::error_code& error, size_t size)
{
    mBusy = false;
    if (mOwner.quiet()) {
        return;
    }
    if (error) {
        mOwner.broken();
        return;
    }
    mWritten += size;
    if (mWritten == mChunks.front().bytes.size()) {
        finishChunk();
        if (mOwner.quiet()) {
            return;
        }
    }
    std::chrono::nanoseconds pause = std::chrono::microseconds(mFaults.gapMicroseconds);
    if (mFaults.bytesPerSecond > 0) {
        pause += std::chrono::nanoseconds(size * 1000000000 / mFaults.bytesPerSecond);
    }
    if (pause.count() > 0) {
        continueAt(Clock::now() + pause);
    } else {
        writeNext();
    }
}

void FaultLane::finishChunk()
{
    const eOutage after = mChunks.front().after;
    mWaiting -= mWritten;
    mWritten = 0;
    ++mPassed;
    mChunks.pop_front();
    if (after != eOutage::NONE) {
        mOwner.outage(after);
    } else if (mHeld && mWaiting <= kMaxWaiting / 2) {
        mHeld = false;
        read();
    }
}

void FaultLane::continueAt(Clock::time_point time)
{
    mBusy = true;
    mTimer.expires_at(time);
    mTimer.async_wait([this, owner = mOwner.shared_from_this()](const boost::system::error_code&) {
        mBusy = false;
        writeNext();
    });
}
