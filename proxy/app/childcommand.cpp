#include "proxy/app/childcommand.h"

#include <cerrno>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace proxy {

std::vector<std::string> ChildCommand::wordsFor(std::vector<std::string> words, const std::string& address)
{
    static constexpr char kPlace[] = "{proxy}";
    for (std::string& word : words) {
        for (size_t at = word.find(kPlace); at != std::string::npos; at = word.find(kPlace, at)) {
            word.replace(at, sizeof kPlace - 1, address);
            at += address.size();
        }
    }
    return words;
}

int ChildCommand::start(const std::vector<std::string>& words, const sigset_t& blocked)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str())); // posix_spawnp() does not write to it
    }
    arguments.push_back(nullptr);
    sigset_t restored;
    sigemptyset(&restored);
    sigaddset(&restored, SIGPIPE); // which this program ignores
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &blocked);
    posix_spawnattr_setsigdefault(&attributes, &restored);
    const int error = posix_spawnp(&mId, arguments[0], nullptr, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    if (error == 0) {
        return 0;
    }
    mId = 0;
    return error == ENOENT ? kNotFound : kCannotRun;
}

void ChildCommand::signal(int number) const
{
    if (isRunning()) {
        ::kill(mId, number);
    }
}

std::optional<int> ChildCommand::takeStatus()
{
    int status = 0;
    if (!isRunning() || ::waitpid(mId, &status, WNOHANG) != mId) {
        return std::nullopt;
    }
    mId = 0;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace proxy
