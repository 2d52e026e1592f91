#pragma once

#include <CLI/CLI.hpp>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "zuldevice/portrules.h"

/// Options of a command line that programs share.
namespace zuloptions {

/// Has @p *target read a decimal number of at most @p max. Files say less about a wrong one.
CLI::Option* addNumber(CLI::App* app, const std::string& name, std::optional<uint32_t>* target, uint32_t max,
                       const std::string& description);

/// Adds --time-scale, whose number goes to @p *scale.
void addTimeScale(CLI::App* app, double* scale);

/// Adds --scenario, --until-done and --junit.
void addScenarios(CLI::App* app, std::vector<std::string>* files, bool* untilDone,
                  std::optional<std::string>* junit);

/// The numbers of ports and scanners that a command line gives in the place of a device file's.
struct CountOptions
{
    /// Digital inputs and outputs, analog inputs and outputs, scanners.
    std::array<std::optional<uint32_t>, 5> values;

    bool any() const;

    /// Puts those that are given into @p *counts.
    void apply(zuldevice::Counts* counts) const;
};

/// Adds --din, --dout, --ain, --aout and --scanners.
void addCounts(CLI::App* app, CountOptions* counts);

/// The sentence that the numbers are too many in all, without its end.
std::string tooManyItems();

} // namespace zuloptions
