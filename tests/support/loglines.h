#pragma once

#include <QByteArrayList>
#include <QtTest>
#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>
#include <mutex>

/// Keeps the lines that the libraries log, on whatever thread, during its life.
class LogLines
{
public:
    LogLines() : mKeeper(new Keeper(this)) { log4cpp::Category::getRoot().addAppender(mKeeper); }
    ~LogLines() { log4cpp::Category::getRoot().removeAppender(mKeeper); }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// Waits until a line that begins with @p text is there.
    bool waitFor(const QByteArray& text)
    {
        return QTest::qWaitFor([&] { return has(text); }, 30000);
    }

private:
    class Keeper : public log4cpp::AppenderSkeleton
    {
    public:
        explicit Keeper(LogLines* lines) : AppenderSkeleton("test"), mLines(lines) {}
        void close() override {}
        bool requiresLayout() const override { return false; }
        void setLayout(log4cpp::Layout*) override {}

    protected:
        void _append(const log4cpp::LoggingEvent& event) override
        {
            const std::lock_guard<std::mutex> lock(mLines->mMutex);
            mLines->mLines.append(QByteArray::fromStdString(event.message));
        }

    private:
        LogLines* mLines;
    };

    bool has(const QByteArray& text)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return std::any_of(mLines.cbegin(), mLines.cend(),
                           [&](const QByteArray& line) { return line.startsWith(text); });
    }

    std::mutex mMutex;
    QByteArrayList mLines;
    Keeper* mKeeper; // the category owns it
};
