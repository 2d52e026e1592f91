#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

/// Reads the file at @p path to its end, but no more than @p maxBytes.
///
/// A file that is not ready, such as a pipe without a writer, is waited for in an event loop. Returns nullopt
/// if the file cannot be read, or if this thread's event loops were told to end during the wait.
std::optional<QByteArray> readFile(const QString& path, qint64 maxBytes);

/// Returns whether readFile() may open the file at @p path. It is not opened: the writer of a pipe would take
/// that for a reader.
bool isReadableFile(const QString& path);
