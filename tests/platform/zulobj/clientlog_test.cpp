// What a client says in the log.

#include <gtest/gtest.h>
#include <string>

#include "caughtlog.h"
#include "clientmessages.h"
#include "eitherclient.h"
#include "linkpeer.h"

namespace {

/// Sends more than the system takes for a peer that does not read.
void sendTooMuch(cObjectClient* client)
{
    const std::string text(65000, 'x');
    for (uint32_t id = 1; id <= 300; ++id) {
        sendEvent(client, id, text.c_str());
    }
}

bool isWhole(const std::string& line)
{
    const auto is = [&](const std::string& begin, const std::string& end) {
        return line.starts_with(begin) && line.ends_with(end) && line.find('\n') == std::string::npos;
    };
    return is("Connected to 127.0.0.1 port ", "") || is("No link to 127.0.0.1 port ", " s") ||
           is("A message of type 7 was not understood: ", "header");
}

class ClientLogTest : public testing::TestWithParam<bool>
{
protected:
    LinkPeer mListening{4096};
    CaughtLog mLog;
};

} // namespace

TEST_P(ClientLogTest, aServerThatDoesNotReadIsNamedAsSuch)
{
    cObjectClient::Settings settings = quickSettings();
    settings.giveUpAfterMs = 200;
    settings.queueBytes = 64 * 1024 * 1024;
    EitherClient client(GetParam(), settings);
    ASSERT_TRUE(client.start(mListening.port()));
    const PeerConnection peer = mListening.accept();
    sendTooMuch(client.get());
    EXPECT_FALSE(mLog.waitFor("it does not read what is sent to it; next attempt").empty());
}

TEST_P(ClientLogTest, eventsDroppedWhileTheLinkIsUpAreToldFromThoseDroppedWhileItIsDown)
{
    cObjectClient::Settings settings = quickSettings();
    settings.queueBytes = 200000;
    EitherClient client(GetParam(), settings);
    ASSERT_TRUE(client.start(mListening.port()));
    PeerConnection peer = mListening.accept();
    sendTooMuch(client.get());
    peer.close();
    EXPECT_FALSE(mLog.waitFor("events were dropped as the server did not read them").empty());
    PeerConnection again = mListening.accept();
    ASSERT_TRUE(again.isOpen());
    for (const std::string& line : mLog.lines()) {
        // The event that was cut off may have found no room any more.
        EXPECT_TRUE(line.find("while the link was down") == std::string::npos || line.starts_with("1 "))
            << line;
    }
}

TEST_P(ClientLogTest, linesOfTwoThreadsDoNotMix)
{
    EitherClient client(GetParam(), quickSettings());
    ASSERT_TRUE(client.start(mListening.port()));
    constexpr size_t kRounds = 20;
    constexpr size_t kMessages = 300;
    std::vector<uint8_t> unreadable;
    for (size_t i = 0; i < kMessages; ++i) {
        messageOf(7, 1, {1, 2, 3}).appendFrames(unreadable);
    }
    for (size_t round = 1; round <= kRounds; ++round) {
        PeerConnection peer = mListening.accept();
        peer.send(unreadable);
        // The rest of them is logged while the client notices that the peer has gone.
        mLog.waitFor("was not understood", round * kMessages - kMessages / 2);
    }
    client.stop();
    for (const std::string& line : mLog.lines()) {
        EXPECT_TRUE(isWhole(line)) << line;
    }
}

INSTANTIATE_TEST_SUITE_P(All, ClientLogTest, testing::Bool(),
                         [](const auto& kind) { return kind.param ? "Hosted" : "OfItsOwn"; });
