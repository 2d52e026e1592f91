#pragma once

#include <QLoggingCategory>
#include <string>

/// Log categories for support. All are off until QT_LOGGING_RULES switches them on, such as by
/// "zulbench.*=true".
namespace tracelog {

const QLoggingCategory& start();   ///< zulbench.start: version, system, display, locale
const QLoggingCategory& files();   ///< zulbench.files: values of device and connection files
const QLoggingCategory& scripts(); ///< zulbench.scripts: scripts that begin, fail and end; on any thread

/// Writes the lines of tracelog::start(), @p version and the code @p language among them. Needs a
/// QApplication.
void traceStart(const std::string& version, const QString& language);

} // namespace tracelog
