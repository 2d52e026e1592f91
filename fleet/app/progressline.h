#pragma once

#include <string>

#include "fleet/devices/fleet.h"

namespace fleet {

/// Tells on standard error how a fleet is doing: one line that is rewritten on a terminal, else JSON lines.
class ProgressLine
{
public:
    /// @p fd is borrowed.
    explicit ProgressLine(int fd);

    bool isTerminal() const { return mTerminal; }

    void show(const Fleet::Progress& progress);

    /// Leaves the line of a terminal as it is.
    void finish();

private:
    const int mFd;
    const bool mTerminal;
    bool mShown = false;
    Fleet::Progress mLast;
};

/// The text for a terminal; @p perSecond are events.
std::string progressText(const Fleet::Progress& progress, double perSecond);

/// The JSON line, without its end.
std::string progressJson(const Fleet::Progress& progress, double perSecond);

} // namespace fleet
