#include "boundedread.h"

#include <QIODevice>
#include <algorithm>

QByteArray readAtMost(QIODevice& file, qint64 most)
{
    constexpr qint64 kBlock = 16 * 1024;
    QByteArray bytes;
    while (bytes.size() < most) {
        const QByteArray block = file.read(std::min(kBlock, most - bytes.size()));
        if (block.isEmpty()) {
            break;
        }
        bytes += block;
    }
    return bytes;
}
