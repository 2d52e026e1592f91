#pragma once

#include <cmath>
#include <concepts>
#include <cstdint>
#include <ctime>
#include <iosfwd>
#include <string>
#include <vector>

#include "zuldevice/checkedindex.h"
#include "zulobj/access.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"

/// The numbers of the outputs that are wired to one input, in the order in which they were wired.
///
/// Numbers are 1-based. The same number may stand in it twice.
class OutputList
{
public:
    void add(int output)
    {
        mOutputs.resize(static_cast<size_t>(count()));
        mOutputs.push_back(output);
        mCount = count() + 1;
    }

    /// Removes every entry equal to @p output but lowers the count by one only, however many there were: the
    /// places left over at the end hold @p output still. Nothing changes if there is none.
    void findAndRemove(int output)
    {
        if (mCount > 0 && std::erase(mOutputs, output) > 0) {
            --mCount;
            mOutputs.resize(static_cast<size_t>(mCount), output);
        }
    }

    int count() const { return mCount == kNew ? 0 : mCount; }

    /// Entry @p index, from 0; a wrong index ends the program. A new list has one unused place, which is 0.
    int at(int index) const
    {
        static const std::vector<int> unused = {0};
        return checkedAt(mCount == kNew ? unused : mOutputs, index, "outputList");
    }

    /// The numbers, separated by blanks.
    std::string text() const
    {
        std::string text;
        for (int k = 0; k < count(); ++k) {
            text += (k == 0 ? "" : " ") + std::to_string(at(k));
        }
        return text;
    }

private:
    static constexpr int kNew = -1; ///< until the first output is added; it takes no memory before

    std::vector<int> mOutputs;
    int mCount = kNew;
};

// The rules for one port. A port is a record or a row of a window; the templates call the port's own setters,
// so that a row also shows what it stores.

namespace zuldevice {

/// The number of ports of each kind and of scanners.
struct Counts
{
    uint32_t digitalInputs = 0;
    uint32_t digitalOutputs = 0;
    uint32_t analogInputs = 0;
    uint32_t analogOutputs = 0;
    uint32_t scanners = 0;
};

/// Fills the record of a new device, whose type is always TYPE_DISCRETE_IO. @p label is UTF-8.
void describeDevice(cObjectDevice* device, const Counts& counts, const char* label, uint32_t version,
                    uint32_t serial);

/// @p word ends in a blank: "INPUT " and the like.
inline void describePort(cObjectPort* port, const std::string& word, uint32_t number, uint32_t serial)
{
    port->setPortLabel((word + std::to_string(number)).c_str());
    port->setDeviceSerial(serial);
    port->setPortId(number);
}

// describe() fills the record of a new port or scanner.

template <std::derived_from<cObjectDInput> Input>
void describe(Input* input, uint32_t number, uint32_t serial, const char* /*unit*/)
{
    describePort(input, "INPUT ", number, serial);
    input->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);
    input->setInputState(cObject::OBJ_IO_STATE_CLEAR);
    input->updateStatus();
}

template <std::derived_from<cObjectDOutput> Output>
void describe(Output* output, uint32_t number, uint32_t serial, const char* /*unit*/)
{
    describePort(output, "OUTPUT ", number, serial);
    output->setDefaultState(cObject::OBJ_IO_STATE_CLEAR);
    output->setOutputState(cObject::OBJ_IO_STATE_CLEAR);
    output->updateStatus();
}

template <std::derived_from<cObjectAInput> Input>
void describe(Input* input, uint32_t number, uint32_t serial, const char* unit)
{
    describePort(input, "AIN ", number, serial);
    input->setSampleRate(10);
    input->setGain(1.0F);
    input->setOffset(0.0F);
    input->setDisplayUnit(unit);
}

template <std::derived_from<cObjectAOutput> Output>
void describe(Output* output, uint32_t number, uint32_t serial, const char* unit)
{
    describePort(output, "AOUT ", number, serial);
    output->setMinimumValue(0.0F);
    output->setMaximumValue(100.0F);
    output->setGain(1.0F);
    output->setOffset(0.0F);
    output->setDisplayUnit(unit);
    output->setSampledValue(0.0F);
}

template <std::derived_from<cObjectAccess> Access>
void describe(Access* scanner, uint32_t number, uint32_t serial, const char* /*unit*/)
{
    scanner->setDeviceSerial(serial);
    scanner->setPortNum(number);
    scanner->setLabel(("SCANNER " + std::to_string(number)).c_str());
}

/// True if @p received, a device serial or port id, is @p own or the wildcard.
inline bool matches(uint32_t received, uint32_t own)
{
    return received == own || received == cObject::kWildcard;
}

/// Sets the alarm status: clear while the state is the default one. Returns true for an alarm.
bool setAlarmStatus(cObjectPort* port, cObject::eObjectIOState state, cObject::eObjectIOState defaultState);

// applySet() applies the set of a server to one port.

/// A known default state is taken over, the input state never.
template <class Input>
void applySet(const cObjectDInput& request, Input* input)
{
    if (request.getDefaultState() != cObject::OBJ_IO_STATE_UNKNOWN) {
        input->setDefaultState(request.getDefaultState());
    }
}

/// Known states are taken over, and the status is recomputed in any case.
template <class Output>
void applySet(const cObjectDOutput& request, Output* output)
{
    if (request.getDefaultState() != cObject::OBJ_IO_STATE_UNKNOWN) {
        output->setDefaultState(request.getDefaultState());
    }
    if (request.getOutputState() != cObject::OBJ_IO_STATE_UNKNOWN) {
        output->setOutputState(request.getOutputState());
    }
    output->updateStatus();
}

/// A rate, gain or offset that is not "unchanged" is taken over.
template <class Input>
void applySet(const cObjectAInput& request, Input* input)
{
    if (request.getSampleRate() != cObject::kRateUnchanged) {
        input->setSampleRate(request.getSampleRate());
    }
    if (!std::isnan(request.getGain())) {
        input->setGain(request.getGain());
    }
    if (!std::isnan(request.getOffset())) {
        input->setOffset(request.getOffset());
    }
}

/// The output is marked connected, then takes over a value, from a server or a wired input, unless that is
/// NaN or for another port id.
template <class Output>
void applySet(const cObjectAOutput& object, Output* output)
{
    output->setConnectedStatus(true);
    if (matches(object.getPortId(), output->getPortId()) && !std::isnan(object.getSampledValue())) {
        output->setSampledValue(object.getSampledValue());
    }
}

/// Gives a digital output the state of the input that drives it.
template <class Output>
void drive(Output* output, cObject::eObjectIOState state)
{
    output->setConnectedStatus(true);
    output->setOutputState(state);
    output->updateStatus();
}

/// Wires @p output to @p input, or unwires it.
template <class Input, class Output>
void wire(Input* input, int inputNumber, Output* output, int outputNumber, bool connect)
{
    output->setConnectedStatus(connect);
    output->setInputPort(connect ? inputNumber : 0);
    if (connect) {
        input->addOutputPort(outputNumber);
    } else {
        input->findAndRemove(outputNumber);
    }
}

/// The latest periodic samples of an analog input, kSamplesKept at most: a ring that grows with its first
/// ones.
using SampleBuffer = std::vector<cObjectAnalogSample>;
constexpr uint32_t kSamplesKept = 32;

/// Takes a sample of @p value at @p now, in seconds. It goes to the record, to @p trace, to @p *last and to
/// slot @p *index of @p buffer, and a copy to the caller, who owns it.
cObjectAnalogSample* takeSample(cObjectAInput* input, float value, time_t now, time_t* last,
                                SampleBuffer* buffer, uint32_t* index, std::ostream& trace);

/// When the next periodic sample of @p input is due, in seconds, if the last one was taken at @p last.
int64_t nextSample(const cObjectAInput& input, time_t last);

/// The kept sample of @p input with sequence number @p seq, or null.
const cObjectAnalogSample* findSample(const cObjectAInput& input, const SampleBuffer& buffer, uint32_t seq);

} // namespace zuldevice
