#include "junitfile.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

/// What a shell command says on both of its streams, without line ends behind it.
std::string said(const std::string& command)
{
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "re");
    std::string output;
    std::array<char, 4096> block;
    for (size_t size = 1; pipe != nullptr && size > 0;) {
        size = std::fread(block.data(), 1, block.size(), pipe);
        output.append(block.data(), size);
    }
    const bool sound = pipe != nullptr && ::pclose(pipe) == 0;
    while (!output.empty() && output.back() == '\n') {
        output.pop_back();
    }
    return sound ? output : "FAILED: " + output;
}

} // namespace

JunitFile::JunitFile()
{
    char name[] = "/tmp/junitfile-XXXXXX";
    mPath = std::string(::mkdtemp(name)) + "/report.xml";
}

JunitFile::~JunitFile() { std::filesystem::remove_all(std::filesystem::path(mPath).parent_path()); }

bool JunitFile::exists() const { return std::filesystem::exists(mPath); }

std::string JunitFile::mistakes() const
{
    const std::string verdict = said("xmllint --noout --schema " JUNIT_SCHEMA " " + mPath);
    if (verdict != mPath + " validates") {
        return verdict.substr(0, 1000);
    }
    std::string wrong;
    for (const std::string element : {"failure", "error", "skipped", ""}) {
        const std::string name = element.empty() ? "tests" : element == "skipped" ? element : element + "s";
        const std::string count = "count(//testcase" + (element.empty() ? "" : "/" + element) + ")";
        for (const std::string level : {"/testsuites", "/testsuites/testsuite"}) {
            if (text("number(" + level + "/@" + name + ") = " + count) != "true") {
                wrong += level + " counts " + name + " wrongly. ";
            }
        }
    }
    return wrong;
}

std::string JunitFile::text(const std::string& expression) const
{
    return said("xmllint --xpath '" + expression + "' " + mPath);
}

std::string JunitFile::message(const std::string& name, const std::string& element) const
{
    const std::string found = "//testcase[@name=\"" + name + "\"]/" + element;
    return text("count(" + found + ")") == "0" ? "(none)" : text("string(" + found + "/@message)");
}
