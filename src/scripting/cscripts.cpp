#include "cscripts.h"

#include <QDeadlineTimer>

#include "cstoprequest.h"
#include "cthreadlife.h"
#include "scriptworker.h"

namespace {

/// What all scripts together get to end in, in milliseconds.
constexpr int kPatience = 1500;

} // namespace

cScripts::cScripts() = default;

cScripts::~cScripts() { stop(); }

void cScripts::start(std::unique_ptr<scriptWorker> worker)
{
    const std::shared_ptr<cStopRequest> stopRequest = worker->stopRequest();
    const Run run{new QThread, worker.release(), stopRequest, std::make_shared<cThreadLife>()};
    QObject::connect(run.thread, &QThread::started, [life = run.life] { cThreadLife::begin(life); });
    run.worker->moveToThread(run.thread);
    QObject::connect(run.thread, SIGNAL(started()), run.worker, SLOT(processScript()));
    QObject::connect(run.worker, SIGNAL(finished()), run.thread, SLOT(quit()));
    QObject::connect(run.worker, SIGNAL(finished()), run.worker, SLOT(deleteLater()));
    QObject::connect(run.thread, SIGNAL(finished()), run.thread, SLOT(deleteLater()));
    run.thread->start();
    if (!run.thread->isRunning() && !run.thread->isFinished()) {
        // There is no thread to be had.
        delete run.worker;
        delete run.thread;
        return;
    }
    run.life->waitForBegin();
    mRuns.push_back(run);
}

bool cScripts::stop()
{
    for (const Run& run : mRuns) {
        run.stopRequest->make();
        if (run.thread != nullptr) {
            // It is deleted below.
            QObject::disconnect(run.thread, SIGNAL(finished()), run.thread, SLOT(deleteLater()));
            run.thread->quit();
        }
    }
    QDeadlineTimer deadline(kPatience);
    for (const Run& run : mRuns) {
        if (run.thread != nullptr && !run.thread->wait(deadline)) {
            return false;
        }
    }
    for (const Run& run : mRuns) {
        run.life->waitForEnd();
        delete run.worker;
        delete run.thread;
    }
    mRuns.clear();
    return true;
}
