#pragma once

#include <functional>

/// Makes one of the system calls by which files are changed go wrong: open for writing, write, fsync, rename
/// and unlink, as this program and its libraries call them.
///
/// The program that links this has these functions for its own; without a fault they only pass on.
namespace failingdisk {

enum eFault
{
    CRASH,    ///< the process ends at the call; of a write the first half is done
    FULL_DISK ///< the call fails with ENOSPC, and so does every write after it; of a write the first half is
              ///< done
};

/// Does @p work with the @p step-th such call, counted from 0, going wrong. True if the work ended before
/// it came to that call. A crash happens to a child process, in which the work is then done.
bool doWith(eFault fault, int step, const std::function<void()>& work);

} // namespace failingdisk
