#include "zullink/resolver.h"

#include <algorithm>
#include <ares.h>
#include <arpa/inet.h>
#include <cstddef>
#include <cstring>
#include <netdb.h>
#include <poll.h>

#include "zullink/linkclock.h"

namespace {

void append(std::vector<sLinkAddress>* addresses, const sockaddr* address, socklen_t size, uint16_t port)
{
    if (address->sa_family != AF_INET && address->sa_family != AF_INET6) {
        return;
    }
    sLinkAddress& entry = addresses->emplace_back();
    std::memcpy(&entry.storage, address, size);
    entry.size = size;
    static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
    reinterpret_cast<sockaddr_in*>(&entry.storage)->sin_port = htons(port);
}

void appendNumeric(std::vector<sLinkAddress>* addresses, const char* host, uint16_t port)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, nullptr, &hints, &found) == 0) {
        append(addresses, found->ai_addr, found->ai_addrlen, port);
        freeaddrinfo(found);
    }
}

/// What a look-up by c-ares has found so far, and the sockets that it waits for.
struct sLookup
{
    bool done = false;
    uint16_t port = 0;
    std::vector<sLinkAddress> addresses = {};
    std::vector<pollfd> sockets = {};
};

void lookupDone(void* argument, int, int, ares_addrinfo* found)
{
    auto* lookup = static_cast<sLookup*>(argument);
    lookup->done = true;
    if (found != nullptr) {
        for (const ares_addrinfo_node* node = found->nodes; node != nullptr; node = node->ai_next) {
            append(&lookup->addresses, node->ai_addr, node->ai_addrlen, lookup->port);
        }
        ares_freeaddrinfo(found);
    }
}

void socketStateChanged(void* argument, ares_socket_t socket, int readable, int writable)
{
    std::vector<pollfd>& sockets = static_cast<sLookup*>(argument)->sockets;
    std::erase_if(sockets, [socket](const pollfd& entry) { return entry.fd == socket; });
    const int events = (readable != 0 ? POLLIN : 0) | (writable != 0 ? POLLOUT : 0);
    if (events != 0) {
        sockets.push_back({socket, static_cast<short>(events), 0});
    }
}

/// Waits until c-ares has something to do, and lets it. False when woken.
bool processOnce(ares_channel channel, const sLookup& lookup, int timeoutMs, int wakeFd)
{
    // A copy: processing changes the lookup's own list.
    std::vector<pollfd> waits = lookup.sockets;
    waits.push_back({wakeFd, POLLIN, 0});
    timeval limit{timeoutMs / 1000, (timeoutMs % 1000) * 1000};
    timeval until{};
    const timeval* next = ares_timeout(channel, &limit, &until);
    poll(waits.data(), waits.size(), static_cast<int>(next->tv_sec * 1000 + next->tv_usec / 1000 + 1));
    if (waits.back().revents != 0) {
        return false;
    }
    // Without a socket, for the last one, c-ares looks at its time limits.
    for (const pollfd& entry : waits) {
        const ares_socket_t ready = entry.revents != 0 ? entry.fd : ARES_SOCKET_BAD;
        ares_process_fd(channel, ready, ready);
    }
    return true;
}

} // namespace

std::vector<sLinkAddress> resolveAddress(const std::string& host, uint16_t port, int timeoutMs, int wakeFd)
{
    sLookup lookup{.port = port};
    if (host == "localhost") {
        // In both families, also where no file says so (RFC 6761, 6.3).
        appendNumeric(&lookup.addresses, "127.0.0.1", port);
        appendNumeric(&lookup.addresses, "::1", port);
    } else {
        appendNumeric(&lookup.addresses, host.c_str(), port);
    }
    if (!lookup.addresses.empty()) {
        return lookup.addresses;
    }
    static const int libraryReady = ares_library_init(ARES_LIB_INIT_ALL);
    ares_options options{};
    options.sock_state_cb = socketStateChanged;
    options.sock_state_cb_data = &lookup;
    ares_channel channel = nullptr;
    if (libraryReady != ARES_SUCCESS ||
        ares_init_options(&channel, &options, ARES_OPT_SOCK_STATE_CB) != ARES_SUCCESS) {
        return {};
    }
    ares_addrinfo_hints hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    ares_getaddrinfo(channel, host.c_str(), nullptr, &hints, lookupDone, &lookup);

    const int64_t deadline = linkNowMs() + timeoutMs;
    int64_t left = timeoutMs;
    while (!lookup.done && left > 0 && processOnce(channel, lookup, static_cast<int>(left), wakeFd)) {
        left = deadline - linkNowMs();
    }
    ares_destroy(channel);
    return lookup.addresses;
}
