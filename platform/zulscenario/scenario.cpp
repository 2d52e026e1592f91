#include "zulscenario/scenario.h"

#include <string_view>

namespace zulscenario {

namespace {

bool lastsForever(const Step& step)
{
    const auto* play = std::get_if<Play>(&step.action);
    return (std::holds_alternative<Wave>(step.action) && !step.duration) || (play != nullptr && play->loop);
}

} // namespace

std::string nameOf(eObjectTypes portType)
{
    switch (portType) {
    case OBJ_PORT_DIN:
        return "din";
    case OBJ_PORT_DOUT:
        return "dout";
    case OBJ_PORT_AIN:
        return "ain";
    default:
        return "aout";
    }
}

std::string fillText(const std::string& text, const TextValues& values)
{
    std::string filled;
    std::string_view rest = text;
    const auto take = [&rest](std::string_view prefix) {
        const bool taken = rest.starts_with(prefix);
        rest.remove_prefix(taken ? prefix.size() : 0);
        return taken;
    };
    while (!rest.empty()) {
        if (take("{{")) {
            filled += '{';
        } else if (take("{n}")) {
            filled += std::to_string(values.event);
        } else if (take("{serial}")) {
            filled += std::to_string(values.serial);
        } else if (take("{device}")) {
            filled += std::to_string(values.device);
        } else {
            filled += rest.front();
            rest.remove_prefix(1);
        }
    }
    return filled;
}

bool isEndless(const Step& step)
{
    const auto* every = std::get_if<Every>(&step.trigger);
    return std::holds_alternative<When>(step.trigger) || (every != nullptr && !every->until) ||
           lastsForever(step);
}

bool takesTime(const Step& step)
{
    const auto* at = std::get_if<At>(&step.trigger);
    const auto* flood = std::get_if<Flood>(&step.action);
    const auto* play = std::get_if<Play>(&step.action);
    return at == nullptr || at->time > Time(0) || step.duration ||
           std::holds_alternative<Ramp>(step.action) || (flood != nullptr && flood->count > 1) ||
           (play != nullptr && play->table->times.back() > Time(0));
}

} // namespace zulscenario
