#pragma once

#include <string>
#include <string_view>

#include "wmsg/wstatus.h"

/// Replaces the content of a file in one step: a reader finds the old content or the new one, also after a
/// crash or on a full disk.
///
/// The new content is written to a file beside the old one, which is synchronised and then renamed. The file
/// keeps its mode and, as far as the system permits, its owner; another hard link to it keeps the old
/// content.
class cAtomicFile
{
public:
    /// Symbolic links in @p path are followed. The file need not exist.
    explicit cAtomicFile(const std::string& path);

    /// Whether the file can be replaced or created. Changes nothing.
    WStatus check() const;

    WStatus write(std::string_view content) const;

private:
    WStatus checkTarget() const;

    std::string mPath; ///< without symbolic links
};
