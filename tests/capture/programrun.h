#pragma once

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "capture/app/program.h"
#include "madecapture.h"

/// What the program said and how it ended.
struct ProgramRun
{
    int status = 0;
    std::string out;
    std::string err;

    std::vector<std::string> lines() const
    {
        std::vector<std::string> lines;
        std::istringstream stream(out);
        for (std::string line; std::getline(stream, line);) {
            lines.push_back(line);
        }
        return lines;
    }
};

inline ProgramRun runCapture(std::vector<std::string> words)
{
    words.insert(words.begin(), "zulcapture");
    std::vector<const char*> argv;
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    std::ostringstream out;
    std::ostringstream err;
    const int status =
        capture::runProgram(static_cast<int>(argv.size()), argv.data(), "zulcapture 1", out, err);
    return {status, out.str(), err.str()};
}

/// Files of one test.
class CaptureTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (const std::string& path : mPaths) {
            std::remove(path.c_str());
        }
    }

    /// Returns the path of a file with @p bytes.
    std::string file(const std::vector<uint8_t>& bytes, const std::string& name = "recording")
    {
        const auto* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string own = std::to_string(getpid()) + '.' + test->test_suite_name() + '.' + test->name();
        std::ranges::replace(own, '/', '-');
        mPaths.push_back(testing::TempDir() + own + '.' + name);
        std::ofstream(mPaths.back(), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return mPaths.back();
    }
    std::string file(const MadeCapture& made, const std::string& name = "recording")
    {
        return file(made.file(), name);
    }

private:
    std::vector<std::string> mPaths;
};
