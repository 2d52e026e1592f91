#include "savefile.h"

#include "wfile/atomicfile.h"

#include <QFile>
#include <QFileInfo>

bool replaceFile(const QString& path, const QByteArray& content)
{
    const cAtomicFile file(QFile::encodeName(path).toStdString());
    return file.write({content.constData(), static_cast<size_t>(content.size())}).isOk();
}

bool saveFile(const QString& path, const QByteArray& content)
{
    if (QFileInfo(QFileInfo(path).path()).isWritable()) {
        return replaceFile(path, content);
    }
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.flush();
}
