#include "zuldevice/plainports.h"

cObjectAnalogSample* PlainAInput::checkSample(time_t now, std::ostream* trace)
{
    if (!zuldevice::sampleDue(getSampleRate(), mLastSampleTime, now)) {
        return nullptr;
    }
    if (mSamples == nullptr) {
        mSamples = std::make_unique<zuldevice::SampleBuffer>();
    }
    mLastSampleTime = now;
    return zuldevice::takeSample(this, static_cast<float>(mValue), now, mSamples.get(), &mSampleIdx, trace);
}
