#ifndef SERVER_CONSOLE_H
#define SERVER_CONSOLE_H

#include <functional>
#include <string>

#include "server/io/jsonline.h"
#include "server/io/nonblockinglinewriter.h"

namespace server {

/// What stands on the screen while the user types a command.
class TypedLine
{
public:
    virtual ~TypedLine() = default;
    virtual void hide() = 0;
    virtual void show() = 0;
};

/// Keeps apart what the server says: JSON lines to its output, everything else to the error stream.
class Console
{
public:
    /// @p errorFd is borrowed. @p verbose lets debug() through.
    Console(boost::asio::io_context& io, int outputFd, int errorFd, bool verbose);

    NonBlockingLineWriter& output() { return mOutput; }

    /// @p typedLine, borrowed, steps aside for every line; null for none.
    void setTypedLine(TypedLine* typedLine) { mTypedLine = typedLine; }

    /// Called with each line, before it is written.
    std::function<void(const std::string&)> onLine = [](const std::string&) {};

    /// Writes @p json, with the time of now, as one line.
    void line(const JsonPtr& json);

    /// Writes the program's name and @p sentence as one line. Dropped where nobody reads the error stream.
    void report(const std::string& sentence);
    void debug(const std::string& sentence);

    /// Writes @p lines as they are.
    void text(const std::string& lines);

private:
    NonBlockingLineWriter mOutput;
    int mErrorFd;
    bool mVerbose;
    TypedLine* mTypedLine = nullptr;
};

} // namespace server

#endif
