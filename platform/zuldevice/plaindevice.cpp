#include "zuldevice/plaindevice.h"

#include <algorithm>

namespace {

template <class Part, class... Arguments>
void fill(PlainDevice::List<Part>* list, uint32_t count, uint32_t serial, Arguments... arguments)
{
    for (uint32_t number = 1; number <= count; ++number) {
        list->push_back(std::make_unique<Part>(arguments...));
        zuldevice::describe(list->back().get(), number, serial, "fT %");
    }
}

/// Null for a @p number that is not there.
template <class Part>
Part* at(const PlainDevice::List<Part>& list, uint32_t number)
{
    return number >= 1 && number <= list.size() ? list[number - 1].get() : nullptr;
}

template <class Input, class Output>
bool wire(const PlainDevice::List<Input>& inputs, uint32_t inputNumber,
          const PlainDevice::List<Output>& outputs, uint32_t outputNumber, bool connect)
{
    Input* input = at(inputs, inputNumber);
    Output* output = at(outputs, outputNumber);
    const int number = static_cast<int>(inputNumber);
    if (input == nullptr || output == nullptr || output->getInputPort() != (connect ? 0 : number)) {
        return false;
    }
    zuldevice::wire(input, number, output, static_cast<int>(outputNumber), connect);
    return true;
}

/// False if another input drives the output, and if one of them is not there.
template <class Input, class Output>
bool setWired(const PlainDevice::List<Input>& inputs, uint32_t inputNumber,
              const PlainDevice::List<Output>& outputs, uint32_t outputNumber, bool wired)
{
    Input* input = at(inputs, inputNumber);
    Output* output = at(outputs, outputNumber);
    const int number = static_cast<int>(inputNumber);
    if (input == nullptr || output == nullptr ||
        (wired && output->getInputPort() != 0 && output->getInputPort() != number)) {
        return false;
    }
    if ((output->getInputPort() == number) != wired) {
        zuldevice::wire(input, number, output, static_cast<int>(outputNumber), wired);
    }
    return true;
}

template <class Part>
std::vector<const cObject*> listOf(const PlainDevice::List<Part>& parts)
{
    std::vector<const cObject*> records;
    for (const auto& part : parts) {
        records.push_back(part.get());
    }
    return records;
}

} // namespace

PlainDevice::PlainDevice(const zuldevice::Counts& counts, const char* label, uint32_t version,
                         uint32_t serial, time_t now, Send send, std::ostream& trace)
    : mSend(std::move(send)), mTrace(trace)
{
    zuldevice::describeDevice(this, counts, label, version, serial);
    fill(&mDigitalInputList, counts.digitalInputs, serial);
    fill(&mDigitalOutputList, counts.digitalOutputs, serial);
    fill(&mAnalogInputList, counts.analogInputs, serial, now);
    fill(&mAnalogOutputList, counts.analogOutputs, serial);
    fill(&mAccessList, counts.scanners, serial);
    mCore.addCapabilities();
}

void PlainDevice::handle(cObjectList* msg)
{
    const uint8_t type = msg->getMsgType();
    if (type == cObjectList::kRequest) {
        mCore.handleRequest(msg);
    } else if (type == cObjectList::kSet) {
        mCore.handleSet(msg);
    } else if (type != cObjectList::kEvent) {
        mCore.traceUnknown(*msg);
    }
}

void PlainDevice::beginSampling(time_t now)
{
    std::ranges::for_each(mAnalogInputList, [now](auto& input) { input->beginSampling(now); });
}

std::optional<int64_t> PlainDevice::nextSample() const
{
    const auto next =
        std::ranges::min_element(mAnalogInputList, {}, [](auto& input) { return input->nextSample(); });
    return next == mAnalogInputList.end() ? std::nullopt : std::make_optional((*next)->nextSample());
}

void PlainDevice::takeSamples(time_t now)
{
    for (const auto& input : mAnalogInputList) {
        if (cObjectAnalogSample* sample = input->checkSample(now, mTrace, mSensors)) {
            mCore.analogEvent(sample);
        }
    }
}

void PlainDevice::sampleAll(time_t now)
{
    for (const auto& input : mAnalogInputList) {
        mCore.analogEvent(input->takeSample(now, mTrace, mSensors));
    }
}

bool PlainDevice::setDigitalInput(uint32_t port, bool high)
{
    PlainDInput* input = at(mDigitalInputList, port);
    const auto state = high ? OBJ_IO_STATE_SET : OBJ_IO_STATE_CLEAR;
    if (input != nullptr && input->getInputState() != state) {
        placeDigitalInput(port, high);
        mCore.inputEvent(int64_t{port} - 1);
    }
    return input != nullptr;
}

void PlainDevice::placeDigitalInput(uint32_t port, bool high)
{
    PlainDInput& input = *mDigitalInputList[port - 1];
    input.setInputState(high ? OBJ_IO_STATE_SET : OBJ_IO_STATE_CLEAR);
    input.updateStatus();
}

void PlainDevice::placeAnalogInput(uint32_t port, int value) { mAnalogInputList[port - 1]->setValue(value); }

bool PlainDevice::isHigh(uint32_t port) const
{
    const PlainDInput* input = at(mDigitalInputList, port);
    return input != nullptr && input->getInputState() == OBJ_IO_STATE_SET;
}

bool PlainDevice::setAnalogInput(uint32_t port, int value)
{
    PlainAInput* input = at(mAnalogInputList, port);
    if (input == nullptr || value < 0 || value > 100) {
        return false;
    }
    placeAnalogInput(port, value);
    auto* sample = new cObjectAnalogSample;
    sample->setSample(input->measured(mSensors));
    sample->setPortNum(port);
    mCore.analogEvent(sample);
    return true;
}

bool PlainDevice::connectDigitalInput(uint32_t input, uint32_t output, bool connect)
{
    return wire(mDigitalInputList, input, mDigitalOutputList, output, connect);
}

bool PlainDevice::connectAnalogInput(uint32_t input, uint32_t output, bool connect)
{
    return wire(mAnalogInputList, input, mAnalogOutputList, output, connect);
}

bool PlainDevice::setWired(eObjectTypes type, uint32_t input, uint32_t output, bool wired)
{
    return type == OBJ_PORT_DIN ? ::setWired(mDigitalInputList, input, mDigitalOutputList, output, wired)
                                : ::setWired(mAnalogInputList, input, mAnalogOutputList, output, wired);
}

std::vector<const cObject*> PlainDevice::records(eObjectTypes type) const
{
    switch (type) {
    case OBJ_PORT_DIN:
        return listOf(mDigitalInputList);
    case OBJ_PORT_DOUT:
        return listOf(mDigitalOutputList);
    case OBJ_PORT_AIN:
        return listOf(mAnalogInputList);
    case OBJ_PORT_AOUT:
        return listOf(mAnalogOutputList);
    case OBJ_ACCESS:
        return listOf(mAccessList);
    case OBJ_CAPABILITY:
        return listOf(mCapabilityList);
    default:
        return {this};
    }
}

bool PlainDevice::scan(uint32_t scanner, const char* code)
{
    cObjectAccess* access = at(mAccessList, scanner);
    if (access == nullptr) {
        return false;
    }
    access->setScanCode(code);
    mCore.accessEvent(int64_t{scanner} - 1);
    return true;
}

void PlainDevice::adhoc(uint32_t id, const char* label, const char* value)
{
    cObjectAdhocEvent record;
    record.setDeviceSerial(getDeviceSerial());
    record.setPortId(id);
    record.setEventLabel(label);
    record.setEventValue(value);
    mCore.adHocEvent(&record);
}
