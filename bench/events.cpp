// How soon and how many events reach the server while the window is shown: of an operator, and of scripts.

#include <QComboBox>
#include <QFile>
#include <QSemaphore>
#include <QTemporaryDir>
#include <atomic>
#include <cerrno>
#include <fstream>
#include <sched.h>

#include "cdinput.h"
#include "cscripts.h"
#include "deviceprocess.h"
#include "figures.h"
#include "scriptworker.h"
#include "wmsg/wbytes.h"

namespace {

constexpr uint32_t kPorts = 4;

/// When the last action began in the device's process and when it was done there.
struct Action
{
    std::atomic<uint32_t> done{0};
    double begun = 0;
    double returned = 0;
};

/// The next event that is about an object of @p type, or false if the link broke.
bool nextEvent(BenchServer* server, uint32_t type)
{
    WMsg message;
    do {
        if (!server->next(&message)) {
            return false;
        }
    } while (!message.event || message.payload.size() < 4 || wmsg::get32(message.payload.data()) != type);
    return true;
}

/// Stays awake until something has come, so that its arrival is seen at once.
void watch(const BenchServer& server)
{
    char byte = 0;
    while (::recv(server.descriptor(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN) {
    }
}

/// The scripts of a device, and where they stand.
class Scripts
{
public:
    /// A worker that is to run @p text.
    std::unique_ptr<scriptWorker> worker(const QByteArray& text, cDevice* device)
    {
        const QString path = mDirectory.filePath("bench.js");
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            fail("the script cannot be written");
        }
        auto worker = std::make_unique<scriptWorker>(device->executor());
        worker->receiveScriptFileName(path, device);
        return worker;
    }

    void start(std::unique_ptr<scriptWorker> worker) { mScripts.start(std::move(worker)); }

    QSemaphore turns; ///< for a script that emits when it is told to

private:
    QTemporaryDir mDirectory;
    cScripts mScripts;
};

/// An order lets the operator choose the other state of the first input.
DeviceProcess::Obey operate(ShownDevice* shown, Action* action)
{
    auto* box = shown->device()->getInput(0)->findChild<QComboBox*>();
    return [box, action](char) {
        action->begun = figures::now();
        box->setCurrentIndex(1 - box->currentIndex());
        action->returned = figures::now();
        ++action->done;
    };
}

/// An order lets a script emit once.
DeviceProcess::Obey emitOnce(ShownDevice* shown, Action* action)
{
    auto scripts = std::make_shared<Scripts>();
    std::unique_ptr<scriptWorker> worker =
        scripts->worker("sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);\n"
                        "for (var i = 0; ; ++i) sender.setAnalogInput_Signal(1, i % 101);",
                        shown->device());
    // Connected before the script's own connection, so it runs first, on the script's thread.
    QObject::connect(
        worker.get(), &scriptWorker::setAnalogInput_Signal, worker.get(),
        [turns = &scripts->turns, action] {
            ++action->done;
            turns->acquire();
            action->begun = figures::now();
        },
        Qt::DirectConnection);
    scripts->start(std::move(worker));
    return [scripts](char) { scripts->turns.release(); };
}

/// An order starts a script that does @p each without an end.
DeviceProcess::Obey emitForEver(ShownDevice* shown, const QByteArray& each)
{
    auto scripts = std::make_shared<Scripts>();
    return [scripts, shown, each](char) {
        scripts->start(
            scripts->worker("sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);\n"
                            "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);\n"
                            "for (var i = 1; ; ++i) {" +
                                each + "}",
                            shown->device()));
    };
}

using Maker = DeviceProcess::Obey (*)(ShownDevice*, Action*);

/// From an action to the arrival of the last byte of its event, one action after the other.
void printLatency(const std::string& name, uint32_t type, Maker make, int rounds, int actions)
{
    Shared<Action> action;
    BenchServer server;
    pinTo(eCore::LAST);
    DeviceProcess device(kPorts, &server, [&](ShownDevice* shown) { return make(shown, &*action); });
    // On one core the server would hear of an event only when the device has painted what changed.
    pinTo(eCore::FIRST);
    std::vector<double> medians;
    std::vector<double> p99s;
    std::vector<double> returns;
    for (int i = 0; i <= rounds; ++i) {
        std::vector<double> arrived;
        std::vector<double> returned;
        for (int k = 0; k < actions; ++k) {
            const uint32_t done = action->done;
            device.order('a');
            watch(server);
            if (!nextEvent(&server, type)) {
                fail("the link broke");
            }
            const double now = figures::now();
            while (action->done == done) {
                ::sched_yield();
            }
            arrived.push_back(now - action->begun);
            returned.push_back(action->returned - action->begun);
        }
        // The first round warms up.
        if (i > 0) {
            medians.push_back(figures::quantile(arrived, 0.5));
            p99s.push_back(figures::quantile(arrived, 0.99));
            returns.push_back(figures::quantile(returned, 0.5));
        }
    }
    figures::print(name, medians);
    figures::print(name + "-p99", p99s);
    // An emission's slots run on other threads, so its return says nothing.
    if (figures::quantile(returns, 0) > 0) {
        figures::print(name + "-returned", returns);
    }
}

/// Resident memory in MiB.
double memoryOf(pid_t process)
{
    double total = 0;
    double resident = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/statm") >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / (1024 * 1024);
}

/// How many events come each second, and how the device's memory grows after the first part of the time.
void printRate(const std::string& name, uint32_t type, const QByteArray& each, double seconds)
{
    BenchServer server;
    DeviceProcess device(kPorts, &server, [&](ShownDevice* shown) { return emitForEver(shown, each); });
    device.order('a');
    if (!nextEvent(&server, type)) {
        fail("the link broke");
    }
    const double begin = figures::now();
    const double settled = begin + seconds * 1e6 / 5;
    const double end = begin + seconds * 1e6;
    double now = begin;
    double memory = 0;
    double events = 0;
    for (; now < end; now = figures::now()) {
        if (!nextEvent(&server, type)) {
            fail("the link broke");
        }
        ++events;
        if (memory == 0 && now >= settled) {
            memory = memoryOf(device.id());
        }
    }
    const double grown = memoryOf(device.id()) - memory;
    figures::print(name, events / (now - begin) * 1e6);
    figures::print(name + "-mib", memory);
    figures::print(name + "-grown-mib", grown);
}

int usage()
{
    std::fprintf(stderr, "usage: events latency ROUNDS ACTIONS\n"
                         "       events rate SECONDS\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "latency" && argc == 4) {
        const int rounds = std::atoi(argv[2]);
        const int actions = std::atoi(argv[3]);
        printLatency("operator", OBJ_PORT_DIN, operate, rounds, actions);
        printLatency("emission", OBJ_ANALOG_SAMPLE, emitOnce, rounds, actions);
        return 0;
    }
    if (what == "rate" && argc == 3) {
        const double seconds = std::atof(argv[2]);
        printRate("analog-signal", OBJ_ANALOG_SAMPLE, "sender.setAnalogInput_Signal(1, i % 101);", seconds);
        printRate("analog-slot", OBJ_ANALOG_SAMPLE, "receiver.setAnalogInput_Slot(1, i % 101);", seconds);
        printRate("digital-signal", OBJ_PORT_DIN, "sender.setDigitalInput_Signal(1, i % 2);", seconds);
        return 0;
    }
    return usage();
}
