// How often the codec takes memory when the same things are done again.

#include "heapmeter.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "wmsg/wmsgreader.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kRecords = 64;

cObjectDInput input(uint32_t port, const std::string& label)
{
    cObjectDInput record;
    record.setDeviceSerial(1001);
    record.setPortId(port);
    record.setPortLabel((label + std::to_string(port)).c_str());
    return record;
}

std::vector<cObjectDInput> inputs(const std::string& label)
{
    std::vector<cObjectDInput> records;
    for (uint32_t port = 1; port <= kRecords; ++port) {
        records.push_back(input(port, label));
    }
    return records;
}

/// What a server or a device does with one message after the other.
struct Road
{
    explicit Road(const std::string& label) : records(inputs(label)) {}

    void send()
    {
        sent.deleteObjects();
        for (const cObjectDInput& record : records) {
            sent.add(record.clone());
        }
        ASSERT_TRUE(sent.encode(&message).isOk());
        frames.clear();
        message.appendFrames(frames);
    }

    void receive()
    {
        const uint8_t* data = frames.data();
        size_t size = frames.size();
        ASSERT_EQ(reader.read(&data, &size, 0, &arrived), WMsgReader::MESSAGE);
        ASSERT_EQ(arrived.payload, message.payload);
        ASSERT_TRUE(received.decode(arrived).isOk());
        ASSERT_EQ(received.size(), kRecords);
    }

    std::vector<cObjectDInput> records;
    cObjectList sent;
    WMsg message;
    std::vector<uint8_t> frames;
    WMsgReader reader;
    WMsg arrived;
    cObjectList received;
};

} // namespace

TEST(HeapUseTest, aMessageTakesAtMostThreePiecesOfMemoryARecord)
{
    for (const char* label : {"Input ", "A label that is longer than those which lie in their records "}) {
        SCOPED_TRACE(label);
        Road road(label);
        road.send();
        const HeapMeter meter;
        road.send();
        EXPECT_LE(meter.taken(), 3 * kRecords + 16);
    }
}

TEST(HeapUseTest, theSecondMessageOfAKindIsReceivedInTheMemoryOfTheFirst)
{
    for (const char* label : {"Input ", "A label that is longer than those which lie in their records "}) {
        SCOPED_TRACE(label);
        Road road(label);
        road.send();
        road.receive();
        road.receive(); // the reader has now had both of the messages that it goes on with
        const HeapMeter meter;
        for (int round = 0; round < 10; ++round) {
            road.receive();
        }
        EXPECT_LE(meter.taken(), 10U) << "no more than a piece a message";
    }
}

TEST(HeapUseTest, aReaderLeavesALargeMessagesMemoryToItsCaller)
{
    WMsg large;
    large.payload.resize(wmsg::kMaxMessageBytes);
    std::vector<uint8_t> frames;
    large.appendFrames(frames);
    const HeapMeter meter;
    WMsgReader reader;
    WMsg arrived;
    for (int round = 0; round < 3; ++round) {
        const uint8_t* data = frames.data();
        size_t size = frames.size();
        ASSERT_EQ(reader.read(&data, &size, 0, &arrived), WMsgReader::MESSAGE);
    }
    arrived = WMsg();
    EXPECT_LT(meter.now(), WMsgReader::kMaxDoubled + 4096) << "the reader itself has next to nothing";
}
