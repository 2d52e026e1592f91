#include "cscripts.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <utility>

#include "cguiexecutor.h"
#include "scriptworker.h"

cScripts::cScripts() : mEventsNotifier(mEvents->fd(), QSocketNotifier::Read)
{
    connect(&mEventsNotifier, &QSocketNotifier::activated, this, [this] { tellEvents(false); });
}

cScripts::~cScripts() { stop(); }

uint64_t cScripts::start(std::unique_ptr<scriptWorker> worker)
{
    const uint64_t number = mStarted + 1;
    worker->setReport([events = mEvents, number](sScriptEvent event) {
        event.script = number;
        events->post(std::move(event));
    });
    worker->setRandom(cSeededRandom(mSeed, "script", number));
    worker->setTimeScale(mTimeScale);
    Run run{number,
            new QThread,
            worker.get(),
            worker->executor(),
            worker->stopSource(),
            std::make_shared<Life>(),
            std::make_unique<cScriptChanges>(worker->file())};
    worker->setChanges(run.changes.get());
    QObject::connect(run.thread, &QThread::started, [life = run.life] {
        // Destroyed with all else that the thread holds.
        thread_local const std::shared_ptr<void> atThreadEnd(nullptr,
                                                             [life](void*) { life->ended.count_down(); });
        life->begun.count_down();
    });
    run.worker->moveToThread(run.thread);
    QObject::connect(run.thread, SIGNAL(started()), run.worker, SLOT(processScript()));
    QObject::connect(run.worker, SIGNAL(finished()), run.thread, SLOT(quit()));
    QObject::connect(run.worker, SIGNAL(finished()), run.worker, SLOT(deleteLater()));
    QObject::connect(run.thread, SIGNAL(finished()), run.thread, SLOT(deleteLater()));
    run.thread->start();
    if (!run.thread->isRunning() && !run.thread->isFinished()) {
        worker.reset();
        delete run.thread;
        return 0;
    }
    static_cast<void>(worker.release()); // finished() deletes it
    run.life->begun.wait();
    mRuns.push_back(std::move(run));
    mStarted = number;
    return number;
}

void cScripts::requestStop()
{
    for (Run& run : mRuns) {
        run.stopSource.request_stop();
        if (run.thread != nullptr) {
            // stop() deletes it.
            QObject::disconnect(run.thread, SIGNAL(finished()), run.thread, SLOT(deleteLater()));
            run.thread->quit();
        }
    }
}

bool cScripts::stop()
{
    requestStop();
    QDeadlineTimer deadline(1500); // ms, for all scripts together
    for (const Run& run : mRuns) {
        if (run.thread != nullptr && !run.thread->wait(deadline)) {
            return false;
        }
    }
    for (const Run& run : mRuns) {
        run.life->ended.wait();
        delete run.worker;
        delete run.thread;
    }
    tellEvents(true);
    mRuns.clear();
    return true;
}

size_t cScripts::running() const
{
    return static_cast<size_t>(
        std::ranges::count_if(mRuns, [](const Run& run) { return run.changes != nullptr; }));
}

void cScripts::tellEvents(bool stopping)
{
    while (const std::optional<sScriptEvent> event = mEvents->take()) {
        if (event->state != sScriptEvent::STARTED) {
            finish(*event, stopping);
        }
        emit scriptChanged(*event);
    }
}

void cScripts::finish(const sScriptEvent& event, bool stopping)
{
    const auto run = std::ranges::find(mRuns, event.script, &Run::number);
    run->changes.reset();
    if (!stopping) {
        const std::shared_ptr<cGuiExecutor> executor = run->executor;
        executor->runQueued();
    }
}
