#pragma once

#include <cstdint>

#include "zulobj/objclient.h"
#include "zulobj/objlistener.h"

/// A device on the library's own client: two digital inputs, and every set is acknowledged.
class ObjDevice : public cObjectListener
{
public:
    explicit ObjDevice(uint32_t serial, const cObjectClient::Settings& settings = {});
    ~ObjDevice() override;

    bool connectTo(uint16_t port);
    void handleObjectAction(cObjectList* msg) override;
    cObjectClient& client() { return mClient; }

private:
    void addAnswers(cObject* asked, cObjectList* answer) const;

    const uint32_t mSerial;
    cObjectClient mClient;
};
