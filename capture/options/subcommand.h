#pragma once

#include <CLI/CLI.hpp>
#include <iosfwd>
#include <memory>
#include <string>

namespace capture {

/// One of the words behind the program's name, with its options.
class Subcommand
{
public:
    virtual ~Subcommand() = default;

    /// Adds it to @p app, and returns it there.
    virtual CLI::App* declare(CLI::App* app) = 0;

    /// One sentence about a mistake in the options, or an empty text.
    virtual std::string check() { return ""; }

    /// Returns the exit status of the program.
    virtual int run(std::ostream& out, std::ostream& err) = 0;
};

} // namespace capture
