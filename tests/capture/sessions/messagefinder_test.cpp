// Messages in bytes that are damaged, missing or cut anywhere.

#include <gtest/gtest.h>

#include "capture/sessions/messagefinder.h"
#include "messages.h"

namespace {

using capture::MessageFinder;
using Bytes = std::vector<uint8_t>;

Bytes operator+(Bytes first, const Bytes& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// A message of three segments.
Bytes longMessage(uint8_t seq)
{
    WMsg message = messageOf(3, seq);
    message.payload.assign(2 * wmsg::kMaxSegmentPayload + 10, 0x5A);
    return framesOf(message);
}

class MessageFinderTest : public testing::Test
{
protected:
    /// Feeds @p bytes in pieces of @p size; keeps the sequence numbers found, pings as -1.
    void feed(const Bytes& bytes, size_t size = SIZE_MAX)
    {
        WMsg message;
        for (std::span<const uint8_t> left = bytes; !left.empty();) {
            std::span<const uint8_t> piece = left.first(std::min(size, left.size()));
            left = left.subspan(piece.size());
            while (mFinder.next(&piece, &message)) {
                mFound.push_back(message.control ? -1 : message.seq);
            }
            EXPECT_TRUE(piece.empty());
        }
    }

    MessageFinder mFinder;
    std::vector<int> mFound;
};

using Found = std::vector<int>;

TEST_F(MessageFinderTest, EveryCutGivesTheSameMessages)
{
    const Bytes bytes = inputEvent(1, 7, 1, 1) + longMessage(2) + pingMessage(false) + inputEvent(3, 7, 1, 2);
    for (const size_t size : {1, 2, 15, 16, 17, 100, 2047, 2048, 2049}) {
        mFound.clear();
        feed(bytes, size);
        EXPECT_EQ(mFound, (Found{1, 2, -1, 3})) << size;
    }
    EXPECT_EQ(mFinder.takeDamaged(), 0U);
}

TEST_F(MessageFinderTest, AMessageBehindADamagedOneIsFound)
{
    for (const size_t size : {size_t{1}, size_t{50}, SIZE_MAX}) {
        mFound.clear();
        Bytes damaged = inputEvent(1, 7, 1, 1);
        damaged[40] ^= 1;
        feed(damaged + inputEvent(2, 7, 1, 2), size);
        EXPECT_EQ(mFound, (Found{2}));
        EXPECT_EQ(mFinder.takeDamaged(), damaged.size());
    }
}

TEST_F(MessageFinderTest, ForeignBytesAreSkipped)
{
    const Bytes foreign = hexBytes("5A 57 01 00*20 47 45 54 5A 5A 57");
    feed(foreign + inputEvent(2, 7, 1, 2));
    EXPECT_EQ(mFound, (Found{2}));
    EXPECT_EQ(mFinder.takeDamaged(), foreign.size());
}

TEST_F(MessageFinderTest, ADamagedSegmentCostsItsMessage)
{
    Bytes bytes = longMessage(1);
    bytes[3000] ^= 1;
    const size_t size = bytes.size();
    feed(bytes + inputEvent(2, 7, 1, 2));
    EXPECT_EQ(mFound, (Found{2}));
    EXPECT_EQ(mFinder.takeDamaged(), size);
}

TEST_F(MessageFinderTest, APingBetweenSegmentsIsNoEndOfTheMessage)
{
    Bytes bytes = longMessage(1);
    const Bytes ping = pingMessage(false);
    bytes.insert(bytes.begin() + wmsg::kMaxSegmentSize, ping.begin(), ping.end());
    feed(bytes);
    EXPECT_EQ(mFound, (Found{-1, 1}));
    EXPECT_EQ(mFinder.begun(), 0U);
}

TEST_F(MessageFinderTest, BehindMissingBytesTheNextMessageIsFound)
{
    const Bytes bytes = longMessage(1);
    feed({bytes.begin(), bytes.begin() + 2500});
    EXPECT_EQ(mFinder.begun(), 2500U);
    mFinder.abandon();
    EXPECT_EQ(mFinder.begun(), 0U);
    EXPECT_EQ(mFinder.takeDamaged(), 2500U);
    feed(Bytes(bytes.begin() + 2600, bytes.end()) + inputEvent(2, 7, 1, 2));
    EXPECT_EQ(mFound, (Found{2}));
}

} // namespace
