#pragma once

#include "csentwatch.h"

#include <QObject>

class MainWindow;
struct sScriptEvent;

/// Ends the program with one script, the one of --run.
///
/// It tells on standard error what goes wrong in that script.
class cScriptRun : public QObject
{
public:
    /// @p window outlives this. Tells the seed too if @p tellsSeed and the script draws random numbers.
    cScriptRun(MainWindow& window, bool tellsSeed);

    /// Starts the script. Returns what went wrong, in one sentence; an empty text if nothing did.
    QString start(const QString& path, const QStringList& arguments);

private:
    void scriptChanged(const sScriptEvent& event);
    void endStopped();

    /// The longest wait for the link to take what the script has sent.
    static constexpr int kMaxWaitMs = 2000;

    MainWindow& mWindow;
    bool mTellsSeed;
    uint64_t mScript = 0; ///< its number; 0 before the start
    cSentWatch mSentWatch;
};
