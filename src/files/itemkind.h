#ifndef ITEMKIND_H
#define ITEMKIND_H

#include <QByteArray>
#include <QString>

/// Names the kinds of items that a device file counts, and changes their counts.
namespace itemkind {

// An instruction type says which count is meant: 1 digital inputs, 2 digital outputs, 3 analog inputs,
// 4 analog outputs, 5 scanners. Any other means none.

/// The caption of the number to add or remove; a null text for no kind.
QString caption(int instructionType);

// Each rewrites the device file at @p path with a greater or smaller count; a count that is no number counts
// as 0, and no count falls below 0. False where the file stayed as it was because it, or the copy that it is
// rewritten by, cannot be opened.
bool add(const QString& path, int instructionType, int number);
bool remove(const QString& path, int instructionType, int number);

} // namespace itemkind

#endif
