#include "caoutput.h"

#include <QHBoxLayout>
#include <algorithm>
#include <cmath>

#include "analogrow.h"

cAOutput::cAOutput()
{
    auto* box = new QHBoxLayout;
    beginAnalogRow(box, &mQLabel, tr("PortName"), &mQGain, &mQOffset);
    mQSampleValue.setMinimum(0);
    mQSampleValue.setMaximum(100);
    mQSampleValue.setOrientation(Qt::Horizontal);
    box->addWidget(&mQSampleValue);

    setMinimumValue(0.0F);
    setMaximumValue(100.0F);
    setDisplayUnit("%FTO");
    setLayout(box);
}

void cAOutput::setPortName(QString& name)
{
    mQLabel.setText(name);
    mQSampleValue.setAccessibleName(name);
}

void cAOutput::setSampledValue(float value)
{
    if (!std::isnan(value)) {
        // An int does not hold every float; the bar ignores what is out of its range.
        mQSampleValue.setValue(static_cast<int>(std::clamp(value, -2.0e9F, 2.0e9F)));
    }
    cObjectAOutput::setSampledValue(value);
}

int cAOutput::getCurrentSample() const { return mQSampleValue.value(); }
