#ifndef CSCRIPTS_H
#define CSCRIPTS_H

#include <QPointer>
#include <QThread>
#include <memory>
#include <vector>

class cStopRequest;
class cThreadLife;
class scriptWorker;

/// Owns the scripts that were started, each with its thread.
///
/// A script's thread stays when the script has ended, until stop(). GUI thread only.
class cScripts
{
public:
    cScripts();
    /// Stops what still runs.
    ~cScripts();

    /// Moves @p worker to a thread of its own and lets it run its script there. Returns when that thread
    /// has begun.
    void start(std::unique_ptr<scriptWorker> worker);

    /// Ends every script, wherever it is, and joins its thread. A script that waits at a device's executor
    /// must have been released before. False where one does not end; then it still runs.
    bool stop();

    size_t count() const { return mRuns.size(); }

private:
    // A script that emits finished() ends its thread and deletes both.
    struct Run
    {
        QPointer<QThread> thread;
        QPointer<scriptWorker> worker;
        std::shared_ptr<cStopRequest> stopRequest;
        std::shared_ptr<cThreadLife> life;
    };

    std::vector<Run> mRuns;
};

#endif
