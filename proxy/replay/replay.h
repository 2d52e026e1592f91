#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "proxy/replay/recordedconnection.h"
#include "wcapture/packetreader.h"
#include "wcapture/streampairs.h"
#include "wcapture/tcpstreams.h"

namespace proxy {

/// The connections of a recording, with rules in force.
///
/// What a zulproxy recorded at its two sides is one connection again, of which what came in counts.
class Replay : private cTcpStreams::cListener, private RecordedConnection::Owner
{
public:
    static constexpr uint16_t kServerPort = 50000;

    struct Settings
    {
        std::vector<Rule> rules = {};
        uint64_t seed = 0;

        /// The server's port, unless one of our programs wrote the recording: then all connections count.
        uint16_t port = kServerPort;
    };

    /// Bytes that the rules keep from being read, in all connections. Beyond, they are read too early.
    static constexpr size_t kMaxWaiting = 16 * 1024 * 1024;

    explicit Replay(const Settings& settings);

    /// Gets each fault, with its time in nanoseconds since 1970.
    std::function<void(const Fault&, int64_t)> onFault = [](const Fault&, int64_t) {};

    /// Gets one sentence for the user.
    std::function<void(const std::string&)> onProblem = [](const std::string&) {};

    /// @p packet is the latest one of @p reader.
    void add(const sPacket& packet, const cPacketReader& reader);

    /// The recording is over.
    void finish();

private:
    struct Pair
    {
        Pair(const FaultyConnection::Shared& shared, uint64_t number, RecordedConnection::Owner* owner)
            : connection(shared, number, owner)
        {}

        RecordedConnection connection;
        int64_t due = FaultyConnection::kNever; ///< as it stands in mDue
    };

    void opened(const sStream& stream, const std::vector<std::string>& comments, int64_t timeNs) override;
    void received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                  int64_t timeNs) override;
    void lost(const sStream& stream, cTcpStreams::eSide from, uint64_t bytes, int64_t timeNs) override;
    void ended(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override;
    void wasReset(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override;
    void closed(const sStream& stream, int64_t timeNs) override;
    void remark(const std::string& sentence) override { onProblem(sentence); }

    void faultDone(const Fault& fault, int64_t timeNs) override { onFault(fault, timeNs); }
    void foreignBytes(uint64_t connection, eDirection direction) override;

    void addPair(uint64_t id, uint64_t number);
    void removePair(uint64_t id);
    void advance(int64_t timeNs);
    template <class Do>
    void change(uint64_t id, Do what);
    template <class Do>
    void changeFrom(const sStream& stream, cTcpStreams::eSide from, Do what);

    const std::optional<uint16_t> mPort;
    RuleSet mRules;
    DeviceCounts mDevices;
    FaultyConnection::Shared mShared;
    cTcpStreams mStreams{this};
    cStreamPairs mStreamPairs;
    int64_t mNowNs = -1; ///< time of the latest packet; none before the first

    std::map<uint64_t, Pair> mPairs;             ///< as mStreamPairs numbers them
    std::set<std::pair<int64_t, uint64_t>> mDue; ///< when which pair is to be advanced
    size_t mWaiting = 0;
    std::set<uint64_t> mLossy; ///< connections of which bytes are missing
    uint64_t mStreamsSeen = 0;
    uint64_t mBegunBefore = 0;
    uint64_t mLossyCount = 0;
};

} // namespace proxy
