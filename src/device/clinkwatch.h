#ifndef CLINKWATCH_H
#define CLINKWATCH_H

#include <QSocketNotifier>
#include <memory>

#include "zulobj/linkhost.h"
#include "zulobj/wakeup.h"

class cObjectClient;

/// Has the GUI thread read a client's connection and deliver what came, whenever there is something.
///
/// GUI thread only, but for callServe(). It outlives the client.
class cLinkWatch : public cLinkHost
{
public:
    explicit cLinkWatch(cObjectClient* client);

    void callServe() override { mBell.wake(); }

    /// Leaves the client alone from now on: it is about to go.
    void stop();

private:
    /// Tells the watch by a plain call: this happens for each message, and signals cost more than an answer.
    class cReadable : public QSocketNotifier
    {
    public:
        cReadable(int fd, cLinkWatch* watch) : QSocketNotifier(fd, Read), mWatch(watch) {}

    protected:
        bool event(QEvent* event) override;

    private:
        cLinkWatch* mWatch;
    };

    void serve(const QSocketNotifier& reason);
    void watch(int fd);

    cObjectClient* mClient;

    // A descriptor wakes the GUI thread: what passes through Qt's own queue of events is invisible to the
    // race checker.
    cWakeup mBell;
    cReadable mBellRings;
    std::unique_ptr<cReadable> mReadable; ///< of the connection; null while it is not to be watched
};

#endif
