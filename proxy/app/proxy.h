#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "proxy/app/proxiedconnection.h"
#include "proxy/commands/proxycontrol.h"
#include "zullink/peeracceptor.h"

namespace proxy {

/// Takes the connections of devices and passes each on to the server.
///
/// Everything happens on the thread of the event loop.
class Proxy : public ProxyControl, private ProxiedConnection::Owner
{
public:
    using Endpoint = boost::asio::ip::tcp::endpoint;

    struct Settings
    {
        uint64_t seed = 0;
        std::vector<Endpoint> servers = {};         ///< addresses of the server, at least one
        std::shared_ptr<cCaptureFile> capture = {}; ///< with the interfaces kInterfaces; may be null
    };

    /// The interfaces of a capture: which side a packet was seen at.
    static constexpr const char* kInterfaces[] = {"devices", "server"};

    /// @p io outlives it.
    Proxy(boost::asio::io_context& io, const Settings& settings);

    /// Closes all connections.
    ~Proxy() override;

    /// Gets the lines "connected" and "disconnected".
    std::function<void(const zulcommand::JsonPtr&)> onLine = [](const zulcommand::JsonPtr&) {};
    std::function<void(const Fault&)> onFault = [](const Fault&) {};

    /// Gets one sentence for the user.
    std::function<void(const std::string&)> onProblem = [](const std::string&) {};

    /// Nothing is read while this is true; resumeReading() ends that.
    std::function<bool()> isPaused = [] { return false; };
    void resumeReading();

    /// Listens at @p address, a name or a number, and @p port; 0 picks a free one. Returns why that is not
    /// possible, or an empty text.
    std::string open(const std::string& address, uint16_t port) { return mAcceptor.open(address, port); }

    /// Where it listens.
    const Endpoint& endpoint() const { return mAcceptor.endpoint(); }

    /// True while connections cannot be accepted.
    bool isFailing() const { return mAcceptor.isFailing(); }

    /// Takes connections from now on.
    void start();

    uint64_t seed() const { return mShared->faults.seed; }

    /// A rule that is added before start() is there from the beginning.
    uint32_t addRule(Rule rule) override;
    bool clearRule(uint32_t number) override;
    void clearRules() override;
    const std::vector<RulePtr>& rules() const override { return mShared->rules.all(); }

    // A connection is open while both of its sides are connected.
    zulcommand::JsonPtr connections() const override;
    size_t command(eFault kind, std::optional<uint32_t> deviceSerial) override;

    /// How many have been accepted so far.
    uint64_t accepted() const { return mAccepted; }

private:
    void faultDone(const Fault& fault) override { onFault(fault); }
    void foreignBytes(ProxiedConnection& connection, eDirection direction) override;
    void reached(ProxiedConnection& connection) override;
    void notReached(const std::string& reason) override;
    void closed(ProxiedConnection& connection, const std::string& reason) override;
    bool readingPaused() const override { return isPaused(); }

    void add(boost::asio::ip::tcp::socket socket);
    void rulesChanged();
    std::vector<std::shared_ptr<ProxiedConnection>> all() const;

    const std::shared_ptr<ProxiedConnection::Shared> mShared;
    PeerAcceptor mAcceptor;
    std::map<uint64_t, std::shared_ptr<ProxiedConnection>> mConnections; ///< by their numbers
    uint64_t mAccepted = 0;
    bool mStarted = false;
    bool mServerAway = false;
};

} // namespace proxy
