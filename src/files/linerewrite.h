#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

/// Rewrites a text file line by line. At every moment the file holds the old lines or the new ones.
namespace linerewrite {

/// Returns what is written in place of @p line; neither has a line end.
using cEdit = std::function<QByteArray(const QByteArray& line)>;

enum eOutcome
{
    NOT_COPIED,  ///< the file cannot be read or copied, or has too many bytes before or after
    READ_ONLY,   ///< the file cannot be opened for writing and keeps its lines
    REPLACED,    ///< the file holds the new lines
    NOT_REPLACED ///< the file cannot be replaced and keeps its lines
};

/// Replaces each line of the file at @p path by what @p edit returns, ended by a line feed. A line ends with
/// a line feed, with or without a carriage return before it; all other bytes stay as they are. More than
/// kMaxLineFileBytes are too many.
///
/// The new lines are first written to a copy, the file's name followed by ".tmp", which is removed at the
/// end.
eOutcome rewrite(const QString& path, const cEdit& edit);

} // namespace linerewrite
