#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "zuldevice/devicecore.h"
#include "zuldevice/sensors.h"

/// An input record and the outputs that are wired to it.
template <class Record>
class PlainInput : public Record
{
public:
    void addOutputPort(int output) { mOutputs.add(output); }
    void findAndRemove(int output) { mOutputs.findAndRemove(output); }
    int getOutputCount() const { return mOutputs.count(); }
    int getOutputPort(int index) const { return mOutputs.at(index); }

private:
    OutputList mOutputs;
};

/// An output record and the input that drives it.
template <class Record>
class PlainOutput : public Record
{
public:
    void setConnectedStatus(bool connected) { mConnected = connected; }
    bool getConnectedStatus() const { return mConnected; }

    /// 0 for none.
    void setInputPort(int input) { mInputPort = input; }
    int getInputPort() const { return mInputPort; }

private:
    bool mConnected = false;
    int mInputPort = 0;
};

class PlainDInput : public PlainInput<cObjectDInput>
{
public:
    /// Also recomputes the alarm status.
    void setDefaultState(eObjectIOState state)
    {
        cObjectDInput::setDefaultState(state);
        updateStatus();
    }

    void updateStatus() { zuldevice::setAlarmStatus(this, getInputState(), getDefaultState()); }
};

class PlainDOutput : public PlainOutput<cObjectDOutput>
{
public:
    void updateStatus() { zuldevice::setAlarmStatus(this, getOutputState(), getDefaultState()); }
};

using PlainAOutput = PlainOutput<cObjectAOutput>;

/// An analog input, whose value runs from 0 to 100 like a slider's.
class PlainAInput : public PlainInput<cObjectAInput>
{
public:
    /// @p now is when the input was made, in seconds.
    explicit PlainAInput(time_t now) : mLastSampleTime(now) {}

    void setValue(int value) { mValue = value; }

    int getValue() const { return mValue; }

    /// The next periodic sample is due a sample rate after @p now.
    void beginSampling(time_t now) { mLastSampleTime = now; }

    /// When it is due, in seconds.
    int64_t nextSample() const { return zuldevice::nextSample(*this, mLastSampleTime); }

    /// Returns a periodic sample, which belongs to the caller, or null if none is due at @p now.
    cObjectAnalogSample* checkSample(time_t now, std::ostream& trace, cSensors* sensors = nullptr)
    {
        return nextSample() <= now ? takeSample(now, trace, sensors) : nullptr;
    }

    /// Returns a sample, which belongs to the caller.
    cObjectAnalogSample* takeSample(time_t now, std::ostream& trace, cSensors* sensors = nullptr)
    {
        return zuldevice::takeSample(this, measured(sensors), now, &mLastSampleTime, &mSamples, &mSampleIdx,
                                     trace);
    }

    /// The value as @p sensors tell it, unless these are null.
    float measured(cSensors* sensors) const
    {
        const auto value = static_cast<float>(mValue);
        return sensors == nullptr ? value : sensors->measure(getPortId(), value);
    }

    /// The kept periodic sample with sequence number @p seq, or null.
    const cObjectAnalogSample* findSample(uint32_t seq) const
    {
        return zuldevice::findSample(*this, mSamples, seq);
    }

private:
    int mValue = 0;
    time_t mLastSampleTime;
    zuldevice::SampleBuffer mSamples;
    uint32_t mSampleIdx = 0;
};

/// A device without a window. One thread at a time; it starts none.
///
/// Ports and scanners are numbered from 1. Operator actions return false, and do nothing, for a number or a
/// value that the device does not have.
class PlainDevice : public cObjectDevice
{
public:
    /// Called with each answer and event for the server, which is valid during the call only.
    using Send = std::function<void(cObjectList* list)>;

    template <class Part>
    using List = std::vector<std::unique_ptr<Part>>;

    /// @p label is UTF-8. @p now is the time in seconds: the first samples are due a sample rate later.
    /// @p trace outlives the device.
    PlainDevice(const zuldevice::Counts& counts, const char* label, uint32_t version, uint32_t serial,
                time_t now, Send send, std::ostream& trace);

    /// Handles a message of the server. The answer is sent before this returns.
    void handle(cObjectList* msg);

    /// Has @p sensors, which are borrowed, tell the values of analog inputs. Null for right ones.
    void setSensors(cSensors* sensors) { mSensors = sensors; }

    /// The next samples are due a sample rate after @p now, in seconds.
    void beginSampling(time_t now);

    /// When the next sample is due, in seconds; nothing without analog inputs.
    std::optional<int64_t> nextSample() const;

    /// Takes and reports the samples that are due at @p now, in seconds.
    void takeSamples(time_t now);

    /// Takes and reports a sample of every analog input, due or not.
    void sampleAll(time_t now);

    /// Reports a digital input if @p high is not what it is already.
    bool setDigitalInput(uint32_t port, bool high);

    /// Sets a digital input, which is there, without reporting it.
    void placeDigitalInput(uint32_t port, bool high);

    /// Likewise; @p value is 0 to 100.
    void placeAnalogInput(uint32_t port, int value);

    /// False for a port that is not there.
    bool isHigh(uint32_t port) const;

    /// Reports a sample of @p value, 0 to 100, also if the input has it already.
    bool setAnalogInput(uint32_t port, int value);

    // Wire a free output to an input, or unwire one that this input drives.
    bool connectDigitalInput(uint32_t input, uint32_t output, bool connect);
    bool connectAnalogInput(uint32_t input, uint32_t output, bool connect);

    bool scan(uint32_t scanner, const char* code);
    void adhoc(uint32_t id, const char* label, const char* value);

    /// Puts @p output among the outputs of @p input, once, or takes it out. @p type is that of the input.
    bool setWired(eObjectTypes type, uint32_t input, uint32_t output, bool wired);

    /// The records of @p type in their order: of a kind of ports, the scanners (OBJ_ACCESS), the capabilities
    /// or the device itself.
    std::vector<const cObject*> records(eObjectTypes type) const;

    const List<PlainDInput>& digitalInputs() const { return mDigitalInputList; }
    const List<PlainAInput>& analogInputs() const { return mAnalogInputList; }
    const List<PlainDOutput>& digitalOutputs() const { return mDigitalOutputList; }
    const List<PlainAOutput>& analogOutputs() const { return mAnalogOutputList; }

private:
    friend class DeviceCore<PlainDevice>;

    void send(cObjectList* list) const { mSend(list); }
    static void drive(PlainDOutput* output, eObjectIOState state) { zuldevice::drive(output, state); }
    static void drive(PlainAOutput* output, const cObjectAOutput* value)
    {
        zuldevice::applySet(*value, output);
    }

    List<PlainDInput> mDigitalInputList;
    List<PlainDOutput> mDigitalOutputList;
    List<PlainAInput> mAnalogInputList;
    List<PlainAOutput> mAnalogOutputList;
    List<cObjectAccess> mAccessList;
    List<cObjectCapability> mCapabilityList;
    const Send mSend;
    std::ostream& mTrace;
    cSensors* mSensors = nullptr;
    DeviceCore<PlainDevice> mCore{*this, mTrace};
};
