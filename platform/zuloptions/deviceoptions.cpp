#include "zuloptions/deviceoptions.h"

#include <algorithm>
#include <charconv>

#include "zulcommand/commandwords.h"
#include "zuldevice/devicefile.h"
#include "zuldevice/scaledclock.h"

namespace zuloptions {

CLI::Option* addNumber(CLI::App* app, const std::string& name, std::optional<uint32_t>* target, uint32_t max,
                       const std::string& description)
{
    const auto read = [target, name, max](const std::string& text) {
        uint32_t number = 0;
        const char* end = text.data() + text.size();
        const auto result = std::from_chars(text.data(), end, number);
        if (result.ec != std::errc() || result.ptr != end || number > max) {
            throw CLI::ValidationError(name, "'" + text + "' is not a whole number from 0 to " +
                                                 std::to_string(max));
        }
        *target = number;
    };
    return app->add_option_function<std::string>(name, read, description)->type_name("N");
}

void addTimeScale(CLI::App* app, double* scale)
{
    const auto read = [scale](const std::string& text) {
        *scale = zulcommand::parseDouble(text).value_or(0.0);
        if (!(*scale >= cScaledClock::kMinScale && *scale <= cScaledClock::kMaxScale)) {
            throw CLI::ValidationError("--time-scale", "'" + text + "' is not a number from 0.1 to 10000");
        }
    };
    app->add_option_function<std::string>("--time-scale", read,
                                          "Scenarios, samples and scripts' timers run K times as fast")
        ->type_name("K");
}

void addScenarios(CLI::App* app, std::vector<std::string>* files, bool* untilDone,
                  std::optional<std::string>* junit)
{
    CLI::Option* scenario =
        app->add_option("--scenario", *files, "Play this scenario (YAML); may be given again")
            ->type_name("FILE")
            ->expected(1)
            ->allow_extra_args(false)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app->add_flag("--until-done", *untilDone, "End when the scenarios are done and all events are sent")
        ->needs(scenario);
    app->add_option("--junit", *junit, "Write the outcome of the scenarios' expectations here, as JUnit XML")
        ->type_name("FILE")
        ->needs(scenario);
}

bool CountOptions::any() const
{
    return std::ranges::any_of(values, [](auto& count) { return count.has_value(); });
}

void CountOptions::apply(zuldevice::Counts* counts) const
{
    uint32_t* const targets[] = {&counts->digitalInputs, &counts->digitalOutputs, &counts->analogInputs,
                                 &counts->analogOutputs, &counts->scanners};
    for (size_t i = 0; i < values.size(); ++i) {
        *targets[i] = values[i].value_or(*targets[i]);
    }
}

void addCounts(CLI::App* app, CountOptions* counts)
{
    constexpr std::array<std::array<const char*, 2>, 5> kOptions{
        {{"--din", "Digital inputs, in place of the device file's"},
         {"--dout", "Digital outputs, likewise"},
         {"--ain", "Analog inputs, likewise"},
         {"--aout", "Analog outputs, likewise"},
         {"--scanners", "Scanners, likewise"}}};
    for (size_t i = 0; i < kOptions.size(); ++i) {
        addNumber(app, kOptions[i][0], &counts->values[i], zuldevice::kMaxItems, kOptions[i][1]);
    }
}

std::string tooManyItems()
{
    return "--din, --dout, --ain, --aout and --scanners: more than " + std::to_string(zuldevice::kMaxItems) +
           " in all";
}

} // namespace zuloptions
