#pragma once

#include <gtest/gtest.h>

#include "localserver.h"
#include "rawdevice.h"

/// A device that has said that it is @p serial; the server's lines up to that are read.
inline RawDevice deviceAt(LocalServer* server, uint32_t serial)
{
    RawDevice device(server->port());
    device.identify(serial);
    server->lines().next("device");
    return device;
}

/// A server with one device, 1, that has said who it is.
class ServedDeviceTest : public testing::Test
{
protected:
    LocalServer mServer;
    RawDevice mDevice = deviceAt(&mServer, 1);
};
