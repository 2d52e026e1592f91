#pragma once

#include <iosfwd>
#include <string>

namespace capture {

/// Runs the program and returns its exit status; --version puts out @p version.
int runProgram(int argc, const char* const* argv, const std::string& version, std::ostream& out,
               std::ostream& err);

} // namespace capture
