#pragma once

#include <QLabel>
#include <QSlider>
#include <QWidget>
#include <ctime>

#include "zuldevice/portrules.h"
#include "zuldevice/sensors.h"
#include "zulobj/objectlist.h"

/// An analog input: a row on the panel that is also the record and keeps the latest samples.
class cAInput : public QWidget, public cObjectAInput
{
    Q_OBJECT

public:
    cAInput();

    /// Shows the name; the record's port label is set separately.
    void setPortName(QString& name);

    // Each shows the value on the row and stores it in the record.
    void setSampleRate(uint32_t minutes);
    void setGain(float gain);
    void setOffset(float offset);
    void setDisplayUnit(const char* unit);

    /// The slider's value, 0 to 100.
    int getCurrentSample() const { return mQSampleValue->value(); }
    float getSampledValue() const { return static_cast<float>(getCurrentSample()); }

    /// Takes a periodic sample if one is due at the present time, or at @p now, in seconds.
    void checkSample() { checkSample(time(nullptr)); }
    void checkSample(time_t now);

    /// The next periodic sample is due a sample rate after @p now.
    void beginSampling(time_t now) { mLastSampleTime = now; }

    /// When it is due, in seconds.
    int64_t nextSample() const { return zuldevice::nextSample(*this, mLastSampleTime); }

    /// Has @p sensors, which are borrowed, tell the value. Null for the right one.
    void setSensors(cSensors* sensors) { mSensors = sensors; }

    /// Moves the slider to @p value, 0 to 100, and makes no sample.
    void place(int value);

    /// The kept periodic sample with sequence number @p seq, or null.
    const cObjectAnalogSample* findSample(uint32_t seq) const
    {
        return zuldevice::findSample(*this, mSampleBuffer, seq);
    }

    /// Appends a clone of the record, whatever the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    /// Appends @p sample to @p msg, which owns it.
    void populateMsg(cObjectList* msg, cObjectAnalogSample* sample) { msg->add(sample); }

    /// Applies the set of a server.
    void updateObject(cObjectAInput* request) { zuldevice::applySet(*request, this); }

    void setConnectedStatus(bool connected) { connectedStatus = connected; }
    bool getConnectedStatus() const { return connectedStatus; }

    // The outputs wired to this input, by their 1-based numbers.
    void addOutputPort(int output) { outputList.add(output); }
    void findAndRemove(int output) { outputList.findAndRemove(output); }
    int getOutputCount() const { return outputList.count(); }
    int getOutputPort(int index) const { return outputList.at(index); }

    /// Writes the wired outputs to the debug log.
    void printOutputPorts() const;

signals:
    /// A new sample for the server; the receiver takes @p sample over.
    void sampleEvent(cObjectAnalogSample* sample);

public slots:
    void slider_moved(int value);

    /// Moves the slider to @p value, 0 to 100, or reports the value again if the slider has it already.
    void scriptInputChange(int value);

private:
    float measured(float value) const
    {
        return mSensors == nullptr ? value : mSensors->measure(getPortId(), value);
    }

    QLabel mQLabel;
    QSlider* mQSampleValue;
    QLabel mQSampleRate;
    QLabel mQGain;
    QLabel mQOffset;
    QLabel mQUnit;
    time_t mLastSampleTime;
    zuldevice::SampleBuffer mSampleBuffer;
    uint32_t mSampleIdx = 0;
    cSensors* mSensors = nullptr;
    bool connectedStatus = false;
    OutputList outputList;
};
