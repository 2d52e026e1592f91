#include "paths.h"

#include <QFileInfo>
#include <QProcessEnvironment>

QString paths::configurationDirectory()
{
    return QProcessEnvironment::systemEnvironment().value("HOME") + "/.zulbench";
}

QString paths::configurationPrefix() { return configurationDirectory() + '/'; }
QString paths::deviceFile(const QString& label) { return configurationPrefix() + label + ".dev"; }
QString paths::connectionFile(const QString& descriptor)
{
    return configurationPrefix() + descriptor + ".con";
}

eFileKind fileKindOf(const QString& path)
{
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == QLatin1String("dev")) {
        return eFileKind::DEVICE;
    }
    if (suffix == QLatin1String("con")) {
        return eFileKind::CONNECTION;
    }
    return suffix == QLatin1String("js") ? eFileKind::SCRIPT : eFileKind::OTHER;
}
