#include "scriptworker.h"

#include <QLoggingCategory>
#include <QScriptContext>
#include <QScriptEngine>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "cdevice.h"
#include "cguiexecutor.h"
#include "cscriptreceiver.h"
#include "readfile.h"

/// A static library's resources are linked and registered only if a symbol of them is used. The macros do
/// not work within a namespace.
static void registerSampleScript() { Q_INIT_RESOURCE(scripts); }
Q_CONSTRUCTOR_FUNCTION(registerSampleScript)

namespace {

// Off unless QT_LOGGING_RULES says otherwise.
Q_LOGGING_CATEGORY(scriptTrace, "zulbench.scripts", QtWarningMsg)

/// How often a running script handles its thread's events. The engine counts loops and not time, so a loop
/// that becomes slow handles them late: a short interval keeps that within bounds.
constexpr int kEventIntervalMs = 1;

constexpr int kStopCheckIntervalMs = 20;

/// The clock's range is finite.
constexpr double kMaxSleepMs = 1e12;

/// Makes @p object a global object of scripts, with its own members only: with those of QObject a script
/// could delete it.
void show(QScriptEngine* engine, const char* name, QObject* object)
{
    const QScriptValue value =
        engine->newQObject(object, QScriptEngine::QtOwnership,
                           QScriptEngine::ExcludeSuperClassMethods | QScriptEngine::ExcludeDeleteLater);
    engine->globalObject().setProperty(name, value, QScriptValue::KeepExistingFlags);
}

void traceEnd(const QScriptEngine& engine, const QString& name)
{
    if (engine.hasUncaughtException()) {
        qCDebug(scriptTrace, "failed %s, line %d: %s", qPrintable(name), engine.uncaughtExceptionLineNumber(),
                qPrintable(engine.uncaughtException().toString()));
    }
    qCDebug(scriptTrace, "end \"%s\"", qPrintable(name));
}

} // namespace

scriptWorker::scriptWorker(std::shared_ptr<cGuiExecutor> executor) : mExecutor(std::move(executor)) {}

void scriptWorker::receiveScriptFileName(QString name, cDevice* device)
{
    fileName = std::move(name);
    mDevice = device;
}

void scriptWorker::processScript()
{
    if (mReceiver != nullptr) {
        return;
    }
    // The start of a later script is announced to this worker too, while this one reads or runs.
    const QString name = fileName;
    cScriptReceiver receiver(mDevice, mExecutor, mStopSource.get_token());
    mReceiver = &receiver;
    const std::optional<QByteArray> program = readFile(name, kMaxBytes + 1);
    if (program && program->size() <= kMaxBytes && !mStopSource.stop_requested()) {
        // The encoding is the one that the first bytes tell, or else the locale's.
        evaluate(QTextStream(*program).readAll(), name, receiver);
    }
    mReceiver = nullptr;
}

void scriptWorker::evaluate(const QString& program, const QString& name, cScriptReceiver& receiver)
{
    // The first engine of a process creates, without a lock, what all engines share: two first ones at a time
    // would free each other's.
    [[maybe_unused]] static const bool prepared = QScriptEngine().evaluate(QString()).isValid();
    QScriptEngine engine;
    show(&engine, "sender", this);
    show(&engine, "receiver", &receiver);
    QTimer stopCheck;
    connect(&stopCheck, &QTimer::timeout, [&] {
        if (mStopSource.stop_requested()) {
            engine.abortEvaluation();
        }
    });
    stopCheck.start(kStopCheckIntervalMs);
    engine.setProcessEventsInterval(kEventIntervalMs);
    qCDebug(scriptTrace, "begin \"%s\"", qPrintable(name));
    engine.evaluate(program, name, 1);
    traceEnd(engine, name);
}

void scriptWorker::sleep(const QScriptValue& milliseconds)
{
    const double wanted = milliseconds.isNumber() ? milliseconds.toNumber() : 0;
    if (wanted > 0) {
        std::mutex mutex;
        std::unique_lock<std::mutex> lock(mutex);
        const std::chrono::duration<double, std::milli> time(std::min(wanted, kMaxSleepMs));
        std::condition_variable_any().wait_for(lock, mStopSource.get_token(), time, [] { return false; });
    }
    if (mStopSource.stop_requested()) {
        engine()->abortEvaluation();
    }
}

void scriptWorker::scan(double scanner, const QString& code)
{
    bool found = false;
    const auto scan = [&](cDevice& device) { found = device.scan(wholeNumber(scanner), code); };
    if (mReceiver->withDevice(*this, scan) && !found) {
        context()->throwError(QScriptContext::RangeError, QString("there is no scanner %1").arg(scanner));
    }
}

void scriptWorker::adhoc(double id, const QString& label, const QString& value)
{
    bool sent = false;
    const auto send = [&](cDevice& device) { sent = device.adhoc(wholeNumber(id), label, value); };
    if (mReceiver->withDevice(*this, send) && !sent) {
        context()->throwError(QScriptContext::RangeError, QString("there is no event id %1").arg(id));
    }
}
