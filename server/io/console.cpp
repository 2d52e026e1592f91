#include "server/io/console.h"

#include <cerrno>
#include <chrono>
#include <poll.h>
#include <unistd.h>

namespace server {

namespace {

class HideTypedLine
{
public:
    explicit HideTypedLine(TypedLine* line) : mLine(line)
    {
        if (mLine != nullptr) {
            mLine->hide();
        }
    }
    ~HideTypedLine()
    {
        if (mLine != nullptr) {
            mLine->show();
        }
    }
    HideTypedLine(const HideTypedLine&) = delete;
    HideTypedLine& operator=(const HideTypedLine&) = delete;

private:
    TypedLine* mLine;
};

/// Writes what the reader takes without waiting. An error cannot be reported anywhere.
void writeWithoutWaiting(int fd, const std::string& text)
{
    size_t written = 0;
    while (written < text.size()) {
        pollfd entry{fd, POLLOUT, 0};
        const int ready = ::poll(&entry, 1, 0);
        const ssize_t size = ready > 0 ? ::write(fd, text.data() + written, text.size() - written) : -1;
        if (size > 0) {
            written += static_cast<size_t>(size);
        } else if (ready == 0 || errno != EINTR) {
            return;
        }
    }
}

} // namespace

Console::Console(boost::asio::io_context& io, int outputFd, int errorFd, bool verbose)
    : mOutput(io, outputFd), mErrorFd(errorFd), mVerbose(verbose)
{}

void Console::line(const JsonPtr& json)
{
    const HideTypedLine aside(mTypedLine);
    const std::string text = lineText(json, std::chrono::system_clock::now());
    onLine(text);
    mOutput.writeLine(text);
}

void Console::report(const std::string& sentence) { text("zulserver: " + sentence + "\n"); }

void Console::debug(const std::string& sentence)
{
    if (mVerbose) {
        report(sentence);
    }
}

void Console::text(const std::string& lines)
{
    const HideTypedLine aside(mTypedLine);
    writeWithoutWaiting(mErrorFd, lines);
}

} // namespace server
