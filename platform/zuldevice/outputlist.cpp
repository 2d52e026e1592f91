#include "zuldevice/outputlist.h"

#include <algorithm>

#include "zuldevice/checkedindex.h"

void OutputList::add(int output)
{
    mOutputs.resize(static_cast<size_t>(mCount));
    mOutputs.push_back(output);
    ++mCount;
}

void OutputList::findAndRemove(int output)
{
    const auto end = mOutputs.begin() + mCount;
    if (std::find(mOutputs.begin(), end, output) == end) {
        return;
    }
    std::vector<int> kept = mOutputs;
    std::copy_if(mOutputs.begin(), end, kept.begin(), [output](int entry) { return entry != output; });
    --mCount;
    kept.resize(static_cast<size_t>(mCount));
    mOutputs = std::move(kept);
}

int OutputList::at(int index) const { return checkedAt(mOutputs, index, "outputList"); }

std::string OutputList::text() const
{
    std::string text;
    for (int k = 0; k < mCount; ++k) {
        text += (k == 0 ? "" : " ") + std::to_string(at(k));
    }
    return text;
}
