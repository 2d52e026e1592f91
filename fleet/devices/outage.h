#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace fleet {

/// An outage as the command line asks for it. Times are in microseconds after the events began.
struct OutageOrder
{
    enum class Kind
    {
        STORM,   ///< all devices stay disconnected for `lengthUs`
        ROLLING, ///< a share of the devices loses its connections, then the next share, in turn
        FLAP     ///< the same devices lose their connections again and again
    };

    Kind kind = Kind::STORM;
    int64_t timeUs = 0;   ///< when a storm begins; the pause between the others
    int64_t lengthUs = 0; ///< of a storm
    double share = 0.0;   ///< of the fleet, up to 1; not of a storm
    bool reset = false;   ///< connections are reset, not ended
};

/// Reads "storm@60s:10s", "rolling:20%/30s" or "flap:1%:5s", each with ":reset" behind it or not. Returns one
/// sentence if @p text is none of them, else an empty text.
std::string parseOutage(const std::string& text, OutageOrder* order);

/// The word for @p kind.
const char* outageWord(OutageOrder::Kind kind);

/// Says which devices lose their connections when.
class OutagePlan
{
public:
    /// For devices 0 to @p devices - 1. Equal seeds give equal plans.
    OutagePlan(const std::vector<OutageOrder>& orders, uint32_t devices, uint32_t seed);

    struct Step
    {
        OutageOrder order;
        int64_t atUs = 0;
        std::vector<uint32_t> devices;
    };

    /// When next() has a step.
    int64_t nextUs() const;

    /// The step that is due first.
    Step next();

private:
    struct Course
    {
        OutageOrder order;
        int64_t nextUs = 0;
        uint32_t position = 0;         ///< ROLLING: the device that is next
        std::vector<uint32_t> devices; ///< FLAP: the same each time
    };

    Course* first();
    uint32_t shareOf(const OutageOrder& order) const;

    std::vector<Course> mCourses;
    uint32_t mDevices;
};

} // namespace fleet
