#pragma once

#include <csignal>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace proxy {

/// A command that the program starts and waits for; it has the program's standard streams.
class ChildCommand
{
public:
    /// The exit status of a shell for a command that is not there, and for one that cannot be run.
    static constexpr int kNotFound = 127;
    static constexpr int kCannotRun = 126;

    /// @p words with @p address for each "{proxy}" in them.
    static std::vector<std::string> wordsFor(std::vector<std::string> words, const std::string& address);

    /// Starts @p words, at least one, with the signals @p blocked blocked. Returns 0, or one of the above.
    int start(const std::vector<std::string>& words, const sigset_t& blocked);

    bool isRunning() const { return mId > 0; }

    /// Sends it a signal if it runs.
    void signal(int number) const;

    /// Its exit status once it has ended, 128 + N after the signal N; told once.
    std::optional<int> takeStatus();

private:
    pid_t mId = 0;
};

} // namespace proxy
