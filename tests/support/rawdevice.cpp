#include "rawdevice.h"

#include <gtest/gtest.h>

#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

RawDevice::RawDevice(uint16_t port) : mConnection(PeerConnection::connectTo(port))
{
    EXPECT_TRUE(mConnection.isOpen());
}

std::string RawDevice::peer() const { return "127.0.0.1:" + std::to_string(mConnection.port()); }

WMsg RawDevice::receive()
{
    WMsg message;
    while (mConnection.receiveAny(&message)) {
        if (!message.control) {
            return message;
        }
        ++mPings;
    }
    ADD_FAILURE() << "no message comes from the server";
    return {};
}

void RawDevice::waitForPing()
{
    WMsg message;
    while (mConnection.receiveAny(&message)) {
        if (message.control) {
            ++mPings;
            return;
        }
    }
    ADD_FAILURE() << "no ping comes from the server";
}

void RawDevice::waitForEnd() { EXPECT_TRUE(mConnection.waitForEnd()); }

void RawDevice::identify(uint32_t serial)
{
    const WMsg question = receive();
    cObjectDevice device;
    device.setDeviceSerial(serial);
    answer(question, {&device});
}

void RawDevice::answer(const WMsg& request, std::initializer_list<const cObject*> objects)
{
    WMsg message = messageOf(request.type, objects);
    message.answer = true;
    message.seq = request.seq;
    send(message);
}

WMsg messageOf(uint8_t type, std::initializer_list<const cObject*> objects)
{
    cObjectList list;
    list.setMsgType(type);
    for (const cObject* object : objects) {
        list.add(object->clone());
    }
    WMsg message;
    EXPECT_TRUE(list.encode(&message).isOk());
    message.seq = 1;
    return message;
}

WMsg inputEvent(uint32_t portId)
{
    cObjectDInput input;
    input.setPortId(portId);
    return messageOf(cObjectList::kEvent, {&input});
}
