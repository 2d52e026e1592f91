#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "failingcalls.h"
#include "linkpeer.h"

/// A peer that takes one connection after the other, asks a question on each and answers every request.
///
/// Its own calls never fail.
class ServingPeer
{
public:
    ServingPeer()
    {
        const FailingCalls::Exempt exempt;
        mPeer = std::make_unique<LinkPeer>();
        mThread = std::thread(&ServingPeer::serve, this);
    }

    ~ServingPeer()
    {
        const FailingCalls::Exempt exempt;
        mOver = true;
        PeerConnection::connectTo(mPeer->port());
        mThread.join();
        mPeer.reset();
    }
    ServingPeer(const ServingPeer&) = delete;
    ServingPeer& operator=(const ServingPeer&) = delete;

    int port() const { return mPeer->port(); }

    /// Messages that were no answers and asked for none.
    int events() const { return mEvents; }

private:
    void serve()
    {
        const FailingCalls::Exempt exempt;
        while (!mOver) {
            PeerConnection connection = mPeer->accept();
            WMsg message;
            message.type = 1;
            message.seq = 200;
            connection.send(message);
            while (!mOver && connection.receive(&message)) {
                take(message, &connection);
            }
        }
    }

    void take(const WMsg& message, PeerConnection* connection)
    {
        if (message.event) {
            ++mEvents;
        } else if (!message.answer) {
            WMsg answer = message;
            answer.answer = true;
            connection->send(answer);
        }
    }

    std::unique_ptr<LinkPeer> mPeer;
    std::atomic<bool> mOver{false};
    std::atomic<int> mEvents{0};
    std::thread mThread;
};
