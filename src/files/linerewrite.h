#ifndef LINEREWRITE_H
#define LINEREWRITE_H

#include <QByteArray>
#include <QString>
#include <functional>

/// Rewrites a text file in place, by way of a copy beside it, so that neither a crash nor a full disk loses
/// it.
///
/// The copy bears the file's name with ".tmp" behind it. It is whole and on the disk before the file itself
/// is touched, and it goes only once the file is whole and on the disk again. So at every moment one of the
/// two holds the old lines or the new ones. The file keeps its owner, its mode and every link to it.
namespace linerewrite {

/// What is written in place of @p line; neither has a line end.
using cEdit = std::function<QByteArray(const QByteArray& line)>;

/// Puts what @p edit makes of each line into the place of the line, ended by a line feed. Line ends of a line
/// feed, with or without a carriage return, are understood; all other bytes stay as they are.
///
/// False, and no change, where the file cannot be read or is longer than kMaxLineFileBytes, or the copy
/// cannot be written. True otherwise, also where the file cannot be opened for writing and so keeps its
/// content. Where writing the file itself breaks off, the copy stays, and complete() finishes the work.
bool rewrite(const QString& path, const cEdit& edit);

/// Finishes a rewrite of the file at @p path that broke off: where the file is no more than a beginning of
/// the copy beside it, it gets the rest. Any other file stays as it is. False where the rest cannot be
/// written.
bool complete(const QString& path);

} // namespace linerewrite

#endif
