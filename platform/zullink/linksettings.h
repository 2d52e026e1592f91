#pragma once

#include <cstddef>

/// How long an end of a link waits for its peer, in milliseconds, and what it stores, in bytes.
struct sLinkLimits
{
    int pingAfterMs = 10000;              ///< ping after nothing was received for this time
    int giveUpAfterMs = 30000;            ///< peer gone after nothing was received or sent for it
    size_t queueBytes = 4 * 1024 * 1024;  ///< messages that this side originates and that wait
    size_t answerBytes = 4 * 1024 * 1024; ///< answers that the peer does not read; then no more is read
};

/// How a client keeps its link, in milliseconds.
struct sLinkSettings : sLinkLimits
{
    int startMs = 3000;      ///< start() waits at most this time for the first attempt
    int connectMs = 10000;   ///< one attempt, name resolution included
    int firstPauseMs = 1000; ///< before the second attempt; doubles with each further one
    int longestPauseMs = 30000;
};
