// How long a list of 64 records takes to become bytes, and bytes a list.

#include <benchmark/benchmark.h>

#include "wmsg/wmsgreader.h"
#include "zulobj/ainput.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kRecords = 64;

template <class Record>
void fillPort(Record* record, uint32_t number)
{
    record->setDeviceSerial(1001);
    record->setPortId(number);
    record->setPortLabel("INPUT 1");
}

std::unique_ptr<cObjectList> digitalInputs()
{
    auto list = std::make_unique<cObjectList>();
    list->setMsgType(cObjectList::kRequest);
    for (uint32_t number = 1; number <= kRecords; ++number) {
        auto* record = new cObjectDInput;
        fillPort(record, number);
        record->setInputState(cObject::OBJ_IO_STATE_SET);
        record->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);
        list->add(record);
    }
    return list;
}

std::unique_ptr<cObjectList> analogInputs()
{
    auto list = std::make_unique<cObjectList>();
    list->setMsgType(cObjectList::kRequest);
    for (uint32_t number = 1; number <= kRecords; ++number) {
        auto* record = new cObjectAInput;
        fillPort(record, number);
        record->setGain(1.0F);
        record->setOffset(0.0F);
        record->setSampleRate(10);
        record->setDisplayUnit("fT %");
        list->add(record);
    }
    return list;
}

using ListMaker = std::unique_ptr<cObjectList> (*)();

void countRecords(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * kRecords);
}

void encode(benchmark::State& state, ListMaker make)
{
    const std::unique_ptr<cObjectList> list = make();
    WMsg message;
    for (auto _ : state) {
        const bool done = list->encode(&message).isOk();
        benchmark::DoNotOptimize(done);
    }
    countRecords(state);
    state.counters["payload"] = static_cast<double>(message.payload.size());
}

void decode(benchmark::State& state, ListMaker make)
{
    WMsg message;
    if (!make()->encode(&message).isOk()) {
        state.SkipWithError("the list could not be encoded");
        return;
    }
    cObjectList list;
    for (auto _ : state) {
        const bool done = list.decode(message).isOk();
        benchmark::DoNotOptimize(done);
    }
    countRecords(state);
}

/// Cuts a message into segments and puts it together again.
void segment(benchmark::State& state, ListMaker make)
{
    WMsg message;
    if (!make()->encode(&message).isOk()) {
        state.SkipWithError("the list could not be encoded");
        return;
    }
    std::vector<uint8_t> bytes;
    WMsgReader reader;
    WMsg received;
    for (auto _ : state) {
        bytes.clear();
        message.appendFrames(bytes);
        const uint8_t* data = bytes.data();
        size_t size = bytes.size();
        if (reader.read(&data, &size, 0, &received) != WMsgReader::MESSAGE) {
            state.SkipWithError("the message did not come back");
            break;
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

BENCHMARK_CAPTURE(encode, digital_inputs_64, digitalInputs);
BENCHMARK_CAPTURE(decode, digital_inputs_64, digitalInputs);
BENCHMARK_CAPTURE(encode, analog_inputs_64, analogInputs);
BENCHMARK_CAPTURE(decode, analog_inputs_64, analogInputs);
BENCHMARK_CAPTURE(segment, analog_inputs_64, analogInputs);

} // namespace

BENCHMARK_MAIN();
