#include "scriptfailure.h"

#include <QScriptEngine>
#include <algorithm>

namespace {

// A script may throw a text of any length.
constexpr int kMaxErrorLength = 1000;
constexpr int kMaxCallLength = 200;

QString lastPart(const QString& text, int maxLength)
{
    return text.size() > maxLength ? QChar(0x2026) + text.right(maxLength) : text;
}

/// Leaves out the calls of the engine itself, which have no line.
QStringList callsOf(const QStringList& backtrace)
{
    QStringList calls;
    for (const QString& call : backtrace) {
        if (!call.endsWith(QLatin1String(" at -1")) && calls.size() < sScriptEvent::kMaxCalls) {
            calls.append(lastPart(call.simplified(), kMaxCallLength));
        }
    }
    return calls;
}

/// Returns the one of @p files whose line the innermost of @p calls is at; the first if none.
QString fileOf(const QStringList& calls, int line, const QStringList& files)
{
    const auto isThere = [&](const QString& file) {
        return !calls.isEmpty() && calls.first().endsWith(QStringLiteral(" at %1:%2").arg(file).arg(line));
    };
    const auto found = std::ranges::find_if(files, isThere);
    return found == files.end() ? files.first() : *found;
}

} // namespace

void scriptfailure::runInside(QScriptEngine& engine, const std::function<void()>& body)
{
    const auto call = [](QScriptContext*, QScriptEngine* caller, void* argument) {
        (*static_cast<const std::function<void()>*>(argument))();
        return caller->undefinedValue();
    };
    engine.newFunction(call, const_cast<std::function<void()>*>(&body)).call();
}

sScriptEvent scriptfailure::describe(QScriptEngine& engine, const QStringList& files)
{
    sScriptEvent event;
    event.file = files.first();
    event.state = sScriptEvent::FAILED;
    event.line = std::max(0, engine.uncaughtExceptionLineNumber());
    event.calls = callsOf(engine.uncaughtExceptionBacktrace());
    event.errorFile = fileOf(event.calls, event.line, files);
    const QScriptValue exception = engine.uncaughtException();
    // All three may be functions of the script.
    runInside(engine, [&] {
        event.error = exception.toString().left(kMaxErrorLength);
        if (exception.isError()) {
            // Of wrong syntax in an included file, the engine gives the line of the call.
            event.errorFile = exception.property(QStringLiteral("fileName")).toString();
            event.line = exception.property(QStringLiteral("lineNumber")).toInt32();
        }
    });
    return event;
}
