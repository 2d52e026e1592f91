#pragma once

#include <QLabel>
#include <QProgressBar>
#include <QWidget>

#include "zuldevice/portrules.h"
#include "zulobj/objectlist.h"

/// An analog output: a row on the panel that is also the record.
class cAOutput : public QWidget, public cObjectAOutput
{
    Q_OBJECT

public:
    cAOutput();

    /// Shows the name; the record's port label is set separately.
    void setPortName(QString& name);

    /// Stores @p value and shows it on the bar, cut toward zero. The bar, 0 to 100, does not move for NaN or
    /// a value outside its range.
    void setSampledValue(float value);

    /// The bar's value, 0 to 100.
    int getCurrentSample() const { return mQSampleValue.value(); }

    /// Appends a clone of the record, whatever the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    void setConnectedStatus(bool connected) { connectedStatus = connected; }
    bool getConnectedStatus() const { return connectedStatus; }

    /// The number of the input that drives this output, 0 for none.
    void setInputPort(int input) { inputPort = input; }
    int getInputPort() const { return inputPort; }

public slots:
    /// Applies the set of a server or the value of a wired input. @p object stays the caller's.
    void updateObject(cObjectAOutput* object) { zuldevice::applySet(*object, this); }

private:
    QLabel mQLabel;
    QProgressBar mQSampleValue;
    QLabel mQGain;
    QLabel mQOffset;
    bool connectedStatus = false;
    int inputPort = 0;
};
