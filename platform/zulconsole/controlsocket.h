#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zulcommand/controlpath.h"
#include "zulcommand/jsontext.h"
#include "zulcommand/linerunner.h"

namespace zulconsole {

class ControlClient;

/// Takes the clients of a control socket: each has its commands run and gets its own replies and all events.
class ControlSocket
{
public:
    /// Makes the runner of a client's commands.
    using MakeRunner = std::function<std::unique_ptr<zulcommand::LineRunner>()>;

    /// @p io outlives it.
    ControlSocket(boost::asio::io_context& io, MakeRunner makeRunner);

    /// Closes the clients and deletes their runners.
    ~ControlSocket();
    ControlSocket(const ControlSocket&) = delete;
    ControlSocket& operator=(const ControlSocket&) = delete;

    /// A client has told the program to end.
    std::function<void()> onQuit;

    /// Called when the first client has come and when the last one has gone.
    std::function<void(bool hasClients)> onClients = [](bool) {};

    /// Makes the socket at @p path and takes clients. Returns one sentence if that cannot be, else an empty
    /// text.
    std::string listen(const std::string& path);

    /// Writes @p line, an event with the time of now, to every client.
    void writeLine(const zulcommand::JsonPtr& line);

    /// Writes @p text, a line without its end, to every client.
    void writeText(const std::string& text);

    void forEachRunner(const std::function<void(zulcommand::LineRunner&)>& action) const;

private:
    void accept();
    void add(boost::asio::local::stream_protocol::socket socket);
    void removeEnded();

    boost::asio::io_context& mIo;
    const MakeRunner mMakeRunner;
    cControlPath mPath;
    boost::asio::local::stream_protocol::acceptor mAcceptor;
    boost::asio::steady_timer mRetry;
    std::vector<std::shared_ptr<ControlClient>> mClients;
};

} // namespace zulconsole
