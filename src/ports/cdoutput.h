#pragma once

#include <QWidget>

#include "portrow.h"
#include "zuldevice/portrules.h"
#include "zulobj/objectlist.h"

/// A digital output: a row on the panel that is also the record.
class cDOutput : public QWidget, public cObjectDOutput
{
    Q_OBJECT

public:
    cDOutput();

    /// Shows the name; the record's port label is set separately.
    void setPortName(QString& name) { mQLabel->setText(name); }

    /// Show and store a state. Unlike the input's, they leave updateStatus() to the caller.
    void setDefaultState(eObjectIOState state);
    void setOutputState(eObjectIOState state);

    /// 0 if the output state is OBJ_IO_STATE_CLEAR, else 1: an unknown state counts as high, unlike an
    /// input's.
    int getCurrentState() const { return getOutputState() == OBJ_IO_STATE_CLEAR ? 0 : 1; }

    /// Recomputes the alarm status from current and default state, and the row's colour from that.
    void updateStatus();

    /// Appends a clone of the record, whatever the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    /// Applies the set of a server.
    void updateObject(cObjectDOutput* request) { zuldevice::applySet(*request, this); }

    void setConnectedStatus(bool connected) { connectedStatus = connected; }
    bool getConnectedStatus() const { return connectedStatus; }

    /// The number of the input that drives this output, 0 for none.
    void setInputPort(int input) { inputPort = input; }
    int getInputPort() const { return inputPort; }

public slots:
    /// Takes over the state of the input that drives this output.
    void updateOutput(eObjectIOState state) { zuldevice::drive(this, state); }

private:
    cFixedLayoutRow* mRow;
    QLabel* mQLabel;
    QLabel* mQDefaultState;
    QLabel* mQCurrentState;
    bool connectedStatus = false;
    int inputPort = 0;
};
