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

/// Reads the file at @p path. @p take gets each item, and returns why nothing more can be taken, or an empty
/// text. Returns one sentence if not all was read, or an empty text.
std::string readAll(const std::string& path, const std::optional<uint32_t>& port,
                    const std::function<void(const std::string&)>& say,
                    const std::function<std::string(const RecordedItem&)>& take);

} // namespace capture
