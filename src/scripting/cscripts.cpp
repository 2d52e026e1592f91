#include "cscripts.h"

#include <QDeadlineTimer>

#include "scriptworker.h"

cScripts::~cScripts() { stop(); }

bool cScripts::start(std::unique_ptr<scriptWorker> worker)
{
    const Run run{new QThread, worker.get(), worker->stopSource(), std::make_shared<Life>()};
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
        return false;
    }
    static_cast<void>(worker.release()); // finished() deletes it
    run.life->begun.wait();
    mRuns.push_back(run);
    return true;
}

bool cScripts::stop()
{
    for (Run& run : mRuns) {
        run.stopSource.request_stop();
        if (run.thread != nullptr) {
            // It is deleted below.
            QObject::disconnect(run.thread, SIGNAL(finished()), run.thread, SLOT(deleteLater()));
            run.thread->quit();
        }
    }
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
    mRuns.clear();
    return true;
}
