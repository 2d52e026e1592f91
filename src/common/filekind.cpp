#include "filekind.h"

#include <QFileInfo>

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
