#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "zulcommand/jsontext.h"
#include "zulobj/objectlist.h"

namespace zulcommand {

/// The result of a command.
struct Reply
{
    /// In the order in which one of several decides the exit status.
    enum class Status
    {
        OK,
        ERROR,
        TIMEOUT,
        FAILED ///< an expectation was not met
    };

    Status status = Status::OK;
    std::optional<uint8_t> msgType = {};     ///< that of the answer, or of the event waited for
    JsonPtr objects = JsonPtr(json_array()); ///< of that message
    std::string error = {};                  ///< one sentence, or empty
    JsonPtr received = {}; ///< the messages received instead of the one expected: an array or null
    JsonPtr members = {};  ///< an object with further members of the line, or null
};

/// The word for @p status in a line.
const char* statusWord(Reply::Status status);

/// The line that answers @p command after @p seconds.
JsonPtr replyLine(const std::string& command, double seconds, const Reply& reply);

/// The records of @p list as an array.
JsonPtr objectsOf(const cObjectList& list);

} // namespace zulcommand
