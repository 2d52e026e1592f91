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

void cDOutput::updateStatus()
{
    setStatusColour(this, zuldevice::setAlarmStatus(this, getOutputState(), getDefaultState()));
}
