#ifndef COUTPUTLIST_H
#define COUTPUTLIST_H

#include <vector>

/// The numbers of the outputs that are wired to one input, in the order in which they were wired.
///
/// Numbers are 1-based. The same number may stand in it twice.
class cOutputList
{
public:
    /// Appends @p output.
    void add(int output);

    /// Takes every entry equal to @p output out, but counts one entry less, however many there were: the
    /// places that are left over at the end keep what stood there. Nothing changes when there is none.
    void findAndRemove(int output);

    int count() const { return mCount; }

    /// Entry @p index, from 0; a wrong index ends the program.
    int at(int index) const;

private:
    std::vector<int> mOutputs = {0}; // one unused place until the first output is added
    int mCount = 0;
};

#endif
