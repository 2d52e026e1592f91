#pragma once

// The lines that the server prints, as JSON objects.

#include <chrono>
#include <cstdint>
#include <jansson.h>
#include <memory>
#include <optional>
#include <string>

#include "zulobj/device.h"
#include "zulobj/objectlist.h"

namespace server {

struct JsonDeleter
{
    void operator()(json_t* json) const { json_decref(json); }
};

/// One reference to a JSON value.
using JsonPtr = std::unique_ptr<json_t, JsonDeleter>;

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
};

JsonPtr listeningLine(const std::string& address, uint16_t port);
JsonPtr connectedLine(const std::string& peer);
JsonPtr deviceLine(const std::string& peer, const cObjectDevice& device);
JsonPtr messageLine(uint32_t deviceSerial, const cObjectList& message);
JsonPtr disconnectedLine(const std::string& peer, const cObjectDevice* device, const std::string& reason);
JsonPtr replyLine(const std::string& command, double seconds, const Reply& reply);

/// The records of @p list as an array.
JsonPtr objectsOf(const cObjectList& list);

/// The word for @p status in a line.
const char* statusWord(Reply::Status status);

/// @p json, of any type, in one line.
std::string dumped(const json_t* json);
inline std::string dumped(const JsonPtr& json) { return dumped(json.get()); }

/// The text of @p line, without its end, with the member "time" after "event": @p time in seconds since the
/// epoch.
std::string lineText(const JsonPtr& line, std::chrono::system_clock::time_point time);

} // namespace server
