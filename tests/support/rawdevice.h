#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "linkpeer.h"
#include "zulobj/object.h"

/// A device by hand: it sends and receives single messages, or bytes that are none.
class RawDevice
{
public:
    /// Connects to 127.0.0.1 at @p port.
    explicit RawDevice(uint16_t port);

    // What can't be sent is lost: if the server has closed the connection, the test looks at what it said.

    void send(const WMsg& message) { mConnection.send(message); }
    void sendBytes(const std::vector<uint8_t>& bytes) { mConnection.send(bytes); }

    /// The next message, pings apart; those are counted, not answered.
    WMsg receive();

    /// Receives the question for the device record and answers that it is the device @p serial.
    void identify(uint32_t serial);

    /// Answers @p request with @p objects.
    void answer(const WMsg& request, std::initializer_list<const cObject*> objects);

    /// Reads until the server closes the connection, or fails.
    void waitForEnd();

    /// Reads until a ping comes, or fails.
    void waitForPing();

    void disconnect() { mConnection.close(); }

    /// "127.0.0.1:PORT" as the server sees it.
    std::string peer() const;

    int pings() const { return mPings; }

private:
    PeerConnection mConnection;
    int mPings = 0;
};

/// A message of @p type with @p objects, no answer, with sequence number 1.
WMsg messageOf(uint8_t type, std::initializer_list<const cObject*> objects);

/// An event with a digital input of this port id.
WMsg inputEvent(uint32_t portId);
