// Many devices that lose the same server in the same instant.

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "caughtlog.h"
#include "linkpeer.h"
#include "zulobj/objclient.h"

TEST(ReconnectStormTest, DevicesThatAreDroppedTogetherDoNotComeBackTogether)
{
    constexpr size_t kClients = 200;
    cObjectClient::Settings settings;
    settings.startMs = 20000;
    settings.firstPauseMs = 1000000;
    settings.longestPauseMs = 10000000;
    CaughtLog log;
    LinkPeer server;
    std::vector<std::unique_ptr<cObjectClient>> devices;
    std::vector<PeerConnection> connections;
    for (size_t i = 0; i < kClients; ++i) {
        devices.push_back(std::make_unique<cObjectClient>(settings));
        ASSERT_TRUE(devices.back()->start("127.0.0.1", server.port()));
        connections.push_back(server.accept());
    }
    connections.clear();
    const std::string words = "next attempt in ";
    std::vector<double> seconds;
    for (const std::string& line : log.waitFor(words, kClients)) {
        seconds.push_back(std::stod(line.substr(line.find(words) + words.size())));
    }
    ASSERT_EQ(seconds.size(), kClients);

    // From 1000 to 1500 seconds: twenty devices to each tenth of that, give or take five.
    std::map<int, int> tenths;
    for (const double pause : seconds) {
        ++tenths[static_cast<int>((pause - 1000) / 50.001)];
    }
    for (const auto& [tenth, count] : tenths) {
        EXPECT_LT(count, 60) << "tenth " << tenth;
    }
    std::sort(seconds.begin(), seconds.end());
    EXPECT_GE(seconds.front(), 1000);
    EXPECT_LE(seconds.back(), 1500);
    EXPECT_GT(seconds.back() - seconds.front(), 250);
}
