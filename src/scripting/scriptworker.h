#pragma once

#include <QObject>
#include <QScriptValue>
#include <QScriptable>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

#include "cscriptcallbacks.h"
#include "scriptevent.h"
#include "zuldevice/seededrandom.h"

class QScriptEngine;
class cDevice;
class cGuiExecutor;
class cScriptReceiver;

/// Runs one JavaScript file against a device; the script knows it as "sender".
///
/// It is created on the GUI thread and moved to a thread of its own; a script that emits finished() has it
/// deleted there.
class scriptWorker : public QObject, protected QScriptable
{
    Q_OBJECT

    Q_PROPERTY(QStringList arguments READ arguments)

public:
    /// A longer file is not run: it is no script, and may have no end.
    static constexpr qint64 kMaxBytes = 16 * 1024 * 1024;

    /// The script reaches the device through @p executor, which may outlive the device.
    explicit scriptWorker(std::shared_ptr<cGuiExecutor> executor, QStringList arguments = {});

    /// Calls @p report on the script's thread when the script starts and when it ends; it sets no number.
    void setReport(std::function<void(sScriptEvent)> report) { mReport = std::move(report); }

    /// Where the changes come from that sender.on() is about; they outlive the script. Without them no port
    /// is found there.
    void setChanges(cScriptChanges* changes) { mChanges = changes; }

    /// What sender.random() draws from.
    void setRandom(const cSeededRandom& random) { mRandom = random; }

    /// The script's times pass @p scale times as fast.
    void setTimeScale(double scale) { mTimeScale = scale; }

    std::shared_ptr<cGuiExecutor> executor() const { return mExecutor; }
    QString file() const { return fileName; }
    QStringList arguments() const { return mArguments; }

    /// Ends the script soon, whatever it does; one that has not begun never does. May outlive the worker.
    std::stop_source stopSource() const { return mStopSource; }

    // For scripts, on the script's thread.

    /// Waits @p milliseconds, or until the script is told to stop. Returns at once if it is not a positive
    /// number.
    Q_INVOKABLE void sleep(const QScriptValue& milliseconds = QScriptValue());

    /// Types @p code into the row of @p scanner, from 1, and presses its button. Throws if there is none.
    Q_INVOKABLE void scan(double scanner, const QString& code);

    /// Fills the ad-hoc editor in and presses its button. Throws if @p id is outside 1 to 99.
    Q_INVOKABLE void adhoc(double id, const QString& label, const QString& value);

    /// Has @p function called with the new value and the one before for each change of a port; @p kind is one
    /// of cScriptReceiver's. Throws a RangeError if there is no such port. The result is for cancel().
    Q_INVOKABLE uint on(const QString& kind, const QScriptValue& port, const QScriptValue& function);

    /// Has @p function called with true or false when the link comes up or goes down. @p what is "link".
    Q_INVOKABLE uint on(const QString& what, const QScriptValue& function);

    // The function is called on the script's thread when the script's text has run to its end. Its delay is
    // in ms. The result is for cancel(). They throw if the delay is no number, or negative, or if the
    // function is none.
    Q_INVOKABLE uint after(const QScriptValue& milliseconds, const QScriptValue& function);

    /// Throws for less than 1 too.
    Q_INVOKABLE uint every(const QScriptValue& milliseconds, const QScriptValue& function);

    /// Returns whether something was left to cancel. Throws if @p handle is none.
    Q_INVOKABLE bool cancel(double handle);

    /// Ends the script, with @p status, 0 to 255. Throws for another one.
    Q_INVOKABLE void exit(double status = 0);

    /// Runs another file; its variables are global. A relative path starts at the folder of the script.
    /// Throws what the file throws, and if it cannot be read, is too long, or is included kMaxIncludes deep.
    Q_INVOKABLE void include(const QString& file);
    static constexpr int kMaxIncludes = 8;

    /// 0 <= x < 1, the same numbers for the same seed.
    Q_INVOKABLE double random();

signals:
    void finished();
    void setDigitalInput_Signal(int port, int value);
    void setAnalogInput_Signal(int port, int value);
    void connectDigitalInput_Signal(int input, int output, bool connect);
    void connectAnalogInput_Signal(int input, int output, bool connect);

public slots:
    /// Sets the file to run and the device; with a null device every call of the script fails. A script that
    /// has begun keeps its own.
    void receiveScriptFileName(QString name, cDevice* device);

    /// Runs the script to its end. Does nothing if the script itself calls it.
    void processScript();

private:
    sScriptEvent runFile(cScriptReceiver& receiver);
    sScriptEvent evaluate(const QString& program, cScriptReceiver& receiver);
    sScriptEvent outcome(QScriptEngine& engine) const;
    sScriptEvent makeEvent(sScriptEvent::eState state) const;
    void report(sScriptEvent event) const;

    bool mustEnd() const { return mStatus || mStopSource.stop_requested(); }
    bool isFunction(const QScriptValue& function) const;
    uint addHandler(const sScriptSubject& subject, const QScriptValue& function);
    uint addTimer(const QScriptValue& milliseconds, int minMs, const QScriptValue& function);

    QString fileName = QStringLiteral("empty");
    cDevice* mDevice = nullptr;
    std::shared_ptr<cGuiExecutor> mExecutor;
    QStringList mArguments;
    std::function<void(sScriptEvent)> mReport;
    std::stop_source mStopSource;
    cScriptChanges* mChanges = nullptr;
    cSeededRandom mRandom{0, "", 0};
    double mTimeScale = 1.0;

    // Of the script that runs.
    cScriptReceiver* mReceiver = nullptr; ///< set from the start of a script to its end
    QStringList mFiles;                   ///< the script, then those that it has included
    int mIncludeDepth = 0;
    cScriptCallbacks* mCallbacks = nullptr;
    std::optional<int> mStatus; ///< of exit()
    bool mHasDrawn = false;     ///< a random number
};
