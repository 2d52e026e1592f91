// How long a device takes to come up, and how long its answers take over loopback while its window is shown.

#include <QApplication>
#include <QMainWindow>
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <fstream>
#include <iostream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "cconfig.h"
#include "cdevice.h"
#include "wmsg/wmsgreader.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kSerial = 1001;

std::unique_ptr<cDevice> makeDevice(uint32_t ports)
{
    char label[] = "Bench";
    return std::make_unique<cDevice>(ports, ports, ports, ports, ports, label, QString(), 1, kSerial);
}

/// A blocking server with room for one device.
class Server
{
public:
    Server() : mListener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool listening = bind(mListener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                               listen(mListener, 1) == 0 &&
                               getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        mPort = listening ? ntohs(address.sin_port) : 0;
    }
    ~Server()
    {
        close(mPeer);
        close(mListener);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    uint16_t port() const { return mPort; }

    void accept()
    {
        mPeer = ::accept(mListener, nullptr, nullptr);
        const int on = 1;
        setsockopt(mPeer, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }

    /// Sends @p message and reads until its answer has come. False when the link broke.
    bool ask(WMsg* message)
    {
        message->seq = ++mSeq;
        mBytes.clear();
        message->appendFrames(mBytes);
        if (send(mPeer, mBytes.data(), mBytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(mBytes.size())) {
            return false;
        }
        WMsg received;
        do {
            if (!next(&received)) {
                return false;
            }
        } while (!received.answer || received.seq != mSeq);
        return true;
    }

private:
    bool next(WMsg* message)
    {
        for (;;) {
            const WMsgReader::eResult result = mReader.read(&mData, &mSize, 0, message);
            if (result != WMsgReader::MORE) {
                return result == WMsgReader::MESSAGE;
            }
            const ssize_t count = recv(mPeer, mBuffer, sizeof mBuffer, 0);
            if (count <= 0) {
                return false;
            }
            mData = mBuffer;
            mSize = static_cast<size_t>(count);
        }
    }

    int mListener;
    int mPeer = -1;
    uint16_t mPort = 0;
    uint8_t mSeq = 0;
    std::vector<uint8_t> mBytes;
    uint8_t mBuffer[65536];
    const uint8_t* mData = nullptr;
    size_t mSize = 0;
    WMsgReader mReader;
};

WMsg digitalInputRequest(uint32_t portId)
{
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    auto* record = new cObjectDInput;
    record->setDeviceSerial(cObject::kWildcard);
    record->setPortId(portId);
    list.add(record);
    WMsg message;
    static_cast<void>(list.encode(&message).isOk());
    return message;
}

/// From the description's numbers to the first painted window.
void load(benchmark::State& state)
{
    for (auto _ : state) {
        std::unique_ptr<cDevice> device = makeDevice(static_cast<uint32_t>(state.range(0)));
        QMainWindow window;
        window.resize(1117, 428);
        window.setCentralWidget(device.release());
        window.show();
        QApplication::processEvents();
        state.PauseTiming();
        delete window.takeCentralWidget();
        state.ResumeTiming();
    }
}
BENCHMARK(load)
    ->Arg(4)
    ->Arg(99)
    ->Arg(1000)
    ->Unit(benchmark::kMillisecond)
    ->Iterations(1)
    ->Repetitions(5)
    ->ReportAggregatesOnly();

/// One request and its answer, while the GUI thread runs its event loop with the window shown.
void roundTrip(benchmark::State& state, uint32_t portId)
{
    Server server;
    std::unique_ptr<cDevice> device = makeDevice(static_cast<uint32_t>(state.range(0)));
    QMainWindow window;
    window.resize(1117, 428);
    window.setCentralWidget(device.get());
    window.show();

    cConfig config;
    config.setZULIP("127.0.0.1");
    config.setZULPort(QString::number(server.port()));
    device->start(&config);
    server.accept();

    QEventLoop loop;
    std::thread asker([&] {
        WMsg request = digitalInputRequest(portId);
        for (auto _ : state) {
            if (!server.ask(&request)) {
                state.SkipWithError("the link broke");
                break;
            }
        }
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    asker.join();
    window.takeCentralWidget();
}
BENCHMARK_CAPTURE(roundTrip, one_input, 1U)->Arg(4)->Arg(99)->UseRealTime();
BENCHMARK_CAPTURE(roundTrip, all_inputs, 0xFFFFFFFFU)->Arg(4)->Arg(99)->Arg(1000)->UseRealTime();

/// Keeps the device's trace out of the table of figures.
class QuietTrace
{
public:
    QuietTrace() : mNowhere("/dev/null"), mTerminal(std::cout.rdbuf(mNowhere.rdbuf())) {}
    ~QuietTrace() { std::cout.rdbuf(mTerminal); }
    QuietTrace(const QuietTrace&) = delete;
    QuietTrace& operator=(const QuietTrace&) = delete;

    std::streambuf* terminal() const { return mTerminal; }

private:
    std::ofstream mNowhere;
    std::streambuf* mTerminal;
};

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    const QApplication application(argc, argv);
    const QuietTrace quiet;
    std::ostream table(quiet.terminal());
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&table);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
