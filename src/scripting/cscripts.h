#pragma once

#include <QPointer>
#include <QThread>
#include <latch>
#include <memory>
#include <stop_token>
#include <vector>

class scriptWorker;

/// Owns the scripts that were started, each with its thread.
///
/// A script's thread stays when the script has ended, until stop(). GUI thread only.
class cScripts
{
public:
    cScripts() = default;
    /// Stops the scripts that still run.
    ~cScripts();

    /// Moves @p worker to a thread of its own, which runs its script. Returns true when that thread has
    /// begun, false if the system refuses a thread; the worker is deleted then.
    bool start(std::unique_ptr<scriptWorker> worker);

    /// Ends every script, whatever it does, and joins its thread. Close the devices' executors first: they
    /// release the scripts that wait there. Returns false if a script does not end; it still runs then.
    bool stop();

    size_t count() const { return mRuns.size(); }

private:
    /// When a thread has begun and when it has ended with all that it held. Qt knows both too, but by means
    /// that the race checker does not see.
    struct Life
    {
        std::latch begun{1};
        std::latch ended{1};
    };

    // A script that emits finished() ends its thread and deletes both.
    struct Run
    {
        QPointer<QThread> thread;
        QPointer<scriptWorker> worker;
        std::stop_source stopSource;
        std::shared_ptr<Life> life;
    };

    std::vector<Run> mRuns;
};
