#pragma once

#include "zulobj/record.h"

/// An event that the operator makes up.
class cObjectAdhocEvent : public cRecord<cObjectAdhocEvent, cObject, OBJ_ADHOC_EVENT>
{
public:
    void setDeviceSerial(uint32_t deviceSerial) { mDeviceSerial = deviceSerial; }
    uint32_t getDeviceSerial() const { return mDeviceSerial; }

    /// The id of the event.
    void setPortId(uint32_t portId) { mPortId = portId; }
    uint32_t getPortId() const { return mPortId; }

    void setEventLabel(const char* eventLabel) { mEventLabel.set(eventLabel); }
    const char* getEventLabel() const { return mEventLabel.get(); }

    void setEventValue(const char* eventValue) { mEventValue.set(eventValue); }
    const char* getEventValue() const { return mEventValue.get(); }

    static constexpr auto table()
    {
        return std::to_array<Field>({
            {TAG_DEVICE_SERIAL, &cObjectAdhocEvent::mDeviceSerial, true},
            {TAG_PORT_ID, &cObjectAdhocEvent::mPortId, true},
            {TAG_EVENT_LABEL, &cObjectAdhocEvent::mEventLabel},
            {TAG_EVENT_VALUE, &cObjectAdhocEvent::mEventValue},
        });
    }

private:
    uint32_t mDeviceSerial = 0;
    uint32_t mPortId = 0;
    cText mEventLabel;
    cText mEventValue;
};
