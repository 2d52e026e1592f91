#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "wmsg/wmsgreader.h"

namespace capture {

/// Finds the messages in the recorded bytes of one direction, also behind bytes that are damaged or missing.
class MessageFinder
{
public:
    /// Moves @p *bytes behind what was used. True if *@p message is a message; then call again.
    bool next(std::span<const uint8_t>* bytes, WMsg* message);

    /// What has been begun will not be finished: bytes are missing here, or it is the end.
    void abandon();

    /// Returns how many bytes of no message were found since the last call.
    uint64_t takeDamaged();

    /// Bytes of a message that has been begun.
    size_t begun() const { return mRest.size() + mBegun; }

private:
    std::span<const uint8_t> segmentIn(std::span<const uint8_t>* bytes);
    bool takeSegment(std::span<const uint8_t> segment, WMsg* message, bool* isMessage);
    void skip(std::span<const uint8_t>* bytes);
    void drop(size_t size, std::span<const uint8_t>* bytes);

    WMsgReader mReader;
    std::vector<uint8_t> mRest; ///< the beginning of a segment
    size_t mBegun = 0;          ///< bytes of segments that mReader has of an unfinished message
    uint64_t mDamaged = 0;
};

} // namespace capture
