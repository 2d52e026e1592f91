#pragma once

#include <chrono>
#include <cstdint>
#include <jansson.h>
#include <memory>
#include <string>

namespace zulcommand {

struct JsonDeleter
{
    void operator()(json_t* json) const { json_decref(json); }
};

/// One reference to a JSON value.
using JsonPtr = std::unique_ptr<json_t, JsonDeleter>;

/// @p text as a JSON text, bytes that are not UTF-8 replaced. It ends at a NUL.
json_t* textOf(const std::string& text);

/// @p json, of any type, in one line.
std::string dumped(const json_t* json);
inline std::string dumped(const JsonPtr& json) { return dumped(json.get()); }

/// The text of the object @p line, without its end, with the member "time" after its first one: @p time in
/// seconds since the epoch.
std::string lineText(const JsonPtr& line, std::chrono::system_clock::time_point time);

/// The same at @p timeNs, nanoseconds since 1970.
std::string lineText(const JsonPtr& line, int64_t timeNs);

} // namespace zulcommand
