#include "coutputlist.h"

#include <algorithm>

#include "checkedindex.h"

void cOutputList::add(int output)
{
    mOutputs.resize(static_cast<size_t>(mCount));
    mOutputs.push_back(output);
    ++mCount;
}

void cOutputList::findAndRemove(int output)
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

int cOutputList::at(int index) const { return checkedAt(mOutputs, index, "outputList"); }
