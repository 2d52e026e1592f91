// How long a device takes to come up, and how long its answers take over loopback while its window is shown.

#include <QApplication>
#include <QMainWindow>
#include <benchmark/benchmark.h>
#include <thread>

#include "benchserver.h"
#include "showndevice.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

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
    BenchServer server;
    ShownDevice shown(static_cast<uint32_t>(state.range(0)));
    shown.connectTo(server.port());
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
}
BENCHMARK_CAPTURE(roundTrip, one_input, 1U)->Arg(4)->Arg(99)->UseRealTime();
BENCHMARK_CAPTURE(roundTrip, all_inputs, 0xFFFFFFFFU)->Arg(4)->Arg(99)->Arg(1000)->UseRealTime();

} // namespace
