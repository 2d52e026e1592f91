#pragma once

#include <QString>

/// Names the kinds of items that a device file counts, and changes their counts.
///
/// An instruction type says which count is meant: 1 digital inputs, 2 digital outputs, 3 analog inputs,
/// 4 analog outputs, 5 scanners. Any other means none.
namespace itemkind {

/// The caption of the number to add or remove; null for no kind.
QString caption(int instructionType);

// Each rewrites the device file at @p path with the new count. A count that is no number is 0, and remove()
// stops at 0. False if the file cannot be read or copied; see rewriteLines() for other outcomes.
bool add(const QString& path, int instructionType, int number);
bool remove(const QString& path, int instructionType, int number);

} // namespace itemkind
