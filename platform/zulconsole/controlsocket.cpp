#include "zulconsole/controlsocket.h"

#include <algorithm>
#include <chrono>
#include <sys/socket.h>
#include <utility>

#include "zulconsole/controlclient.h"

using boost::asio::local::stream_protocol;
using boost::system::error_code;

namespace zulconsole {

namespace {

/// How long a client waits if the system has no descriptor for it.
constexpr auto kRetry = std::chrono::milliseconds(100);

} // namespace

ControlSocket::ControlSocket(boost::asio::io_context& io, MakeRunner makeRunner)
    : mIo(io), mMakeRunner(std::move(makeRunner)), mAcceptor(io), mRetry(io)
{}

ControlSocket::~ControlSocket()
{
    // Pending operations may keep a client beyond this, but not what its runner uses.
    std::ranges::for_each(mClients, [](auto& client) { client->abandon(); });
}

std::string ControlSocket::listen(const std::string& path)
{
    if (std::string mistake = mPath.make(path); !mistake.empty()) {
        return mistake + ".";
    }
    error_code error;
    mAcceptor.assign(stream_protocol(), mPath.fd(), error);
    if (!error) {
        mPath.release();
        mAcceptor.listen(boost::asio::socket_base::max_listen_connections, error);
    }
    if (error) {
        return "the system refuses to listen at the control socket.";
    }
    accept();
    return "";
}

void ControlSocket::accept()
{
    mAcceptor.async_accept([this](const error_code& error, stream_protocol::socket socket) {
        if (error == boost::asio::error::operation_aborted) {
            return;
        }
        if (error) {
            mRetry.expires_after(kRetry);
            mRetry.async_wait([this](const error_code& aborted) { aborted ? void() : accept(); });
            return;
        }
        add(std::move(socket));
        accept();
    });
}

void ControlSocket::add(stream_protocol::socket socket)
{
    auto client = std::make_shared<ControlClient>(mIo, std::move(socket), mMakeRunner());
    client->onQuit = [this] { onQuit(); };
    client->onOver = [this] { removeEnded(); };
    mClients.push_back(client);
    if (mClients.size() == 1) {
        onClients(true);
    }
    client->start();
}

void ControlSocket::removeEnded()
{
    const size_t removed = std::erase_if(mClients, [](const auto& client) { return client->isOver(); });
    if (removed > 0 && mClients.empty()) {
        onClients(false);
    }
}

void ControlSocket::writeLine(const zulcommand::JsonPtr& line)
{
    writeText(zulcommand::lineText(line, std::chrono::system_clock::now()));
}

void ControlSocket::writeText(const std::string& text)
{
    std::ranges::for_each(mClients, [&text](auto& client) { client->writeLine(text); });
}

void ControlSocket::forEachRunner(const std::function<void(zulcommand::LineRunner&)>& action) const
{
    std::ranges::for_each(mClients, [&action](auto& client) { action(client->runner()); });
}

} // namespace zulconsole
