#ifndef TRACELOG_H
#define TRACELOG_H

#include <QLoggingCategory>
#include <string>

/// Names the categories in which the program tells, for support, what it does. All are silent until
/// QT_LOGGING_RULES switches them on, for instance by "zulbench.*=true".
namespace tracelog {

const QLoggingCategory& start();   ///< zulbench.start: the program, its surroundings, what it was asked for
const QLoggingCategory& files();   ///< zulbench.files: what device and connection files said
const QLoggingCategory& scripts(); ///< zulbench.scripts: scripts that begin, fail and end; from any thread

/// Writes the start-up lines: @p version, a few lines of text, @p language, the code of the texts' language,
/// and the surroundings. The QApplication exists.
void traceStart(const std::string& version, const QString& language);

} // namespace tracelog

#endif
