#pragma once

#include <QStringList>
#include <functional>

#include "scriptevent.h"

class QScriptEngine;

namespace scriptfailure {

/// Runs @p body as a function of @p engine, so that abortEvaluation() ends the functions of the script that
/// it calls.
void runInside(QScriptEngine& engine, const std::function<void()>& body);

/// Returns that a script failed with the exception that @p engine holds. @p files are the script and those
/// that it has included.
sScriptEvent describe(QScriptEngine& engine, const QStringList& files);

} // namespace scriptfailure
