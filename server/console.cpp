#include "server/console.h"

#include <poll.h>
#include <unistd.h>

namespace server {

namespace {

class Aside
{
public:
    explicit Aside(TypedLine* line) : mLine(line)
    {
        if (mLine != nullptr) {
            mLine->hide();
        }
    }
    ~Aside()
    {
        if (mLine != nullptr) {
            mLine->show();
        }
    }
    Aside(const Aside&) = delete;
    Aside& operator=(const Aside&) = delete;

private:
    TypedLine* mLine;
};

} // namespace

Console::Console(asio::io_context& io, int outputFd, int errorFd, bool verbose)
    : mOutput(io, outputFd), mErrorFd(errorFd), mVerbose(verbose)
{}

void Console::line(const JsonPtr& json)
{
    const Aside aside(mTypedLine);
    mOutput.writeLine(dumped(json));
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
    const Aside aside(mTypedLine);
    pollfd entry{mErrorFd, POLLOUT, 0};
    if (::poll(&entry, 1, 0) > 0) {
        // There is nowhere left to say that the error stream failed.
        [[maybe_unused]] const ssize_t written = ::write(mErrorFd, lines.data(), lines.size());
    }
}

} // namespace server
