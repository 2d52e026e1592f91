#pragma once

#include <QtTest>

#include "cainput.h"
#include "caoutput.h"
#include "cconfig.h"
#include "cdevice.h"
#include "consolecapture.h"
#include "panelview.h"
#include "testserver.h"

/// How many ports and scanners a device has.
struct Counts
{
    uint32_t dins = 0;
    uint32_t douts = 0;
    uint32_t ains = 0;
    uint32_t aouts = 0;
    uint32_t scanners = 0;
};

constexpr uint32_t kSerial = 0x3E9;

constexpr auto kHigh = cObject::OBJ_IO_STATE_SET;
constexpr auto kLow = cObject::OBJ_IO_STATE_CLEAR;

/// The row of analog input @p number, from 1.
inline cAInput* analogInput(const cDevice& device, int number)
{
    return panelview::row<cAInput>(device, panelview::ANALOG_INPUTS, number);
}

inline cAOutput* analogOutput(const cDevice& device, int number)
{
    return panelview::row<cAOutput>(device, panelview::ANALOG_OUTPUTS, number);
}

inline std::unique_ptr<cDevice> makeDevice(const Counts& counts, const QString& type = "TYPE_MODBUS")
{
    QByteArray label("Panel");
    return std::make_unique<cDevice>(counts.dins, counts.douts, counts.ains, counts.aouts, counts.scanners,
                                     label.data(), type, 7, kSerial);
}

inline void setServer(cConfig* config, const QString& port, const QString& address = "127.0.0.1")
{
    config->setZULIP(address);
    config->setZULPort(port);
}

/// Has @p device connect to @p server and waits until it has.
inline bool connectTo(cDevice& device, const TestServer& server)
{
    const int connections = server.connections();
    cConfig config;
    setServer(&config, QString::number(server.port()));
    device.start(&config);
    return QTest::qWaitFor([&] { return server.connections() > connections; }, 30000);
}

/// A device with a server that it is connected to, and what it writes to standard output.
class LinkedDevice
{
public:
    explicit LinkedDevice(const Counts& counts) : mDevice(makeDevice(counts)) {}

    bool connect() { return connectTo(*mDevice, mServer); }

    cDevice& device() { return *mDevice; }
    TestServer& server() { return mServer; }
    ConsoleCapture& console() { return mConsole; }

    /// Sends @p objects, which stay the caller's, and waits for the next message that comes back.
    TestServer::Received ask(uint8_t type, std::initializer_list<cObject*> objects, uint8_t seq = 1)
    {
        mServer.send(type, seq, objects);
        return mServer.next();
    }

private:
    ConsoleCapture mConsole;
    TestServer mServer;
    std::unique_ptr<cDevice> mDevice;
};
