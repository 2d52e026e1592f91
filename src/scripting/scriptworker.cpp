#include "scriptworker.h"

#include <QFile>
#include <QScriptContext>
#include <QScriptEngine>
#include <QTextStream>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <limits>

#include "boundedread.h"
#include "cdevice.h"
#include "cguiexecutor.h"
#include "cscriptreceiver.h"
#include "cstoprequest.h"
#include "tracelog.h"

/// A static library's resources are linked and registered only where somebody asks for them. The macro does
/// not work within a namespace.
static bool registerSampleScript()
{
    Q_INIT_RESOURCE(scripts);
    return true;
}

namespace {

const bool kSampleScriptRegistered = registerSampleScript();

/// How often a running script handles its thread's events, in milliseconds. The engine counts loops and not
/// time, so that a loop which becomes slow looks late: the more often the better.
constexpr int kEventInterval = 1;

/// How often it looks whether it shall stop, in milliseconds.
constexpr int kLookUpInterval = 20;

/// As long as any sleep may take, in milliseconds: the clock's range is finite.
constexpr double kLongestSleep = 1e12;

/// Runs one empty script. The first engine of a process makes, without a lock, what all engines share: two
/// first ones at a time would take each other's away.
bool prepareEngines()
{
    QScriptEngine().evaluate(QString());
    return true;
}

/// What a script takes for a number of a list; 0, which is none, for anything that is not whole.
int wholeNumber(double number)
{
    const bool fits = number >= 0 && number <= std::numeric_limits<int>::max();
    return fits && number == static_cast<int>(number) ? static_cast<int>(number) : 0;
}

/// Makes @p object a global object of scripts, with its own members only: with those of every object a
/// script could delete it.
void show(QScriptEngine* engine, const char* name, QObject* object)
{
    const QScriptValue value =
        engine->newQObject(object, QScriptEngine::QtOwnership,
                           QScriptEngine::ExcludeSuperClassMethods | QScriptEngine::ExcludeDeleteLater);
    engine->globalObject().setProperty(name, value, QScriptValue::KeepExistingFlags);
}

} // namespace

scriptWorker::scriptWorker(std::shared_ptr<cGuiExecutor> executor)
    : mExecutor(std::move(executor)), mStopRequest(std::make_shared<cStopRequest>())
{}

void scriptWorker::receiveScriptFileName(QString name, cDevice* device)
{
    fileName = std::move(name);
    mDevice = device;
}

void scriptWorker::processScript()
{
    QFile file(fileName);
    if (mReceiver != nullptr || !file.open(QIODevice::ReadOnly)) {
        return;
    }
    const QByteArray program = readAtMost(file, kMaxBytes + 1);
    file.close();
    if (program.size() <= kMaxBytes && !mStopRequest->made()) {
        evaluate(textOf(program));
    }
}

QString scriptWorker::textOf(const QByteArray& file) { return QTextStream(file).readAll(); }

void scriptWorker::evaluate(const QString& program)
{
    [[maybe_unused]] static const bool prepared = prepareEngines();
    QScriptEngine engine;
    cScriptReceiver receiver(mDevice, mExecutor, mStopRequest);
    mReceiver = &receiver;
    show(&engine, "sender", this);
    show(&engine, "receiver", &receiver);
    QTimer lookUp;
    connect(&lookUp, &QTimer::timeout, [&] {
        if (mStopRequest->made()) {
            engine.abortEvaluation();
        }
    });
    lookUp.start(kLookUpInterval);
    engine.setProcessEventsInterval(kEventInterval);
    qCDebug(tracelog::scripts, "begin \"%s\"", qPrintable(fileName));
    engine.evaluate(program, fileName, 1);
    traceEnd(engine);
    mReceiver = nullptr;
}

void scriptWorker::traceEnd(const QScriptEngine& engine) const
{
    if (engine.hasUncaughtException()) {
        qCDebug(tracelog::scripts, "failed %s, line %d: %s", qPrintable(fileName),
                engine.uncaughtExceptionLineNumber(), qPrintable(engine.uncaughtException().toString()));
    }
    qCDebug(tracelog::scripts, "end \"%s\"", qPrintable(fileName));
}

void scriptWorker::sleep(const QScriptValue& milliseconds)
{
    const double wanted = milliseconds.isNumber() ? milliseconds.toNumber() : 0;
    if (wanted > 0) {
        mStopRequest->wait(std::chrono::duration<double, std::milli>(std::min(wanted, kLongestSleep)));
    }
    if (mStopRequest->made()) {
        engine()->abortEvaluation();
    }
}

void scriptWorker::scan(double scanner, const QString& code)
{
    bool there = false;
    const auto scan = [&](cDevice& device) { there = device.scan(wholeNumber(scanner), code); };
    if (mReceiver->withDevice(*this, scan) && !there) {
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
