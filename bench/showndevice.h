#pragma once

#include <QMainWindow>
#include <memory>

#include "cconfig.h"
#include "cdevice.h"
#include "crepaintthrottle.h"

inline std::unique_ptr<cDevice> makeDevice(uint32_t ports)
{
    constexpr uint32_t kSerial = 1001;
    char label[] = "Bench";
    return std::make_unique<cDevice>(ports, ports, ports, ports, ports, label, QString(), 1, kSerial);
}

/// A device in a window that is shown.
class ShownDevice
{
public:
    explicit ShownDevice(uint32_t ports) : mDevice(makeDevice(ports))
    {
        new cRepaintThrottle(&mWindow);
        mWindow.resize(1117, 428);
        mWindow.setCentralWidget(mDevice.get());
        mWindow.show();
    }
    ~ShownDevice() { close(); }
    ShownDevice(const ShownDevice&) = delete;
    ShownDevice& operator=(const ShownDevice&) = delete;

    cDevice* device() const { return mDevice.get(); }

    /// Connects to a server on this machine.
    void connectTo(uint16_t port)
    {
        cConfig config;
        config.setZULIP("127.0.0.1");
        config.setZULPort(QString::number(port));
        mDevice->start(&config);
    }

    void close()
    {
        if (mDevice) {
            mWindow.takeCentralWidget();
            mDevice.reset();
        }
    }

private:
    QMainWindow mWindow;
    std::unique_ptr<cDevice> mDevice;
};
