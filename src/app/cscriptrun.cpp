#include "cscriptrun.h"

#include "mainwindow.h"

#include <QApplication>
#include <QThread>
#include <iostream>

namespace {

void tellFailure(const sScriptEvent& event)
{
    std::cerr << "zulbench: ";
    if (event.line > 0) {
        std::cerr << qPrintable(event.errorFile) << ':' << event.line << ": ";
    }
    std::cerr << qPrintable(event.error) << '\n';
    for (const QString& call : event.calls) {
        std::cerr << "    " << qPrintable(call) << '\n';
    }
    std::cerr << std::flush;
}

} // namespace

cScriptRun::cScriptRun(MainWindow& window, bool tellsSeed)
    : mWindow(window), mTellsSeed(tellsSeed), mSentWatch(window)
{
    connect(&window.scripts(), &cScripts::scriptChanged, this, &cScriptRun::scriptChanged);
}

QString cScriptRun::start(const QString& path, const QStringList& arguments)
{
    const std::optional<uint64_t> number = mWindow.runScript(path, arguments);
    if (!number) {
        return QStringLiteral("the script file '%1' could not be opened").arg(path);
    }
    mScript = *number;
    return mScript == 0 ? QStringLiteral("the system refuses a thread for the script") : QString();
}

void cScriptRun::scriptChanged(const sScriptEvent& event)
{
    if (event.script != mScript || event.state == sScriptEvent::STARTED) {
        return;
    }
    if (event.state == sScriptEvent::FAILED) {
        tellFailure(event);
    }
    if (event.random && mTellsSeed) {
        const uint32_t seed = mWindow.scripts().seed();
        std::cerr << "zulbench: the seed was " << seed << "; --seed " << seed
                  << " gives the same random numbers" << std::endl;
    }
    if (event.state == sScriptEvent::STOPPED) {
        endStopped();
    } else {
        mSentWatch.endWith(event.state == sScriptEvent::FAILED ? 1 : event.status, kMaxWaitMs);
    }
}

/// Ends the program if it still runs: then a client of the control socket has loaded another device.
void cScriptRun::endStopped()
{
    if (thread()->loopLevel() > 0) {
        std::cerr << "zulbench: the script was stopped" << std::endl;
        QApplication::exit(1);
    }
}
