#include "objdevice.h"

#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

ObjDevice::ObjDevice(uint32_t serial, const cObjectClient::Settings& settings)
    : mSerial(serial), mClient(settings)
{
    mClient.addListener(this);
}

ObjDevice::~ObjDevice() { mClient.stop(); }

bool ObjDevice::connectTo(uint16_t port) { return mClient.start("127.0.0.1", port); }

void ObjDevice::handleObjectAction(cObjectList* msg)
{
    if (msg->getMsgType() != cObjectList::kRequest && msg->getMsgType() != cObjectList::kSet) {
        return;
    }
    cObjectList answer;
    answer.setMsgType(msg->getMsgType());
    for (cObject* asked = msg->first(); asked != nullptr; asked = msg->next()) {
        if (msg->getMsgType() == cObjectList::kRequest) {
            addAnswers(asked, &answer);
        }
    }
    mClient.send(&answer);
}

void ObjDevice::addAnswers(cObject* asked, cObjectList* answer) const
{
    if (asked->getType() == OBJ_DEVICE) {
        auto* device = new cObjectDevice;
        device->setDeviceSerial(mSerial);
        device->setDeviceLabel("Shelter 7");
        device->setDiscreteInCount(2);
        answer->add(device);
    }
    const auto* input = dynamic_cast<cObjectDInput*>(asked);
    for (uint32_t portId = 1; input != nullptr && portId <= 2; ++portId) {
        if (input->getPortId() == portId || input->getPortId() == cObject::kWildcard) {
            auto* found = new cObjectDInput;
            found->setDeviceSerial(mSerial);
            found->setPortId(portId);
            found->setInputState(cObject::OBJ_IO_STATE_SET);
            answer->add(found);
        }
    }
}
