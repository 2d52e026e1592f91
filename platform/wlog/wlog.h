#pragma once

#include <string>

/// A log category of log4cpp for the class that derives from it.
///
/// Lines go where init() sent them: to standard error by default, never to standard output.
class cWlog
{
public:
    /// The priorities of log4cpp; a lower value is more severe.
    enum WlogPiority
    {
        EMERG = 0,
        FATAL = 0,
        ALERT = 100,
        CRIT = 200,
        ERROR = 300,
        WARN = 400,
        NOTICE = 500,
        INFO = 600,
        DEBUG = 700,
        NOTSET = 800
    };

    /// A category that bears @p logName, which must outlive this object (a literal does).
    explicit cWlog(const char* logName);

    /// Sends every category's lines of @p priority and above to standard error, for the whole process.
    /// Call it before other threads log. Calling it again changes the level and adds no second output.
    static void init(WlogPiority priority);

    /// Sets logging up from a log4cpp property file, whose outputs replace standard error. Returns an empty
    /// text, or one sentence that says why the file was not taken; then lines go to standard error as before.
    /// Refuses also what log4cpp ignores: a file that can't be written or is not named, an unknown line, a
    /// root category without an output. Call it before other threads log.
    static std::string init(const char* configFile);

    /// Changes the category; @p logName must outlive this object.
    void setLogName(const char* logName);

    // Each writes one line to the category. Any thread may call.
    void fatal(const char* text) const;
    void error(const char* text) const;
    void warn(const char* text) const;
    void info(const char* text) const;
    void debug(const char* text) const;

    /// Whether a debug line would be written; check it before building a costly text.
    bool debugEnabled() const;

protected:
    /// Formats like printf into this object's buffer, cut to 1023 bytes, and returns the buffer.
    /// One thread at a time.
    const char* logText(const char* format, ...) __attribute__((format(printf, 2, 3)));

private:
    const char* mLogName;
    char mLogBuffer[1024];
};
