#include "zulhttp/httpsettings.h"

#include <boost/asio/ip/address.hpp>
#include <sstream>

#include "zulcommand/commandwords.h"
#include "zullink/hostport.h"

namespace zulhttp {

using zulcommand::quote;

namespace {

bool isLoopback(const std::string& host)
{
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(host, error);
    return host == "localhost" || (!error && address.is_loopback());
}

/// True for a name or an address of a host, an IPv6 address without brackets.
bool isHostName(const std::string& text)
{
    static constexpr const char* kLetters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_";
    boost::system::error_code error;
    boost::asio::ip::make_address(text, error);
    return !error || (!text.empty() && text.find_first_not_of(kLetters) == std::string::npos);
}

} // namespace

std::string readHttpSettings(const std::optional<std::string>& http, const std::optional<std::string>& remote,
                             std::optional<HttpSettings>* settings)
{
    if (!http) {
        return remote ? "--http-remote needs --http." : "";
    }
    const std::optional<sHostPort> address = parseListenAddress(*http);
    if (!address) {
        return "--http is not ADDRESS:PORT: " + quote(*http) + ".";
    }
    settings->emplace(HttpSettings{address->host, address->port, {}});
    std::istringstream names(remote ? *remote + "," : "");
    for (std::string name; std::getline(names, name, ',');) {
        if (!isHostName(name)) {
            return "--http-remote has something else than names of hosts: " + quote(*remote) + ".";
        }
        (*settings)->remoteNames.push_back(name);
    }
    return remote || isLoopback(address->host) ? ""
                                               : "--http is at an address that other machines reach: "
                                                 "--http-remote has to give the names by which "
                                                 "they ask.";
}

} // namespace zulhttp
