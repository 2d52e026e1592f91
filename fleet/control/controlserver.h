#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "fleet/devices/fleet.h"
#include "zulcommand/controlpath.h"
#include "zulcommand/jsontext.h"
#include "zulcommand/portwatch.h"

namespace fleet {

class ControlClient;

/// Steers a fleet for the clients of a control socket, and tells them all what happens to its devices.
class ControlServer : private Fleet::Observer
{
public:
    /// Both outlive it.
    ControlServer(boost::asio::io_context& io, Fleet& fleet);
    ~ControlServer() override;

    /// A client has told the program to end.
    std::function<void()> onQuit;

    /// Makes the socket at @p path and takes clients. Returns one sentence if that cannot be, else an empty
    /// text.
    std::string listen(const std::string& path);

private:
    void linkChanged(Device& device) override;
    void setReceived(Device& device, cObjectList& message) override;
    void beforeChange(Device& device) override;
    void afterChange(Device& device) override;

    void accept();
    void removeEnded();
    void writeLine(const zulcommand::JsonPtr& line);

    boost::asio::io_context& mIo;
    Fleet& mFleet;
    cControlPath mPath;
    boost::asio::local::stream_protocol::acceptor mAcceptor;
    LinkTimer mRetry;
    std::vector<std::shared_ptr<ControlClient>> mClients;
    cPortWatch mWatch; ///< of the device that is being changed
};

} // namespace fleet
