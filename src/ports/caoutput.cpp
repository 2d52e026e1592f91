#include "caoutput.h"

#include <QHBoxLayout>
#include <algorithm>
#include <cmath>

#include "analogrow.h"

namespace {

/// @p value as an integer, cut toward zero; a value that no int holds becomes the nearest multiple of a
/// million that one does.
int truncated(float value) { return static_cast<int>(std::clamp(value, -2.0e9F, 2.0e9F)); }

} // namespace

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
    mQSampleValue.setValue(truncated(value));
    cObjectAOutput::setSampledValue(value);
}

int cAOutput::getCurrentSample() const { return mQSampleValue.value(); }

void cAOutput::updateObject(cObjectAOutput* object)
{
    connectedStatus = true;
    if (object->getPortId() != getPortId() && object->getPortId() != kWildcard) {
        return;
    }
    if (!std::isnan(object->getSampledValue())) {
        setSampledValue(object->getSampledValue());
    }
}
