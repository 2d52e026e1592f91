#pragma once

#include <ctime>
#include <string>
#include <vector>

namespace zulcommand {

/// One case of a report as JUnit has it.
struct JunitCase
{
    static constexpr const char* kFailure = "failure";
    static constexpr const char* kError = "error";
    static constexpr const char* kSkipped = "skipped";

    std::string name;
    std::string element = {}; ///< one of the above; empty if it passed
    std::string type = {};    ///< of a failure or an error, in a word
    std::string message = {}; ///< why it did not pass
    std::string detail = {};  ///< of a failure or an error, in any number of lines
    double seconds = 0.0;
    std::string output = {}; ///< lines
};

/// A report of the cases of one program, as the JUnit XML that build servers read.
struct JunitSuite
{
    std::string name;
    std::time_t started = 0;
    double seconds = 0.0;
    std::vector<JunitCase> cases = {};
    std::string output = {}; ///< lines before the first case
};

std::string junitXml(const JunitSuite& suite);

} // namespace zulcommand
