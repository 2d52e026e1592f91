#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "wcapture/capturedpacket.h"
#include "wcapture/tcpsegment.h"

/// A recorded TCP connection.
struct sStream
{
    uint64_t number = 0;    ///< from 1, in the order in which they begin in the recording
    uint32_t interface = 0; ///< where it was recorded
    sEndpoint client = {};  ///< who opened it
    sEndpoint server = {};
    bool isWhole = false; ///< the recording has its beginning
};

/// Makes recorded packets into connections: for each direction the bytes in their order.
///
/// It drops retransmitted bytes and sorts those that came out of order. It reports missing bytes as soon as
/// the receiver has acknowledged them, or too many wait behind them. A connection recorded on two interfaces
/// gives two streams.
class cTcpStreams
{
public:
    enum eSide : uint8_t
    {
        CLIENT,
        SERVER
    };

    /// Times are those of the packet by which something became known.
    class cListener
    {
    public:
        virtual ~cListener() = default;

        /// @p comments are those of the stream's first packet.
        virtual void opened(const sStream& stream, const std::vector<std::string>& comments,
                            int64_t timeNs) = 0;
        virtual void received(const sStream& stream, eSide from, std::span<const uint8_t> bytes,
                              int64_t timeNs) = 0;

        /// The next @p bytes bytes are missing in the recording.
        virtual void lost(const sStream& stream, eSide from, uint64_t bytes, int64_t timeNs) = 0;

        /// This side sends no more.
        virtual void ended(const sStream& stream, eSide from, int64_t timeNs) = 0;
        virtual void wasReset(const sStream& stream, eSide from, int64_t timeNs) = 0;

        /// Nothing more comes: both sides have ended, there was a reset, or the recording has no more of it.
        virtual void closed(const sStream& stream, int64_t timeNs) = 0;

        /// One sentence about what cannot be read, each once.
        virtual void remark(const std::string& sentence) = 0;
    };

    /// More connections at once are not followed: the one that was idle longest is closed.
    static constexpr size_t kMaxStreams = 65536;

    /// Bytes that wait for earlier ones, in one direction and in all; each piece counts kPieceCost more.
    static constexpr size_t kMaxWaiting = 1024 * 1024;
    static constexpr size_t kMaxAllWaiting = 16 * 1024 * 1024;
    static constexpr size_t kPieceCost = 128;

    /// More different sentences are not said.
    static constexpr size_t kMaxRemarks = 16;

    /// @p listener is borrowed.
    explicit cTcpStreams(cListener* listener) : mListener(listener) {}
    cTcpStreams(const cTcpStreams&) = delete;
    cTcpStreams& operator=(const cTcpStreams&) = delete;

    /// Follows only connections to @p port from now on, or all if there is none. If a connection has no SYN
    /// in the recording, its server is the side with @p port, or with the lower port.
    void setServerPort(std::optional<uint16_t> port) { mServerPort = port; }

    /// @p interface is the one of @p packet.
    void add(const sPacket& packet, const sCaptureInterface& interface);

    /// The recording is over: hands out what waits, and closes all streams.
    void finish();

private:
    struct sPiece
    {
        std::vector<uint8_t> bytes;
        size_t missing = 0; ///< behind them
    };

    /// What one side has sent. Positions count bytes from its first one.
    struct sLane
    {
        bool isKnown = false; ///< its first byte's place is known
        uint32_t next = 0;    ///< TCP sequence number at `position`
        int64_t position = 0; ///< of the next byte to hand out
        size_t cost = 0;      ///< of what waits
        std::map<int64_t, sPiece> waiting = {};
        std::optional<int64_t> end = {}; ///< where it ends
        bool isEnded = false;

        void beginAt(uint32_t sequence);
        int64_t positionOf(uint32_t sequence) const;
    };

    struct sKey
    {
        uint32_t interface = 0;
        sEndpoint lower = {};
        sEndpoint upper = {};
        bool operator<(const sKey& other) const
        {
            return std::tie(interface, lower, upper) < std::tie(other.interface, other.lower, other.upper);
        }
    };

    struct sState
    {
        sKey key;
        sStream stream = {};
        std::array<sLane, 2> lanes = {};
        std::optional<uint32_t> opening = {}; ///< sequence number of the SYN
        bool isClosed = false;
    };

    /// The one that was idle longest is in front.
    using States = std::list<sState>;

    States::iterator stateFor(const sPacket& packet, const sTcpSegment& segment);
    std::optional<eSide> openerOf(const sTcpSegment& segment) const;
    States::iterator open(const sPacket& packet, const sTcpSegment& segment, const sKey& key, eSide sender);
    void remove(States::iterator state);

    void take(sState* state, eSide from, const sTcpSegment& segment);
    void takeBytes(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes, size_t missing);
    void handOut(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes, size_t missing);
    void handOutWaiting(sState* state, eSide from);
    void hold(sState* state, eSide from, int64_t at, std::span<const uint8_t> bytes, size_t missing);
    void lose(sState* state, eSide from, int64_t upTo);
    void takeAcknowledged(sState* state, eSide from, uint32_t acknowledged);
    void checkEnd(sState* state, eSide from);
    void flush(sState* state);
    void close(sState* state);
    void remarkOnce(const std::string& sentence);

    cListener* const mListener;
    std::optional<uint16_t> mServerPort;
    States mStates;
    std::map<sKey, States::iterator> mByKey;
    uint64_t mLastNumber = 0;
    size_t mAllWaiting = 0;
    int64_t mNowNs = 0; ///< time of the latest packet
    std::set<std::string> mRemarks;
};
