#ifndef SCRIPTWORKER_H
#define SCRIPTWORKER_H

#include <QByteArray>
#include <QObject>
#include <QScriptValue>
#include <QScriptable>
#include <memory>

class QScriptEngine;
class cDevice;
class cGuiExecutor;
class cScriptReceiver;
class cStopRequest;

/// Runs one JavaScript file against a device; the script knows it as "sender".
///
/// It is made on the GUI thread and moved to a thread of its own, where a script that emits finished() has it
/// deleted.
class scriptWorker : public QObject, protected QScriptable
{
    Q_OBJECT

public:
    /// The longest file that is run, in bytes. A longer one is no script, and may have no end.
    static constexpr qint64 kMaxBytes = 16 * 1024 * 1024;

    /// The script reaches the device through @p executor, which may outlive the device.
    explicit scriptWorker(std::shared_ptr<cGuiExecutor> executor);

    /// Makes the script end soon, wherever it is. A script that has not begun never does. It may outlive
    /// the worker.
    std::shared_ptr<cStopRequest> stopRequest() const { return mStopRequest; }

    // For scripts, on the script's thread.

    /// Waits so many milliseconds, or until the script shall stop. Returns at once for what is no number or
    /// negative.
    Q_INVOKABLE void sleep(const QScriptValue& milliseconds = QScriptValue());

    /// Types @p code into the row of @p scanner, from 1, and presses its button. Throws where there is none.
    Q_INVOKABLE void scan(double scanner, const QString& code);

    /// Fills the ad-hoc editor in and presses its button. Throws for an @p id outside 1 to 99.
    Q_INVOKABLE void adhoc(double id, const QString& label, const QString& value);

signals:
    void finished();
    void setDigitalInput_Signal(int port, int value);
    void setAnalogInput_Signal(int port, int value);
    void connectDigitalInput_Signal(int input, int output, bool connect);
    void connectAnalogInput_Signal(int input, int output, bool connect);

public slots:
    /// Says what to run and against which device; a null device makes every call of the script fail.
    void receiveScriptFileName(QString name, cDevice* device);

    /// Runs the script to its end. A file that cannot be read or is too long is silent, and so are
    /// errors in the script. Does nothing when the script itself calls it.
    void processScript();

private:
    /// The text of a file, in the encoding that its first bytes tell, or else the locale's.
    static QString textOf(const QByteArray& file);
    void evaluate(const QString& program);
    void traceEnd(const QScriptEngine& engine) const;

    QString fileName = QStringLiteral("empty");
    cDevice* mDevice = nullptr;
    std::shared_ptr<cGuiExecutor> mExecutor;
    std::shared_ptr<cStopRequest> mStopRequest;

    // Set while a script runs.
    cScriptReceiver* mReceiver = nullptr;
};

#endif
