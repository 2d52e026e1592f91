#include "wmsg/wmsgreader.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "hexbytes.h"
#include "wmsg/wbytes.h"

namespace {

using Bytes = std::vector<uint8_t>;

WMsg patternedMessage(uint8_t type, uint8_t seq, size_t payload, bool answer = false)
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.answer = answer;
    message.event = type == 3;
    for (size_t i = 0; i < payload; ++i) {
        message.payload.push_back(static_cast<uint8_t>(i * 7 + seq));
    }
    return message;
}

Bytes segmentOf(const WMsg& message, size_t segment)
{
    Bytes frame;
    message.segmentMessage(segment, frame);
    return frame;
}

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

bool sameMessage(const WMsg& left, const WMsg& right)
{
    return left.type == right.type && left.seq == right.seq && left.answer == right.answer &&
           left.event == right.event && left.control == right.control && left.payload == right.payload;
}

// Damage, one verb each. "seal" makes the checksum fit again, so that only the field itself is at fault.
Bytes seal(Bytes segment)
{
    wmsg::put32(segment.data() + 12, 0);
    const uint64_t sum = wmsg::checksumAdd(0, segment);
    wmsg::put32(segment.data() + 12, wmsg::checksumFinish(sum));
    return segment;
}

Bytes setByte(Bytes segment, size_t at, uint8_t value)
{
    segment.at(at) = value;
    return segment;
}

Bytes flipBit(Bytes segment, size_t at, int bit)
{
    segment.at(at) = static_cast<uint8_t>(segment.at(at) ^ (1U << bit));
    return segment;
}

Bytes announceLength(Bytes segment, uint32_t length)
{
    wmsg::put32(segment.data() + 8, length);
    return segment;
}

/// A reader, and what came out of it.
struct Reading
{
    WMsgReader::eResult feed(const Bytes& bytes, int64_t nowMs = 0)
    {
        const uint8_t* data = bytes.data();
        size_t size = bytes.size();
        for (;;) {
            WMsg message;
            const WMsgReader::eResult result = reader.read(&data, &size, nowMs, &message);
            if (result != WMsgReader::MESSAGE) {
                return result;
            }
            messages.push_back(message);
        }
    }

    void feedInPieces(const Bytes& bytes, size_t piece)
    {
        for (size_t at = 0; at < bytes.size(); at += piece) {
            const size_t end = std::min(bytes.size(), at + piece);
            ASSERT_EQ(feed(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                 bytes.begin() + static_cast<std::ptrdiff_t>(end))),
                      WMsgReader::MORE);
        }
    }

    WMsgReader reader;
    std::vector<WMsg> messages;
};

void expectMessages(const Reading& reading, const std::vector<WMsg>& expected)
{
    ASSERT_EQ(reading.messages.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_TRUE(sameMessage(reading.messages[i], expected[i])) << "message " << i;
    }
}

void expectBroken(const Bytes& bytes, const char* field, size_t messages = 0)
{
    Reading reading;
    EXPECT_EQ(reading.feed(bytes), WMsgReader::BROKEN);
    EXPECT_STREQ(reading.reader.status().field(), field);
    EXPECT_EQ(reading.messages.size(), messages);
}

std::vector<WMsg> severalMessages()
{
    return {patternedMessage(1, 1, 0),          WMsg::ping(false), patternedMessage(3, 2, 1),
            patternedMessage(0, 3, 5000, true), WMsg::ping(true),  patternedMessage(255, 4, 2032)};
}

Bytes streamOf(const std::vector<WMsg>& messages)
{
    Bytes bytes;
    for (const WMsg& message : messages) {
        message.appendFrames(bytes);
    }
    return bytes;
}

TEST(WMsgReaderTest, ReadsTheMessagesOfAStream)
{
    Reading reading;
    EXPECT_EQ(reading.feed(streamOf(severalMessages())), WMsgReader::MORE);
    expectMessages(reading, severalMessages());
}

TEST(WMsgReaderTest, EveryCutPointDecodesTheSame)
{
    const Bytes stream = streamOf(severalMessages());
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        SCOPED_TRACE(cut);
        const auto middle = stream.begin() + static_cast<std::ptrdiff_t>(cut);
        Reading reading;
        reading.feed(Bytes(stream.begin(), middle));
        reading.feed(Bytes(middle, stream.end()));
        expectMessages(reading, severalMessages());
        if (HasFailure()) {
            return;
        }
    }
}

TEST(WMsgReaderTest, PiecesOfAnySizeDecodeTheSame)
{
    for (const size_t piece : {1000U, 100U, 50U, 20U, 10U, 1U}) {
        SCOPED_TRACE(piece);
        Reading reading;
        reading.feedInPieces(streamOf(severalMessages()), piece);
        expectMessages(reading, severalMessages());
    }
}

TEST(WMsgReaderTest, EverySegmentBoundaryDecodesTheSame)
{
    for (const size_t payload : {0U, 1U, 2031U, 2032U, 2033U, 4063U, 4064U, 4065U}) {
        SCOPED_TRACE(payload);
        Reading reading;
        reading.feed(framesOf(patternedMessage(1, 9, payload)));
        expectMessages(reading, {patternedMessage(1, 9, payload)});
    }
}

TEST(WMsgReaderTest, EveryTypeAndSequenceNumberArrives)
{
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<uint8_t>(value);
        Reading reading;
        reading.feed(framesOf(patternedMessage(byte, static_cast<uint8_t>(255 - value), 3)));
        expectMessages(reading, {patternedMessage(byte, static_cast<uint8_t>(255 - value), 3)});
    }
}

TEST(WMsgReaderTest, StopsAfterEachMessage)
{
    const Bytes stream = streamOf({patternedMessage(1, 1, 4), patternedMessage(1, 2, 0)});
    const uint8_t* data = stream.data();
    size_t size = stream.size();
    WMsgReader reader;
    WMsg message;
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE);
    EXPECT_EQ(message.seq, 1);
    EXPECT_EQ(size, wmsg::kHeaderSize) << "the second message is untouched";
    EXPECT_EQ(data, stream.data() + wmsg::kHeaderSize + 4);
    EXPECT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE);
    EXPECT_EQ(message.seq, 2);
    EXPECT_EQ(size, 0U);
}

TEST(WMsgReaderTest, PingMayStandBetweenTwoSegments)
{
    const WMsg message = patternedMessage(1, 5, 3000);
    Reading reading;
    reading.feed(segmentOf(message, 0) + framesOf(WMsg::ping(false)) + framesOf(WMsg::ping(true)) +
                 segmentOf(message, 1));
    expectMessages(reading, {WMsg::ping(false), WMsg::ping(true), message});
}

TEST(WMsgReaderTest, UnknownControlMessageArrivesAsSuch)
{
    WMsg control = WMsg::ping(false);
    control.type = 77;
    Reading reading;
    reading.feed(framesOf(control));
    expectMessages(reading, {control});
}

TEST(WMsgReaderTest, NamesTheHeaderFieldAtFault)
{
    const Bytes good = framesOf(patternedMessage(1, 5, 20));
    struct Row
    {
        const char* name;
        Bytes bytes;
        const char* field;
    };
    const Row rows[] = {
        {"first magic byte", seal(setByte(good, 0, 0x5B)), "magic"},
        {"second magic byte", seal(setByte(good, 1, 0)), "magic"},
        {"version 0", seal(setByte(good, 2, 0)), "protocol version"},
        {"version 2", seal(setByte(good, 2, 2)), "protocol version"},
        {"unknown flag 0x10", seal(setByte(good, 3, 0x18)), "flags"},
        {"unknown flag 0x80", seal(setByte(good, 3, 0x88)), "flags"},
        {"begins with segment 1", seal(setByte(good, 7, 1)), "segment number"},
        {"begins with segment 256", seal(setByte(good, 6, 1)), "segment number"},
        {"one byte too long", announceLength(good, 2033), "payload length"},
        {"four gigabytes", announceLength(good, 0xFFFFFFFF), "payload length"},
        {"another type", setByte(good, 4, 2), "checksum"},
        {"another sequence number", setByte(good, 5, 6), "checksum"},
        {"another checksum", setByte(good, 15, static_cast<uint8_t>(good[15] + 1)), "checksum"},
        {"another payload", setByte(good, 20, 0xEE), "checksum"},
        {"control with a payload", seal(setByte(good, 3, 0x0C)), "payload length"},
        {"control of several segments", seal(setByte(framesOf(WMsg::ping(false)), 3, 0x04)),
         "segment number"},
        {"control with a segment number", seal(setByte(framesOf(WMsg::ping(false)), 7, 1)), "segment number"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        expectBroken(row.bytes, row.field);
    }
}

TEST(WMsgReaderTest, EveryFlippedBitIsNoticed)
{
    const Bytes good = framesOf(patternedMessage(1, 5, 20));
    for (size_t at = 0; at < good.size(); ++at) {
        for (int bit = 0; bit < 8; ++bit) {
            SCOPED_TRACE(std::to_string(at) + "." + std::to_string(bit));
            Reading reading;
            // A length that grew makes the reader wait for the rest, which is never a message either.
            const WMsgReader::eResult result = reading.feed(flipBit(good, at, bit));
            EXPECT_TRUE(reading.messages.empty());
            EXPECT_TRUE(result == WMsgReader::BROKEN || (at >= 8 && at < 12));
        }
    }
}

TEST(WMsgReaderTest, SegmentNumbersRunWithoutAGap)
{
    const WMsg message = patternedMessage(1, 5, 6000);
    expectBroken(segmentOf(message, 0) + segmentOf(message, 2), "segment number");
    expectBroken(segmentOf(message, 0) + segmentOf(message, 0), "segment number");
    expectBroken(segmentOf(message, 0) + segmentOf(message, 1) + segmentOf(message, 1), "segment number");
    expectBroken(segmentOf(message, 0) + framesOf(patternedMessage(1, 6, 0)), "segment number");
}

TEST(WMsgReaderTest, SegmentOfAnotherMessageIsRefused)
{
    const WMsg message = patternedMessage(1, 5, 3000);
    WMsg event = message;
    event.event = true;
    expectBroken(segmentOf(message, 0) + segmentOf(patternedMessage(1, 6, 3000), 1), "segment");
    expectBroken(segmentOf(message, 0) + segmentOf(patternedMessage(0, 5, 3000), 1), "segment");
    expectBroken(segmentOf(message, 0) + segmentOf(patternedMessage(1, 5, 3000, true), 1), "segment");
    expectBroken(segmentOf(message, 0) + segmentOf(event, 1), "segment");
}

TEST(WMsgReaderTest, BytesOfAMessageAreLimited)
{
    for (const size_t size :
         {wmsg::kMaxMessageBytes - 1, wmsg::kMaxMessageBytes, wmsg::kMaxMessageBytes + 1}) {
        SCOPED_TRACE(size);
        Reading reading;
        const bool permitted = size <= wmsg::kMaxMessageBytes;
        EXPECT_EQ(reading.feed(framesOf(patternedMessage(1, 1, size))),
                  permitted ? WMsgReader::MORE : WMsgReader::BROKEN);
        EXPECT_EQ(reading.messages.size(), permitted ? 1U : 0U);
        EXPECT_STREQ(reading.reader.status().field(), permitted ? nullptr : "payload length");
    }
}

Bytes emptySegments(size_t count)
{
    Bytes bytes;
    const Bytes last = framesOf(patternedMessage(1, 5, 0));
    for (size_t i = 0; i < count; ++i) {
        Bytes segment = i + 1 == count ? last : setByte(last, 3, 0);
        wmsg::put16(segment.data() + 6, static_cast<uint16_t>(i));
        bytes = bytes + seal(segment);
    }
    return bytes;
}

TEST(WMsgReaderTest, SegmentsOfAMessageAreLimitedEmptyOnesToo)
{
    for (const size_t count : {wmsg::kMaxSegments - 1, wmsg::kMaxSegments, wmsg::kMaxSegments + 1}) {
        SCOPED_TRACE(count);
        Reading reading;
        const bool permitted = count <= wmsg::kMaxSegments;
        EXPECT_EQ(reading.feed(emptySegments(count)), permitted ? WMsgReader::MORE : WMsgReader::BROKEN);
        EXPECT_EQ(reading.messages.size(), permitted ? 1U : 0U);
        EXPECT_STREQ(reading.reader.status().field(), permitted ? nullptr : "segment number");
    }
}

TEST(WMsgReaderTest, AgeOfAMessageIsLimited)
{
    const WMsg message = patternedMessage(1, 5, 3000);
    for (const int64_t age : {wmsg::kMaxAgeMs - 1, wmsg::kMaxAgeMs, wmsg::kMaxAgeMs + 1}) {
        SCOPED_TRACE(age);
        Reading reading;
        reading.feed(segmentOf(message, 0), 50);
        const bool permitted = age <= wmsg::kMaxAgeMs;
        EXPECT_EQ(reading.reader.overdue(50 + age), !permitted);
        EXPECT_EQ(reading.feed(segmentOf(message, 1), 50 + age),
                  permitted ? WMsgReader::MORE : WMsgReader::BROKEN);
        EXPECT_EQ(reading.messages.size(), permitted ? 1U : 0U);
    }
}

TEST(WMsgReaderTest, AgeCountsFromTheFirstByteWhateverComesAfter)
{
    const WMsg message = patternedMessage(1, 5, 3000);
    Reading reading;
    reading.feed(segmentOf(message, 0), 0);
    EXPECT_EQ(reading.feed(framesOf(WMsg::ping(false)), wmsg::kMaxAgeMs - 100), WMsgReader::MORE);
    EXPECT_EQ(reading.feed(segmentOf(message, 1), wmsg::kMaxAgeMs + 1), WMsgReader::BROKEN);
}

TEST(WMsgReaderTest, OneByteBeginsAMessage)
{
    Reading reading;
    reading.feed({0x5A}, 0);
    EXPECT_FALSE(reading.reader.overdue(wmsg::kMaxAgeMs));
    EXPECT_TRUE(reading.reader.overdue(wmsg::kMaxAgeMs + 1));
}

TEST(WMsgReaderTest, IdleReaderDoesNotAge)
{
    Reading reading;
    EXPECT_FALSE(reading.reader.overdue(1000000000));
    reading.feed(framesOf(patternedMessage(1, 1, 10)), 0);
    reading.feed(framesOf(WMsg::ping(false)), 10);
    EXPECT_FALSE(reading.reader.overdue(1000000000));
    EXPECT_EQ(reading.feed(framesOf(patternedMessage(1, 2, 10)), 1000000000), WMsgReader::MORE);
    EXPECT_EQ(reading.messages.size(), 3U);
}

TEST(WMsgReaderTest, MemoryGrowsWithTheBytesReceived)
{
    Reading reading;
    reading.feed(segmentOf(patternedMessage(1, 5, 2033), 0));
    reading.feed(segmentOf(patternedMessage(1, 5, 2033), 1));
    ASSERT_EQ(reading.messages.size(), 1U);
    EXPECT_LE(reading.messages[0].payload.capacity(), 2U * 2033U);
}

TEST(WMsgReaderTest, MemoryNeverExceedsTheLargestMessage)
{
    const Bytes bytes = framesOf(patternedMessage(1, 1, wmsg::kMaxMessageBytes));
    const uint8_t* data = bytes.data();
    size_t size = bytes.size();
    WMsgReader reader;
    WMsg message;
    ASSERT_EQ(reader.read(&data, &size, 0, &message), WMsgReader::MESSAGE);
    EXPECT_LE(message.payload.capacity(), wmsg::kMaxMessageBytes);
}

TEST(WMsgReaderTest, BrokenStaysBroken)
{
    Reading reading;
    EXPECT_EQ(reading.feed(setByte(framesOf(patternedMessage(1, 5, 20)), 0, 0)), WMsgReader::BROKEN);
    const std::string why = reading.reader.status().text();
    EXPECT_EQ(reading.feed(framesOf(patternedMessage(1, 5, 20))), WMsgReader::BROKEN);
    EXPECT_EQ(reading.feed({}), WMsgReader::BROKEN);
    EXPECT_EQ(reading.reader.status().text(), why);
    EXPECT_TRUE(reading.messages.empty());
}

TEST(WMsgReaderTest, MessagesBeforeTheFaultArrive)
{
    expectBroken(framesOf(patternedMessage(1, 1, 3)) + Bytes(16, 'x'), "magic", 1);
}

} // namespace
