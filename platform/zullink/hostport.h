#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// A server's address: a name or a number, and its port, from 1.
struct sHostPort
{
    std::string host; ///< an IPv6 address without its brackets
    uint16_t port = 0;
};

/// Reads HOST:PORT; an IPv6 address stands in brackets (RFC 3986, 3.2.2). Returns nothing if
/// @p text has another form.
std::optional<sHostPort> parseHostPort(std::string_view text);

/// The same for an address to listen at, whose port may be 0.
std::optional<sHostPort> parseListenAddress(const std::string& text);

/// The text that parseHostPort() reads.
std::string toText(const sHostPort& server);
