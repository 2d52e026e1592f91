#pragma once

#include <cstdint>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <vector>

#include "processes.h"
#include "wmsg/wbytes.h"
#include "wmsg/wmsg.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

using Bytes = std::vector<uint8_t>;

/// A connection to a server on this machine.
inline int connectTo(uint16_t port)
{
    const int link = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const int on = 1;
    if (::connect(link, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::setsockopt(link, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0) {
        fail("the server takes no connection");
    }
    return link;
}

/// A message of one record, as it goes on the line. Takes @p record over.
inline Bytes messageOf(uint8_t type, cObject* record)
{
    cObjectList list;
    list.setMsgType(type);
    list.add(record);
    WMsg message;
    Bytes bytes;
    if (list.encode(&message).isOk()) {
        message.seq = 1;
        message.appendFrames(bytes);
    }
    return bytes;
}

/// Asks for one digital input.
inline Bytes inputRequest(uint32_t portId)
{
    auto* record = new cObjectDInput;
    record->setDeviceSerial(cObject::kWildcard);
    record->setPortId(portId);
    return messageOf(cObjectList::kRequest, record);
}

/// Sends exact bytes and waits for the answer's, with a send and, as a rule, one recv.
class RawAsker
{
public:
    /// How many of the bytes are the answer and what came before it; 0 while it isn't there.
    using Measure = size_t (*)(const uint8_t* data, size_t size);

    RawAsker(int link, Bytes request, Measure measure)
        : mLink(link), mRequest(std::move(request)), mMeasure(measure)
    {}

    /// One request and its answer. False when the link broke.
    bool ask()
    {
        mUsed -= mAnswered;
        std::memmove(mReceived, mReceived + mAnswered, mUsed);
        mAnswered = 0;
        if (::send(mLink, mRequest.data(), mRequest.size(), MSG_NOSIGNAL) !=
            static_cast<ssize_t>(mRequest.size())) {
            return false;
        }
        while (mAnswered == 0) {
            const ssize_t count = ::recv(mLink, mReceived + mUsed, sizeof mReceived - mUsed, 0);
            if (count <= 0) {
                return false;
            }
            mUsed += static_cast<size_t>(count);
            mAnswered = mMeasure(mReceived, mUsed);
        }
        return true;
    }

    /// The last answer.
    Bytes answer() const { return {mReceived, mReceived + mAnswered}; }

private:
    int mLink;
    Bytes mRequest;
    Measure mMeasure;
    uint8_t mReceived[65536] = {};
    size_t mUsed = 0;
    size_t mAnswered = 0;
};

/// The device's answer ends with the first segment that bears the flag; events may stand before it.
inline size_t measureAnswer(const uint8_t* data, size_t size)
{
    size_t at = 0;
    while (size - at >= wmsg::kHeaderSize) {
        const size_t next = at + wmsg::kHeaderSize + wmsg::get32(data + at + 8);
        if (next > size) {
            return 0;
        }
        if ((data[at + 3] & wmsg::kFlagAnswer) != 0) {
            return next;
        }
        at = next;
    }
    return 0;
}
