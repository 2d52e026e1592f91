#pragma once

#include <functional>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace zuloptions {

/// How a program ends whose command line is wrong, or asks for the help or the version.
struct CommandLineEnd
{
    int exitStatus = 0;
    std::string output = {}; ///< for standard output: help or version
    std::string error = {};  ///< for standard error: one line
};

/// The result of reading a command line.
template <class Options>
struct ParsedOptions : CommandLineEnd
{
    std::optional<Options> options = {}; ///< nothing if the program should end
};

/// Reads a command line into what @p app has declared. @p check then returns one sentence about a mistake, or
/// an empty text. Returns nothing if the program should run.
std::optional<CommandLineEnd> readCommandLine(CLI::App* app, int argc, const char* const* argv,
                                              const std::function<std::string()>& check);

} // namespace zuloptions
