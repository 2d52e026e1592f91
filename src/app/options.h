#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "zullink/hostport.h"
#include "zuloptions/deviceoptions.h"

struct cDeviceFile;

/// The values of a device that the command line gives; what it leaves out is nothing.
struct cDeviceOptions
{
    zuloptions::CountOptions counts;
    std::optional<uint32_t> version;
    std::optional<uint32_t> serial;
    std::optional<std::string> label;

    bool any() const;

    /// Puts the values that are given into @p device. Qt's application object has set the locale.
    void apply(cDeviceFile& device) const;
};

/// What the command line asks for. Texts are bytes as typed: Qt may decode them only once its application
/// object has set the locale.
struct cOptions
{
    std::optional<std::string> deviceFile;
    cDeviceOptions device; ///< in place of what the device file says, or without one
    std::optional<std::string> connectionFile;
    std::optional<sHostPort> server;    ///< in place of a connection file
    bool connect = false;               ///< always with a server
    std::vector<std::string> scripts;   ///< those of --script first; none without a device
    std::optional<std::string> run;     ///< the script that the program ends with; then no others
    std::vector<std::string> arguments; ///< of that script: the last ones of the command line
    std::optional<uint32_t> seed;       ///< of the scripts' and the scenarios' random numbers
    std::vector<std::string> scenarios; ///< none without a device
    bool untilDone = false;             ///< ends when the scenarios are done
    std::optional<std::string> junit;   ///< a report of the scenarios' expectations
    bool check = false;                 ///< only reads the device and the scenarios
    double timeScale = 1.0;
    std::optional<std::string> logConfig;   ///< a log4cpp property file
    std::optional<std::string> captureFile; ///< records what crosses the link
    std::optional<std::string> control;     ///< the path of the control socket
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
