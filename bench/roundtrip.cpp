// How long one request and its answer take over loopback: of the device with its window shown, and of peers
// with less behind them. Both ends share a core, so that nobody waits for another one to wake up.

#include <cerrno>
#include <cstring>
#include <memory>
#include <modbus.h>
#undef OFF // a macro of its own, and a name of ours

#include "deviceprocess.h"
#include "figures.h"
#include "rawlink.h"
#include "threads.h"

namespace {

constexpr uint32_t kPorts = 4;
constexpr int kCoils = 64;

/// A process that serves one connection to this one.
class Peer
{
public:
    explicit Peer(const std::function<void(int)>& serve) : mProcess([&] { serve(connectTo(mServer.port())); })
    {
        mServer.accept();
    }

    int descriptor() const { return mServer.descriptor(); }

private:
    BenchServer mServer;
    ChildProcess mProcess;
};

void echo(int link, const Bytes& answer)
{
    char request[2048];
    while (::recv(link, request, sizeof request, 0) > 0) {
        ::send(link, answer.data(), answer.size(), MSG_NOSIGNAL);
    }
}

/// The same behind the event loop of a program with a window.
void echoInEventLoop(int link, const Bytes& answer)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    char name[] = "echo";
    char* arguments[] = {name, nullptr};
    int count = 1;
    QApplication application(count, arguments);
    QWidget window;
    window.show();
    QSocketNotifier readable(link, QSocketNotifier::Read);
    QObject::connect(&readable, &QSocketNotifier::activated, [&] {
        char request[2048];
        if (::recv(link, request, sizeof request, 0) <= 0) {
            QApplication::quit();
        }
        ::send(link, answer.data(), answer.size(), MSG_NOSIGNAL);
    });
    QApplication::exec();
}

void serveCoils(int link)
{
    modbus_t* slave = modbus_new_tcp("127.0.0.1", 1502);
    modbus_set_socket(slave, link);
    modbus_mapping_t* coils = modbus_mapping_new(kCoils, 0, 0, 0);
    uint8_t request[MODBUS_TCP_MAX_ADU_LENGTH];
    for (;;) {
        const int size = modbus_receive(slave, request);
        if (size < 0 || modbus_reply(slave, request, size, coils) < 0) {
            return;
        }
    }
}

/// Reads kCoils coils from 0: transaction 0, protocol 0, 6 more bytes, any unit, function 1.
Bytes coilsRequest() { return {0, 0, 0, 0, 0, 6, 0xFF, 1, 0, 0, 0, kCoils}; }

size_t measureCoils(const uint8_t*, size_t size) { return size == 9 + kCoils / 8 ? size : 0; }

/// Has the libmodbus master read kCoils coils over @p link.
std::function<bool()> masterOver(int link)
{
    const std::shared_ptr<modbus_t> master(modbus_new_tcp("127.0.0.1", 1502), modbus_free);
    modbus_set_socket(master.get(), link);
    return [master] {
        uint8_t coils[kCoils];
        return modbus_read_bits(master.get(), 0, kCoils, coils) == kCoils;
    };
}

/// The median of several trips, in microseconds.
double medianOf(const std::function<bool()>& trip, int trips)
{
    std::vector<double> taken;
    taken.reserve(static_cast<size_t>(trips));
    for (int i = 0; i < trips; ++i) {
        const double before = figures::now();
        if (!trip()) {
            fail("a link broke");
        }
        taken.push_back(figures::now() - before);
    }
    return figures::quantile(std::move(taken), 0.5);
}

/// A peer and what its rounds gave.
struct Rounds
{
    const char* name;
    std::function<bool()> trip;
    std::vector<double> us;
    std::vector<double> ratios; ///< ours to this one's, of rounds that followed each other
};

void compare(int rounds, int trips)
{
    BenchServer server;
    DeviceProcess device(kPorts, &server);
    RawAsker ours(server.descriptor(), inputRequest(1), measureAnswer);
    const auto ourTrip = [&] { return ours.ask(); };
    medianOf(ourTrip, trips);
    const Bytes answer = ours.answer();

    const Peer echoing([&](int link) { echo(link, answer); });
    const Peer inEventLoop([&](int link) { echoInEventLoop(link, answer); });
    const Peer slave(serveCoils);
    const Peer mastered(serveCoils);
    RawAsker echoAsker(echoing.descriptor(), inputRequest(1), measureAnswer);
    RawAsker loopAsker(inEventLoop.descriptor(), inputRequest(1), measureAnswer);
    RawAsker coilAsker(slave.descriptor(), coilsRequest(), measureCoils);
    Rounds peers[] = {{"echo", [&] { return echoAsker.ask(); }, {}, {}},
                      {"loop", [&] { return loopAsker.ask(); }, {}, {}},
                      {"slave", [&] { return coilAsker.ask(); }, {}, {}},
                      {"master", masterOver(mastered.descriptor()), {}, {}}};
    std::vector<double> oursUs;
    for (int i = 0; i < rounds; ++i) {
        for (Rounds& peer : peers) {
            const double our = medianOf(ourTrip, trips);
            const double their = medianOf(peer.trip, trips);
            oursUs.push_back(our);
            peer.us.push_back(their);
            peer.ratios.push_back(our / their);
        }
    }
    figures::print("ours", oursUs);
    for (const Rounds& peer : peers) {
        figures::print(peer.name, peer.us);
        figures::print(std::string(peer.name) + "-ratio", peer.ratios);
    }
}

/// Prints what a trip took of each of the device's threads.
void askOne(uint32_t ports, int trips)
{
    BenchServer server;
    DeviceProcess device(ports, &server);
    RawAsker ours(server.descriptor(), inputRequest(ports), measureAnswer);
    medianOf([&] { return ours.ask(); }, 10);
    const std::map<pid_t, ThreadWork> before = threadsOf(device.id());
    medianOf([&] { return ours.ask(); }, trips);
    printThreads(device.id(), before, trips);
}

int usage()
{
    std::fprintf(stderr, "usage: roundtrip compare ROUNDS TRIPS\n"
                         "       roundtrip one PORTS TRIPS\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        return usage();
    }
    const std::string what = argv[1];
    const int number = std::atoi(argv[2]);
    const int trips = std::atoi(argv[3]);
    if (number < 1 || trips < 1) {
        return usage();
    }
    pinTo(eCore::LAST);
    if (what == "compare") {
        compare(number, trips);
    } else if (what == "one") {
        askOne(static_cast<uint32_t>(number), trips);
    } else {
        return usage();
    }
    return 0;
}
