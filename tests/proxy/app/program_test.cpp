// The program itself: its standard streams, options, commands and exit statuses.

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <pty.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <vector>

#include "capturereader.h"
#include "hexbytes.h"
#include "linkpeer.h"
#include "pipedprogram.h"
#include "rawdevice.h"
#include "tshark.h"
#include "zulobj/device.h"

namespace {

using Words = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

class ProxyProgramTest : public testing::Test
{
protected:
    ProxyProgramTest()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zulproxy-XXXXXX";
        mFolder = ::mkdtemp(pattern.data());
    }
    ~ProxyProgramTest() override
    {
        mProgram.reset();
        std::filesystem::remove_all(mFolder);
    }

    std::string path(const char* name) const { return mFolder + '/' + name; }

    /// Starts a proxy before mServer; devices connect to its port.
    void start(const Words& options = {})
    {
        Words words{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:" + std::to_string(mServer.port())};
        words.insert(words.end(), options.begin(), options.end());
        mProgram = std::make_unique<PipedProgram>(ZULPROXY_PATH, words);
        mPort = mProgram->port();
    }

    /// Starts it with @p words alone, and returns its exit status.
    int run(const Words& words)
    {
        mProgram = std::make_unique<PipedProgram>(ZULPROXY_PATH, words);
        return mProgram->wait();
    }

    /// Connects a device; returns its end and the server's.
    std::pair<PeerConnection, PeerConnection> connect()
    {
        PeerConnection device = PeerConnection::connectTo(mPort);
        PeerConnection server = mServer.accept();
        mProgram->lines().next("connected");
        return {std::move(device), std::move(server)};
    }

    /// The reply to a command typed at standard input.
    zulcommand::JsonPtr ask(const std::string& command)
    {
        mProgram->type(command + "\n");
        return mProgram->lines().next("reply");
    }

    std::string nextError()
    {
        std::string line;
        EXPECT_TRUE(mProgram->errors().nextText(&line));
        return line;
    }

    int stop(int signal = SIGTERM)
    {
        mProgram->signal(signal);
        return mProgram->wait();
    }

    static WMsg deviceRecord(uint32_t serial)
    {
        cObjectDevice record;
        record.setDeviceSerial(serial);
        return messageOf(3, {&record});
    }

    std::string mFolder;
    LinkPeer mServer;
    std::unique_ptr<PipedProgram> mProgram;
    uint16_t mPort = 0;
};

std::string contentOf(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST_F(ProxyProgramTest, theFirstLineSaysWhereItListensAndTheSeed)
{
    mProgram = std::make_unique<PipedProgram>(
        ZULPROXY_PATH, Words{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:1", "--seed", "4294967295"});
    const zulcommand::JsonPtr line = mProgram->lines().next();
    EXPECT_EQ(member(line, "event"), "listening");
    EXPECT_EQ(member(line, "address"), "127.0.0.1");
    EXPECT_NE(member(line, "port"), "0");
    EXPECT_EQ(member(line, "seed"), "4294967295");
    EXPECT_EQ(stop(), 0);
}

TEST_F(ProxyProgramTest, aSeedThatWasChosenByChanceIsToldToo)
{
    mProgram = std::make_unique<PipedProgram>(ZULPROXY_PATH,
                                              Words{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:1"});
    EXPECT_NE(member(mProgram->lines().next("listening"), "seed"), "(none)");
}

TEST_F(ProxyProgramTest, everyBytePassesInThePiecesInWhichItCame)
{
    start();
    auto [device, server] = connect();
    Bytes stream = framesOf(deviceRecord(7));
    const Bytes more = framesOf(inputEvent(3));
    stream.insert(stream.end(), more.begin(), more.end());
    size_t at = 0;
    for (size_t size = 1; at < stream.size(); ++size) {
        const Bytes piece(stream.begin() + static_cast<std::ptrdiff_t>(at),
                          stream.begin() + static_cast<std::ptrdiff_t>(std::min(at + size, stream.size())));
        ASSERT_TRUE(device.send(piece));
        ASSERT_EQ(server.receivePiece(), piece);
        ASSERT_TRUE(server.send(piece));
        ASSERT_EQ(device.receivePiece(), piece);
        at += size;
    }
}

TEST_F(ProxyProgramTest, aConnectionIsToldFromItsBeginningToItsEnd)
{
    start();
    PeerConnection device = PeerConnection::connectTo(mPort);
    PeerConnection server = mServer.accept();
    const zulcommand::JsonPtr connected = mProgram->lines().next();
    EXPECT_EQ(member(connected, "event"), "connected");
    EXPECT_EQ(member(connected, "connection"), "1");
    EXPECT_EQ(member(connected, "peer"), "127.0.0.1:" + std::to_string(device.port()));
    EXPECT_EQ(member(connected, "server"), "127.0.0.1:" + std::to_string(mServer.port()));
    device.close();
    EXPECT_TRUE(server.waitForEnd());
    server.close();
    const zulcommand::JsonPtr disconnected = mProgram->lines().next();
    EXPECT_EQ(member(disconnected, "event"), "disconnected");
    EXPECT_EQ(member(disconnected, "connection"), "1");
    EXPECT_EQ(member(disconnected, "device"), "null");
    EXPECT_EQ(member(disconnected, "reason"), "both sides have ended");
}

TEST_F(ProxyProgramTest, theSerialIsLearnedFromWhatPasses)
{
    start();
    auto [device, server] = connect();
    EXPECT_EQ(json_array_size(json_object_get(ask("connections").get(), "connections")), 1U);
    ASSERT_TRUE(device.send(deviceRecord(1001)));
    WMsg message;
    ASSERT_TRUE(server.receive(&message));
    const zulcommand::JsonPtr reply = ask("connections");
    json_t* connection = json_array_get(json_object_get(reply.get(), "connections"), 0);
    EXPECT_EQ(json_integer_value(json_object_get(connection, "device")), 1001);
    EXPECT_EQ(json_integer_value(json_object_get(connection, "reconnect")), 1);
    device.close();
    server.close();
    EXPECT_EQ(member(mProgram->lines().next("disconnected"), "device"), "1001");
}

TEST_F(ProxyProgramTest, anEndOfOneSideLeavesTheOtherDirectionOpen)
{
    start();
    auto [device, server] = connect();
    device.finishSending();
    EXPECT_TRUE(server.receivePiece().empty());
    const Bytes late = framesOf(inputEvent(1));
    ASSERT_TRUE(server.send(late));
    EXPECT_EQ(device.receivePiece(), late);
}

TEST_F(ProxyProgramTest, aResetOfOneSideResetsTheOther)
{
    start();
    auto [device, server] = connect();
    device.reset();
    EXPECT_TRUE(server.waitForReset());
    EXPECT_EQ(member(mProgram->lines().next("disconnected"), "reason"),
              "the device has reset the connection");
    auto [second, other] = connect();
    other.reset();
    EXPECT_TRUE(second.waitForReset());
    EXPECT_EQ(member(mProgram->lines().next("disconnected"), "reason"),
              "the server has reset the connection");
}

TEST_F(ProxyProgramTest, aServerThatIsAwayRefusesTheDeviceAtOnceAndIsSaidOnce)
{
    start();
    mServer.stopListening();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(PeerConnection::connectTo(mPort).waitForReset());
    }
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(nextError(), "zulproxy: The server 127.0.0.1:" + std::to_string(mServer.port()) +
                               " cannot be reached: Connection refused.");
    std::string more;
    EXPECT_FALSE(mProgram->errors().nextText(&more)) << more;
    EXPECT_FALSE(mProgram->lines().nextText(&more)) << more;
}

TEST_F(ProxyProgramTest, aRuleActsFromTheBeginning)
{
    start({"--rule", "duplicate msg=event", "--seed", "1"});
    auto [device, server] = connect();
    ASSERT_TRUE(device.send(deviceRecord(1001)));
    WMsg first;
    WMsg second;
    ASSERT_TRUE(server.receive(&first) && server.receive(&second));
    EXPECT_EQ(first.payload, second.payload);
    const zulcommand::JsonPtr fault = mProgram->lines().next("fault");
    EXPECT_EQ(member(fault, "rule"), "1");
    EXPECT_EQ(member(fault, "kind"), "duplicate");
    EXPECT_EQ(member(fault, "device"), "1001");
    EXPECT_EQ(member(fault, "dir"), "to-server");
    EXPECT_EQ(member(fault, "msgSeq"), "1");
    EXPECT_EQ(member(fault, "object"), "OBJ_DEVICE");
    EXPECT_EQ(member(fault, "became"), "twice");
    EXPECT_NE(member(fault, "time"), "(none)");
}

TEST_F(ProxyProgramTest, aRuleThatIsAddedActsOnOpenConnectionsUntilItIsCleared)
{
    start();
    auto [device, server] = connect();
    WMsg message;
    ASSERT_TRUE(device.send(inputEvent(1)) && server.receive(&message));

    const zulcommand::JsonPtr added = ask("rule add lose msg=event");
    EXPECT_EQ(member(added, "status"), "ok");
    EXPECT_EQ(member(added, "rule"), "1");
    ASSERT_TRUE(device.send(inputEvent(2)));
    EXPECT_EQ(member(mProgram->lines().next("fault"), "kind"), "lose");
    const zulcommand::JsonPtr list = ask("rule list");
    json_t* rule = json_array_get(json_object_get(list.get(), "rules"), 0);
    EXPECT_STREQ(json_string_value(json_object_get(rule, "text")), "lose msg=event");
    EXPECT_EQ(json_integer_value(json_object_get(rule, "injected")), 1);

    EXPECT_EQ(member(ask("rule clear 1"), "status"), "ok");
    ASSERT_TRUE(device.send(inputEvent(3)) && server.receive(&message));
    EXPECT_EQ(framesOf(message), framesOf(inputEvent(3)));
    EXPECT_EQ(member(ask("rule clear 1"), "status"), "error");
}

TEST_F(ProxyProgramTest, aClearedRuleLetsGoWhatItHeld)
{
    start({"--rule", "hold until=100 msg=event"});
    auto [device, server] = connect();
    ASSERT_TRUE(device.send(inputEvent(1)));
    mProgram->lines().next("fault");
    EXPECT_EQ(member(ask("rule clear"), "status"), "ok");
    WMsg message;
    ASSERT_TRUE(server.receive(&message));
    EXPECT_EQ(framesOf(message), framesOf(inputEvent(1)));
}

TEST_F(ProxyProgramTest, whatWaitsForASlowLineIsNotOverwrittenByWhatComesNext)
{
    start({"--rule", "rate bytes=500 dir=to-server"});
    auto [device, server] = connect();
    const auto matched = [this] {
        const zulcommand::JsonPtr list = ask("rule list");
        json_t* rule = json_array_get(json_object_get(list.get(), "rules"), 0);
        return json_integer_value(json_object_get(rule, "matched"));
    };
    for (uint32_t number = 1; number <= 3; ++number) {
        ASSERT_TRUE(device.send(inputEvent(number)));
        while (matched() < number) { // it has been read
        }
    }
    for (uint32_t number = 1; number <= 3; ++number) {
        WMsg message;
        ASSERT_TRUE(server.receive(&message));
        EXPECT_EQ(framesOf(message), framesOf(inputEvent(number)));
    }
}

TEST_F(ProxyProgramTest, anExpectedFaultIsTaken)
{
    start({"--rule", "lose msg=event"});
    auto [device, server] = connect();
    ASSERT_TRUE(device.send(inputEvent(1)));
    const zulcommand::JsonPtr reply = ask("expect fault lose within=20");
    EXPECT_EQ(member(reply, "status"), "ok");
    EXPECT_NE(member(reply, "fault"), "(none)");
    EXPECT_EQ(member(ask("expect fault lose within=0.01"), "status"), "failed");
}

TEST_F(ProxyProgramTest, commandsCutAndResetWhatIsOpen)
{
    start();
    auto [first, firstServer] = connect();
    const zulcommand::JsonPtr cut = ask("cut");
    EXPECT_EQ(member(cut, "connections"), "1");
    EXPECT_TRUE(first.receivePiece().empty());
    EXPECT_TRUE(firstServer.receivePiece().empty());
    auto [second, secondServer] = connect();
    EXPECT_EQ(member(ask("reset device=*"), "connections"), "1");
    EXPECT_TRUE(second.waitForReset());
    EXPECT_TRUE(secondServer.waitForReset());
    EXPECT_EQ(member(ask("cut"), "connections"), "0");
    EXPECT_EQ(member(ask("cut device=5"), "status"), "error");
}

TEST_F(ProxyProgramTest, aCutIsAnEndEvenIfTheSenderGoesOnSending)
{
    start({"--rule", "stall for=1000", "--rule", "cut after=0.05"});
    PeerConnection device = PeerConnection::connectTo(mPort);
    PeerConnection server = mServer.accept();
    // The proxy has not read it when it closes.
    ASSERT_TRUE(device.send(Bytes(1000, 'x')));
    EXPECT_TRUE(device.receivePiece().empty());
    EXPECT_FALSE(device.waitForReset());
}

TEST_F(ProxyProgramTest, aRefusedDeviceNeverReachesTheServer)
{
    start({"--rule", "refuse first=1"});
    EXPECT_TRUE(PeerConnection::connectTo(mPort).waitForReset());
    const zulcommand::JsonPtr fault = mProgram->lines().next();
    EXPECT_EQ(member(fault, "kind"), "refuse");
    EXPECT_EQ(member(fault, "connection"), "1");
    auto [device, server] = connect();
    ASSERT_TRUE(server.isOpen());
    ASSERT_TRUE(device.send(inputEvent(1)));
    EXPECT_EQ(server.receivePiece(), framesOf(inputEvent(1)));
}

TEST_F(ProxyProgramTest, anAcceptanceThatIsLateComesAtOnceIfTheRuleIsCleared)
{
    start({"--rule", "accept-late ms=1000000"});
    PeerConnection device = PeerConnection::connectTo(mPort);
    EXPECT_EQ(member(mProgram->lines().next(), "kind"), "accept-late");
    ASSERT_TRUE(device.send(inputEvent(1)));
    ask("rule clear 1");
    PeerConnection server = mServer.accept();
    ASSERT_TRUE(server.isOpen());
    EXPECT_EQ(server.receivePiece(), framesOf(inputEvent(1)));
}

TEST_F(ProxyProgramTest, trafficThatIsNotTheProtocolPassesAndIsSaidOnce)
{
    start({"--rule", "lose"});
    auto [device, server] = connect();
    const Bytes text(100, 'x');
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(device.send(text));
        EXPECT_EQ(server.receivePiece(), text);
    }
    EXPECT_EQ(stop(), 0);
    EXPECT_EQ(nextError(),
              "zulproxy: connection 1: what the device sends is not the protocol and passes untouched.");
    std::string more;
    EXPECT_FALSE(mProgram->errors().nextText(&more)) << more;
}

TEST_F(ProxyProgramTest, aSlowReaderSlowsItsOwnSenderOnly)
{
    start();
    auto [fast, fastServer] = connect();
    auto [slow, slowServer] = connect();
    // Nobody reads at slowServer, so that sending stops one time; the other connection goes on.
    size_t sent = 0;
    const Bytes block(64 * 1024, 'x');
    while (slow.sendWithoutWaiting(block) > 0 && sent < 1024 * block.size()) {
        sent += block.size();
        ASSERT_TRUE(fast.send(inputEvent(1)));
        ASSERT_EQ(fastServer.receivePiece(), framesOf(inputEvent(1)));
    }
    EXPECT_LT(sent, 1024 * block.size());
}

TEST_F(ProxyProgramTest, quitSigtermAndSigintAreStatusZero)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        start();
        EXPECT_EQ(stop(signal), 0);
    }
    start();
    EXPECT_EQ(member(ask("quit"), "status"), "ok");
    EXPECT_EQ(mProgram->wait(), 0);
}

TEST_F(ProxyProgramTest, theEndOfStandardInputEndsNothing)
{
    start();
    mProgram->endInput();
    auto [device, server] = connect();
    ASSERT_TRUE(device.send(inputEvent(1)));
    EXPECT_EQ(server.receivePiece(), framesOf(inputEvent(1)));
}

TEST_F(ProxyProgramTest, aWrongRuleIsStatusOneAndNothingStarts)
{
    EXPECT_EQ(run({"--listen", "127.0.0.1:0", "--server", "127.0.0.1:1", "--rule", "loose"}), 1);
    EXPECT_NE(nextError().find("\"loose\""), std::string::npos);
    std::string more;
    EXPECT_FALSE(mProgram->errors().nextText(&more)) << more;
    EXPECT_FALSE(mProgram->lines().nextText(&more)) << more;
}

TEST_F(ProxyProgramTest, anAddressThatIsTakenIsStatusOne)
{
    const std::string taken = "127.0.0.1:" + std::to_string(mServer.port());
    EXPECT_EQ(run({"--listen", taken, "--server", "127.0.0.1:1"}), 1);
    EXPECT_NE(nextError().find("Cannot listen at 127.0.0.1"), std::string::npos);
}

TEST_F(ProxyProgramTest, aNameWithoutAnAddressIsStatusOne)
{
    EXPECT_EQ(run({"--listen", "127.0.0.1:0", "--server", "no.such.host.invalid:1"}), 1);
    EXPECT_EQ(nextError(), "zulproxy: The server's name has no address: no.such.host.invalid.");
}

TEST_F(ProxyProgramTest, filesThatCannotBeWrittenAreStatusOne)
{
    const Words addresses{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:1"};
    for (const char* option : {"--log", "--capture", "--control"}) {
        Words words = addresses;
        words.insert(words.end(), {option, "/no/such/folder/file"});
        EXPECT_EQ(run(words), 1);
        EXPECT_NE(nextError().find("/no/such/folder/file"), std::string::npos) << option;
    }
}

TEST_F(ProxyProgramTest, anAddressThatOtherMachinesReachIsSaid)
{
    mProgram = std::make_unique<PipedProgram>(ZULPROXY_PATH,
                                              Words{"--listen", "0.0.0.0:0", "--server", "127.0.0.1:1"});
    EXPECT_EQ(nextError(),
              "zulproxy: Listening at 0.0.0.0: other machines can reach this proxy, which asks nobody "
              "for a password.");
}

TEST_F(ProxyProgramTest, theControlSocketTakesCommandsAndTellsEvents)
{
    start({"--control", path("control")});
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path("control").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    LineCatcher client(fd);
    const std::string command = "rule add lose msg=event\n";
    ASSERT_EQ(::write(fd, command.data(), command.size()), static_cast<ssize_t>(command.size()));
    EXPECT_EQ(member(client.next(), "rule"), "1");
    auto [device, server] = connect();
    EXPECT_EQ(member(client.next(), "event"), "connected");
    ASSERT_TRUE(device.send(inputEvent(1)));
    EXPECT_EQ(member(client.next(), "event"), "fault");
    EXPECT_EQ(member(mProgram->lines().next(), "event"), "fault") << "its reply is not standard output's";
    ASSERT_EQ(::write(fd, "quit\n", 5), 5);
    EXPECT_EQ(member(client.next(), "command"), "quit");
    EXPECT_EQ(mProgram->wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(path("control")));
}

TEST_F(ProxyProgramTest, linesGoToTheLogIfThereIsOne)
{
    mProgram = std::make_unique<PipedProgram>(
        ZULPROXY_PATH, Words{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:1", "--log", path("log")});
    mProgram->type("quit\n");
    EXPECT_EQ(mProgram->wait(), 0);
    EXPECT_TRUE(contentOf(path("log")).starts_with("{\"event\":\"listening\"")) << contentOf(path("log"));
    std::string line;
    EXPECT_FALSE(mProgram->lines().nextText(&line)) << line;
}

TEST_F(ProxyProgramTest, aCommandHasTheAddressAndTheStandardStreams)
{
    const std::string server = "127.0.0.1:" + std::to_string(mServer.port());
    mProgram =
        std::make_unique<PipedProgram>(ZULPROXY_PATH, Words{"--server", server, "--", "sh", "-c",
                                                            "read word; echo \"$word to={proxy}\"; exit 7"});
    mProgram->type("from standard input\n");
    const zulcommand::JsonPtr listening = mProgram->errors().next();
    EXPECT_EQ(member(listening, "event"), "listening");
    std::string line;
    ASSERT_TRUE(mProgram->lines().nextText(&line));
    EXPECT_EQ(line, "from standard input to=127.0.0.1:" + member(listening, "port"));
    EXPECT_EQ(mProgram->wait(), 7);
    EXPECT_FALSE(mProgram->lines().nextText(&line)) << line;
}

TEST_F(ProxyProgramTest, theLinesBesideACommandMayGoToALog)
{
    EXPECT_EQ(run({"--server", "127.0.0.1:1", "--log", path("log"), "--", "true"}), 0);
    EXPECT_TRUE(contentOf(path("log")).starts_with("{\"event\":\"listening\""));
    std::string line;
    EXPECT_FALSE(mProgram->errors().nextText(&line)) << line;
}

TEST_F(ProxyProgramTest, aCommandThatASignalEndsIs128AndItsNumber)
{
    EXPECT_EQ(run({"--server", "127.0.0.1:1", "--", "sh", "-c", "kill -KILL $$"}), 128 + SIGKILL);
}

TEST_F(ProxyProgramTest, signalsAreHandedOnToTheCommand)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        const std::string script = "trap 'echo got TERM; exit 3' TERM; trap 'echo got INT; exit 4' INT; "
                                   "echo ready; while :; do sleep 0.05; done";
        mProgram = std::make_unique<PipedProgram>(ZULPROXY_PATH,
                                                  Words{"--server", "127.0.0.1:1", "--", "sh", "-c", script});
        std::string line;
        ASSERT_TRUE(mProgram->lines().nextText(&line));
        mProgram->signal(signal);
        ASSERT_TRUE(mProgram->lines().nextText(&line));
        EXPECT_EQ(line, signal == SIGTERM ? "got TERM" : "got INT");
        EXPECT_EQ(mProgram->wait(), signal == SIGTERM ? 3 : 4);
    }
}

TEST_F(ProxyProgramTest, aSignalOfTheTerminalReachesTheCommandOnce)
{
    int terminal = -1;
    const pid_t id = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (id == 0) {
        const std::string script = "n=0; trap 'n=$((n + 1))' INT; echo ready; read line; "
                                   "while [ \"$line\" != end ]; do read line; done; exit $n";
        ::execl(ZULPROXY_PATH, ZULPROXY_PATH, "--server", "127.0.0.1:1", "--log", "/dev/null", "--", "bash",
                "-c", script.c_str(), nullptr);
        ::_exit(1);
    }
    std::string shown;
    for (char byte = 0; shown.find("ready") == std::string::npos && ::read(terminal, &byte, 1) == 1;) {
        shown += byte;
    }
    ASSERT_EQ(::write(terminal, "\x03", 1), 1);
    ASSERT_EQ(::write(terminal, "end\n", 4), 4);
    for (char byte = 0; ::read(terminal, &byte, 1) == 1;) {
    }
    int status = 0;
    ::waitpid(id, &status, 0);
    ::close(terminal);
    EXPECT_EQ(WEXITSTATUS(status), 1);
}

TEST_F(ProxyProgramTest, aCommandThatCannotBeStartedIs127Or126)
{
    EXPECT_EQ(run({"--server", "127.0.0.1:1", "--", "no-such-command"}), 127);
    mProgram->errors().next("listening");
    EXPECT_EQ(nextError(), "zulproxy: The command \"no-such-command\" was not found.");
    EXPECT_EQ(run({"--server", "127.0.0.1:1", "--", mFolder}), 126);
    mProgram->errors().next("listening");
    EXPECT_EQ(nextError(), "zulproxy: The command \"" + mFolder + "\" cannot be run.");
}

TEST_F(ProxyProgramTest, aCaptureHasBothSidesOfEachConnection)
{
    start({"--capture", path("capture")});
    auto [device, server] = connect();
    ASSERT_TRUE(device.send(inputEvent(1)));
    ASSERT_EQ(server.receivePiece(), framesOf(inputEvent(1)));
    device.close();
    server.close();
    mProgram->lines().next("disconnected");
    EXPECT_EQ(stop(), 0);
    bool isWhole = false;
    std::vector<std::string> seen;
    for (const RecordedPacket& packet : packetsIn(fileBytes(path("capture")), &isWhole)) {
        const std::string flags = (packet.tcpFlags() & 0x02) != 0   ? "SYN"
                                  : (packet.tcpFlags() & 0x01) != 0 ? "FIN"
                                  : packet.payload().empty()        ? "ACK"
                                                                    : "bytes";
        seen.push_back(std::to_string(packet.interface) + (packet.direction == 1 ? " in " : " out ") + flags +
                       (packet.comments.empty() ? "" : ": " + packet.comments[0]));
        EXPECT_TRUE(packet.payload().empty() || packet.payload() == framesOf(inputEvent(1)));
    }
    EXPECT_TRUE(isWhole);
    EXPECT_EQ(seen,
              (std::vector<std::string>{"0 in SYN: connection 1", "0 out SYN", "0 in ACK",
                                        "1 out SYN: connection 1", "1 in SYN", "1 out ACK", "0 in bytes",
                                        "1 out bytes", "0 in FIN", "1 out FIN", "1 in FIN", "0 out FIN"}));
}

TEST_F(ProxyProgramTest, aFaultIsACommentOnThePacketThatBroughtTheMessage)
{
    start({"--capture", path("capture"), "--rule", "duplicate port=3", "--rule", "late ms=3 port=3"});
    auto [device, server] = connect();
    WMsg received;
    ASSERT_TRUE(device.send(deviceRecord(1001)) && server.receive(&received));
    ASSERT_TRUE(device.send(inputEvent(3)) && server.receive(&received) && server.receive(&received));
    ask("reset");
    EXPECT_EQ(stop(), 0);

    const Tshark tshark(ZUL_DISSECTOR);
    std::string complaints;
    const auto rows =
        tshark.rows(path("capture"), "frame.comment",
                    {"frame.interface_name", "tcp.flags.str", "tcp.len", "frame.comment"}, {}, &complaints);
    EXPECT_EQ(complaints, "");
    const std::string size = std::to_string(framesOf(inputEvent(3)).size());
    using Row = std::vector<std::string>;
    EXPECT_EQ(rows, (std::vector<Row>{{"devices", "··········S·", "0", "connection 1"},
                                      {"server", "··········S·", "0", "connection 1"},
                                      {"devices", "·······AP···", size,
                                       "rule 1: duplicate, twice|rule 2: late, 3 ms later"},
                                      {"devices", "·······A·R··", "0", "command: reset, reset"},
                                      {"server", "·······A·R··", "0", "command: reset, reset"}}));
}

TEST_F(ProxyProgramTest, withoutDescriptorsForMoreItSaysSoAndTakesThemLater)
{
    // A pair takes two descriptors: with one of these limits none is left for a device, with the other one
    // none for the way from the last device to the server.
    for (const rlim_t limit : {40, 41}) {
        LinkPeer peer;
        mProgram = std::make_unique<PipedProgram>(
            ZULPROXY_PATH,
            Words{"--listen", "127.0.0.1:0", "--server", "127.0.0.1:" + std::to_string(peer.port())}, limit,
            limit);
        mPort = mProgram->port();
        std::vector<PeerConnection> devices;
        devices.reserve(30);
        for (int i = 0; i < 30; ++i) {
            devices.push_back(PeerConnection::connectTo(mPort));
        }
        const std::string sentence = nextError();
        EXPECT_TRUE(sentence.ends_with(": Too many open files.")) << sentence;
        if (sentence != "zulproxy: New connections cannot be accepted for now: Too many open files.") {
            continue;
        }
        // Each that goes leaves room for one that waits, until all have been served.
        for (PeerConnection& device : devices) {
            PeerConnection server = peer.accept();
            ASSERT_TRUE(server.isOpen());
            device.close();
        }
        return;
    }
    FAIL() << "no device had to wait";
}

TEST_F(ProxyProgramTest, manyConnectionsPassAtTheSameTime)
{
    start();
    std::vector<std::pair<PeerConnection, PeerConnection>> crowd;
    crowd.reserve(400);
    for (int i = 0; i < 400; ++i) {
        crowd.push_back(connect());
    }
    for (auto& [device, server] : crowd) {
        ASSERT_TRUE(device.send(inputEvent(1)));
    }
    for (auto& [device, server] : crowd) {
        ASSERT_EQ(server.receivePiece(), framesOf(inputEvent(1)));
    }
    EXPECT_EQ(stop(), 0);
}
