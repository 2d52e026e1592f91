#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zulhttp {

// The options by which a program is told to serve HTTP, with their descriptions.
inline constexpr const char* kHttpHelp =
    "Serve a page, /metrics and /healthz over HTTP here; port 0 picks a free one";
inline constexpr const char* kRemoteHelp =
    "Let HTTP be asked by these names, too, separated by commas: other machines may ask then";

/// Where a program serves HTTP, and by which names it may be asked.
struct HttpSettings
{
    std::string host;
    uint16_t port = 0; ///< 0 picks a free one
    std::vector<std::string> remoteNames;
};

/// Reads the values of --http and --http-remote; @p *settings gets nothing without --http. Returns one
/// sentence about a mistake, or an empty text.
std::string readHttpSettings(const std::optional<std::string>& http, const std::optional<std::string>& remote,
                             std::optional<HttpSettings>* settings);

} // namespace zulhttp
