#pragma once

#include <array>
#include <deque>
#include <functional>
#include <istream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "capture/sessions/messagefinder.h"
#include "capture/sessions/recordeditem.h"
#include "wcapture/packetreader.h"
#include "wcapture/streampairs.h"
#include "wcapture/tcpstreams.h"
#include "wmsg/wpayload.h"

namespace capture {

/// Reads what a capture file has of the link, one item after the other, in the order of the packets.
///
/// Memory does not grow with the file. The items of one connection wait until its device is known, and with
/// them all behind, up to kMaxItems and kMaxItemBytes.
class Recording : private cTcpStreams::cListener
{
public:
    static constexpr uint16_t kServerPort = 50000;

    static constexpr size_t kMaxItems = 16 * 1024;
    static constexpr size_t kMaxItemBytes = 4 * 1024 * 1024;

    /// Bytes of unfinished messages in all connections. Beyond, one of them is given up.
    static constexpr size_t kMaxBegun = 8 * 1024 * 1024;

    /// Messages without answer so far, in all connections. Beyond, those of one side of a connection are
    /// forgotten.
    static constexpr size_t kMaxAsked = 256 * 1024;

    struct Settings
    {
        /// The server's port, unless one of our programs wrote the recording: then all connections count.
        uint16_t port = kServerPort;

        /// False: only messages, and no BYTES.
        bool withBytes = false;

        /// What a zulproxy recorded on its two sides is one connection, of which what came in counts. False:
        /// two connections.
        bool pairs = true;
    };

    explicit Recording(const Settings& settings) : mSettings(settings) {}

    /// Gets one sentence about what cannot be read, which is no reason to end.
    std::function<void(const std::string&)> onProblem = [](const std::string&) {};

    /// Returns one sentence if the file cannot be read, or an empty text. Call this, or read(), first.
    std::string open(const std::string& path);

    /// Reads from @p stream; sentences call it @p name.
    void read(std::unique_ptr<std::istream> stream, const std::string& name);

    /// Fills @p *item. False at the end; then failure() says whether all was read.
    bool next(RecordedItem* item);

    /// One sentence if the file could not be read further, or an empty text.
    const std::string& failure() const { return mFailure; }

private:
    struct Lane
    {
        MessageFinder finder = {};
        uint64_t received = 0; ///< bytes
        uint64_t decided = 0;  ///< of them, those that are known to belong to a message or to none
        std::map<uint16_t, Question> asked =
            {}; ///< without answer, by sequence number and whether it is a ping
    };

    struct Session
    {
        std::shared_ptr<Connection> connection;
        std::array<Lane, 2> lanes = {};
        uint64_t messages = 0;
    };

    void opened(const sStream& stream, const std::vector<std::string>& comments, int64_t timeNs) override;
    void received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                  int64_t timeNs) override;
    void lost(const sStream& stream, cTcpStreams::eSide from, uint64_t bytes, int64_t timeNs) override;
    void ended(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override;
    void wasReset(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override;
    void closed(const sStream& stream, int64_t timeNs) override;
    void remark(const std::string& sentence) override { onProblem(sentence); }

    bool readPacket();
    void finish(cCaptureFormat::eResult result);
    bool isReady() const;
    Session* sessionOf(const sStream& stream, cTcpStreams::eSide from);
    void read(Session* session, eDirection direction, std::span<const uint8_t> bytes, int64_t timeNs);
    void take(Session* session, eDirection direction, WMsg message, int64_t timeNs);
    void abandon(Session* session, eDirection direction, int64_t timeNs);
    void ask(Lane* lane, const RecordedItem& item);
    void tellDamaged(Session* session, eDirection direction, int64_t timeNs);
    void learnDevice(Connection* connection, const WMsg& message);
    RecordedItem* push(RecordedItem::eKind kind, const Session& session, eDirection direction,
                       int64_t timeNs);

    const Settings mSettings;
    std::string mPath;
    std::unique_ptr<std::istream> mStream;
    std::optional<cPacketReader> mReader;
    sPacket mPacket;
    cTcpStreams mStreams{this};
    cStreamPairs mPairs;
    std::map<uint64_t, Session> mSessions; ///< by the number of the connection
    std::vector<WendleObject> mRecords;
    std::deque<RecordedItem> mItems;
    size_t mItemBytes = 0;
    size_t mBegun = 0;
    size_t mAsked = 0;
    uint64_t mStreamsSeen = 0;
    uint64_t mLost = 0;    ///< bytes
    uint64_t mDamaged = 0; ///< bytes
    bool mIsAtEnd = false;
    std::string mFailure;
};

} // namespace capture
