#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

class cObjectPort;

/// Remembers what ports were like, to tell whether they have changed.
class cPortWatch
{
public:
    /// Remembers @p port as it is; @p value is where the slider of an analog input stands, which no record
    /// holds, else 0. Returns true if it was another when it was remembered last.
    bool changed(const cObjectPort& port, int value);

    void clear() { mRemembered.clear(); }

private:
    std::unordered_map<const cObjectPort*, std::vector<uint8_t>> mRemembered;
};
