#pragma once

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "wmsg/wmsgreader.h"

/// A blocking server with room for one device.
class BenchServer
{
public:
    BenchServer() : mListener(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        const bool listening = bind(mListener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                               listen(mListener, 1) == 0 &&
                               getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size) == 0;
        mPort = listening ? ntohs(address.sin_port) : 0;
    }
    ~BenchServer()
    {
        close(mPeer);
        close(mListener);
    }
    BenchServer(const BenchServer&) = delete;
    BenchServer& operator=(const BenchServer&) = delete;

    uint16_t port() const { return mPort; }

    /// The connection to the device, once accepted.
    int descriptor() const { return mPeer; }

    void accept()
    {
        mPeer = ::accept(mListener, nullptr, nullptr);
        const int on = 1;
        setsockopt(mPeer, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }

    /// Sends @p message and reads until its answer has come. False when the link broke.
    bool ask(WMsg* message)
    {
        message->seq = ++mSeq;
        if (!send(*message)) {
            return false;
        }
        WMsg received;
        do {
            if (!next(&received)) {
                return false;
            }
        } while (!received.answer || received.seq != mSeq);
        return true;
    }

    bool send(const WMsg& message)
    {
        mBytes.clear();
        message.appendFrames(mBytes);
        return ::send(mPeer, mBytes.data(), mBytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(mBytes.size());
    }

    /// Reads the next message of the device. False when the link broke.
    bool next(WMsg* message)
    {
        for (;;) {
            const WMsgReader::eResult result = mReader.read(&mData, &mSize, 0, message);
            if (result != WMsgReader::MORE) {
                return result == WMsgReader::MESSAGE;
            }
            const ssize_t count = recv(mPeer, mBuffer, sizeof mBuffer, 0);
            if (count <= 0) {
                return false;
            }
            mData = mBuffer;
            mSize = static_cast<size_t>(count);
        }
    }

private:
    int mListener;
    int mPeer = -1;
    uint16_t mPort = 0;
    uint8_t mSeq = 0;
    std::vector<uint8_t> mBytes;
    uint8_t mBuffer[65536];
    const uint8_t* mData = nullptr;
    size_t mSize = 0;
    WMsgReader mReader;
};
