#include "fleet/control/controlserver.h"

#include <algorithm>
#include <chrono>
#include <sys/socket.h>
#include <utility>

#include "fleet/control/controlclient.h"
#include "fleet/control/steereddevice.h"
#include "zulcommand/controllines.h"

using boost::asio::local::stream_protocol;
using boost::system::error_code;

namespace fleet {

namespace {

/// So long a client waits if the system has no descriptor for it.
constexpr auto kRetry = std::chrono::milliseconds(100);

constexpr eObjectTypes kPortTypes[] = {OBJ_PORT_DIN, OBJ_PORT_DOUT, OBJ_PORT_AIN, OBJ_PORT_AOUT};

} // namespace

ControlServer::ControlServer(boost::asio::io_context& io, Fleet& fleet)
    : mIo(io), mFleet(fleet), mAcceptor(io), mRetry(io)
{}

ControlServer::~ControlServer()
{
    mFleet.setObserver(nullptr);
    for (const auto& client : mClients) {
        client->onOver = [] {};
        client->close();
    }
}

std::string ControlServer::listen(const std::string& path)
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

void ControlServer::accept()
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
        auto client = std::make_shared<ControlClient>(mIo, std::move(socket), mFleet);
        client->onQuit = [this] { onQuit(); };
        client->onOver = [this] { removeEnded(); };
        mClients.push_back(client);
        mFleet.setObserver(this);
        client->start();
        accept();
    });
}

void ControlServer::removeEnded()
{
    std::erase_if(mClients, [](const auto& client) { return client->isOver(); });
    if (mClients.empty()) {
        mFleet.setObserver(nullptr);
    }
}

void ControlServer::writeLine(const zulcommand::JsonPtr& line)
{
    const std::string text = zulcommand::lineText(line, std::chrono::system_clock::now());
    std::ranges::for_each(mClients, [&text](auto& client) { client->writeLine(text); });
}

void ControlServer::linkChanged(Device& device)
{
    const zulcommand::JsonPtr line = controllines::linkLine(device.linkState());
    json_object_set_new(line.get(), "deviceSerial", json_integer(device.plain().getDeviceSerial()));
    writeLine(line);
}

void ControlServer::setReceived(Device& device, cObjectList& message)
{
    for (cObject* object = message.first(); object != nullptr; object = message.next()) {
        writeLine(controllines::setLine(*object));
        cObjectList single;
        single.setMsgType(message.getMsgType());
        single.addBorrowed(object);
        WMsg encoded;
        if (single.encode(&encoded).isOk()) {
            std::ranges::for_each(mClients, [&](auto& client) {
                client->runner().setReceived(device.plain().getDeviceSerial(), encoded);
            });
        }
    }
}

void ControlServer::beforeChange(Device& device)
{
    mWatch.clear();
    for (const eObjectTypes type : kPortTypes) {
        for (const cObject* port : device.plain().records(type)) {
            mWatch.changed(static_cast<const cObjectPort&>(*port), SteeredDevice::sliderOf(*port));
        }
    }
}

void ControlServer::afterChange(Device& device)
{
    for (const eObjectTypes type : kPortTypes) {
        for (const cObject* port : device.plain().records(type)) {
            if (mWatch.changed(static_cast<const cObjectPort&>(*port), SteeredDevice::sliderOf(*port))) {
                writeLine(controllines::changedLine(SteeredDevice(mFleet, device).objectOf(*port)));
            }
        }
    }
}

} // namespace fleet
