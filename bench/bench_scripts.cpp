// How many emissions of a script reach a server, and how soon, while the device's window is shown.

#include <QApplication>
#include <QSemaphore>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <thread>

#include "benchserver.h"
#include "cscripts.h"
#include "scriptworker.h"
#include "showndevice.h"
#include "zulobj/objectlist.h"
#include "zulserverprocess.h"

namespace {

constexpr int kEmissions = 20000;

/// Where the scripts stand that are to run.
class ScriptFile
{
public:
    explicit ScriptFile(const QByteArray& text) : mPath(mDirectory.filePath("bench.js"))
    {
        QFile file(mPath);
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
            qFatal("%s cannot be written", qPrintable(mPath));
        }
    }

    /// A worker that is to run the script against @p device.
    std::unique_ptr<scriptWorker> worker(cDevice* device) const
    {
        auto worker = std::make_unique<scriptWorker>(device->door());
        worker->receiveScriptFileName(mPath, device);
        return worker;
    }

private:
    QTemporaryDir mDirectory;
    QString mPath;
};

/// Reads until so many events have come. False when the link broke.
bool readEvents(BenchServer* server, int count)
{
    WMsg message;
    while (count > 0) {
        if (!server->next(&message)) {
            return false;
        }
        count -= message.type == cObjectList::kEvent ? 1 : 0;
    }
    return true;
}

/// A script that does @p each in a tight loop, from its start to the arrival of the last event.
void emissions(benchmark::State& state, const char* each)
{
    BenchServer server;
    ShownDevice shown(4);
    shown.connectTo(server.port());
    server.accept();
    const ScriptFile script("sender.setDigitalInput_Signal.connect(receiver.setDigitalInput_Slot);\n"
                            "sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);\n"
                            "for (var i = 1; i <= " +
                            QByteArray::number(kEmissions) + "; ++i) {" + each + "}");
    for (auto _ : state) {
        cScripts scripts;
        QEventLoop loop;
        std::atomic<bool> arrived{false};
        std::thread reader([&] {
            arrived = readEvents(&server, kEmissions);
            QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
        });
        scripts.start(script.worker(shown.device()));
        loop.exec();
        reader.join();
        if (!arrived) {
            state.SkipWithError("the link broke");
            break;
        }
        state.PauseTiming();
        scripts.stop();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kEmissions);
}
BENCHMARK_CAPTURE(emissions, analog_signal, "sender.setAnalogInput_Signal(1, i % 101);")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(emissions, analog_slot, "receiver.setAnalogInput_Slot(1, i % 101);")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(emissions, digital_signal, "sender.setDigitalInput_Signal(1, i % 2);")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

/// The value below which this part of the sorted @p values lies, in microseconds.
double quantile(const std::vector<double>& values, double part)
{
    return values.empty() ? 0 : values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
}

/// From one emission in a script to its line in the output of the real server; the next emission comes when
/// the line has been read.
void latency(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    ZulserverProcess server;
    ShownDevice shown(4);
    shown.connectTo(server.port());
    const ScriptFile script("sender.setAnalogInput_Signal.connect(receiver.setAnalogInput_Slot);\n"
                            "for (var i = 0; ; ++i) sender.setAnalogInput_Signal(1, i % 101);");

    QSemaphore turns;
    Clock::time_point emitted;
    std::unique_ptr<scriptWorker> worker = script.worker(shown.device());
    // Connected before the script's own connection, so it runs first, on the script's thread.
    QObject::connect(
        worker.get(), &scriptWorker::setAnalogInput_Signal, worker.get(),
        [&] {
            turns.acquire();
            emitted = Clock::now();
        },
        Qt::DirectConnection);
    cScripts scripts;
    scripts.start(std::move(worker));

    std::vector<double> microseconds;
    QEventLoop loop;
    std::thread reader([&] {
        if (!server.skipTo("\"device\"")) {
            state.SkipWithError("the server does not know the device");
        }
        for (auto _ : state) {
            turns.release();
            if (!server.skipTo("\"OBJ_ANALOG_SAMPLE\"")) {
                state.SkipWithError("the server ended");
                break;
            }
            const std::chrono::duration<double> taken = Clock::now() - emitted;
            state.SetIterationTime(taken.count());
            microseconds.push_back(taken.count() * 1e6);
        }
        QMetaObject::invokeMethod(&loop, "quit", Qt::QueuedConnection);
    });
    loop.exec();
    reader.join();
    // The script goes on from wherever it is to a device that is gone, and ends.
    shown.close();
    turns.release();
    scripts.stop();

    std::sort(microseconds.begin(), microseconds.end());
    state.counters["median_us"] = quantile(microseconds, 0.5);
    state.counters["p99_us"] = quantile(microseconds, 0.99);
}
BENCHMARK(latency)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
