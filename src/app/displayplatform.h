#pragma once

#include <QString>

struct cOptions;

/// Chooses Qt's platform before the QApplication is constructed.
namespace displayplatform {

/// Sets the environment up for @p options. Returns false if nothing names a display or another platform, with
/// which Qt would end the program.
bool prepare(const cOptions& options);

/// The message handler while the QApplication is constructed. If Qt's platform cannot start (no server
/// answers at DISPLAY, for instance), it ends the program with one sentence on standard error and status 1;
/// Qt alone would abort.
void endOnFailure(QtMsgType type, const QMessageLogContext& context, const QString& message);

} // namespace displayplatform
