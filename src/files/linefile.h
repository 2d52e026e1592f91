#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// How many bytes of a device or connection file count. Such a file has a few lines; a longer one is
/// something else, or has no end.
constexpr qint64 kMaxLineFileBytes = 1024 * 1024;

/// The bytes that count of the file at @p path; nullopt if it cannot be read.
std::optional<QByteArray> readLineFile(const QString& path);

/// The value of one line: what follows the first colon, or the whole line if it has none, without any space
/// character. Other white space stays.
QString lineValue(const QString& line);
