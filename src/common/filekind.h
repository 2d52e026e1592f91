#pragma once

#include <QString>

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
