#pragma once

#include <string>

namespace zulcommand {

/// Reads a file of up to 16 MiB, which a longer one is refused for, as it may be endless. Returns why it
/// cannot be read, or an empty text.
std::string readTextFile(const std::string& path, std::string* content);

} // namespace zulcommand
