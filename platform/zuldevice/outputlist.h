#pragma once

#include <string>
#include <vector>

#include "zuldevice/checkedindex.h"

/// The numbers of the outputs that are wired to one input, in the order in which they were wired.
///
/// Numbers are 1-based. The same number may stand in it twice.
class OutputList
{
public:
    void add(int output)
    {
        mOutputs.resize(static_cast<size_t>(mCount));
        mOutputs.push_back(output);
        ++mCount;
    }

    /// Removes every entry equal to @p output but lowers the count by one only, however many there were: the
    /// places left over at the end hold @p output still. Nothing changes if there is none.
    void findAndRemove(int output)
    {
        if (mCount > 0 && std::erase(mOutputs, output) > 0) {
            --mCount;
            mOutputs.resize(static_cast<size_t>(mCount), output);
        }
    }

    int count() const { return mCount; }

    /// Entry @p index, from 0; a wrong index ends the program.
    int at(int index) const { return checkedAt(mOutputs, index, "outputList"); }

    /// The numbers, separated by blanks.
    std::string text() const
    {
        std::string text;
        for (int k = 0; k < mCount; ++k) {
            text += (k == 0 ? "" : " ") + std::to_string(at(k));
        }
        return text;
    }

private:
    std::vector<int> mOutputs = {0}; // one unused place until the first output is added
    int mCount = 0;
};
