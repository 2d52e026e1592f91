#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zulcommand/jsontext.h"

namespace zulhttp {

/// Names in lower case, each with its value.
using Headers = std::vector<std::pair<std::string, std::string>>;

/// A request as it was received.
struct Request
{
    std::string method;
    std::string path;  ///< decoded, begins with '/'
    std::string query; ///< as received, without '?'
    Headers headers;
    std::string body;

    /// The value of the first header @p name, in lower case; empty if there is none.
    std::string_view header(std::string_view name) const;

    /// The decoded value of the query's parameter @p name; nothing if there is none or it cannot be decoded.
    std::optional<std::string> parameter(std::string_view name) const;
};

/// What a request is answered with.
struct Response
{
    unsigned status = 200;
    std::string type = "text/plain; charset=utf-8"; ///< no such header if empty
    std::string body = {};
    Headers headers = {}; ///< beside those that every response has
};

Response jsonResponse(const zulcommand::JsonPtr& json);

/// The response of status @p status that says @p sentence.
Response problem(unsigned status, const std::string& sentence);

/// @p text without its percent-encoding; nothing if that is broken or hides a control character.
std::optional<std::string> decoded(std::string_view text);

/// @p text with its ASCII letters in lower case.
std::string lowerCase(std::string_view text);

} // namespace zulhttp
