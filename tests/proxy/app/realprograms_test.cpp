// The proxy between the other programs of this tree.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pipedprogram.h"

namespace {

using Words = std::vector<std::string>;

class ProxiedProgramsTest : public testing::Test
{
protected:
    ProxiedProgramsTest()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zulproxy-XXXXXX";
        mFolder = ::mkdtemp(pattern.data());
        startServer();
    }
    ~ProxiedProgramsTest() override
    {
        mServer.reset();
        std::filesystem::remove_all(mFolder);
    }

    void startServer()
    {
        Words words{"--port", "0"};
        for (const char* event : {"connected", "message", "answer", "disconnected"}) {
            words.insert(words.end(), {"--quiet", event});
        }
        mServer = std::make_unique<PipedProgram>(ZULSERVER_PATH, words);
        mAddress = "127.0.0.1:" + std::to_string(mServer->port());
    }

    /// The server's reply to @p command.
    zulcommand::JsonPtr ask(const std::string& command)
    {
        mServer->type(command + "\n");
        return mServer->lines().next("reply");
    }

    Words proxyWords(const Words& further) const
    {
        Words words{"--server", mAddress};
        words.insert(words.end(), further.begin(), further.end());
        return words;
    }

    std::string mFolder;
    std::unique_ptr<PipedProgram> mServer;
    std::string mAddress;
};

/// What a fault says of its device, rule and message. The rest depends on when the devices came: the numbers
/// of connections and messages, which the server gives to all devices together, and the time.
std::string essenceOf(const zulcommand::JsonPtr& fault)
{
    std::string text;
    for (const char* name : {"rule", "kind", "dir", "object", "became"}) {
        text += member(fault, name) + ' ';
    }
    return text;
}

using FaultsOfDevices = std::map<std::string, Words>;

FaultsOfDevices faultsIn(const std::string& path)
{
    FaultsOfDevices faults;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const zulcommand::JsonPtr json(json_loads(line.c_str(), 0, nullptr));
        if (member(json, "event") == "fault") {
            faults[member(json, "device")].push_back(essenceOf(json));
        }
    }
    // Before a device has named itself it is one of all.
    std::ranges::sort(faults["null"]);
    return faults;
}

} // namespace

TEST_F(ProxiedProgramsTest, aDeviceStartedByTheProxyAnswersLate)
{
    const std::string log = mFolder + "/log";
    PipedProgram device(ZULPROXY_PATH,
                        proxyWords({"--rule", "late ms=300 msg=answer", "--log", log, "--", ZULBENCH_PATH,
                                    "--headless", "--din", "4", "--serial", "1001", "--server", "{proxy}"}));
    EXPECT_EQ(member(mServer->lines().next("device"), "deviceSerial"), "1001");
    const zulcommand::JsonPtr reply = ask("get din 2");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_GE(json_real_value(json_object_get(reply.get(), "seconds")), 0.3);
    device.signal(SIGTERM);
    EXPECT_EQ(device.wait(), 0);
    EXPECT_EQ(faultsIn(log)["1001"], (Words{"1 late to-server OBJ_DEVICE 300 ms later ",
                                            "1 late to-server OBJ_PORT_DIN 300 ms later "}));
}

TEST_F(ProxiedProgramsTest, aLostAnswerIsATimeoutForTheServer)
{
    PipedProgram proxy(ZULPROXY_PATH, proxyWords({"--listen", "127.0.0.1:0"}));
    PipedProgram device(ZULBENCH_PATH, {"--headless", "--din", "4", "--serial", "1001", "--server",
                                        "127.0.0.1:" + std::to_string(proxy.port())});
    mServer->lines().next("device");
    proxy.type("rule add lose msg=answer device=1001\n");
    EXPECT_EQ(member(proxy.lines().next("reply"), "rule"), "1");
    EXPECT_EQ(member(ask("get din 2 timeout=0.2"), "status"), "timeout");
    EXPECT_EQ(member(proxy.lines().next("fault"), "object"), "OBJ_PORT_DIN");
    proxy.type("rule clear\n");
    proxy.lines().next("reply");
    EXPECT_EQ(member(ask("get din 2"), "status"), "ok");
}

TEST_F(ProxiedProgramsTest, aDeviceComesBackAfterAReset)
{
    PipedProgram proxy(ZULPROXY_PATH, proxyWords({"--listen", "127.0.0.1:0"}));
    PipedProgram device(ZULBENCH_PATH, {"--headless", "--serial", "1001", "--server",
                                        "127.0.0.1:" + std::to_string(proxy.port())});
    mServer->lines().next("device");
    proxy.type("reset device=1001\n");
    EXPECT_EQ(member(proxy.lines().next("reply"), "connections"), "1");
    EXPECT_EQ(member(mServer->lines().next("device"), "deviceSerial"), "1001");
    proxy.lines().next("connected");
    proxy.type("connections\n");
    const zulcommand::JsonPtr reply = proxy.lines().next("reply");
    json_t* connection = json_array_get(json_object_get(reply.get(), "connections"), 0);
    EXPECT_EQ(json_integer_value(json_object_get(connection, "reconnect")), 2);
}

TEST_F(ProxiedProgramsTest, theSameSeedGivesAThousandDevicesTheSameFaults)
{
    constexpr int kDevices = 1000;
    const auto play = [&](const std::string& seed, const std::string& name) {
        startServer();
        const std::string log = mFolder + '/' + name;
        PipedProgram proxy(
            ZULPROXY_PATH,
            proxyWords({"--listen", "127.0.0.1:0", "--log", log, "--seed", seed, "--rule",
                        "duplicate msg=answer p=0.3", "--rule", "late ms=2 p=0.2 dir=to-device msg=get",
                        "--rule", "field portLabel=changed device=10% object=OBJ_PORT_DIN p=0.5"}));
        std::string listening;
        while (listening.find('\n') == std::string::npos) {
            std::ifstream file(log);
            listening.assign(std::istreambuf_iterator<char>(file), {});
        }
        const zulcommand::JsonPtr line(
            json_loads(listening.substr(0, listening.find('\n')).c_str(), 0, nullptr));
        PipedProgram fleet(ZULFLEET_PATH, {"--server", "127.0.0.1:" + member(line, "port"), "--count",
                                           std::to_string(kDevices), "--din", "2", "--seed", "1"});
        for (int i = 0; i < kDevices; ++i) {
            mServer->lines().next("device");
        }
        for (int i = 0; i < 5; ++i) {
            const zulcommand::JsonPtr reply = ask("get din * device=* timeout=60");
            EXPECT_EQ(member(reply, "status"), "ok");
        }
        proxy.type("quit\n");
        EXPECT_EQ(proxy.wait(), 0);
        return faultsIn(log);
    };
    const FaultsOfDevices first = play("7", "first");
    EXPECT_EQ(play("7", "again"), first);
    EXPECT_GT(first.size(), kDevices / 2U);
    EXPECT_NE(play("8", "other"), first);
}
