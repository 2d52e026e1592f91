#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

class cObjectPort;

/// Remembers what ports were like, to tell whether they have changed.
class cPortWatch
{
public:
    /// Remembers @p port as it is. Returns true if it was another when it was remembered last.
    bool changed(const cObjectPort& port);

    void clear() { mRemembered.clear(); }

private:
    std::unordered_map<const cObjectPort*, std::vector<uint8_t>> mRemembered;
};
