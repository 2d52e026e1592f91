#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <functional>
#include <memory>
#include <string>

#include "zulcommand/linerunner.h"
#include "zulcommand/linesplitter.h"

namespace zulconsole {

/// One client of the control socket: lines in, lines out, never waiting for it.
class ControlClient : public std::enable_shared_from_this<ControlClient>
{
public:
    using Socket = boost::asio::local::stream_protocol::socket;

    /// A client that leaves more bytes than this unread is given up.
    static constexpr size_t kMaxUnread = 4 * 1024 * 1024;

    ControlClient(boost::asio::io_context& io, Socket socket, std::unique_ptr<zulcommand::LineRunner> runner);

    std::function<void()> onQuit;

    /// Called from the event loop when isOver().
    std::function<void()> onOver;

    void start();
    void close();

    /// Closes, and deletes the runner; onOver is not called any more.
    void abandon();

    /// Sends @p line, with an end added, as soon as the client takes it.
    void writeLine(const std::string& line);

    zulcommand::LineRunner& runner() { return *mRunner; }

    /// True if nothing more can come or go, or need to.
    bool isOver() const
    {
        return mBroken || (mInputEnded && mRunner->isIdle() && mWritten == mOutput.size());
    }

private:
    void waitForInput();
    void readNow();
    void runCommands();
    void flush();
    void tellIfOver();

    boost::asio::io_context& mIo;
    Socket mSocket;
    std::unique_ptr<zulcommand::LineRunner> mRunner; ///< null after abandon()
    zulcommand::LineSplitter mLines;
    std::string mOutput;
    size_t mWritten = 0; ///< of mOutput
    bool mReading = false;
    bool mFlushing = false;
    bool mInputEnded = false;
    bool mBroken = false;
};

} // namespace zulconsole
