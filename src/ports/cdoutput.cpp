#include "cdoutput.h"

#include "statuscolour.h"

cDOutput::cDOutput() : mRow(new cFixedLayoutRow)
{
    mQLabel = new QLabel(tr("PortName"));
    setPortLabel("PortName");
    mRow->addWidget(mQLabel, 1);
    mQDefaultState = new QLabel("HIGH");
    mRow->addWidget(mQDefaultState, 1);
    mQCurrentState = new QLabel("HIGH");
    mRow->addWidget(mQCurrentState, 1);
    setLayout(mRow);
    updateStatus();
}

void cDOutput::setPortName(QString& name) { mQLabel->setText(name); }

void cDOutput::setDefaultState(eObjectIOState state)
{
    mRow->setText(mQDefaultState, state == OBJ_IO_STATE_SET ? tr("HIGH") : tr("LOW"));
    cObjectDOutput::setDefaultState(state);
}

void cDOutput::setOutputState(eObjectIOState state)
{
    mRow->setText(mQCurrentState, state == OBJ_IO_STATE_SET ? tr("HIGH") : tr("LOW"));
    cObjectDOutput::setOutputState(state);
}

int cDOutput::getCurrentState() const { return getOutputState() == OBJ_IO_STATE_CLEAR ? 0 : 1; }

void cDOutput::updateStatus()
{
    const bool alarm = getOutputState() != getDefaultState();
    setPortStatus(alarm ? OBJ_STATUS_ALARM_SET : OBJ_STATUS_ALARM_CLEAR);
    setStatusColour(this, alarm);
}

void cDOutput::updateObject(cObjectDOutput* request)
{
    if (request->getDefaultState() != OBJ_IO_STATE_UNKNOWN) {
        setDefaultState(request->getDefaultState());
    }
    if (request->getOutputState() != OBJ_IO_STATE_UNKNOWN) {
        setOutputState(request->getOutputState());
    }
    updateStatus();
}

void cDOutput::updateOutput(eObjectIOState state)
{
    connectedStatus = true;
    setOutputState(state);
    updateStatus();
}
