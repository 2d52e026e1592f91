#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "wmsg/wmsg.h"

namespace proxy {

/// One whole message, or one ping, as it travels.
struct CutMessage
{
    std::span<const uint8_t> bytes = {}; ///< in the piece that was cut, or in `owned`
    std::vector<uint8_t> owned = {};
    size_t segments = 1;
    bool ping = false;
    uint64_t place = 0; ///< among the messages, or the pings, of its direction; from 1
};

/// Cuts the bytes of one direction into messages.
///
/// A control message may stand between two segments of another message and is a message of its own. What does
/// not fit the protocol in another way than these is a matter of the receiver: a magic, a version, a length.
class MessageCutter
{
public:
    enum eResult : uint8_t
    {
        MORE,      ///< all bytes are used
        MESSAGE,   ///< a message has ended
        TOO_LARGE, ///< takeKept() has the beginning of a message above the limits: skip() the rest of it
        FOREIGN    ///< the bytes, together with those of takeKept(), are not the protocol
    };

    /// Moves @p *bytes past the end of the next message, which is @p *message until the next call; keeps what
    /// belongs to an unfinished message.
    eResult take(std::span<const uint8_t>* bytes, CutMessage* message);

    /// Moves @p *bytes past the end of the next message and keeps nothing. Never TOO_LARGE.
    eResult skip(std::span<const uint8_t>* bytes);

    /// True if no byte of a message has come that has not ended.
    bool atBoundary() const { return mHeaderUsed == 0 && !mInMessage; }

    bool isForeign() const { return mForeign; }

    /// Of the unfinished message.
    std::vector<uint8_t> takeKept();
    bool hasKept() const { return !mKept.empty(); }

private:
    static std::span<const uint8_t> wholeSegment(std::span<const uint8_t> bytes);
    bool takeWhole(std::span<const uint8_t>* bytes, CutMessage* message);
    bool readHeader(std::span<const uint8_t>* bytes);
    bool beginsLikeHeader() const;
    eResult readSegment(std::span<const uint8_t>* bytes);
    bool isControl() const;
    bool endsMessage();
    bool tooLarge() const;
    void forgetSize();
    void keep(std::span<const uint8_t> bytes);
    void takePing(std::span<const uint8_t> bytes, CutMessage* message);
    void takeMessage(std::span<const uint8_t> bytes, CutMessage* message);

    // The segment that is being read.
    std::array<uint8_t, wmsg::kHeaderSize> mHeader{};
    uint8_t mHeaderUsed = 0;
    bool mInMessage = false; ///< a segment of a message has ended that was not its last
    bool mForeign = false;
    uint16_t mPayloadLeft = 0;

    // The message that is being read.
    uint32_t mSegments = 0;
    uint64_t mPayloadBytes = 0;
    std::vector<uint8_t> mKept;

    uint64_t mMessages = 0;
    uint64_t mPings = 0;
};

} // namespace proxy
