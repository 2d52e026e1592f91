#include "fleet/control/controlserver.h"

#include <memory>

#include "fleet/control/controlrunner.h"
#include "fleet/control/steereddevice.h"
#include "zulcommand/controllines.h"

namespace fleet {

namespace {

constexpr eObjectTypes kPortTypes[] = {OBJ_PORT_DIN, OBJ_PORT_DOUT, OBJ_PORT_AIN, OBJ_PORT_AOUT};

} // namespace

ControlServer::ControlServer(boost::asio::io_context& io, Fleet& fleet)
    : mFleet(fleet), mSocket(io, [&io, &fleet] { return std::make_unique<ControlRunner>(io, fleet); })
{
    mSocket.onQuit = [this] { onQuit(); };
    mSocket.onClients = [this](bool hasClients) { mFleet.setObserver(hasClients ? this : nullptr); };
}

ControlServer::~ControlServer() { mFleet.setObserver(nullptr); }

void ControlServer::linkChanged(Device& device)
{
    const zulcommand::JsonPtr line = controllines::linkLine(device.linkState());
    json_object_set_new(line.get(), "deviceSerial", json_integer(device.plain().getDeviceSerial()));
    mSocket.writeLine(line);
}

void ControlServer::setReceived(Device& device, cObjectList& message)
{
    for (cObject* object = message.first(); object != nullptr; object = message.next()) {
        mSocket.writeLine(controllines::setLine(*object));
        cObjectList single;
        single.setMsgType(message.getMsgType());
        single.addBorrowed(object);
        WMsg encoded;
        if (single.encode(&encoded).isOk()) {
            mSocket.forEachRunner([&](zulcommand::LineRunner& runner) {
                static_cast<ControlRunner&>(runner).setReceived(device.plain().getDeviceSerial(), encoded);
            });
        }
    }
}

void ControlServer::stepDone(Device& device, const zulscenario::ScenarioPlayer::Done& done)
{
    const zulcommand::JsonPtr line = zulscenario::stepLine(done);
    json_object_set_new(line.get(), "deviceSerial", json_integer(device.plain().getDeviceSerial()));
    mSocket.writeLine(line);
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
                mSocket.writeLine(controllines::changedLine(SteeredDevice(mFleet, device).objectOf(*port)));
            }
        }
    }
}

} // namespace fleet
