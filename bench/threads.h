#pragma once

#include <cstdio>
#include <dirent.h>
#include <fstream>
#include <map>
#include <string>
#include <sys/types.h>

/// What a thread has done since it began.
struct ThreadWork
{
    double cpuUs = 0;  ///< on a core
    double sleeps = 0; ///< how often it went to sleep of its own accord, and so was woken
};

inline ThreadWork workOf(const std::string& task)
{
    ThreadWork work;
    double cpuNs = 0;
    std::ifstream(task + "/schedstat") >> cpuNs;
    work.cpuUs = cpuNs / 1e3;
    std::ifstream status(task + "/status");
    const std::string key = "voluntary_ctxt_switches:";
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, key.size(), key) == 0) {
            work.sleeps = std::stod(line.substr(key.size()));
        }
    }
    return work;
}

/// The threads of @p process by their ids; the first one's is the process's.
inline std::map<pid_t, ThreadWork> threadsOf(pid_t process)
{
    std::map<pid_t, ThreadWork> threads;
    const std::string tasks = "/proc/" + std::to_string(process) + "/task";
    DIR* directory = ::opendir(tasks.c_str());
    if (directory == nullptr) {
        return threads;
    }
    while (const dirent* entry = ::readdir(directory)) {
        if (entry->d_name[0] != '.') {
            threads[static_cast<pid_t>(std::stol(entry->d_name))] = workOf(tasks + "/" + entry->d_name);
        }
    }
    ::closedir(directory);
    return threads;
}

/// Prints the process, and what each of its threads has done since @p before: "thread ID CPU-US SLEEPS", each
/// divided by @p times. A tool that looks on from outside finds the same ids in what it writes.
inline void printThreads(pid_t process, const std::map<pid_t, ThreadWork>& before, double times)
{
    std::printf("device %d\n", process);
    for (const auto& [id, after] : threadsOf(process)) {
        const auto then = before.find(id);
        const ThreadWork start = then == before.end() ? ThreadWork() : then->second;
        std::printf("thread %d %.6g %.6g\n", id, (after.cpuUs - start.cpuUs) / times,
                    (after.sleeps - start.sleeps) / times);
    }
    std::fflush(stdout);
}
