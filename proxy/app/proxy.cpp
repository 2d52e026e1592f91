#include "proxy/app/proxy.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <utility>

#include "proxy/app/clock.h"
#include "proxy/faults/faultline.h"

using boost::asio::ip::tcp;
using zulcommand::JsonPtr;
using zulcommand::textOf;

namespace proxy {

namespace {

JsonPtr connectionLine(const char* event, const ProxiedConnection& connection)
{
    return JsonPtr(json_pack("{s:s, s:I, s:o, s:o}", "event", event, "connection",
                             static_cast<json_int_t>(connection.number()), "peer", textOf(connection.peer()),
                             "server", textOf(connection.server())));
}

json_t* deviceOf(const ProxiedConnection& connection)
{
    const std::optional<uint32_t> serial = connection.faults().deviceSerial();
    return serial ? json_integer(*serial) : json_null();
}

} // namespace

Proxy::Proxy(boost::asio::io_context& io, const Settings& settings)
    : mShared(std::make_shared<ProxiedConnection::Shared>(settings.seed, nowNs())), mAcceptor(io)
{
    mShared->servers = settings.servers;
    mShared->capture = settings.capture;
    mAcceptor.onPeer = [this](tcp::socket socket) { add(std::move(socket)); };
    mAcceptor.onError = [this](const std::string& sentence) { onProblem(sentence); };
}

Proxy::~Proxy()
{
    std::ranges::for_each(all(), [](const auto& connection) { connection->abandon(); });
}

void Proxy::start()
{
    mStarted = true;
    mAcceptor.accept();
}

void Proxy::add(tcp::socket socket)
{
    const uint64_t number = ++mAccepted;
    const auto connection = std::make_shared<ProxiedConnection>(std::move(socket), mShared, number,
                                                                static_cast<ProxiedConnection::Owner*>(this));
    mConnections.emplace(number, connection);
    connection->start();
}

/// A copy, as connections may close while something is done to each of them.
std::vector<std::shared_ptr<ProxiedConnection>> Proxy::all() const
{
    std::vector<std::shared_ptr<ProxiedConnection>> connections;
    std::ranges::transform(mConnections, std::back_inserter(connections),
                           [](const auto& entry) { return entry.second; });
    return connections;
}

uint32_t Proxy::addRule(Rule rule)
{
    const uint32_t number =
        mShared->rules.add(std::move(rule), mStarted ? nowNs() : ActiveRule::kFromTheBeginning)->number;
    rulesChanged();
    return number;
}

bool Proxy::clearRule(uint32_t number)
{
    const bool isThere = mShared->rules.clear(number);
    rulesChanged();
    return isThere;
}

void Proxy::clearRules()
{
    mShared->rules.clear();
    rulesChanged();
}

void Proxy::rulesChanged()
{
    std::ranges::for_each(all(), [](const auto& connection) { connection->rulesChanged(); });
}

void Proxy::resumeReading()
{
    std::ranges::for_each(all(), [](const auto& connection) { connection->resumeReading(); });
}

size_t Proxy::command(eFault kind, std::optional<uint32_t> deviceSerial)
{
    size_t hit = 0;
    for (const auto& connection : all()) {
        if (connection->isReached() &&
            (!deviceSerial || connection->faults().deviceSerial() == deviceSerial)) {
            connection->command(kind);
            ++hit;
        }
    }
    return hit;
}

JsonPtr Proxy::connections() const
{
    JsonPtr list(json_array());
    for (const auto& [number, connection] : mConnections) {
        if (!connection->isReached()) {
            continue;
        }
        JsonPtr line = connectionLine("", *connection);
        json_object_del(line.get(), "event");
        json_object_set_new(line.get(), "device", deviceOf(*connection));
        const uint32_t which = connection->faults().deviceConnection();
        json_object_set_new(line.get(), "reconnect", which == 0 ? json_null() : json_integer(which));
        json_array_append(list.get(), line.get());
    }
    return list;
}

void Proxy::foreignBytes(ProxiedConnection& connection, eDirection direction)
{
    onProblem(foreignSentence(connection.number(), direction));
}

void Proxy::reached(ProxiedConnection& connection)
{
    mServerAway = false;
    onLine(connectionLine("connected", connection));
}

/// Said once until the server is back.
void Proxy::notReached(const std::string& reason)
{
    if (!std::exchange(mServerAway, true)) {
        std::ostringstream server;
        server << mShared->servers.front();
        onProblem("The server " + server.str() + " cannot be reached: " + reason + ".");
    }
}

void Proxy::closed(ProxiedConnection& connection, const std::string& reason)
{
    if (connection.isReached()) {
        const JsonPtr line = connectionLine("disconnected", connection);
        json_object_set_new(line.get(), "device", deviceOf(connection));
        json_object_set_new(line.get(), "reason", textOf(reason));
        onLine(line);
    }
    mConnections.erase(connection.number());
}

} // namespace proxy
