#pragma once

#include <chrono>
#include <cstdint>

/// The link's clock: it never goes back and knows no date.
///
/// A clock as the standard library wants one. A program that sets the time itself links a now() of its own.
struct cLinkClock
{
    using duration = std::chrono::steady_clock::duration;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<cLinkClock>;
    static constexpr bool is_steady = true;

    static time_point now();
};

/// The time by that clock in milliseconds.
inline int64_t linkNowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(cLinkClock::now().time_since_epoch()).count();
}
