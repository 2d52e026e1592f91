#include "fleet/app/limits.h"

#include <fstream>
#include <limits>

#include "zuloptions/programstart.h"

namespace fleet {

namespace {

/// The descriptors that are not a device's.
constexpr uint64_t kOtherDescriptors = 32;

// The memory of a device, in bytes.
constexpr uint64_t kDeviceBytes = 8 * 1024;
constexpr uint64_t kPortBytes = 160;
constexpr uint64_t kSocketBytes = 4 * 1024; ///< in the kernel

uint64_t sourcePorts()
{
    std::ifstream file("/proc/sys/net/ipv4/ip_local_port_range");
    uint64_t first = 0;
    uint64_t last = 0;
    constexpr uint64_t kUsual = 28'232;
    return file >> first >> last && first <= last ? last - first + 1 : kUsual;
}

uint64_t freeMemory()
{
    std::ifstream file("/proc/meminfo");
    for (std::string name; file >> name;) {
        uint64_t kilobytes = 0;
        if (name == "MemAvailable:" && file >> kilobytes) {
            return kilobytes * 1024;
        }
        file.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return 0;
}

std::string megabytes(uint64_t bytes) { return std::to_string(bytes / (1024 * 1024) + 1) + " MB"; }

} // namespace

SystemLimits SystemLimits::take()
{
    return {zuloptions::raiseDescriptorLimit(), sourcePorts(), freeMemory()};
}

std::string checkLimits(uint32_t devices, const zuldevice::Counts& counts, size_t sources,
                        const SystemLimits& limits)
{
    const std::string number = std::to_string(devices) + " devices need ";
    const uint64_t descriptors = devices + kOtherDescriptors;
    if (descriptors > limits.descriptors) {
        return number + std::to_string(descriptors) + " descriptors and the system permits " +
               std::to_string(limits.descriptors) + ": raise the limit with ulimit -n or LimitNOFILE=.";
    }
    const uint64_t ports = portsFor(limits, sources);
    if (devices > ports) {
        return number + "as many source ports and there are " + std::to_string(ports) +
               ": give more addresses with --bind, or widen net.ipv4.ip_local_port_range.";
    }
    const uint64_t items = uint64_t{counts.digitalInputs} + counts.digitalOutputs + counts.analogInputs +
                           counts.analogOutputs + counts.scanners;
    const uint64_t bytes = devices * (kDeviceBytes + kSocketBytes + items * kPortBytes);
    if (limits.memoryBytes > 0 && bytes > limits.memoryBytes) {
        return number + megabytes(bytes) + " of memory and " + megabytes(limits.memoryBytes) +
               " are free: add memory, or play parts of the fleet on several machines with --shard.";
    }
    return "";
}

} // namespace fleet
