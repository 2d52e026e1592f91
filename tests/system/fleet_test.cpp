// The recorded conversation with a device, played to the real programs.

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <future>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "conversation.h"
#include "linkpeer.h"
#include "presettime.h"
#include "zulcommand/jsontext.h"

namespace {

using zulcommand::JsonPtr;

constexpr auto kPatience = std::chrono::seconds(30);

/// A directory that ends with the test.
class Directory
{
public:
    Directory()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "zulfleetXXXXXX";
        mPath = ::mkdtemp(pattern.data());
    }
    ~Directory() { std::filesystem::remove_all(mPath); }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    std::string path(const char* name) const { return mPath / name; }

private:
    std::filesystem::path mPath;
};

/// A client of a control socket.
class Control
{
public:
    /// Waits for the socket at @p path.
    explicit Control(const std::string& path)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (::connect(mFd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
               std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    ~Control() { ::close(mFd); }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

    /// Returns the status of the reply to @p command.
    std::string ask(const std::string& command)
    {
        const std::string line = command + '\n';
        static_cast<void>(!::send(mFd, line.data(), line.size(), MSG_NOSIGNAL));
        for (;;) {
            const JsonPtr json(json_loads(nextLine().c_str(), 0, nullptr));
            const char* event = json_string_value(json_object_get(json.get(), "event"));
            if (event == nullptr) {
                return "(none)";
            }
            if (event == std::string("reply")) {
                return json_string_value(json_object_get(json.get(), "status"));
            }
        }
    }

private:
    std::string nextLine()
    {
        size_t end = 0;
        while ((end = mText.find('\n')) == std::string::npos) {
            char bytes[4096];
            const ssize_t size = ::recv(mFd, bytes, sizeof bytes, 0);
            if (size <= 0) {
                return "";
            }
            mText.append(bytes, static_cast<size_t>(size));
        }
        std::string line = mText.substr(0, end);
        mText.erase(0, end + 1);
        return line;
    }

    const int mFd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::string mText;
};

/// A program that plays one device, with its server and its operator.
class ProgramConversation : public ConversationDevice
{
public:
    ProgramConversation(std::vector<std::string> command, const Conversation& conversation)
    {
        const zuldevice::Counts counts = conversation.counts();
        const auto add = [&command](const char* name, const std::string& value) {
            command.insert(command.end(), {name, value});
        };
        add("--din", std::to_string(counts.digitalInputs));
        add("--dout", std::to_string(counts.digitalOutputs));
        add("--ain", std::to_string(counts.analogInputs));
        add("--aout", std::to_string(counts.analogOutputs));
        add("--scanners", std::to_string(counts.scanners));
        add("--label", conversation.label());
        add("--device-version", std::to_string(conversation.version()));
        add("--server", "127.0.0.1:" + std::to_string(mListener.port()));
        add("--control", mDirectory.path("control"));
        mapTime();
        start(std::move(command));
        mPeer = mListener.accept();
        mControl = std::make_unique<Control>(mDirectory.path("control"));
    }
    ~ProgramConversation() override
    {
        if (mProcess > 0) {
            ::kill(mProcess, SIGKILL);
            ::waitpid(mProcess, nullptr, 0);
        }
        ::munmap(mTime, sizeof *mTime);
    }

    /// All that the device has sent, frame after frame.
    const std::vector<uint8_t>& bytes() const { return mBytes; }

    /// Ends the program. Returns its exit status.
    int quit()
    {
        mControl->ask("quit");
        int status = 0;
        ::waitpid(mProcess, &status, 0);
        mProcess = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void receive(const cObjectList& list) override
    {
        WMsg message;
        static_cast<void>(list.encode(&message));
        message.seq = ++mSeq;
        mPeer.send(message);
    }
    void setDigitalInput(int port, int value) override
    {
        ask("set din " + std::to_string(port) + (value == 1 ? " high" : " low"));
    }
    void setAnalogInput(int port, int value) override
    {
        ask("set ain " + std::to_string(port) + ' ' + std::to_string(value));
    }
    void connectDigitalInput(int input, int output) override
    {
        ask("wire din " + std::to_string(input) + ' ' + std::to_string(output));
    }
    void connectAnalogInput(int input, int output) override
    {
        ask("wire ain " + std::to_string(input) + ' ' + std::to_string(output));
    }
    void scan(int scanner, const char* code) override
    {
        ask("scan " + std::to_string(scanner) + ' ' + quoted(code));
    }
    void adhoc(int id, const char* label, const char* value) override
    {
        ask("adhoc " + std::to_string(id) + ' ' + quoted(label) + ' ' + quoted(value));
    }

    /// The samples of @p now are sent when the program has answered after it was told the time.
    void takeSamples(time_t now) override
    {
        mTime->now = now;
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (mTime->told != now && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        ask("get device");
    }

    std::unique_ptr<cObjectList> next() override
    {
        WMsg message;
        if (!mPeer.receive(&message)) {
            return nullptr;
        }
        const std::vector<uint8_t> frames = framesOf(message);
        mBytes.insert(mBytes.end(), frames.begin(), frames.end());
        auto list = std::make_unique<cObjectList>();
        return list->decode(message).isOk() ? std::move(list) : nullptr;
    }

    /// What comes before the answer to one more request.
    bool hasMore() override
    {
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        receive(list);
        WMsg answer;
        return !mPeer.receive(&answer) || !answer.answer;
    }

private:
    static std::string quoted(const char* text) { return zulcommand::dumped(JsonPtr(json_string(text))); }

    void ask(const std::string& command) { EXPECT_EQ(mControl->ask(command), "ok") << command; }

    void mapTime()
    {
        const int fd = ::open(mDirectory.path("time").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        EXPECT_EQ(::ftruncate(fd, sizeof(sPresetTime)), 0);
        mTime = static_cast<sPresetTime*>(
            ::mmap(nullptr, sizeof(sPresetTime), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        ::close(fd);
    }

    void start(std::vector<std::string> command)
    {
        std::vector<std::string> environment = {
            "LD_PRELOAD=" PRESET_TIME_LIBRARY, "ZUL_PRESET_TIME=" + mDirectory.path("time"),
            "HOME=" + mDirectory.path(""), "LANG=C.UTF-8", "PATH=/usr/bin:/bin"};
        const auto pointers = [](std::vector<std::string>& texts) {
            std::vector<char*> list;
            for (std::string& text : texts) {
                list.push_back(text.data());
            }
            list.push_back(nullptr);
            return list;
        };
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&files, 2, "/dev/null", O_WRONLY, 0);
        EXPECT_EQ(::posix_spawn(&mProcess, command[0].c_str(), &files, nullptr, pointers(command).data(),
                                pointers(environment).data()),
                  0);
        posix_spawn_file_actions_destroy(&files);
    }

    Directory mDirectory;
    LinkPeer mListener;
    PeerConnection mPeer;
    std::unique_ptr<Control> mControl;
    sPresetTime* mTime = nullptr;
    pid_t mProcess = 0;
    uint8_t mSeq = 0;
    std::vector<uint8_t> mBytes;
};

struct Played
{
    std::string differences;
    std::vector<uint8_t> bytes;
    int status;
};

Played play(const std::vector<std::string>& command)
{
    const Conversation conversation(CONVERSATION);
    ProgramConversation program(command, conversation);
    std::string differences = conversation.playTo(&program);
    return {std::move(differences), program.bytes(), program.quit()};
}

} // namespace

TEST(FleetConversationTest, aDeviceOfAFleetSendsTheSimulatorsBytes)
{
    auto simulator = std::async(std::launch::async, [] {
        return play({ZULBENCH_PROGRAM, "--headless", "--serial", "1001"});
    });
    const Played fleet = play({ZULFLEET_PROGRAM, "--count", "1", "--serial-start", "1001"});
    const Played window = simulator.get();
    EXPECT_EQ(fleet.differences, "");
    EXPECT_EQ(window.differences, "");
    EXPECT_GT(fleet.bytes.size(), 5000U);
    EXPECT_EQ(fleet.bytes, window.bytes);
    EXPECT_EQ(fleet.status, 0);
    EXPECT_EQ(window.status, 0);
}
