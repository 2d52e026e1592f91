#pragma once

#include <cstdint>
#include <optional>

#include "zulcommand/expectation.h"

namespace zulcommand {

/// Looks in a log for the message that a command waits for, or that must not come.
class EventSearch
{
public:
    /// Looks at the messages that @p *log has got since the last call. Returns the reply with the first one
    /// that matches @p filter, which is taken out of the log; nothing if there is none.
    std::optional<Reply> takeEvent(const MessageLog::Filter& filter, MessageLog* log);

    /// Likewise, but a message that matches stays, and the reply says that it should not have come.
    std::optional<Reply> findUnwanted(const MessageLog::Filter& filter, const MessageLog& log);

private:
    uint64_t mScannedUpTo = 0; ///< messages before this one do not match
};

} // namespace zulcommand
