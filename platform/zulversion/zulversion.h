#pragma once

#include <string>
#include <vector>

/// Tells support which program this is, of which commit, with which libraries.
namespace zulversion {

/// The version of the whole tree, as the build names it.
const char* version();

/// The commit that was built, in hexadecimal, followed by " with changes" if files had been edited since;
/// "unknown" if it was built outside a repository.
const char* commit();

/// A library and its version.
struct Library
{
    std::string name;
    std::string version;
};

/// What --version prints, without a newline at the end: the program and its version, the commit, and
/// @p libraries with those that every program here uses. Versions are those found at run time if the library
/// tells.
std::string describe(const std::string& program, std::vector<Library> libraries);

} // namespace zulversion
