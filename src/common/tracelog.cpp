#include "tracelog.h"

#include "paths.h"

#include <QGuiApplication>
#include <QLocale>
#include <QSysInfo>
#include <QTextCodec>

namespace tracelog {

// Debug and information lines are off unless a rule says otherwise.
Q_LOGGING_CATEGORY(start, "zulbench.start", QtWarningMsg)
Q_LOGGING_CATEGORY(files, "zulbench.files", QtWarningMsg)
Q_LOGGING_CATEGORY(scripts, "zulbench.scripts", QtWarningMsg)

void traceStart(const std::string& version, const QString& language)
{
    for (const QString& line : QString::fromStdString(version).split('\n')) {
        qCInfo(start, "%s", qPrintable(line));
    }
    qCInfo(start, "system %s, kernel %s", qPrintable(QSysInfo::prettyProductName()),
           qPrintable(QSysInfo::kernelVersion()));
    qCInfo(start, "display %s", qPrintable(QGuiApplication::platformName()));
    qCInfo(start, "locale %s, texts in %s, files in %s", qPrintable(QLocale().name()), qPrintable(language),
           QTextCodec::codecForLocale()->name().constData());
    qCInfo(start, "configuration %s", qPrintable(paths::configurationDirectory()));
}

} // namespace tracelog
