#include "devicepeer.h"

#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "property.h"

size_t DevicePeer::write(const uint8_t* data, size_t size)
{
    const ssize_t count = isOpen() ? ::send(mFd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT) : -1;
    return count < 0 ? 0 : static_cast<size_t>(count);
}

bool DevicePeer::read()
{
    uint8_t buffer[65536];
    for (bool any = false;; any = true) {
        const ssize_t count = isOpen() ? ::recv(mFd, buffer, sizeof buffer, MSG_DONTWAIT) : -1;
        if (count <= 0) {
            return any;
        }
        const uint8_t* data = buffer;
        auto left = static_cast<size_t>(count);
        WMsg message;
        WMsgReader::eResult result = WMsgReader::MESSAGE;
        // A peer that read late does not blame the sender for it.
        while ((result = mReader.read(&data, &left, 0, &message)) == WMsgReader::MESSAGE) {
            take(std::move(message));
        }
        require(result == WMsgReader::MORE, "what a session sends is sound");
    }
}

void DevicePeer::close()
{
    if (isOpen()) {
        ::close(mFd);
        mFd = -1;
    }
}

size_t DevicePeer::takePings() { return std::exchange(mPings, 0); }

size_t DevicePeer::takePingAnswers() { return std::exchange(mPingAnswers, 0); }

void DevicePeer::take(WMsg&& message)
{
    if (!message.control) {
        messages.push_back(std::move(message));
        return;
    }
    require(message.type == wmsg::kControlPing && message.seq == 0 && !message.event, "a ping is a ping");
    ++(message.answer ? mPingAnswers : mPings);
}
