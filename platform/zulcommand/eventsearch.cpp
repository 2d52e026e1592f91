#include "zulcommand/eventsearch.h"

#include <utility>

namespace zulcommand {

std::optional<Reply> EventSearch::takeEvent(const MessageLog::Filter& filter, MessageLog* log)
{
    WMsg message;
    if (log->take(filter, mScannedUpTo, &message)) {
        return replyWith(message);
    }
    mScannedUpTo = log->added();
    return std::nullopt;
}

std::optional<Reply> EventSearch::findUnwanted(const MessageLog::Filter& filter, const MessageLog& log)
{
    const WMsg* message = log.find(filter, std::exchange(mScannedUpTo, log.added()));
    return message != nullptr ? std::make_optional(unwantedEvent(filter, *message)) : std::nullopt;
}

} // namespace zulcommand
