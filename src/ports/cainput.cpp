#include "cainput.h"

#include <cmath>
#include <iostream>

#include "analogrow.h"
#include "cfixedlayoutrow.h"
#include "cwheeleventfilter.h"
#include "scaledwidth.h"

cAInput::cAInput() : mLastSampleTime(time(nullptr))
{
    auto* box = new cFixedLayoutRow;
    beginAnalogRow(box, &mQLabel, tr("PortName"), &mQGain, &mQOffset);
    mQSampleRate.setNum(10);
    mQSampleRate.setFixedWidth(scaledWidth(mQSampleRate, 60));
    box->addWidget(&mQSampleRate);

    mQSampleValue = new QSlider(Qt::Horizontal);
    mQSampleValue->setMinimum(0);
    mQSampleValue->setMaximum(100);
    mQSampleValue->setTracking(true);
    new cWheelEventFilter(mQSampleValue);
    mQLabel.setBuddy(mQSampleValue);
    box->addWidget(mQSampleValue);
    auto* value = new QLabel;
    value->setNum(0);
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

void cAInput::setDisplayUnit(char* unit)
{
    mQUnit.setText(QString::fromLocal8Bit(unit));
    cObjectAInput::setDisplayUnit(unit);
}

int cAInput::getCurrentSample() const { return mQSampleValue->value(); }

float cAInput::getSampledValue() const { return static_cast<float>(getCurrentSample()); }

void cAInput::checkSample() { checkSample(time(nullptr)); }

void cAInput::checkSample(time_t now)
{
    if (sampleDue(now)) {
        takeSample(now);
    }
}

bool cAInput::sampleDue(time_t now) const
{
    // The product wraps at 32 bits, the sum does not.
    const uint32_t seconds = getSampleRate() * 60U;
    return static_cast<int64_t>(now) > static_cast<int64_t>(mLastSampleTime) + int64_t{seconds};
}

void cAInput::takeSample(time_t now)
{
    const float value = getSampledValue();
    setSampledValue(value);
    std::cout << "Sample time for port " << getPortId() << " : " << now << " : " << value << std::endl;
    mLastSampleTime = now;

    const uint32_t seq = (getLastSampleSeq() + 1) & 0xFF;
    cObjectAnalogSample& slot = mSampleBuffer[mSampleIdx];
    slot.setDeviceSerial(getDeviceSerial());
    slot.setPortNum(getPortId());
    slot.setSample(value);
    slot.setSeqNum(seq);
    auto* sample = static_cast<cObjectAnalogSample*>(slot.clone());
    setLastSampleSeq(seq);
    mSampleIdx = (mSampleIdx + 1) & (kSampleCount - 1);
    mSamplesKept = std::min(mSamplesKept + 1, kSampleCount);
    emit sampleEvent(sample);
}

const cObjectAnalogSample* cAInput::findSample(uint32_t seq) const
{
    for (uint32_t slot = 0; slot < mSamplesKept; ++slot) {
        if (mSampleBuffer[slot].getSeqNum() == seq) {
            return &mSampleBuffer[slot];
        }
    }
    return nullptr;
}

void cAInput::populateMsg(cObjectList* msg, cObjectAnalogSample* sample) { msg->add(sample); }

void cAInput::updateObject(cObjectAInput* request)
{
    if (request->getSampleRate() != kRateUnchanged) {
        setSampleRate(request->getSampleRate());
    }
    if (!std::isnan(request->getGain())) {
        setGain(request->getGain());
    }
    if (!std::isnan(request->getOffset())) {
        setOffset(request->getOffset());
    }
}

void cAInput::slider_moved(int value)
{
    auto* sample = new cObjectAnalogSample;
    sample->setSample(static_cast<float>(value));
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
