#pragma once

#include <QSocketNotifier>
#include <memory>

#include "zullink/wakeup.h"

class cObjectClient;

/// Runs a client's link on the event loop of the GUI thread.
///
/// GUI thread only. It outlives the client.
class cQtLinkDriver
{
public:
    explicit cQtLinkDriver(cObjectClient* client);

    /// Leaves the client alone from now on: it is about to be deleted.
    void stop();

private:
    /// Calls the driver directly: this happens for each message, and a signal costs more than an answer.
    class cReadable : public QSocketNotifier
    {
    public:
        cReadable(int fd, cQtLinkDriver* driver) : QSocketNotifier(fd, Read), mDriver(driver) {}

    protected:
        bool event(QEvent* event) override;

    private:
        cQtLinkDriver* mDriver;
    };

    void process(const QSocketNotifier& readable);
    void watch(int fd);

    cObjectClient* mClient;

    // A descriptor, as the race checker does not see what passes through Qt's own queue of events.
    cWakeup mWakeup;
    cReadable mWakeupReadable;
    std::unique_ptr<cReadable> mSocketReadable; ///< null while the connection is not to be read
};
