#pragma once

#include <QApplication>
#include <QSocketNotifier>
#include <cstdint>
#include <functional>
#include <sys/socket.h>

#include "benchserver.h"
#include "processes.h"
#include "showndevice.h"

/// A device in a shown window, in a process of its own, connected to a server of the calling process.
class DeviceProcess
{
public:
    /// What the device's process does with an order(), on its GUI thread.
    using Obey = std::function<void(char)>;

    /// Runs in the device's process before its event loop does, with the window shown.
    using Prepare = std::function<Obey(ShownDevice*)>;

    /// Returns when the device has connected to @p server.
    DeviceProcess(
        uint32_t ports, BenchServer* server, const Prepare& prepare = [](ShownDevice*) { return Obey(); })
        : mOpened(::socketpair(AF_UNIX, SOCK_STREAM, 0, mOrders) == 0),
          mProcess([&] { live(ports, server->port(), prepare); })
    {
        server->accept();
    }

    /// Lets the device end in good order, so that a tool that looks on sees all of it.
    ~DeviceProcess()
    {
        order(kQuit);
        mProcess.join();
        ::close(mOrders[0]);
        ::close(mOrders[1]);
    }
    DeviceProcess(const DeviceProcess&) = delete;
    DeviceProcess& operator=(const DeviceProcess&) = delete;

    pid_t id() const { return mProcess.id(); }

    void order(char what)
    {
        if (::send(mOrders[0], &what, 1, MSG_NOSIGNAL) != 1) {
            fail("the device is gone");
        }
    }

private:
    static constexpr char kQuit = 'q';

    void live(uint32_t ports, uint16_t port, const Prepare& prepare)
    {
        // The trace is the device's product and is written, but is not looked at here.
        if (!mOpened || std::freopen("/dev/null", "w", stdout) == nullptr ||
            std::freopen("/dev/null", "w", stderr) == nullptr) {
            std::_Exit(1);
        }
        qputenv("QT_QPA_PLATFORM", "offscreen");
        char name[] = "device";
        char* arguments[] = {name, nullptr};
        int count = 1;
        QApplication application(count, arguments);
        ShownDevice shown(ports);
        const Obey obey = prepare(&shown);
        QSocketNotifier ordered(mOrders[1], QSocketNotifier::Read);
        QObject::connect(&ordered, &QSocketNotifier::activated, [&] {
            char what = kQuit;
            if (::recv(mOrders[1], &what, 1, 0) != 1 || what == kQuit) {
                QApplication::quit();
            } else {
                obey(what);
            }
        });
        shown.connectTo(port);
        QApplication::exec();
        shown.close();
    }

    int mOrders[2] = {-1, -1}; // here, there
    bool mOpened;
    ChildProcess mProcess;
};
