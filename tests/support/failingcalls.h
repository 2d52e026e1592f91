#pragma once

#include <cstdint>
#include <string>

/// Makes chosen calls of the C library fail in a program that links failingcalls.cpp.
///
/// The calls of this program and of every library in it go through here. Only one failure is armed at a
/// time; threads that are exempt neither suffer nor count.
class FailingCalls
{
public:
    /// How a call fails: with this errno, or by doing less than it was asked for.
    static constexpr int kShort = -1;

    /// The @p nth call of @p function from now on, counted from 1, fails with @p error.
    static void arm(const std::string& function, int nth, int error);

    /// True when the failure that was armed has happened.
    static bool disarm();

    /// Calls of the thread that made this one are left alone during its life.
    class Exempt
    {
    public:
        Exempt();
        ~Exempt();
        Exempt(const Exempt&) = delete;
        Exempt& operator=(const Exempt&) = delete;

    private:
        const bool mBefore;
    };

    /// The steady clock goes on from so much later; back with a negative number.
    static void advanceClock(int64_t milliseconds);

    /// Questions to name servers go to this UDP port of 127.0.0.1; 0 ends that.
    static void redirectNameServers(uint16_t port);

    /// How many descriptors this process has open.
    static size_t openDescriptors();
};
