#pragma once

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "linecatcher.h"

/// A running program with pipes for its standard streams, killed at the end of the test.
class PipedProgram
{
public:
    /// If @p mostFiles is above 0, it is the soft limit of descriptors, and @p grantedFiles the hard one.
    PipedProgram(const char* path, std::vector<std::string> arguments, rlim_t mostFiles = 0,
                 rlim_t grantedFiles = 0)
    {
        arguments.insert(arguments.begin(), path);
        int input[2];
        int output[2];
        int errors[2];
        EXPECT_EQ(::pipe2(input, O_CLOEXEC) + ::pipe2(output, O_CLOEXEC) + ::pipe2(errors, O_CLOEXEC), 0);
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        mPid = ::fork();
        if (mPid == 0) {
            ::dup2(input[0], 0);
            ::dup2(output[1], 1);
            ::dup2(errors[1], 2);
            if (mostFiles > 0) {
                const rlimit limit{mostFiles, std::max(mostFiles, grantedFiles)};
                ::setrlimit(RLIMIT_NOFILE, &limit);
            }
            ::execv(pointers[0], pointers.data());
            ::_exit(127);
        }
        ::close(input[0]);
        ::close(output[1]);
        ::close(errors[1]);
        mTyping = input[1];
        mLines = std::make_unique<LineCatcher>(output[0]);
        mErrors = std::make_unique<LineCatcher>(errors[0]);
    }

    ~PipedProgram()
    {
        endInput();
        if (mPid > 0) {
            ::kill(mPid, SIGKILL);
            ::waitpid(mPid, nullptr, 0);
        }
    }

    PipedProgram(const PipedProgram&) = delete;
    PipedProgram& operator=(const PipedProgram&) = delete;

    /// Where it listens, from the line that says so.
    uint16_t port()
    {
        const zulcommand::JsonPtr line = mLines->next("listening");
        return static_cast<uint16_t>(json_integer_value(json_object_get(line.get(), "port")));
    }

    LineCatcher& lines() { return *mLines; }
    LineCatcher& errors() { return *mErrors; }
    void signal(int number) const { ::kill(mPid, number); }

    void type(const std::string& text) const
    {
        EXPECT_EQ(::write(mTyping, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    void endInput()
    {
        if (mTyping >= 0) {
            ::close(mTyping);
            mTyping = -1;
        }
    }

    /// The exit status, or 1000 and the number of the signal that ended it.
    int wait()
    {
        int status = 0;
        ::waitpid(mPid, &status, 0);
        mPid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    }

private:
    pid_t mPid = -1;
    int mTyping = -1;
    std::unique_ptr<LineCatcher> mLines;
    std::unique_ptr<LineCatcher> mErrors;
};
