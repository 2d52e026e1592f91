#pragma once

#include "zuldevice/outputlist.h"
#include "zuldevice/portrules.h"

// The ports of a device without a window.

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

    /// Returns a periodic sample, which belongs to the caller, or null if none is due at @p now.
    cObjectAnalogSample* checkSample(time_t now, std::ostream& trace)
    {
        const auto value = static_cast<float>(mValue);
        return zuldevice::checkSample(this, value, now, &mLastSampleTime, &mSamples, &mSampleIdx, trace);
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
