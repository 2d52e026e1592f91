#pragma once

#include <boost/asio/io_context.hpp>
#include <functional>
#include <string>

#include "fleet/devices/fleet.h"
#include "zulcommand/portwatch.h"
#include "zulconsole/controlsocket.h"

namespace fleet {

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
    std::string listen(const std::string& path) { return mSocket.listen(path); }

private:
    void linkChanged(Device& device) override;
    void setReceived(Device& device, cObjectList& message) override;
    void stepDone(Device& device, const zulscenario::ScenarioPlayer::Done& done) override;
    void beforeChange(Device& device) override;
    void afterChange(Device& device) override;

    Fleet& mFleet;
    zulconsole::ControlSocket mSocket;
    cPortWatch mWatch; ///< of the device that is being changed
};

} // namespace fleet
