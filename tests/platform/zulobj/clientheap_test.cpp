// How much memory a client takes.

#include <gtest/gtest.h>

#include "clientmessages.h"
#include "heapmeter.h"
#include "linkpeer.h"

namespace {

TEST(ClientHeapTest, EventsThatWaitTakeTheirBytesAndNoMore)
{
    const ClosedPort closed;
    cObjectClient::Settings settings = quickSettings();
    settings.queueBytes = 256 * 1024;
    cObjectClient client(settings);
    EXPECT_FALSE(client.start("127.0.0.1", closed.port()));
    const HeapMeter meter;
    for (uint32_t id = 1; id <= 10000; ++id) {
        sendEvent(&client, id, "some text");
    }
    EXPECT_GT(meter.now(), settings.queueBytes / 4) << "they do wait";
    EXPECT_LE(meter.now(), settings.queueBytes * 3 / 2);
    client.stop();
}

} // namespace
