#include "zulconsole/console.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <unistd.h>

namespace zulconsole {

using namespace zulcommand;

namespace {

/// Writes what the reader takes without waiting. An error cannot be reported anywhere.
void writeWithoutWaiting(int fd, const std::string& text)
{
    size_t written = 0;
    while (written < text.size() && NonBlockingLineWriter::writable(fd, 0)) {
        const ssize_t size = ::write(fd, text.data() + written, text.size() - written);
        if (size < 0 && errno != EINTR) {
            return;
        }
        written += static_cast<size_t>(std::max<ssize_t>(size, 0));
    }
}

} // namespace

void Console::line(const JsonPtr& json)
{
    if (!shows(json_string_value(json_object_get(json.get(), "event")))) {
        return;
    }
    const std::string text = lineText(json, std::chrono::system_clock::now());
    onLine(text);
    writeBesidePrompt([&] { mOutput.writeLine(text); });
}

void Console::report(const std::string& sentence) { text(mProgram + ": " + sentence + "\n"); }

void Console::debug(const std::string& sentence)
{
    if (mVerbose) {
        report(sentence);
    }
}

void Console::text(const std::string& lines)
{
    writeBesidePrompt([&] { writeWithoutWaiting(mErrorFd, lines); });
}

void Console::writeBesidePrompt(const std::function<void()>& write)
{
    if (mPrompt != nullptr) {
        mPrompt->hide();
    }
    write();
    if (mPrompt != nullptr) {
        mPrompt->show();
    }
}

} // namespace zulconsole
