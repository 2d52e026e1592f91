#ifndef ZULSERVERPROCESS_H
#define ZULSERVERPROCESS_H

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// The real server as a child process on a free port; its lines are read one by one.
class ZulserverProcess
{
public:
    ZulserverProcess()
    {
        int output[2];
        // Nothing is ever typed: the other end of its standard input just stays open.
        if (pipe2(output, O_CLOEXEC) != 0 || pipe2(mInput, O_CLOEXEC) != 0) {
            return;
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, mInput[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        std::string words[] = {ZULSERVER_PROGRAM, "--port", "0"};
        char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
        if (posix_spawn(&mProcess, ZULSERVER_PROGRAM, &actions, nullptr, arguments, environ) != 0) {
            mProcess = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        close(output[1]);
        mLines = fdopen(output[0], "r");
    }
    ~ZulserverProcess()
    {
        if (mProcess > 0) {
            kill(mProcess, SIGTERM);
            waitpid(mProcess, nullptr, 0);
        }
        close(mInput[0]);
        close(mInput[1]);
        if (mLines != nullptr) {
            fclose(mLines);
        }
        free(mLine);
    }
    ZulserverProcess(const ZulserverProcess&) = delete;
    ZulserverProcess& operator=(const ZulserverProcess&) = delete;

    /// Reads on until a line that holds @p text. False when the server ended before.
    bool skipTo(const std::string& text)
    {
        do {
            if (mLines == nullptr || getline(&mLine, &mSize, mLines) < 0) {
                return false;
            }
        } while (std::string(mLine).find(text) == std::string::npos);
        return true;
    }

    /// The port that it listens on, to be asked once, first; 0 where it did not come up.
    uint16_t port()
    {
        const std::string key = "\"port\":";
        if (!skipTo("\"listening\"")) {
            return 0;
        }
        const std::string line = mLine;
        return static_cast<uint16_t>(std::stoi(line.substr(line.find(key) + key.size())));
    }

private:
    pid_t mProcess = -1;
    int mInput[2] = {-1, -1};
    FILE* mLines = nullptr;
    char* mLine = nullptr;
    size_t mSize = 0;
};

#endif
