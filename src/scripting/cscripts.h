#pragma once

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QThread>
#include <latch>
#include <memory>
#include <random>
#include <stop_token>
#include <vector>

#include "cscriptchanges.h"
#include "cscriptevents.h"

class cGuiExecutor;
class scriptWorker;

/// Owns the scripts that were started, each with its thread.
///
/// A script's thread stays when the script has ended, until stop(). GUI thread only.
class cScripts : public QObject
{
    Q_OBJECT

public:
    cScripts();
    /// Stops the scripts that still run.
    ~cScripts() override;

    /// Moves @p worker to a thread of its own, which runs its script. Returns the number of the script when
    /// that thread has begun, 0 if the system refuses a thread; the worker is deleted then.
    uint64_t start(std::unique_ptr<scriptWorker> worker);

    /// What sender.random() depends on in the scripts to come, beside the script's number. By chance until it
    /// is set.
    void setSeed(uint32_t seed) { mSeed = seed; }
    uint32_t seed() const { return mSeed; }

    /// The times of the scripts to come pass @p scale times as fast.
    void setTimeScale(double scale) { mTimeScale = scale; }

    /// Tells every script to stop. It does so soon, unless it waits for a device's executor.
    void requestStop();

    /// Ends every script, whatever it does, and joins its thread; then others may be started. Close the
    /// devices' executors first: they release the scripts that wait there. Returns false if a script does not
    /// end; it still runs then.
    bool stop();

    size_t count() const { return mRuns.size(); }

    /// The number of scripts whose end has not been told.
    size_t running() const;

signals:
    /// Emitted for every script: when it starts, if it does, and once when it ends in one way or another.
    /// Unless stop() tells of the end, the device has carried out all that the script asked for.
    void scriptChanged(const sScriptEvent& event);

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
        uint64_t number;
        QPointer<QThread> thread;
        QPointer<scriptWorker> worker;
        std::shared_ptr<cGuiExecutor> executor;
        std::stop_source stopSource;
        std::shared_ptr<Life> life;
        std::unique_ptr<cScriptChanges> changes; ///< null when its end has been told
    };

    void tellEvents(bool stopping);
    void finish(const sScriptEvent& event, bool stopping);

    std::vector<Run> mRuns;
    uint64_t mStarted = 0; ///< so far
    uint32_t mSeed = std::random_device()();
    double mTimeScale = 1.0;
    std::shared_ptr<cScriptEvents> mEvents = std::make_shared<cScriptEvents>();
    QSocketNotifier mEventsNotifier;
};
