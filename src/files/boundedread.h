#ifndef BOUNDEDREAD_H
#define BOUNDEDREAD_H

#include <QByteArray>

class QIODevice;

/// How much of a device or connection file counts, in bytes; what follows means nothing. Such a file has a
/// few lines: more than this comes from a file that is something else, or that has no end.
constexpr qint64 kMaxLineFileBytes = 1024 * 1024;

/// The bytes of @p file, open for reading, up to its end or the first @p most of them.
QByteArray readAtMost(QIODevice& file, qint64 most);

#endif
