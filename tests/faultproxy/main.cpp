// Stands between a device and a server and spoils what passes.

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>

#include "faultproxy.h"

namespace {

void declareLine(CLI::App* app, Faults* faults)
{
    app->add_option("--seed", faults->seed, "Repeats a run; 1 unless given");
    app->add_option("--delay", faults->delayMs, "Milliseconds that each segment takes");
    app->add_option("--jitter", faults->jitterMs, "Up to so many milliseconds more");
    app->add_option("--rate", faults->bytesPerSecond, "Bytes per second in each direction");
    app->add_option("--slice", faults->sliceBytes, "Bytes written at once; 1 for single bytes");
    app->add_option("--cut", faults->cutAt, "Write the first so many bytes of each segment apart");
    app->add_option("--gap", faults->gapMicroseconds, "Microseconds between two writes");
    app->add_option("--stall-ms", faults->stallMs, "How long a stall lasts");
    app->add_option("--silence-ms", faults->silenceMs, "How long a silence lasts before the reset");
}

void declareChances(CLI::App* app, Faults* faults)
{
    const auto chance = [app](const char* name, double* value, const char* text) {
        app->add_option(name, *value, std::string("Chance of a segment, 0 to 1: ") + text)
            ->check(CLI::Range(0.0, 1.0));
    };
    chance("--corrupt", &faults->corrupt, "some of its bytes are changed");
    chance("--duplicate", &faults->duplicate, "it passes twice");
    chance("--drop", &faults->drop, "it does not pass");
    chance("--stall", &faults->stall, "its direction stands still for a while");
    chance("--reset", &faults->reset, "the connection is reset in its middle");
    chance("--close", &faults->close, "the connection is closed in its middle");
    chance("--silence", &faults->silence, "the connection stays and nothing passes any more");
}

/// Waits for SIGINT or SIGTERM, which the caller has blocked in every thread.
void waitForSignal(const sigset_t& ends)
{
    int number = 0;
    sigwait(&ends, &number);
}

void print(const FaultCounts& counts)
{
    const auto number = [](uint64_t value) { return static_cast<unsigned long long>(value); };
    std::printf("connections=%llu segments=%llu bytes=%llu corrupted=%llu duplicated=%llu dropped=%llu "
                "stalled=%llu resets=%llu closed=%llu silenced=%llu\n",
                number(counts.connections), number(counts.segments), number(counts.bytes),
                number(counts.corrupted), number(counts.duplicated), number(counts.dropped),
                number(counts.stalled), number(counts.resets), number(counts.closed),
                number(counts.silenced));
}

} // namespace

int main(int argc, char** argv)
{
    CLI::App app("Passes the bytes between a device and a server of this machine, and damages them.",
                 "faultproxy");
    app.footer("Prints where it listens, and on SIGINT or SIGTERM what it has done.");
    Faults faults;
    uint16_t port = 0;
    uint16_t serverPort = 50000;
    app.add_option("--port", port, "Listen at this port of 127.0.0.1; a free one unless given");
    app.add_option("--to", serverPort, "The server's port; 50000 unless given");
    declareLine(&app, &faults);
    declareChances(&app, &faults);
    CLI11_PARSE(app, argc, argv);

    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ends, nullptr);

    FaultProxy proxy(serverPort, faults, port);
    if (proxy.port() == 0) {
        std::fprintf(stderr, "faultproxy: cannot listen at port %d\n", port);
        return 1;
    }
    std::printf("listening at 127.0.0.1 port %d, passing on to port %d\n", proxy.port(), serverPort);
    std::fflush(stdout);
    waitForSignal(ends);
    print(proxy.counts());
    return 0;
}
