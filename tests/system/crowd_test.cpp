// Thousands of devices at one server.

#include <QJsonObject>
#include <arpa/inet.h>
#include <atomic>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "programs.h"
#include "qttestmain.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/device.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kDevices = 2000;

void raiseDescriptorLimit()
{
    rlimit limit{};
    QCOMPARE(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    QCOMPARE(::setrlimit(RLIMIT_NOFILE, &limit), 0);
}

/// Devices without ports, on a thread of their own, with the serials from 1 on.
class Crowd
{
public:
    Crowd(int serverPort, uint32_t count)
    {
        for (uint32_t serial = 1; serial <= count; ++serial) {
            connect(serverPort);
        }
        mThread = std::jthread([this](const std::stop_token& stop) { live(stop); });
    }

    ~Crowd()
    {
        mThread = {};
        for (const Device& device : mDevices) {
            ::close(device.fd);
        }
        ::close(mEpoll);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    size_t size() const { return mDevices.size(); }

    /// How many requests the devices have answered.
    size_t answered() const { return mAnswered; }

private:
    struct Device
    {
        int fd = -1;
        WMsgReader reader = {};
    };

    void connect(int serverPort)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(serverPort));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            ::close(fd);
            return;
        }
        epoll_event wanted{};
        wanted.events = EPOLLIN;
        wanted.data.u64 = mDevices.size();
        ::epoll_ctl(mEpoll, EPOLL_CTL_ADD, fd, &wanted);
        mDevices.push_back({fd});
    }

    void live(const std::stop_token& stop)
    {
        std::vector<epoll_event> ready(256);
        while (!stop.stop_requested()) {
            const int count = ::epoll_wait(mEpoll, ready.data(), static_cast<int>(ready.size()), 20);
            for (int i = 0; i < count; ++i) {
                receive(ready[static_cast<size_t>(i)].data.u64);
            }
        }
    }

    void receive(size_t index)
    {
        Device& device = mDevices[index];
        uint8_t bytes[wmsg::kMaxSegmentSize];
        const ssize_t count = ::recv(device.fd, bytes, sizeof bytes, MSG_DONTWAIT);
        if (count <= 0) {
            ::epoll_ctl(mEpoll, EPOLL_CTL_DEL, device.fd, nullptr);
            return;
        }
        const uint8_t* data = bytes;
        auto size = static_cast<size_t>(count);
        WMsg message;
        while (device.reader.read(&data, &size, 0, &message) == WMsgReader::MESSAGE) {
            if (!message.answer) {
                answer(device.fd, message, static_cast<uint32_t>(index + 1));
            }
        }
    }

    void answer(int fd, const WMsg& request, uint32_t serial)
    {
        WMsg message = WMsg::ping(true);
        if (!request.control) {
            auto* record = new cObjectDevice;
            record->setDeviceSerial(serial);
            cObjectList list;
            list.setMsgType(request.type);
            list.add(record);
            static_cast<void>(list.encode(&message));
            message.control = false;
            message.answer = true;
            ++mAnswered;
        }
        message.seq = request.seq;
        std::vector<uint8_t> bytes;
        message.appendFrames(bytes);
        ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    const int mEpoll = ::epoll_create1(EPOLL_CLOEXEC);
    std::vector<Device> mDevices;
    std::atomic<size_t> mAnswered{0};
    std::jthread mThread;
};

} // namespace

class TestCrowd : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { raiseDescriptorLimit(); }
    void twoThousandDevicesAreAskedAtOnceAndOneByOne();
    void theLinesOfTwoThousandDevicesAllCome();

private:
    /// Waits until the server has identified @p devices devices.
    static bool knows(ServerProgram* server, int devices)
    {
        return server->program().waitFor(
            [=] { return server->command("devices")["identified"].toInt() == devices; });
    }
};

void TestCrowd::twoThousandDevicesAreAskedAtOnceAndOneByOne()
{
    ServerProgram server({"--port", "0", "--quiet", "connected", "--quiet", "device", "--quiet", "answer"});
    QVERIFY(server.isListening());
    const Crowd crowd(server.port(), kDevices);
    QCOMPARE(crowd.size(), size_t{kDevices});
    QVERIFY(knows(&server, kDevices));

    const QJsonObject reply = server.command("get device device=* timeout=60");
    QCOMPARE(reply["status"].toString(), QString("ok"));
    QCOMPARE(reply["tally"].toObject(),
             (QJsonObject{{"asked", 2000}, {"answered", 2000}, {"timeout", 0}, {"error", 0}}));
    QCOMPARE(reply["objects"].toArray().size(), 0);
    QCOMPARE(crowd.answered(), size_t{2 * kDevices});

    for (const int serial : {1, 1000, 2000}) {
        const QJsonArray objects = server.objects("get device device=" + QString::number(serial));
        QCOMPARE(objects.size(), 1);
        QCOMPARE(objects[0].toObject()["deviceSerial"].toInt(), serial);
    }
    QCOMPARE(server.count("disconnected"), 0);
    QCOMPARE(server.count("answer"), 0);
}

void TestCrowd::theLinesOfTwoThousandDevicesAllCome()
{
    ServerProgram server({"--port", "0"});
    const Crowd crowd(server.port(), kDevices);
    QVERIFY(knows(&server, kDevices));
    QCOMPARE(server.command("set dout * state=high device=* timeout=60")["status"].toString(), QString("ok"));
    QCOMPARE(server.count("connected"), int{kDevices});
    QCOMPARE(server.count("device"), int{kDevices});
    QCOMPARE(server.count("answer"), int{kDevices});
    QCOMPARE(server.count("disconnected"), 0);
}

ZUL_QTEST(TestCrowd)
#include "crowd_test.moc"
