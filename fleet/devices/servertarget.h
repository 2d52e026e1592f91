#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <optional>
#include <vector>

namespace fleet {

/// Where the devices of a fleet connect to, and from where.
class ServerTarget
{
public:
    using Endpoint = boost::asio::ip::tcp::endpoint;
    using Address = boost::asio::ip::address;

    /// One server, at least one address. Without @p sources the system chooses them.
    ServerTarget(std::vector<Endpoint> addresses, std::vector<Address> sources);

    const std::vector<Endpoint>& addresses() const { return mAddresses; }

    /// The source addresses for @p server.
    size_t sourceCount(const Endpoint& server) const;

    /// The source address whose turn it is; nothing if the system chooses it.
    std::optional<Address> nextSource(const Endpoint& server);

private:
    std::vector<Endpoint> mAddresses;
    std::vector<Address> mSources;
    size_t mNext = 0;
};

} // namespace fleet
