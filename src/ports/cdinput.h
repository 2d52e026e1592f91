#ifndef CDINPUT_H
#define CDINPUT_H

#include <QComboBox>
#include <QLabel>
#include <QWidget>

#include "cfixedlayoutrow.h"
#include "zuldevice/outputlist.h"
#include "zuldevice/portrules.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

/// A digital input: its row on the panel and its record toward the server in one.
///
/// GUI thread only, like every widget.
class cDInput : public QWidget, public cObjectDInput
{
    Q_OBJECT

public:
    cDInput();

    /// The name on the row; the record's port label is set apart.
    void setPortName(QString& name);

    /// Shows and stores the default state, then runs updateStatus().
    void setDefaultState(eObjectIOState state);

    /// 1 when the input state is OBJ_IO_STATE_SET, else 0.
    int getCurrentState() const;

    /// Recomputes the alarm status from current and default state, and the row's colour from that.
    void updateStatus();

    /// Appends a clone of the record to @p msg, which owns it. The caller has matched the request.
    void populateMsg(cObjectList* msg, cObjectPort* /*request*/) { msg->add(clone()); }

    /// Applies the set of a server: a known default state is taken over, the input state never.
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

signals:
    /// The operator or a script changed the input at 0-based position @p index.
    void inputChanged(int index);

public slots:
    void combo_select(int index);

    /// Selects 0 ("LOW") or 1 ("HIGH"); what is already selected causes no event.
    void scriptInputChange(int index);

private:
    cFixedLayoutRow* mRow;
    QLabel* mQLabel;
    QLabel* mQDefaultState;
    QComboBox* mQCurrentState;
    bool connectedStatus = false;
    OutputList outputList;
};

#endif
