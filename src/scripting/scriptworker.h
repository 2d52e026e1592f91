#pragma once

#include <QObject>
#include <QScriptValue>
#include <QScriptable>
#include <QStringList>
#include <functional>
#include <memory>
#include <stop_token>

#include "scriptevent.h"

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

    std::shared_ptr<cGuiExecutor> executor() const { return mExecutor; }
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
    sScriptEvent runFile(const QString& name, cScriptReceiver& receiver);
    sScriptEvent evaluate(const QString& program, const QString& name, cScriptReceiver& receiver);
    void report(const sScriptEvent& event) const;
    sScriptEvent outcome(QScriptEngine& engine, const QString& name) const;

    QString fileName = QStringLiteral("empty");
    cDevice* mDevice = nullptr;
    std::shared_ptr<cGuiExecutor> mExecutor;
    QStringList mArguments;
    std::function<void(sScriptEvent)> mReport;
    std::stop_source mStopSource;
    cScriptReceiver* mReceiver = nullptr; ///< set from the start of a script to its end
};
