#ifndef CAINPUT_H
#define CAINPUT_H

#include <QLabel>
#include <QSlider>
#include <QWidget>
#include <ctime>

#include "zuldevice/outputlist.h"
#include "zuldevice/portrules.h"
#include "zulobj/ainput.h"
#include "zulobj/asample.h"
#include "zulobj/objectlist.h"

/// An analog input: its row on the panel, its record toward the server and its latest samples in one.
///
/// GUI thread only, like every widget.
class cAInput : public QWidget, public cObjectAInput
{
    Q_OBJECT

public:
    cAInput();

    /// The name on the row; the record's port label is set apart.
    void setPortName(QString& name);

    // Each shows the value on the row and stores it in the record.
    void setSampleRate(uint32_t minutes);
    void setGain(float gain);
    void setOffset(float offset);
    void setDisplayUnit(const char* unit);

    /// The slider's value, 0 to 100.
    int getCurrentSample() const;
    float getSampledValue() const;

    /// Takes a periodic sample if one is due: more than the sample rate, in minutes, has passed since the
    /// last one. The second form tests against @p now, in seconds, instead of the present time.
    void checkSample();
    void checkSample(time_t now);

    /// The kept periodic sample with sequence number @p seq, or null.
    const cObjectAnalogSample* findSample(uint32_t seq) const
    {
        return zuldevice::findSample(*this, mSampleBuffer, seq);
    }

    /// Appends a clone of the record to @p msg, which owns it. The caller has matched the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    /// Appends @p sample to @p msg, which owns it.
    void populateMsg(cObjectList* msg, cObjectAnalogSample* sample) { msg->add(sample); }

    /// Applies the set of a server: a rate, gain or offset that is not "unchanged" is taken over.
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

    /// Moves the slider to @p value, 0 to 100; a value that it already has is reported all the same.
    void scriptInputChange(int value);

private:
    QLabel mQLabel;
    QSlider* mQSampleValue;
    QLabel mQSampleRate;
    QLabel mQGain;
    QLabel mQOffset;
    QLabel mQUnit;
    time_t mLastSampleTime;
    zuldevice::SampleBuffer mSampleBuffer;
    uint32_t mSampleIdx = 0;
    bool connectedStatus = false;
    OutputList outputList;
};

#endif
