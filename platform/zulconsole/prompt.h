#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>
#include <cstdio>
#include <functional>
#include <histedit.h>
#include <string>

namespace zulconsole {

/// Lets a user type commands at a terminal, with editing and a history.
///
/// Prompt and typed text go to the terminal itself. It blocks the event loop only until all bytes of a key
/// have arrived.
class Prompt
{
public:
    /// True if the program may edit lines at @p fd: a capable terminal, in the foreground.
    static bool possibleAt(int fd);

    /// Changes the modes of the terminal at @p fd, borrowed; the destructor restores them. The user sees
    /// @p program.
    Prompt(boost::asio::io_context& io, int fd, const std::string& program);
    ~Prompt();
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;

    /// Called for each line, without its end.
    std::function<void(const std::string&)> onLine;

    void start();

    /// Takes the prompt and the typed text from the screen until show().
    void hide();
    void show();

private:
    static Prompt& of(EditLine* editor);
    static char* promptText(EditLine* editor);
    static int readKey(EditLine* editor, wchar_t* key);

    int readByte(char* byte);
    void waitForKey();
    void waitForSignal();
    void takeKey();
    void restart();

    std::string mText; ///< before what the user types
    boost::asio::posix::stream_descriptor mStream;
    boost::asio::signal_set mSignals;
    std::FILE* mInput = nullptr;
    std::FILE* mScreen = nullptr;
    EditLine* mEditor = nullptr;
    History* mHistory = nullptr;
    bool mEnded = false;
};

} // namespace zulconsole
