#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <cstring>
#include <vector>

#include "zullink/resolver.h"

/// The addresses as Boost.Asio has them.
inline std::vector<boost::asio::ip::tcp::endpoint> endpointsOf(const std::vector<sLinkAddress>& addresses)
{
    std::vector<boost::asio::ip::tcp::endpoint> endpoints(addresses.size());
    for (size_t index = 0; index < addresses.size(); ++index) {
        endpoints[index].resize(addresses[index].size);
        std::memcpy(endpoints[index].data(), &addresses[index].storage, addresses[index].size);
    }
    return endpoints;
}
