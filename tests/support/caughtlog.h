#pragma once

#include <algorithm>
#include <condition_variable>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/LoggingEvent.hh>
#include <mutex>
#include <string>
#include <vector>

#include "listeners.h"

/// Collects the lines that are logged during its life.
class CaughtLog : public log4cpp::AppenderSkeleton
{
public:
    CaughtLog() : AppenderSkeleton("caught") { log4cpp::Category::getRoot().addAppender(*this); }
    ~CaughtLog() override { log4cpp::Category::getRoot().removeAppender(this); }
    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout*) override {}

    std::vector<std::string> lines() const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mLines;
    }

    /// Waits until @p count lines contain @p text. Returns those.
    std::vector<std::string> waitFor(const std::string& text, size_t count = 1)
    {
        std::unique_lock<std::mutex> lock(mMutex);
        std::vector<std::string> found;
        mChanged.wait_for(lock, kTestPatience, [&] {
            found.clear();
            std::copy_if(mLines.begin(), mLines.end(), std::back_inserter(found),
                         [&](const std::string& line) { return line.find(text) != std::string::npos; });
            return found.size() >= count;
        });
        return found;
    }

protected:
    void _append(const log4cpp::LoggingEvent& event) override
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mLines.push_back(event.message);
        }
        mChanged.notify_all();
    }

private:
    mutable std::mutex mMutex;
    std::condition_variable mChanged;
    std::vector<std::string> mLines; // guarded by mMutex
};
