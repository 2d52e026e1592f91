// A device that is connected and left alone, with a server that answers its pings: how often its threads
// wake. A tool that counts instructions finds the device's id in what this prints.

#include <poll.h>
#include <valgrind/callgrind.h>

#include "deviceprocess.h"
#include "figures.h"
#include "threads.h"

namespace {

/// Answers pings for the given number of seconds. Returns false if the link broke.
bool answerPings(BenchServer* server, double seconds)
{
    const double end = figures::now() + seconds * 1e6;
    for (double now = figures::now(); now < end; now = figures::now()) {
        pollfd readable{server->descriptor(), POLLIN, 0};
        WMsg message;
        if (::poll(&readable, 1, static_cast<int>((end - now) / 1e3) + 1) < 1) {
            continue;
        }
        if (!server->next(&message)) {
            return false;
        }
        if (message.control && !message.answer && !server->send(WMsg::ping(true))) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    const int ports = argc == 3 ? std::atoi(argv[1]) : 0;
    const double seconds = argc == 3 ? std::atof(argv[2]) : 0;
    if (ports < 1 || seconds <= 0) {
        std::fprintf(stderr, "usage: idle PORTS SECONDS\n");
        return 2;
    }
    constexpr double kSettleSeconds = 2;
    BenchServer server;
    DeviceProcess device(static_cast<uint32_t>(ports), &server,
                         [](ShownDevice*) { return [](char) { CALLGRIND_ZERO_STATS; }; });
    if (!answerPings(&server, kSettleSeconds)) {
        fail("the link broke");
    }
    device.order('z');
    const std::map<pid_t, ThreadWork> before = threadsOf(device.id());
    if (!answerPings(&server, seconds)) {
        fail("the link broke");
    }
    printThreads(device.id(), before, 1);
    return 0;
}
