#pragma once

#include <string>
#include <vector>

/// The numbers of the outputs that are wired to one input, in the order in which they were wired.
///
/// Numbers are 1-based. The same number may stand in it twice.
class OutputList
{
public:
    /// Appends @p output.
    void add(int output);

    /// Removes every entry equal to @p output but lowers the count by one only, however many there were: the
    /// places left over at the end keep their old values. Nothing changes if there is none.
    void findAndRemove(int output);

    int count() const { return mCount; }

    /// Entry @p index, from 0; a wrong index ends the program.
    int at(int index) const;

    /// The numbers, separated by blanks.
    std::string text() const;

private:
    std::vector<int> mOutputs = {0}; // one unused place until the first output is added
    int mCount = 0;
};
