#include "caoutput.h"

#include <algorithm>
#include <cmath>

#include "portrow.h"

cAOutput::cAOutput()
{
    auto* box = new QHBoxLayout;
    addFixedCell(box, &mQLabel, tr("PortName"), 100);
    addFixedCell(box, &mQGain, "1", 60);
    addFixedCell(box, &mQOffset, "0", 60);
    box->addWidget(&mQSampleValue);

    setMinimumValue(0.0F);
    setMaximumValue(100.0F);
    setDisplayUnit("%FTO");
    setLayout(box); // last, as in cAccess
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
