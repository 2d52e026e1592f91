#pragma once

#include <QSocketNotifier>
#include <QTimer>
#include <functional>
#include <string>

#include "zulcommand/linesplitter.h"

/// The bytes of one client of the control socket: lines in, lines out, never waiting for it.
class cControlConnection
{
public:
    /// A client that leaves more bytes than this unread is given up.
    static constexpr size_t kMaxUnread = 4 * 1024 * 1024;

    /// Owns @p fd, a connected stream socket that does not block.
    explicit cControlConnection(int fd);
    ~cControlConnection();
    cControlConnection(const cControlConnection&) = delete;
    cControlConnection& operator=(const cControlConnection&) = delete;

    /// Called with each line received, also with the last one if it has no end.
    std::function<void(const std::string&)> onLine;

    /// Called after onLine has been called for what has come, and when the state below has changed.
    std::function<void()> onChanged;

    /// Reads no more, or reads again.
    void setReading(bool reading);

    /// Sends @p line, with an end added, as soon as the client takes it.
    void writeLine(const std::string& line);

    /// Writes what the client takes now.
    void flush();

    /// True once the client has ended its side and all its lines have been passed on.
    bool inputEnded() const { return mInputEnded; }

    /// True if nothing more can come or go: the client is gone, or was given up.
    bool isBroken() const { return mBroken; }

    bool hasOutput() const { return mWritten < mOutput.size(); }

private:
    void read();
    void breakOff();

    const int mFd;
    zulcommand::LineSplitter mLines;
    std::string mOutput;
    size_t mWritten = 0; ///< of mOutput
    bool mReading = true;
    bool mInputEnded = false;
    bool mBroken = false;
    QSocketNotifier mReadable;
    QSocketNotifier mWritable;
    QTimer mHangupCheck; ///< runs once the client has ended its side
    QTimer mFlush;       ///< runs while output has not been tried to be written
};
