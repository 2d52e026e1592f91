#pragma once

#include <QComboBox>
#include <QWidget>

#include "portrow.h"
#include "zuldevice/portrules.h"
#include "zulobj/objectlist.h"

/// A digital input: a row on the panel that is also the record.
class cDInput : public QWidget, public cObjectDInput
{
    Q_OBJECT

public:
    cDInput();

    /// Shows the name; the record's port label is set separately.
    void setPortName(QString& name);

    /// Shows and stores the default state, then runs updateStatus().
    void setDefaultState(eObjectIOState state);

    /// 1 if the input state is OBJ_IO_STATE_SET, else 0.
    int getCurrentState() const { return getInputState() == OBJ_IO_STATE_SET ? 1 : 0; }

    /// Recomputes the alarm status from current and default state, and the row's colour from that.
    void updateStatus();

    /// Appends a clone of the record, whatever the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    /// Applies the set of a server.
    void updateObject(cObjectDInput* request) { zuldevice::applySet(*request, this); }

    void setConnectedStatus(bool connected) { connectedStatus = connected; }
    bool getConnectedStatus() const { return connectedStatus; }

    // The outputs wired to this input, by their 1-based numbers.
    void addOutputPort(int output) { outputList.add(output); }
    void findAndRemove(int output) { outputList.findAndRemove(output); }
    int getOutputCount() const { return outputList.count(); }
    int getOutputPort(int index) const { return outputList.at(index); }

    /// Writes the wired outputs to the debug log.
    void printOutputPorts() const;

    /// Selects 0 ("LOW") or 1 ("HIGH") without an event.
    void place(int index);

signals:
    /// The operator or a script changed the input at 0-based position @p index.
    void inputChanged(int index);

public slots:
    void combo_select(int index);

    /// Selects 0 ("LOW") or 1 ("HIGH"); no event if that is selected already.
    void scriptInputChange(int index) { mQCurrentState->setCurrentIndex(index); }

private:
    cFixedLayoutRow* mRow;
    QLabel* mQLabel;
    QLabel* mQDefaultState;
    QComboBox* mQCurrentState;
    bool connectedStatus = false;
    OutputList outputList;
};
