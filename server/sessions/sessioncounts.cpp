#include "server/sessions/sessioncounts.h"

#include <string_view>
#include <utility>

#include "zulobj/objectlist.h"

namespace server {

const char* SessionCounts::typeOf(const WMsg& message)
{
    if (message.answer) {
        return "answer";
    }
    switch (message.type) {
    case cObjectList::kSet:
        return "set";
    case cObjectList::kRequest:
        return "request";
    case cObjectList::kEvent:
        return "event";
    default:
        return "other";
    }
}

const char* SessionCounts::shortReason(const std::string& reason)
{
    static constexpr std::pair<std::string_view, const char*> kReasons[] = {
        {"the peer closed the connection", "closed"},
        {"it is silent", "silent"},
        {"it sent broken bytes", "broken"},
        {"it was dropped by a command", "dropped"},
        {"it does not say which device it is", "unidentified"},
        {"it sends too much before it says", "unidentified"},
        {"it does not read what is sent to it", "slow"},
        {"a message takes too long to arrive", "slow"},
    };
    for (const auto& [beginning, word] : kReasons) {
        if (reason.starts_with(beginning)) {
            return word;
        }
    }
    return "error";
}

} // namespace server
