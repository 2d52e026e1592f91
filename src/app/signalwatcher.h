#pragma once

#include <QSocketNotifier>
#include <functional>

/// Turns SIGINT and SIGTERM into calls from the event loop.
class cSignalWatcher
{
public:
    /// Blocks both signals in this thread and in every thread that it starts later. Call it before the first
    /// thread starts; a signal that comes before the watcher exists is kept for it.
    static void block();

    /// Calls @p arrived with the number of each signal. Needs a QCoreApplication. If no descriptor is free,
    /// the signals end the process as usual.
    explicit cSignalWatcher(std::function<void(int signalNumber)> arrived);
    ~cSignalWatcher();
    cSignalWatcher(const cSignalWatcher&) = delete;
    cSignalWatcher& operator=(const cSignalWatcher&) = delete;

private:
    void readSignal() const;

    const std::function<void(int)> mArrived;
    const int mDescriptor;
    QSocketNotifier mNotifier;
};
