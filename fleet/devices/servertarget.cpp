#include "fleet/devices/servertarget.h"

#include <algorithm>
#include <utility>

namespace fleet {

ServerTarget::ServerTarget(std::vector<Endpoint> addresses, std::vector<Address> sources)
    : mAddresses(std::move(addresses)), mSources(std::move(sources))
{}

size_t ServerTarget::sourceCount(const Endpoint& server) const
{
    return static_cast<size_t>(std::ranges::count_if(
        mSources, [&](const Address& source) { return source.is_v4() == server.address().is_v4(); }));
}

std::optional<ServerTarget::Address> ServerTarget::nextSource(const Endpoint& server)
{
    for (size_t tried = 0; tried < mSources.size(); ++tried) {
        const Address& source = mSources[mNext++ % mSources.size()];
        if (source.is_v4() == server.address().is_v4()) {
            return source;
        }
    }
    return std::nullopt;
}

} // namespace fleet
