// How long a good device's answers take, alone and beside many peers that send a byte a second.

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <memory>
#include <vector>

#include "programs.h"
#include "wmsg/wmsg.h"

namespace {

struct Times
{
    double median;
    double slowest; ///< of a hundred the slowest but one
};

/// The times of @p count requests, in milliseconds as the server measures them.
Times timesOf(ServerProgram* server, int count)
{
    std::vector<double> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(server->command("get din 1 timeout=30")["seconds"].toDouble() * 1000);
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 99 / 100]};
}

/// Peers that send the bytes of a message, one a second each, spread over the second.
class Crowd
{
public:
    Crowd(int size, int port)
    {
        WMsg message;
        message.type = 3;
        message.event = true;
        message.payload.resize(1000);
        message.appendFrames(mBytes);
        for (int i = 0; i < size; ++i) {
            mPeers.push_back(std::make_unique<QTcpSocket>());
            mPeers.back()->connectToHost("127.0.0.1", static_cast<quint16>(port));
        }
        mTimer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&mTimer, &QTimer::timeout, [this] { sendNext(); });
        mTimer.start(std::max(1, 1000 / size));
    }

private:
    void sendNext()
    {
        QTcpSocket& peer = *mPeers[mNext % mPeers.size()];
        const size_t byte = mNext++ / mPeers.size() % mBytes.size();
        peer.write(reinterpret_cast<const char*>(mBytes.data()) + byte, 1);
    }

    std::vector<uint8_t> mBytes;
    std::vector<std::unique_ptr<QTcpSocket>> mPeers;
    QTimer mTimer;
    size_t mNext = 0;
};

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Measures a device's answers beside peers that send a byte a second.", "slowpeers");
    int peers = 200;
    int requests = 1000;
    app.add_option("--peers", peers, "How many; 200 unless given")->check(CLI::Range(1, 1000));
    app.add_option("--requests", requests, "How many each time; 1000 unless given")
        ->check(CLI::Range(1, 1000000));
    CLI11_PARSE(app, argc, argv);

    const QCoreApplication application(argc, argv);
    ServerProgram server;
    Program simulator;
    startSimulator(&simulator, deviceFile(4, 4, 4, 4, 1), server.port());
    if (server.line("device").isEmpty()) {
        std::fprintf(stderr, "slowpeers: the device does not come\n");
        return 1;
    }
    const Times alone = timesOf(&server, requests);
    const Crowd crowd(peers, server.port());
    if (server.line("connected", peers + 1).isEmpty()) {
        std::fprintf(stderr, "slowpeers: the peers do not connect\n");
        return 1;
    }
    const Times beside = timesOf(&server, requests);
    std::printf("peers=%d requests=%d medianAlone=%.3fms medianBeside=%.3fms ratio=%.2f p99Alone=%.3fms "
                "p99Beside=%.3fms ratio=%.2f dropped=%d\n",
                peers, requests, alone.median, beside.median, beside.median / alone.median, alone.slowest,
                beside.slowest, beside.slowest / alone.slowest, server.count("disconnected"));
    return simulator.stop(SIGTERM) == 0 ? 0 : 1;
}
