#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "wmsg/wmsg.h"
#include "wmsg/wstatus.h"

/// Turns the bytes of one connection into messages.
///
/// It has no socket and no clock: the caller passes bytes and the time. Memory grows with the bytes received,
/// up to kMaxDoubled and one message of the largest permitted size. After BROKEN the caller closes the
/// connection and starts the next one with a new reader.
class WMsgReader
{
public:
    /// A message that needs more room than this gets the room of the largest one.
    static constexpr size_t kMaxDoubled = 32 * 1024;

    enum eResult
    {
        MORE,    ///< all bytes are used and no message is complete
        MESSAGE, ///< a message is complete; bytes may be left: call again
        BROKEN   ///< status() says why
    };

    /// Reads from the @p *size bytes at @p *data and moves both past what it used. @p nowMs is the time by
    /// any monotonic clock. On MESSAGE, @p *message has been replaced; the reader may reuse its former
    /// memory, so pass the same message again.
    eResult read(const uint8_t** data, size_t* size, int64_t nowMs, WMsg* message);

    /// True if a message has been begun and is older than permitted at @p nowMs.
    bool overdue(int64_t nowMs) const { return nowMs >= deadline(); }

    /// When the message that has been begun becomes overdue; the largest time if none has.
    int64_t deadline() const;

    /// Why the bytes were refused.
    WStatus status() const { return mStatus; }

private:
    bool idle() const { return mHeaderUsed == 0 && mSegmentsUsed == 0; }
    WStatus checkHeader() const;
    WStatus checkControl() const;
    WStatus checkContinuation() const;
    void appendPayload(std::span<const uint8_t> bytes);
    bool checksumMatches() const;
    bool finishSegment(WMsg* message);
    void readHeader(WMsg* message) const;
    eResult broken(WStatus status);

    bool has(uint8_t flag) const { return (mHeader[3] & flag) != 0; }
    size_t segmentLength() const;

    WStatus mStatus = WStatus::ok();

    // The segment that is being received.
    std::array<uint8_t, wmsg::kHeaderSize> mHeader{};
    size_t mHeaderUsed = 0;
    size_t mPayloadLeft = 0;

    // The message that is being put together; a ping may stand between two of its segments.
    WMsg mMessage;
    size_t mSegmentsUsed = 0;
    int64_t mBegunMs = 0;
};
