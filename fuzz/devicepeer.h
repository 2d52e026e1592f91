#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"

/// The device's end of a connection: it writes what it is told to and sorts what it reads.
///
/// Everything that it reads has to be sound.
class DevicePeer
{
public:
    /// Takes over the descriptor @p fd, which never blocks.
    explicit DevicePeer(int fd) : mFd(fd) {}
    ~DevicePeer() { close(); }
    DevicePeer(const DevicePeer&) = delete;
    DevicePeer& operator=(const DevicePeer&) = delete;

    /// Writes the first bytes at @p data that the connection takes; returns how many.
    size_t write(const uint8_t* data, size_t size);

    /// Reads everything that there is; false if that is nothing.
    bool read();

    void close();
    bool isOpen() const { return mFd >= 0; }

    /// Questions and answers to pings since the last call.
    size_t takePings();
    size_t takePingAnswers();

    /// Everything else, in the order of its coming; the caller takes it away.
    std::deque<WMsg> messages;

private:
    void take(WMsg&& message);

    int mFd;
    WMsgReader mReader;
    size_t mPings = 0;
    size_t mPingAnswers = 0;
};
