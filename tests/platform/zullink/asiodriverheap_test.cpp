// How much memory a connection takes, whatever its peer sends.

#include "heapmeter.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "hexbytes.h"
#include "loopeddriver.h"
#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// One message of the largest permitted size, and 64 KiB for all the rest.
constexpr size_t kMaxBytes = wmsg::kMaxMessageBytes + 64 * 1024;

WMsg messageOf(size_t payload)
{
    WMsg message;
    message.type = 3;
    message.event = true;
    message.payload.resize(payload);
    return message;
}

/// A message whose segments have these sizes, in turn, and which never ends.
Bytes endlessSegments(size_t count, size_t payload)
{
    Bytes bytes;
    WMsg message = messageOf(payload);
    for (size_t i = 0; i < count; ++i) {
        Bytes segment = framesOf(message);
        segment[3] = wmsg::kFlagEvent;
        wmsg::put16(segment.data() + 6, static_cast<uint16_t>(i));
        wmsg::put32(segment.data() + 12, 0);
        wmsg::put32(segment.data() + 12, wmsg::checksumFinish(wmsg::checksumAdd(0, segment)));
        bytes.insert(bytes.end(), segment.begin(), segment.end());
    }
    return bytes;
}

Bytes manyTimes(const Bytes& bytes, size_t count)
{
    Bytes all;
    for (size_t i = 0; i < count; ++i) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return all;
}

Bytes noise(size_t size)
{
    std::mt19937 random(5);
    Bytes bytes(size);
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(random());
    }
    return bytes;
}

struct Input
{
    const char* name;
    Bytes bytes;
};

std::vector<Input> allKinds()
{
    return {{"pings", manyTimes(framesOf(WMsg::ping(false)), 300000)},
            {"small messages", manyTimes(framesOf(messageOf(40)), 50000)},
            {"a message of 64 KiB", framesOf(messageOf(65536))},
            {"the largest message", manyTimes(framesOf(messageOf(wmsg::kMaxMessageBytes)), 3)},
            {"a message too large", framesOf(messageOf(wmsg::kMaxMessageBytes + 1))},
            {"half of the largest message", endlessSegments(256, 2032)},
            {"small segments without an end", endlessSegments(1100, 1000)},
            {"empty segments without an end", endlessSegments(1100, 0)},
            {"four gigabytes announced", hexBytes("5a 57 01 08 01 01 00 00 ff ff ff ff 00 00 00 00")},
            {"noise", noise(100000)}};
}

} // namespace

TEST(HeapTest, whateverComesAReaderTakesOneMessageAndALittle)
{
    for (const Input& input : allKinds()) {
        SCOPED_TRACE(input.name);
        const HeapMeter meter;
        {
            WMsgReader reader;
            const uint8_t* data = input.bytes.data();
            size_t size = input.bytes.size();
            WMsg message;
            while (reader.read(&data, &size, 0, &message) == WMsgReader::MESSAGE) {
                message = WMsg();
            }
        }
        EXPECT_LE(meter.peak(), kMaxBytes);
        EXPECT_EQ(meter.now(), 0U);
    }
}

TEST(HeapTest, whateverComesAConnectionTakesOneMessageAndALittleEvenIfNothingIsRead)
{
    for (const Input& input : allKinds()) {
        SCOPED_TRACE(input.name);
        LoopedDriver first; // what the loop keeps for all connections is there from here on
        first.turn();
        const HeapMeter meter;
        LoopedDriver looped;
        looped.feed(input.bytes);
        looped.turn();
        EXPECT_LE(meter.peak(), kMaxBytes);
    }
}
