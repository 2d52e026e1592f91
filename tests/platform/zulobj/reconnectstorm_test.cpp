// Many devices that lose the same server in the same instant.

#include <algorithm>
#include <condition_variable>
#include <gtest/gtest.h>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/LoggingEvent.hh>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "linkpeer.h"
#include "listeners.h"
#include "zulobj/objclient.h"

namespace {

/// Collects how long the clients say that they will wait, in seconds.
class PauseCatcher : public log4cpp::AppenderSkeleton
{
public:
    PauseCatcher() : AppenderSkeleton("pauses") { log4cpp::Category::getRoot().addAppender(*this); }
    ~PauseCatcher() override { log4cpp::Category::getRoot().removeAppender(this); }
    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout*) override {}

    std::vector<double> waitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait_for(lock, kTestPatience, [&] { return mPauses.size() >= count; });
        return mPauses;
    }

protected:
    void _append(const log4cpp::LoggingEvent& event) override
    {
        const std::string words = "next attempt in ";
        const size_t at = event.message.find(words);
        if (at != std::string::npos) {
            const std::lock_guard<std::mutex> lock(mMutex);
            mPauses.push_back(std::stod(event.message.substr(at + words.size())));
        }
        mChanged.notify_all();
    }

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<double> mPauses;
};

} // namespace

TEST(ReconnectStormTest, DevicesThatAreDroppedTogetherDoNotComeBackTogether)
{
    constexpr size_t kDevices = 200;
    cObjectClient::Settings settings;
    settings.startMs = 20000;
    settings.firstPauseMs = 1000000;
    settings.longestPauseMs = 10000000;
    PauseCatcher pauses;
    LinkPeer server;
    std::vector<std::unique_ptr<cObjectClient>> devices;
    std::vector<PeerConnection> connections;
    for (size_t i = 0; i < kDevices; ++i) {
        devices.push_back(std::make_unique<cObjectClient>(settings));
        ASSERT_TRUE(devices.back()->start("127.0.0.1", server.port()));
        connections.push_back(server.accept());
    }
    connections.clear();
    std::vector<double> seconds = pauses.waitFor(kDevices);
    ASSERT_EQ(seconds.size(), kDevices);

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
