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
#include "scriptfailure.h"

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

/// Returns whether the engine can read @p program. Its own parser decides; checkSyntax() has another one.
bool isRightSyntax(QScriptEngine& engine, const QString& program)
{
    engine.globalObject().property("Function").construct(QScriptValueList{program});
    const bool right = !engine.hasUncaughtException();
    engine.clearExceptions();
    return right;
}

sScriptEvent stopped(const QString& name) { return {0, name, sScriptEvent::STOPPED, {}, {}, 0, {}}; }

sScriptEvent failure(const QString& name, const QString& error)
{
    return {0, name, sScriptEvent::FAILED, error, name, 0, {}};
}

void traceEnd(const sScriptEvent& event)
{
    if (event.state == sScriptEvent::FAILED) {
        qCDebug(scriptTrace, "failed %s, line %d: %s", qPrintable(event.errorFile), event.line,
                qPrintable(event.error));
    }
    qCDebug(scriptTrace, "end \"%s\"", qPrintable(event.file));
}

} // namespace

scriptWorker::scriptWorker(std::shared_ptr<cGuiExecutor> executor, QStringList arguments)
    : mExecutor(std::move(executor)), mArguments(std::move(arguments))
{}

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
    const sScriptEvent end = runFile(name, receiver);
    mReceiver = nullptr;
    report(end);
}

void scriptWorker::report(const sScriptEvent& event) const
{
    if (mReport) {
        mReport(event);
    }
}

/// Returns how it ended.
sScriptEvent scriptWorker::runFile(const QString& name, cScriptReceiver& receiver)
{
    const std::optional<QByteArray> program = readFile(name, kMaxBytes + 1);
    if (mStopSource.stop_requested()) {
        return stopped(name);
    }
    if (!program) {
        return failure(name, QStringLiteral("the script file '%1' could not be opened").arg(name));
    }
    if (program->size() > kMaxBytes) {
        return failure(name, QStringLiteral("the script file '%1' is longer than 16 MiB").arg(name));
    }
    // The encoding is the one that the first bytes tell, or else the locale's.
    return evaluate(QTextStream(*program).readAll(), name, receiver);
}

sScriptEvent scriptWorker::evaluate(const QString& program, const QString& name, cScriptReceiver& receiver)
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
    if (isRightSyntax(engine, program)) {
        report({0, name, sScriptEvent::STARTED, {}, {}, 0, {}});
    }
    engine.evaluate(program, name, 1);
    const sScriptEvent end = outcome(engine, name);
    traceEnd(end);
    return end;
}

sScriptEvent scriptWorker::outcome(QScriptEngine& engine, const QString& name) const
{
    sScriptEvent event{0, name, sScriptEvent::ENDED, {}, {}, 0, {}};
    if (engine.hasUncaughtException() && !mStopSource.stop_requested()) {
        event = scriptfailure::describe(engine, name, {name});
    }
    return mStopSource.stop_requested() ? stopped(name) : event;
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
