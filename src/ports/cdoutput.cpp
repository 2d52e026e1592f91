#include "cdoutput.h"

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
    setStatusColour(this, zuldevice::setAlarmStatus(this, getOutputState(), getDefaultState()));
}
