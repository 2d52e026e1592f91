#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fleet/devices/servertarget.h"
#include "zuldevice/plaindevice.h"
#include "zullink/asiodriver.h"
#include "zullink/linkstate.h"
#include "zullink/reconnectbackoff.h"

namespace fleet {

/// What a device has sent: an event that the fleet planned, by its kind, or something else.
enum class eMessage : uint8_t
{
    DIN,
    AIN,
    SCAN,
    ADHOC,
    OTHER_EVENT,
    ANSWER,
    RECORD ///< the answer that says which device it is
};

/// One device of a fleet, which connects to its server again and again.
///
/// It pauses by itself after a loss and after an attempt that failed, and waits for connect() when a pause is
/// over. Times are in microseconds.
class Device : private AsioDriver::Owner
{
public:
    /// What devices have in common.
    struct Shared
    {
        boost::asio::io_context& io;
        ServerTarget& target;
        sLinkSettings link;
        std::ostream& trace;
        cObjectList received; ///< the message that is being handled
    };

    /// What happens to a device.
    class Owner
    {
    public:
        virtual ~Owner() = default;

        /// Its pause is over: connect() it.
        virtual void readyToConnect(Device& device) = 0;

        /// @p sinceUs is when the attempt was to begin.
        virtual void connected(Device& device, int64_t sinceUs) = 0;
        virtual void refused(Device& device, const std::string& reason) = 0;

        /// The server has asked for its record and the answer is written; the first time in a connection.
        virtual void identified(Device& device, int64_t sinceUs) = 0;

        /// The connection has ended. What the device says about itself is as it was before.
        virtual void lost(Device& device, const std::string& reason) = 0;

        /// @p sinceUs is when an event was to be sent, or when the request came.
        virtual void written(eMessage message, int64_t sinceUs) = 0;
        virtual void dropped(eMessage message) = 0;

        // Before and after a set is applied.
        virtual void setReceived(Device& device, cObjectList& message) = 0;
        virtual void setApplied(Device& device) = 0;
    };

    enum class ePhase : uint8_t
    {
        OFF,     ///< told to stay down
        WAITING, ///< it pauses, or waits for connect()
        CONNECTING,
        UP
    };

    struct Description
    {
        uint32_t index = 0; ///< in the fleet of this process
        zuldevice::Counts counts;
        std::string label;
        uint32_t version = 0;
        uint32_t serial = 0;
        uint32_t pauseSeed = 0;
        time_t now = 0; ///< the first samples are due a sample rate later
    };

    /// @p shared and @p owner outlive it.
    Device(const Description& description, Shared* shared, Owner* owner);
    ~Device() override;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    uint32_t index() const { return mIndex; }
    ePhase phase() const { return mPhase; }
    bool isIdentified() const { return mIdentified; }
    const PlainDevice& plain() const { return mPlain; }
    const LinkSession& session() const { return mSession; }

    /// Its server is the first address of the target's.
    sLinkState linkState() const;

    /// Has @p sensors, which are borrowed, tell the values of analog inputs. Null for right ones.
    void setSensors(cSensors* sensors) { mPlain.setSensors(sensors); }

    /// The next samples are due a sample rate after @p now, in seconds.
    void beginSampling(time_t now) { mPlain.beginSampling(now); }

    /// Begins an attempt that was to begin at @p sinceUs, unless it is OFF, CONNECTING or UP.
    void connect(int64_t sinceUs);

    /// Ends the connection, or resets it. It comes back after its own pause.
    void drop(const std::string& reason, bool reset);

    /// Ends the connection or the attempt; it stays down until release().
    void hold(const std::string& reason, bool reset);

    /// Ends the connection when all events are sent and the server has read them; then the device stays down.
    /// Call it again until it is true. A device that is OFF sends nothing more.
    bool finish();

    // Let it connect again, after a pause or as soon as the owner has it connect.
    void release();
    void releaseNow();

    /// Has @p act(PlainDevice&) report an event of a kind, which was to be sent at @p sinceUs.
    template <class Act>
    auto report(eMessage kind, int64_t sinceUs, Act act)
    {
        mEventKind = kind;
        mEventSinceUs = sinceUs;
        auto result = act(mPlain);
        mEventKind = eMessage::OTHER_EVENT;
        flush();
        return result;
    }

    /// Calls @p visit(eMessage) for each message that waits to be written.
    template <class Visit>
    void eachWaiting(Visit visit) const
    {
        for (const Waiting& waiting : mWaiting) {
            visit(waiting.message);
        }
    }

private:
    /// A message that the session has and the kernel has not.
    struct Waiting
    {
        int64_t sinceUs;
        eMessage message;
    };

    void linkMessage(LinkSession::Received&& received) override;
    void linkClosed(const std::string& reason) override;
    void linkFlushed() override;
    bool readingPaused() const override { return false; }

    void send(cObjectList* list);
    bool isOwnRecord(cObjectList* list) const;
    void noteDropped();
    void flush();

    void tryAddress();
    bool prepareSocket(boost::system::error_code* error);
    void attemptEnded(const boost::system::error_code& error);
    void established();
    void attemptFailed(const std::string& reason);
    void pause();
    void wake(int64_t afterMs, void (Device::*then)());
    void endPause();
    void endAttempt();
    void end(const std::string& reason, bool reset);

    const uint32_t mIndex;
    Shared& mShared;
    Owner& mOwner;
    PlainDevice mPlain;

    // The link.
    LinkNumbers mNumbers;
    LinkSession mSession;
    boost::asio::ip::tcp::socket mSocket; ///< of an attempt
    int mFd = -1;                         ///< of the connection
    std::shared_ptr<AsioDriver> mDriver;  ///< null unless UP
    LinkTimer mTimer;
    cReconnectBackoff mBackoff;
    std::string mReason; ///< why the link is not up; may be empty
    std::chrono::system_clock::time_point mSince = std::chrono::system_clock::now(); ///< it is up, or not
    int64_t mSinceUs = 0;     ///< when the attempt was to begin
    uint32_t mAddress = 0;    ///< of the server: the one that is tried
    uint32_t mGeneration = 0; ///< what waits for the timer or the socket belongs to this one
    ePhase mPhase = ePhase::WAITING;
    bool mIdentified = false;
    bool mHolding = false; ///< the connection is ended by hold()

    // Sending.
    const LinkSession::Received* mHandling = nullptr;
    int64_t mHandlingSinceUs = 0;
    eMessage mEventKind = eMessage::OTHER_EVENT;
    int64_t mEventSinceUs = 0;
    std::vector<Waiting> mWaiting; ///< oldest first
    uint64_t mWritten = 0;         ///< messages of the session that are accounted for
    uint64_t mDropped = 0;         ///< events likewise
};

} // namespace fleet
