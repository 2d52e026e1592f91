#pragma once

#include <array>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "proxy/faults/faultyconnection.h"
#include "wcapture/capturedlink.h"

namespace proxy {

/// The two sockets of a device and of the server, between which a FaultyConnection stands.
///
/// Pending operations keep it alive.
class ProxiedConnection : public std::enable_shared_from_this<ProxiedConnection>,
                          private FaultyConnection::Owner
{
public:
    using Socket = boost::asio::ip::tcp::socket;

    class Owner
    {
    public:
        virtual ~Owner() = default;

        virtual void faultDone(const Fault& fault) = 0;

        /// Told once for each direction, see FaultyConnection.
        virtual void foreignBytes(ProxiedConnection& connection, eDirection direction) = 0;

        /// Both sides are connected.
        virtual void reached(ProxiedConnection& connection) = 0;

        /// The server cannot be reached; the device is refused.
        virtual void notReached(const std::string& reason) = 0;

        /// Called once, unless abandon() was called before, with the reason in a few words.
        virtual void closed(ProxiedConnection& connection, const std::string& reason) = 0;

        /// True while nothing should be read; resumeReading() ends that.
        virtual bool readingPaused() const = 0;
    };

    /// What all connections of a proxy share.
    struct Shared
    {
        Shared(uint64_t seed, int64_t startedNs) : faults{rules, devices, seed, startedNs} {}

        RuleSet rules;
        DeviceCounts devices;
        FaultyConnection::Shared faults;
        std::vector<boost::asio::ip::tcp::endpoint> servers;           ///< addresses of one server
        std::shared_ptr<cCaptureFile> capture;                         ///< may be null
        std::vector<uint8_t> buffer = std::vector<uint8_t>(64 * 1024); ///< what is read goes through it
    };

    /// @p device is the socket of a device that has connected. @p owner outlives the connection unless it
    /// calls abandon().
    ProxiedConnection(Socket device, std::shared_ptr<Shared> shared, uint64_t number, Owner* owner);
    ~ProxiedConnection() override;

    void start();

    /// A rule was added or cleared.
    void rulesChanged();

    /// Does what the command CUT, RESET or SILENCE says; only once isReached().
    void command(eFault kind);

    void resumeReading();

    /// Closes both sides and forgets the owner.
    void abandon();

    uint64_t number() const { return mNumber; }
    const FaultyConnection& faults() const { return mFaults; }

    /// True once both sides are connected.
    bool isReached() const { return mReached; }

    /// "ADDRESS:PORT" of the device, and of the server as soon as it is reached.
    const std::string& peer() const { return mPeer; }
    const std::string& server() const { return mServerName; }

private:
    /// The socket of one side.
    struct Side
    {
        explicit Side(Socket connected) : socket(std::move(connected)) {}

        Socket socket;
        std::unique_ptr<cCapturedLink> record = {}; ///< null if nothing is recorded
        bool reading = false;                       ///< waits for something to read
        bool writing = false;                       ///< waits for room
        bool ended = false;                         ///< it sends no more
        bool told = false;                          ///< that nothing more comes
    };

    enum class eClosing
    {
        END,
        RESET
    };

    void faultDone(const Fault& fault) override;
    void foreignBytes(eDirection direction) override;

    Side& from(eDirection direction) { return direction == eDirection::TO_SERVER ? mDevice : mServer; }
    Side& to(eDirection direction) { return direction == eDirection::TO_SERVER ? mServer : mDevice; }

    template <class Handler>
    auto whileOpen(Handler handler);
    void accept();
    void connect(size_t address);
    void giveUp(const boost::system::error_code& error);
    void serverReached();
    void proceed();
    void write(eDirection direction);
    void tellEnd(eDirection direction);
    void waitToRead(eDirection direction);
    void readNow(eDirection direction);
    void readFailed(eDirection direction, int error);
    void armTimer();
    void record(Side* side, bool accepted);
    void close(eClosing how, const std::string& reason);
    static void drain(const std::shared_ptr<ProxiedConnection>& self, Side* side);

    const std::shared_ptr<Shared> mShared;
    Owner* mOwner; ///< null once the connection is closed
    const uint64_t mNumber;
    const std::string mPeer;
    std::string mServerName;
    FaultyConnection mFaults;
    Side mDevice;
    Side mServer;
    boost::asio::steady_timer mTimer;
    int64_t mTimerNs = FaultyConnection::kNever; ///< when mTimer expires
    std::vector<std::string> mFirstComments;     ///< of the capture, before anything is recorded
    bool mConnecting = false;
    bool mReached = false;
};

} // namespace proxy
