#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns SIGINT and SIGTERM into a signal of the event loop.
class cSignalWatcher : public QObject
{
    Q_OBJECT

public:
    /// Blocks both signals in this thread and in every thread that it starts later. Call it before the first
    /// thread starts; a signal that comes before the watcher exists is kept for it.
    static void block();

    /// Needs a QCoreApplication. If no descriptor is free, the signals end the process as usual.
    explicit cSignalWatcher(QObject* parent = nullptr);
    ~cSignalWatcher() override;

signals:
    /// Emitted once for each signal that arrived.
    void arrived(int signalNumber);

private:
    void readSignal();

    int mDescriptor;
    QSocketNotifier* mNotifier = nullptr;
};
