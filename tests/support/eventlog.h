#pragma once

#include <QApplication>
#include <QThread>

#include "mainwindow.h"

/// The events of a window's scripts, in words such as "1 started".
class EventLog : public QObject
{
public:
    explicit EventLog(MainWindow& window)
    {
        connect(&window.scripts(), &cScripts::scriptChanged, this, [this](const sScriptEvent& event) {
            if (QThread::currentThread() != qApp->thread()) {
                qFatal("an event comes on another thread");
            }
            constexpr const char* kWords[] = {"started", "ended", "failed", "stopped"};
            mWords.append(QString("%1 %2").arg(event.script).arg(QLatin1String(kWords[event.state])));
            mLast = event;
        });
    }

    const QStringList& words() const { return mWords; }
    const sScriptEvent& last() const { return mLast; }
    bool hasEnd() const { return mLast.script != 0 && mLast.state != sScriptEvent::STARTED; }

private:
    QStringList mWords;
    sScriptEvent mLast;
};
