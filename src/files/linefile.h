#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>

// Device and connection files: texts of a few lines.

/// How many bytes of such a file count. A longer one is something else, or has no end.
constexpr qint64 kMaxLineFileBytes = 1024 * 1024;

/// The bytes that count of the file at @p path; nullopt if it cannot be read.
std::optional<QByteArray> readLineFile(const QString& path);

/// The value of one line: what follows the first colon, or the whole line if it has none, without any space
/// character. Other white space stays.
QString lineValue(const QString& line);

/// Creates the file at @p path, or replaces it in one step; if its directory is closed to the user, the file
/// is overwritten in place. Returns false if that cannot be done.
bool saveFile(const QString& path, const QByteArray& content);

/// The outcome of rewriteLines().
enum class eRewrite
{
    NOT_COPIED,  ///< the file cannot be read or copied, or has too many bytes before or after
    READ_ONLY,   ///< the file cannot be opened for writing and keeps its lines
    REPLACED,    ///< the file holds the new lines
    NOT_REPLACED ///< the file cannot be replaced and keeps its lines
};

/// Replaces each line of the file at @p path by what @p edit returns for it, ended by a line feed. @p edit
/// gets a line without its line feed and without a carriage return before that; all other bytes stay as they
/// are. More than kMaxLineFileBytes are too many.
///
/// At every moment the file holds the old lines or the new ones. The new lines are first written to a copy,
/// the file's name followed by ".tmp", which is removed at the end.
eRewrite rewriteLines(const QString& path, const std::function<QByteArray(const QByteArray& line)>& edit);
