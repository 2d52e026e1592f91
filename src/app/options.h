#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

/// What the command line asks for. Texts are bytes as typed: Qt may decode them only once its application
/// object has set the locale.
struct cOptions
{
    std::optional<std::string> deviceFile;
    std::optional<std::string> connectionFile;
    bool connect = false;
    std::vector<std::string> scripts;       ///< those of --script first; none without a device file
    std::optional<std::string> logConfig;   ///< a log4cpp property file
    std::optional<std::string> captureFile; ///< records what crosses the link
    bool headless = false;
    bool platformNamed = false; ///< Qt's own -platform was given
};

/// A parsed command line: options to run with, or the status to end with at once.
struct cParsedOptions
{
    cOptions options;
    std::optional<int> exitStatus;
};

/// Parses a command line before the QApplication exists, for which it leaves Qt's own options. Writes help
/// and @p version to @p out, with status 0, and wrong usage as one line to @p error, with status 1.
cParsedOptions parseOptions(int argc, const char* const* argv, const std::string& version, std::ostream& out,
                            std::ostream& error);
