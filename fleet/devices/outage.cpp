#include "fleet/devices/outage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "fleet/devices/timetext.h"
#include "zulcommand/commandwords.h"
#include "zuldevice/seededrandom.h"

namespace fleet {

namespace {

using Kind = OutageOrder::Kind;

struct Form
{
    Kind kind;
    const char* word;
    char afterWord;
    char between;
};

constexpr Form kForms[] = {
    {Kind::STORM, "storm", '@', ':'},
    {Kind::ROLLING, "rolling", ':', '/'},
    {Kind::FLAP, "flap", ':', ':'},
};

/// "20%" as 0.2.
std::optional<double> parseShare(std::string_view text)
{
    if (!text.ends_with('%')) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    const std::optional<double> percent = zulcommand::parseDouble(text);
    const bool fits = percent && *percent > 0.0 && *percent <= 100.0;
    return fits ? std::make_optional(*percent / 100.0) : std::nullopt;
}

bool readTimes(const Form& form, std::string_view first, std::string_view second, OutageOrder* order)
{
    const std::optional<int64_t> secondTime = parseTime(second);
    const std::optional<int64_t> firstTime = form.kind == Kind::STORM ? parseTime(first) : 0;
    const std::optional<double> share = form.kind == Kind::STORM ? 0.0 : parseShare(first);
    if (!firstTime || !secondTime || !share) {
        return false;
    }
    order->timeUs = form.kind == Kind::STORM ? *firstTime : *secondTime;
    order->lengthUs = form.kind == Kind::STORM ? *secondTime : 0;
    order->share = *share;
    return true;
}

} // namespace

std::string parseOutage(const std::string& text, OutageOrder* order)
{
    constexpr std::string_view kReset = ":reset";
    std::string_view rest = text;
    *order = OutageOrder();
    if (rest.ends_with(kReset)) {
        order->reset = true;
        rest.remove_suffix(kReset.size());
    }
    for (const Form& form : kForms) {
        const std::string begin = std::string(form.word) + form.afterWord;
        if (!rest.starts_with(begin)) {
            continue;
        }
        const std::string_view values = rest.substr(begin.size());
        const size_t middle = values.find(form.between);
        order->kind = form.kind;
        if (middle != std::string_view::npos &&
            readTimes(form, values.substr(0, middle), values.substr(middle + 1), order)) {
            return "";
        }
    }
    return "--outage is none of storm@TIME:TIME, rolling:SHARE%/TIME and flap:SHARE%:TIME, with :reset or "
           "without: " +
           zulcommand::quote(text) + ".";
}

const char* outageWord(OutageOrder::Kind kind) { return kForms[static_cast<size_t>(kind)].word; }

OutagePlan::OutagePlan(const std::vector<OutageOrder>& orders, uint32_t devices, uint32_t seed)
    : mDevices(devices)
{
    for (const OutageOrder& order : orders) {
        Course course{order, order.timeUs, 0, {}};
        if (order.kind != Kind::ROLLING) {
            course.devices.resize(devices);
            std::iota(course.devices.begin(), course.devices.end(), 0U);
        }
        if (order.kind == Kind::FLAP) {
            cSeededRandom random(seed, "flap", mCourses.size());
            const uint32_t flapping = shareOf(order);
            for (uint32_t i = 0; i < flapping; ++i) {
                const double chance = random.nextFraction() * static_cast<double>(devices - i);
                std::swap(course.devices[i], course.devices[i + static_cast<uint32_t>(chance)]);
            }
            course.devices.resize(flapping);
        }
        mCourses.push_back(std::move(course));
    }
}

/// One device at least, unless there is none.
uint32_t OutagePlan::shareOf(const OutageOrder& order) const
{
    const auto share = static_cast<uint32_t>(std::lround(order.share * static_cast<double>(mDevices)));
    return std::clamp(share, std::min(mDevices, 1U), mDevices);
}

OutagePlan::Course* OutagePlan::first()
{
    const auto course = std::ranges::min_element(mCourses, {}, &Course::nextUs);
    return course == mCourses.end() ? nullptr : &*course;
}

int64_t OutagePlan::nextUs() const
{
    const Course* course = const_cast<OutagePlan*>(this)->first();
    return course == nullptr ? std::numeric_limits<int64_t>::max() : course->nextUs;
}

OutagePlan::Step OutagePlan::next()
{
    Course& course = *first();
    Step step{course.order, course.nextUs, course.devices};
    if (course.order.kind == Kind::STORM) {
        course.nextUs = std::numeric_limits<int64_t>::max();
        return step;
    }
    course.nextUs += course.order.timeUs;
    if (course.order.kind == Kind::ROLLING) {
        for (uint32_t left = shareOf(course.order); left > 0; --left) {
            step.devices.push_back(course.position);
            course.position = (course.position + 1) % mDevices;
        }
    }
    return step;
}

} // namespace fleet
