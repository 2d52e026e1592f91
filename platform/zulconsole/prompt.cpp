#include "zulconsole/prompt.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace zulconsole {

namespace {

constexpr int kKeyBytesMs = 50;
constexpr int kHistoryLines = 500;

int columnsOf(int fd)
{
    winsize size{};
    return ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

bool Prompt::possibleAt(int fd)
{
    const char* terminal = std::getenv("TERM");
    return ::isatty(fd) == 1 && ::tcgetpgrp(fd) == ::getpgrp() && terminal != nullptr && *terminal != '\0' &&
           std::strcmp(terminal, "dumb") != 0;
}

Prompt::Prompt(boost::asio::io_context& io, int fd, const std::string& program)
    : mText(program + "> "),
      mStream(io, ::fcntl(fd, F_DUPFD_CLOEXEC, 0)),
      mSignals(io, SIGWINCH, SIGCONT),
      mInput(::fdopen(::fcntl(fd, F_DUPFD_CLOEXEC, 0), "r")),
      mScreen(std::fopen("/dev/tty", "we"))
{
    if (mScreen == nullptr) {
        mScreen = ::fdopen(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0), "w");
    }
    mEditor = el_init(program.c_str(), mInput, mScreen, mScreen);
    mHistory = history_init();
    HistEvent event;
    history(mHistory, &event, H_SETSIZE, kHistoryLines);
    history(mHistory, &event, H_SETUNIQUE, 1);
    el_set(mEditor, EL_CLIENTDATA, this);
    el_set(mEditor, EL_PROMPT, &promptText);
    el_set(mEditor, EL_EDITOR, "emacs");
    el_set(mEditor, EL_HIST, history, mHistory);
    el_set(mEditor, EL_GETCFN, &Prompt::readKey);
    // These would end the input, or read keys in a loop of their own.
    el_set(mEditor, EL_BIND, "^D", "ed-delete-next-char", nullptr);
    el_set(mEditor, EL_BIND, "\\ex", "ed-unassigned", nullptr);
    el_set(mEditor, EL_BIND, "\\eX", "ed-unassigned", nullptr);
}

Prompt::~Prompt()
{
    hide();
    el_set(mEditor, EL_UNBUFFERED, 0);
    el_end(mEditor);
    history_end(mHistory);
    std::fclose(mScreen);
    std::fclose(mInput);
}

void Prompt::start()
{
    el_set(mEditor, EL_UNBUFFERED, 1);
    waitForKey();
    waitForSignal();
}

void Prompt::hide()
{
    const LineInfo* line = el_line(mEditor);
    const auto typed = static_cast<size_t>(line->cursor - line->buffer);
    const size_t rows = (mText.size() + typed) / static_cast<size_t>(columnsOf(fileno(mScreen)));
    if (rows > 0) {
        std::fprintf(mScreen, "\033[%zuA", rows);
    }
    std::fputs("\r\033[J", mScreen);
    std::fflush(mScreen);
}

void Prompt::show()
{
    el_set(mEditor, EL_REFRESH);
    std::fflush(mScreen);
}

void Prompt::waitForKey()
{
    mStream.async_wait(boost::asio::posix::stream_descriptor::wait_read,
                       [this](const boost::system::error_code& error) {
                           if (error) {
                               return;
                           }
                           takeKey();
                           if (!mEnded) {
                               waitForKey();
                           }
                       });
}

void Prompt::waitForSignal()
{
    mSignals.async_wait([this](const boost::system::error_code& error, int signal) {
        if (error) {
            return;
        }
        if (signal == SIGWINCH) {
            el_resize(mEditor);
        } else {
            // While the program was stopped, the shell changed the terminal's modes.
            restart();
        }
        waitForSignal();
    });
}

void Prompt::takeKey()
{
    int size = 0;
    const char* text = el_gets(mEditor, &size);
    if (text == nullptr || size <= 0 || (text[size - 1] != '\n' && text[size - 1] != '\r')) {
        return;
    }
    const std::string line(text, static_cast<size_t>(size) - 1);
    if (line.find_first_not_of(" \t") != std::string::npos) {
        HistEvent event;
        history(mHistory, &event, H_ENTER, line.c_str());
    }
    restart();
    onLine(line);
}

void Prompt::restart()
{
    el_set(mEditor, EL_UNBUFFERED, 0);
    el_set(mEditor, EL_UNBUFFERED, 1);
}

Prompt& Prompt::of(EditLine* editor)
{
    void* data = nullptr;
    el_get(editor, EL_CLIENTDATA, &data);
    return *static_cast<Prompt*>(data);
}

/// The editor does not write to the text, although its signature allows that.
char* Prompt::promptText(EditLine* editor) { return of(editor).mText.data(); }

/// Reads the next character for the editor.
int Prompt::readKey(EditLine* editor, wchar_t* key)
{
    std::mbstate_t state{};
    for (;;) {
        char byte = 0;
        const int got = of(editor).readByte(&byte);
        if (got <= 0) {
            return got;
        }
        const size_t size = std::mbrtowc(key, &byte, 1, &state);
        if (size == static_cast<size_t>(-1)) {
            *key = L'\a';
            return 1;
        }
        if (size != static_cast<size_t>(-2)) {
            return 1;
        }
    }
}

/// After a lone Escape the editor waits for the rest of a key; a bell ends it.
int Prompt::readByte(char* byte)
{
    pollfd entry{mStream.native_handle(), POLLIN, 0};
    if (::poll(&entry, 1, kKeyBytesMs) == 0) {
        *byte = '\a';
        return 1;
    }
    const ssize_t size = ::read(mStream.native_handle(), byte, 1);
    mEnded = size <= 0;
    return static_cast<int>(size);
}

} // namespace zulconsole
