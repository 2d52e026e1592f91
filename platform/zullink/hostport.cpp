#include "zullink/hostport.h"

#include <charconv>

std::optional<sHostPort> parseHostPort(std::string_view text)
{
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view host = text.substr(0, colon);
    const std::string_view port = text.substr(colon + 1);
    const bool bracketed = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (bracketed) {
        host = host.substr(1, host.size() - 2);
    }
    sHostPort server{std::string(host)};
    const auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), server.port);
    const bool isHost = !host.empty() && host.find_first_of("[] \t") == std::string_view::npos &&
                        (host.find(':') != std::string_view::npos) == bracketed;
    const bool isPort = error == std::errc() && end == port.data() + port.size() && server.port != 0;
    return isHost && isPort ? std::make_optional(server) : std::nullopt;
}

std::optional<sHostPort> parseListenAddress(const std::string& text)
{
    const bool picks = text.ends_with(":0");
    std::optional<sHostPort> address = parseHostPort(picks ? text.substr(0, text.size() - 1) + '1' : text);
    if (address && picks) {
        address->port = 0;
    }
    return address;
}

std::string toText(const sHostPort& server)
{
    const bool isV6 = server.host.find(':') != std::string::npos;
    return (isV6 ? '[' + server.host + ']' : server.host) + ':' + std::to_string(server.port);
}
