#include "fleet/app/progressline.h"

#include <cmath>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

#include "zulcommand/jsontext.h"

namespace fleet {

namespace {

/// Drops @p text if the reader takes nothing: the devices must not wait for it.
void write(int fd, const std::string& text)
{
    pollfd wait{fd, POLLOUT, 0};
    if (::poll(&wait, 1, 0) > 0) {
        static_cast<void>(!::write(fd, text.data(), text.size()));
    }
}

double rounded(double value) { return std::round(value * 1000.0) / 1000.0; }

} // namespace

std::string progressText(const Fleet::Progress& progress, double perSecond)
{
    char text[160];
    std::snprintf(text, sizeof text, "%llu in, %llu connecting, %llu down, %.0f events/s, %llu late, %.0f s",
                  static_cast<unsigned long long>(progress.in),
                  static_cast<unsigned long long>(progress.connecting),
                  static_cast<unsigned long long>(progress.down), perSecond,
                  static_cast<unsigned long long>(progress.late), progress.seconds);
    return text;
}

std::string progressJson(const Fleet::Progress& progress, double perSecond)
{
    const zulcommand::JsonPtr json(
        json_pack("{s:I, s:I, s:I, s:f, s:I, s:f}", "in", static_cast<json_int_t>(progress.in), "connecting",
                  static_cast<json_int_t>(progress.connecting), "down",
                  static_cast<json_int_t>(progress.down), "eventsPerSecond", rounded(perSecond), "late",
                  static_cast<json_int_t>(progress.late), "seconds", rounded(progress.seconds)));
    return zulcommand::dumped(json);
}

ProgressLine::ProgressLine(int fd) : mFd(fd), mTerminal(::isatty(fd) == 1) {}

void ProgressLine::show(const Fleet::Progress& progress)
{
    const double seconds = progress.seconds - mLast.seconds;
    const double perSecond = seconds > 0.0 ? static_cast<double>(progress.sent - mLast.sent) / seconds : 0.0;
    mLast = progress;
    mShown = true;
    write(mFd, mTerminal ? "\r\x1b[K" + progressText(progress, perSecond)
                         : progressJson(progress, perSecond) + "\n");
}

void ProgressLine::finish()
{
    if (mTerminal && mShown) {
        write(mFd, "\n");
    }
}

} // namespace fleet
