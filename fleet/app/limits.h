#pragma once

#include <cstdint>
#include <string>

#include "zuldevice/portrules.h"

namespace fleet {

/// What the system grants to this process.
struct SystemLimits
{
    uint64_t descriptors = 0;     ///< the most that it may ask for
    uint64_t portsPerAddress = 0; ///< source ports
    uint64_t memoryBytes = 0;     ///< that is free; 0 if that is not known

    /// Reads them and raises the soft limit of descriptors to the hard one.
    static SystemLimits take();
};

/// The source ports for one server, from @p sources addresses; 0 stands for the one that the system chooses.
inline uint64_t portsFor(const SystemLimits& limits, size_t sources)
{
    return limits.portsPerAddress * (sources == 0 ? 1 : sources);
}

/// Returns one sentence that says what to raise if @p devices with @p counts are too many, else an empty
/// text.
std::string checkLimits(uint32_t devices, const zuldevice::Counts& counts, size_t sources,
                        const SystemLimits& limits);

} // namespace fleet
