#pragma once

#include <QString>

/// The paths of the operator's files. Each call reads HOME from the environment; an unset HOME counts as
/// empty.
namespace paths {

/// The configuration directory, without a separator at its end. It need not exist.
QString configurationDirectory();

/// The configuration directory with a separator at its end: where file dialogs open.
QString configurationPrefix();

/// The device file of the device with @p label, which goes into the name exactly as it is.
QString deviceFile(const QString& label);

/// The connection file of @p descriptor, which goes into the name exactly as it is.
QString connectionFile(const QString& descriptor);

} // namespace paths

/// The kinds of files that the program opens, in the order in which it opens several.
enum class eFileKind
{
    DEVICE,
    CONNECTION,
    SCRIPT,
    OTHER
};

/// Returns what the suffix of @p path, in capitals or not, says about the file.
eFileKind fileKindOf(const QString& path);
