#pragma once

#include <QStringList>
#include <functional>

#include "scriptevent.h"

class QScriptEngine;

namespace scriptfailure {

/// Runs @p body as a function of @p engine, so that abortEvaluation() ends the functions of the script that
/// it calls.
void runInside(QScriptEngine& engine, const std::function<void()>& body);

/// Returns that the script @p name failed with the exception that @p engine holds. It came from one of @p
/// files.
sScriptEvent describe(QScriptEngine& engine, const QString& name, const QStringList& files);

} // namespace scriptfailure
