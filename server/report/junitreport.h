#pragma once

#include <chrono>
#include <ctime>
#include <deque>
#include <string>
#include <vector>

#include "zulcommand/reply.h"

namespace server {

/// Collects the results of the commands and writes them as the JUnit XML that build servers read.
///
/// A command is a case; after "case NAME" all commands up to the next "case" are one case of this name.
class JunitReport
{
public:
    struct Limits
    {
        size_t cases = 10000;                       ///< further commands belong to the last case
        size_t caseOutputBytes = 64 * 1024;         ///< the latest lines of a case
        size_t wholeOutputBytes = 16 * 1024 * 1024; ///< the latest lines of all
    };

    JunitReport() = default;
    explicit JunitReport(const Limits& limits) : mLimits(limits) {}

    void commandBegun(const std::string& text);

    /// The running command was answered.
    void commandDone(const zulcommand::Reply& reply, double seconds);

    /// Adds a line of the server's output to the last case.
    void addLine(const std::string& line);

    /// The run ends before the running command is done.
    void cutOff();

    /// The run ends before this command has begun.
    void neverBegun(const std::string& text);

    /// The run failed for a reason outside of the commands.
    void runFailed(const std::string& sentence);

    /// The whole report.
    std::string xml() const;

private:
    /// Lines of output, the latest ones.
    struct Output
    {
        std::deque<std::string> lines;
        size_t bytes = 0;
        size_t leftOut = 0; ///< lines
    };

    struct Case
    {
        std::string name;
        std::string element; ///< of JunitCase
        std::string type;    ///< of a failure or an error: the status of the command
        std::string message; ///< why it did not pass
        std::string command; ///< the one that did not pass
        double seconds = 0.0;
        Output output;
    };

    void open(const std::string& name);
    void judge(const std::string& element, const std::string& type, const std::string& message);
    void dropLine(Output* output);
    static std::string textOf(const Output& output);

    Limits mLimits;
    const std::time_t mStarted = std::time(nullptr);
    const std::chrono::steady_clock::time_point mBegun = std::chrono::steady_clock::now();
    std::deque<Case> mCases;
    Output mBefore; ///< the first case
    bool mGrouped = false;
    std::string mCommand; ///< the last one that has begun
    size_t mOutputBytes = 0;
    size_t mOldest = 0; ///< the first case that may have output
};

} // namespace server
