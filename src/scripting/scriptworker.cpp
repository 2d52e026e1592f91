#include "scriptworker.h"

#include <QDir>
#include <QFileInfo>
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

/// A number that is not positive is 0.
cScriptCallbacks::Clock::duration duration(double milliseconds)
{
    const std::chrono::duration<double, std::milli> time(
        milliseconds > 0 ? std::min(milliseconds, kMaxSleepMs) : 0);
    return std::chrono::duration_cast<cScriptCallbacks::Clock::duration>(time);
}

/// Returns why a script cannot be run that was read as @p text; empty if it can.
QString refusal(const QString& path, const std::optional<QByteArray>& text)
{
    return !text ? QStringLiteral("the script file '%1' could not be opened").arg(path)
           : text->size() > scriptWorker::kMaxBytes
               ? QStringLiteral("the script file '%1' is longer than 16 MiB").arg(path)
               : QString();
}

/// Shares nothing with @p text: threads should not share a text that both may release.
QString copyOf(const QString& text) { return QString(text.constData(), text.size()); }

/// The encoding is the one that the first bytes tell, or else the locale's.
QString decode(const QByteArray& text) { return QTextStream(text).readAll(); }

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
    mFiles = QStringList(fileName);
    cScriptReceiver receiver(mDevice, mExecutor, mStopSource.get_token());
    mReceiver = &receiver;
    const sScriptEvent end = runFile(receiver);
    mReceiver = nullptr;
    report(end);
}

sScriptEvent scriptWorker::makeEvent(sScriptEvent::eState state) const
{
    sScriptEvent event;
    event.file = mFiles.first();
    event.state = state;
    return event;
}

void scriptWorker::report(sScriptEvent event) const
{
    if (mReport) {
        event.random = mHasDrawn;
        mReport(std::move(event));
    }
}

/// Returns how it ended.
sScriptEvent scriptWorker::runFile(cScriptReceiver& receiver)
{
    const std::optional<QByteArray> text = readFile(mFiles.first(), kMaxBytes + 1);
    if (mStopSource.stop_requested()) {
        return makeEvent(sScriptEvent::STOPPED);
    }
    const QString problem = refusal(mFiles.first(), text);
    if (problem.isEmpty()) {
        return evaluate(decode(*text), receiver);
    }
    sScriptEvent failure = makeEvent(sScriptEvent::FAILED);
    failure.error = problem;
    failure.errorFile = failure.file;
    return failure;
}

sScriptEvent scriptWorker::evaluate(const QString& program, cScriptReceiver& receiver)
{
    // The first engine of a process creates, without a lock, what all engines share: two first ones at a time
    // would free each other's.
    [[maybe_unused]] static const bool prepared = QScriptEngine().evaluate(QString()).isValid();
    QScriptEngine engine;
    show(&engine, "sender", this);
    show(&engine, "receiver", &receiver);
    cScriptChanges none(mFiles.first());
    cScriptCallbacks callbacks(mChanges != nullptr ? *mChanges : none);
    mCallbacks = &callbacks;
    QTimer stopCheck;
    connect(&stopCheck, &QTimer::timeout, [&] {
        if (mStopSource.stop_requested()) {
            engine.abortEvaluation();
        }
    });
    stopCheck.start(kStopCheckIntervalMs);
    engine.setProcessEventsInterval(kEventIntervalMs);
    const QString& name = mFiles.first();
    qCDebug(scriptTrace, "begin \"%s\"", qPrintable(name));
    if (isRightSyntax(engine, program)) {
        report(makeEvent(sScriptEvent::STARTED));
    }
    engine.evaluate(program, name, 1);
    const auto mayContinue = [&] { return !mustEnd() && !engine.hasUncaughtException(); };
    if (mayContinue()) {
        scriptfailure::runInside(engine, [&] { callbacks.run(mStopSource.get_token(), mayContinue); });
    }
    sScriptEvent end = outcome(engine);
    traceEnd(end);
    return end;
}

sScriptEvent scriptWorker::outcome(QScriptEngine& engine) const
{
    if (engine.hasUncaughtException() && !mustEnd()) {
        sScriptEvent failure = scriptfailure::describe(engine, mFiles);
        // It may have run functions of the script.
        if (!mustEnd()) {
            return failure;
        }
    }
    sScriptEvent end = makeEvent(mStatus ? sScriptEvent::ENDED : sScriptEvent::STOPPED);
    end.status = mStatus.value_or(0);
    return mustEnd() ? end : makeEvent(sScriptEvent::ENDED);
}

void scriptWorker::sleep(const QScriptValue& milliseconds)
{
    const double wanted = milliseconds.isNumber() ? milliseconds.toNumber() : 0;
    if (wanted > 0) {
        std::mutex mutex;
        std::unique_lock<std::mutex> lock(mutex);
        std::condition_variable_any().wait_for(lock, mStopSource.get_token(), duration(wanted / mTimeScale),
                                               [] { return false; });
    }
    if (mStopSource.stop_requested()) {
        engine()->abortEvaluation();
    }
}

void scriptWorker::scan(double scanner, const QString& code)
{
    bool found = false;
    const auto scan = [&](cDevice& device) { found = device.scan(wholeNumber(scanner), copyOf(code)); };
    if (mReceiver->withDevice(*this, scan) && !found) {
        context()->throwError(QScriptContext::RangeError, QString("there is no scanner %1").arg(scanner));
    }
}

void scriptWorker::adhoc(double id, const QString& label, const QString& value)
{
    bool sent = false;
    const auto send = [&](cDevice& device) {
        sent = device.adhoc(wholeNumber(id), copyOf(label), copyOf(value));
    };
    if (mReceiver->withDevice(*this, send) && !sent) {
        context()->throwError(QScriptContext::RangeError, QString("there is no event id %1").arg(id));
    }
}

uint scriptWorker::on(const QString& kind, const QScriptValue& port, const QScriptValue& function)
{
    const eObjectTypes type = scriptports::typeOf(kind);
    if (type == OBJ_DEVICE) {
        context()->throwError(QScriptContext::RangeError, QString("there is no kind of port '%1'").arg(kind));
        return 0;
    }
    return addHandler({type, port.isNumber() ? wholeNumber(port.toNumber()) : 0}, function);
}

uint scriptWorker::on(const QString& what, const QScriptValue& function)
{
    if (what != QLatin1String("link")) {
        context()->throwError(QScriptContext::RangeError,
                              QString("only 'link' is watched without a port, not '%1'").arg(what));
        return 0;
    }
    return addHandler({}, function);
}

uint scriptWorker::addHandler(const sScriptSubject& subject, const QScriptValue& function)
{
    if (!isFunction(function)) {
        return 0;
    }
    std::optional<uint64_t> last;
    const auto watch = [&](cDevice& device) {
        if (mChanges != nullptr) {
            last = mChanges->watch(device, subject);
        }
    };
    if (!mReceiver->withDevice(*this, watch)) {
        return 0;
    }
    if (!last) {
        scriptports::throwMissing(*context(), subject.type, context()->argument(1).toString());
        return 0;
    }
    return mCallbacks->addHandler(subject, *last, function);
}

/// Throws if it is none.
bool scriptWorker::isFunction(const QScriptValue& function) const
{
    if (!function.isFunction()) {
        context()->throwError(QScriptContext::TypeError, "there is no function to call");
    }
    return function.isFunction();
}

uint scriptWorker::after(const QScriptValue& milliseconds, const QScriptValue& function)
{
    return addTimer(milliseconds, 0, function);
}

uint scriptWorker::every(const QScriptValue& milliseconds, const QScriptValue& function)
{
    return addTimer(milliseconds, 1, function);
}

/// Repeats if @p minMs is not 0.
uint scriptWorker::addTimer(const QScriptValue& milliseconds, int minMs, const QScriptValue& function)
{
    const double wanted = milliseconds.isNumber() ? milliseconds.toNumber() : -1;
    if (!(wanted >= minMs)) {
        context()->throwError(QScriptContext::RangeError,
                              QString("the delay is not a number from %1").arg(minMs));
        return 0;
    }
    return isFunction(function) ? mCallbacks->addTimer(duration(wanted / mTimeScale), minMs > 0, function)
                                : 0;
}

bool scriptWorker::cancel(double handle)
{
    const int number = wholeNumber(handle);
    if (number < 1 || static_cast<uint>(number) > mCallbacks->lastHandle()) {
        context()->throwError(QScriptContext::RangeError, QString("there is no handle %1").arg(handle));
        return false;
    }
    return mCallbacks->cancel(static_cast<uint>(number));
}

void scriptWorker::exit(double status)
{
    if (status != 0 && (wholeNumber(status) < 1 || status > 255)) {
        context()->throwError(QScriptContext::RangeError, "the status is not a whole number from 0 to 255");
        return;
    }
    mStatus = static_cast<int>(status);
    engine()->abortEvaluation();
}

void scriptWorker::include(const QString& file)
{
    if (mIncludeDepth == kMaxIncludes) {
        context()->throwError(QScriptContext::RangeError,
                              QString("more than %1 files include each other").arg(kMaxIncludes));
        return;
    }
    const QString path = QDir::cleanPath(QFileInfo(mFiles.first()).dir().absoluteFilePath(file));
    const std::optional<QByteArray> text = readFile(path, kMaxBytes + 1);
    if (mustEnd()) {
        engine()->abortEvaluation();
        return;
    }
    if (const QString problem = refusal(path, text); !problem.isEmpty()) {
        context()->throwError(problem);
        return;
    }
    if (!mFiles.contains(path)) {
        mFiles.append(path);
    }
    const QScriptValue global = engine()->globalObject();
    context()->setActivationObject(global);
    context()->setThisObject(global);
    ++mIncludeDepth;
    engine()->evaluate(decode(*text), path, 1);
    --mIncludeDepth;
    // The engine takes that for the end of this file only.
    if (mustEnd()) {
        engine()->abortEvaluation();
    }
}

double scriptWorker::random()
{
    mHasDrawn = true;
    return mRandom.nextFraction();
}
