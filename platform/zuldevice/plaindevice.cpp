#include "zuldevice/plaindevice.h"

PlainDevice::PlainDevice(const zuldevice::Counts& counts, const char* label, uint32_t version,
                         uint32_t serial, time_t now, Listener* listener, std::ostream* trace)
    : mListener(listener),
      mTrace(trace),
      mCore({mRecord, mDigitalInputs.all, mDigitalOutputs.all, mAnalogInputs.all, mAnalogOutputs.all,
             mScanners.all, mCapabilities},
            trace, listener)
{
    zuldevice::describeDevice(&mRecord, counts, label, version, serial);
    fill(&mDigitalInputs, counts.digitalInputs);
    fill(&mDigitalOutputs, counts.digitalOutputs);
    fill(&mAnalogInputs, counts.analogInputs, now);
    fill(&mAnalogOutputs, counts.analogOutputs);
    fill(&mScanners, counts.scanners);
    mCore.addCapabilities();
}

template <class Part, class... Arguments>
void PlainDevice::fill(Owned<Part>* parts, uint32_t count, Arguments... arguments)
{
    for (uint32_t number = 1; number <= count; ++number) {
        parts->all.push_back(new Part(arguments...));
        zuldevice::describe(parts->all.back(), number, mRecord.getDeviceSerial(), "fT %");
    }
}

void PlainDevice::handle(cObjectList* msg)
{
    cObjectList reply;
    if (mCore.handle(msg, &reply)) {
        mListener->send(&reply);
    }
}

void PlainDevice::takeSamples(time_t now)
{
    for (PlainAInput* input : mAnalogInputs.all) {
        if (cObjectAnalogSample* sample = input->checkSample(now, mTrace)) {
            reportSample(sample);
        }
    }
}

bool PlainDevice::setDigitalInput(uint32_t port, bool high)
{
    PlainDInput* input = mDigitalInputs.at(port);
    if (input == nullptr) {
        return false;
    }
    const auto state = high ? cObject::OBJ_IO_STATE_SET : cObject::OBJ_IO_STATE_CLEAR;
    if (state == input->getInputState()) {
        return true;
    }
    input->setInputState(state);
    input->updateStatus();
    mListener->changed(*input);
    cObjectList event;
    mCore.inputEvent(
        int64_t{port} - 1,
        [this](PlainDOutput* output, cObject::eObjectIOState driven) {
            zuldevice::drive(output, driven);
            mListener->changed(*output);
        },
        &event);
    mListener->send(&event);
    return true;
}

bool PlainDevice::setAnalogInput(uint32_t port, int value)
{
    PlainAInput* input = mAnalogInputs.at(port);
    if (input == nullptr || value < 0 || value > 100) {
        return false;
    }
    input->setValue(value);
    mListener->changed(*input);
    auto* sample = new cObjectAnalogSample;
    sample->setSample(static_cast<float>(value));
    sample->setPortNum(port);
    reportSample(sample);
    return true;
}

/// @p sample is taken over.
void PlainDevice::reportSample(cObjectAnalogSample* sample)
{
    cObjectList event;
    mCore.analogEvent(
        sample,
        [this](PlainAOutput* output, const cObjectAOutput* value) {
            zuldevice::applySet(*value, output);
            mListener->changed(*output);
        },
        &event);
    mListener->send(&event);
}

template <class Input, class Output>
bool PlainDevice::connect(Input* input, uint32_t inputNumber, Output* output, uint32_t outputNumber,
                          bool connect)
{
    const int expected = connect ? 0 : static_cast<int>(inputNumber);
    if (input == nullptr || output == nullptr || output->getInputPort() != expected) {
        return false;
    }
    if (connect) {
        zuldevice::wire(input, static_cast<int>(inputNumber), output, static_cast<int>(outputNumber));
    } else {
        zuldevice::unwire(input, output, static_cast<int>(outputNumber));
    }
    return true;
}

bool PlainDevice::connectDigitalInput(uint32_t input, uint32_t output, bool connect)
{
    return PlainDevice::connect(mDigitalInputs.at(input), input, mDigitalOutputs.at(output), output, connect);
}

bool PlainDevice::connectAnalogInput(uint32_t input, uint32_t output, bool connect)
{
    return PlainDevice::connect(mAnalogInputs.at(input), input, mAnalogOutputs.at(output), output, connect);
}

bool PlainDevice::scan(uint32_t scanner, const char* code)
{
    cObjectAccess* access = mScanners.at(scanner);
    if (access == nullptr) {
        return false;
    }
    access->setScanCode(code);
    cObjectList event;
    mCore.accessEvent(int64_t{scanner} - 1, &event);
    mListener->send(&event);
    return true;
}

void PlainDevice::adhoc(uint32_t id, const char* label, const char* value)
{
    cObjectAdhocEvent record;
    record.setDeviceSerial(mRecord.getDeviceSerial());
    record.setPortId(id);
    record.setEventLabel(label);
    record.setEventValue(value);
    cObjectList event;
    mCore.adHocEvent(&record, &event);
    mListener->send(&event);
}
