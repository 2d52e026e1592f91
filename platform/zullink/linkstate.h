#pragma once

#include <chrono>
#include <cstdint>
#include <string>

/// What a client's link is doing.
struct sLinkState
{
    enum eState
    {
        OFF,  ///< never started, or told to disconnect
        DOWN, ///< it connects, or waits to do so again
        UP
    };

    eState state = OFF;
    std::string server; ///< HOST:PORT; empty before the first start
    std::string reason; ///< why it is not up, in a few words; may be empty
    std::chrono::system_clock::time_point since = std::chrono::system_clock::now(); ///< of `state`

    // Events, when the state was asked for.
    uint64_t waiting = 0;
    uint64_t dropped = 0; ///< since the client was made
};
