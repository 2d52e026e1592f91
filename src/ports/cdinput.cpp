#include "cdinput.h"

#include <QDebug>
#include <QSignalBlocker>

cDInput::cDInput() : mRow(new cFixedLayoutRow)
{
    mQLabel = new QLabel("PortName");
    mRow->addWidget(mQLabel, 1);
    mQDefaultState = new QLabel("LOW");
    mRow->addWidget(mQDefaultState, 1);
    setDefaultState(OBJ_IO_STATE_CLEAR);
    mQCurrentState = new cFocusedWheel<QComboBox>;
    mQCurrentState->addItems({"LOW", "HIGH"});
    mQLabel->setBuddy(mQCurrentState);
    mRow->addWidget(mQCurrentState, 1);
    connect(mQCurrentState, SIGNAL(currentIndexChanged(int)), this, SLOT(combo_select(int)));
    setLayout(mRow);
}

void cDInput::setPortName(QString& name)
{
    mQLabel->setText(name);
    mQCurrentState->setAccessibleName(name);
}

void cDInput::setDefaultState(eObjectIOState state)
{
    mRow->setText(mQDefaultState, state == OBJ_IO_STATE_SET ? tr("HIGH") : tr("LOW"));
    cObjectDInput::setDefaultState(state);
    updateStatus();
}

void cDInput::updateStatus()
{
    setStatusColour(this, zuldevice::setAlarmStatus(this, getInputState(), getDefaultState()));
}

void cDInput::printOutputPorts() const { qDebug() << "Outputs:" << outputList.text().c_str(); }

void cDInput::place(int index)
{
    const QSignalBlocker blocker(this);
    mQCurrentState->setCurrentIndex(index);
}

void cDInput::combo_select(int index)
{
    setInputState(index == 1 ? OBJ_IO_STATE_SET : OBJ_IO_STATE_CLEAR);
    updateStatus();
    emit inputChanged(static_cast<int>(getPortId()) - 1);
}
