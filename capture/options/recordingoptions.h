#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

#include "capture/sessions/recording.h"

namespace capture {

/// Adds --port to @p app.
void addPort(CLI::App* app, std::optional<uint32_t>* port);

/// With the port, if it is given.
Recording::Settings recordingSettings(const std::optional<uint32_t>& port);

/// Writes sentences to @p err, which is borrowed, as this program does.
std::function<void(const std::string&)> sayTo(std::ostream& err);

} // namespace capture
