#include "cainput.h"

#include <QDebug>
#include <QSignalBlocker>
#include <iostream>

#include "portrow.h"

cAInput::cAInput() : mLastSampleTime(time(nullptr))
{
    auto* box = new cFixedLayoutRow;
    addFixedCell(box, &mQLabel, tr("PortName"), 100);
    addFixedCell(box, &mQGain, "1", 60);
    addFixedCell(box, &mQOffset, "0", 60);
    addFixedCell(box, &mQSampleRate, "10", 60);

    mQSampleValue = new cFocusedWheel<QSlider>;
    mQSampleValue->setOrientation(Qt::Horizontal);
    mQSampleValue->setRange(0, 100);
    mQLabel.setBuddy(mQSampleValue);
    box->addWidget(mQSampleValue);
    auto* value = new QLabel("0");
    // Room for the largest value, so that the row does not shift while the slider moves.
    value->setMinimumWidth(value->fontMetrics().horizontalAdvance("100"));
    connect(mQSampleValue, &QSlider::valueChanged, value,
            [box, value](int number) { box->setText(value, QString::number(number)); });
    box->addWidget(value);
    mQUnit.setText(tr("fT %"));
    box->addWidget(&mQUnit);

    connect(mQSampleValue, SIGNAL(valueChanged(int)), this, SLOT(slider_moved(int)));
    setLayout(box);
}

void cAInput::setPortName(QString& name)
{
    mQLabel.setText(name);
    mQSampleValue->setAccessibleName(name);
}

void cAInput::setSampleRate(uint32_t minutes)
{
    mQSampleRate.setText(QString::number(minutes));
    cObjectAInput::setSampleRate(minutes);
}

void cAInput::setGain(float gain)
{
    mQGain.setNum(static_cast<double>(gain));
    cObjectAInput::setGain(gain);
}

void cAInput::setOffset(float offset)
{
    mQOffset.setNum(static_cast<double>(offset));
    cObjectAInput::setOffset(offset);
}

void cAInput::setDisplayUnit(const char* unit)
{
    mQUnit.setText(QString::fromLocal8Bit(unit));
    cObjectAInput::setDisplayUnit(unit);
}

void cAInput::checkSample(time_t now)
{
    if (nextSample() <= now) {
        emit sampleEvent(zuldevice::takeSample(this, measured(getSampledValue()), now, &mLastSampleTime,
                                               &mSampleBuffer, &mSampleIdx, std::cout));
    }
}

void cAInput::printOutputPorts() const { qDebug() << "Outputs:" << outputList.text().c_str(); }

void cAInput::place(int value)
{
    const QSignalBlocker blocker(this);
    mQSampleValue->setValue(value);
}

void cAInput::slider_moved(int value)
{
    if (signalsBlocked()) {
        return;
    }
    auto* sample = new cObjectAnalogSample;
    sample->setSample(measured(static_cast<float>(value)));
    sample->setPortNum(getPortId());
    emit sampleEvent(sample);
}

void cAInput::scriptInputChange(int value)
{
    if (value == mQSampleValue->value()) {
        emit mQSampleValue->valueChanged(value);
    } else {
        mQSampleValue->setValue(value);
    }
}
