#include "zuloptions/commandline.h"

#include <CLI/CLI.hpp>

namespace zuloptions {

namespace {

CommandLineEnd wrongUsage(const CLI::App& app, const std::string& text)
{
    return {.exitStatus = 1, .error = app.get_name() + ": " + text.substr(0, text.find('\n')) + "\n"};
}

} // namespace

std::optional<CommandLineEnd> readCommandLine(CLI::App* app, int argc, const char* const* argv,
                                              const std::function<std::string()>& check)
{
    try {
        app->parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        return CommandLineEnd{.output = app->help()};
    } catch (const CLI::CallForVersion& call) {
        return CommandLineEnd{.output = std::string(call.what()) + "\n"};
    } catch (const CLI::ParseError& error) {
        return wrongUsage(*app, error.what());
    }
    const std::string mistake = check();
    return mistake.empty() ? std::nullopt : std::make_optional(wrongUsage(*app, mistake));
}

} // namespace zuloptions
