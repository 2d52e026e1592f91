#include "paths.h"

#include <QProcessEnvironment>

namespace paths {

QString configurationDirectory()
{
    const QString home = QProcessEnvironment::systemEnvironment().value(QStringLiteral("HOME"));
    return home + QStringLiteral("/.zulbench");
}

QString configurationPrefix() { return configurationDirectory() + QLatin1Char('/'); }

QString deviceFile(const QString& label) { return configurationPrefix() + label + QStringLiteral(".dev"); }

QString connectionFile(const QString& descriptor)
{
    return configurationPrefix() + descriptor + QStringLiteral(".con");
}

} // namespace paths
