// What events cost at least: a program that only writes them, on schedule, to as many sockets.
//
// asioevents PORT CONNECTIONS RATE SECONDS prints the processor time of 1,000 events in seconds.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sys/resource.h>
#include <vector>

#include "wmsg/wmsg.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

using boost::asio::ip::tcp;

/// The bytes of a digital input's event.
std::vector<uint8_t> eventBytes()
{
    cObjectDInput input;
    input.setDeviceSerial(1001);
    input.setPortId(1);
    input.setPortLabel("INPUT 1");
    cObjectList list;
    list.setMsgType(cObjectList::kEvent);
    list.addBorrowed(&input);
    WMsg message;
    std::vector<uint8_t> bytes;
    static_cast<void>(list.encode(&message));
    message.appendFrames(bytes);
    return bytes;
}

double processorSeconds()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5) {
        return 1;
    }
    const tcp::endpoint server(boost::asio::ip::address_v4::loopback(),
                               static_cast<uint16_t>(std::atoi(argv[1])));
    const double rate = std::atof(argv[3]);
    const auto events = static_cast<uint64_t>(rate * std::atof(argv[4]));
    boost::asio::io_context io(1);
    std::vector<tcp::socket> sockets;
    for (int i = std::atoi(argv[2]); i > 0; --i) {
        sockets.emplace_back(io).connect(server);
        sockets.back().set_option(tcp::no_delay(true));
        sockets.back().non_blocking(true);
    }
    const std::vector<uint8_t> bytes = eventBytes();
    const auto begun = std::chrono::steady_clock::now();
    const auto due = [&](uint64_t event) {
        return begun + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                           std::chrono::duration<double>(static_cast<double>(event) / rate));
    };
    const double before = processorSeconds();
    boost::asio::steady_timer timer(io);
    uint64_t sent = 0;
    uint64_t place = 0;
    const std::function<void()> send = [&] {
        for (; sent < events && due(sent) <= std::chrono::steady_clock::now(); ++sent) {
            boost::system::error_code ignored;
            place = place * 6364136223846793005U + 1442695040888963407U;
            sockets[(place >> 33) % sockets.size()].send(boost::asio::buffer(bytes), 0, ignored);
        }
        if (sent < events) {
            timer.expires_at(due(sent));
            timer.async_wait([&](const boost::system::error_code&) { send(); });
        }
    };
    send();
    io.run();
    std::printf("seconds %.6f\n", (processorSeconds() - before) * 1000.0 / static_cast<double>(events));
}
