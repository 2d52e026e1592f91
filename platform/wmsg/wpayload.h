#pragma once

// The payload of a message is objects, one after the other, in network byte order:
//
//   object  4  object type
//           4  length of its tags in bytes
//           n  its tags
//
//   tag     2  tag number
//           2  length of the value in bytes
//           n  value
//
// A number is 4 bytes, a float the 4 bytes of its IEEE 754 pattern, a text its bytes without a NUL.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

#include "wmsg/utf8.h"
#include "wmsg/wbytes.h"
#include "wmsg/wstatus.h"

/// One object of a received payload; it points into the payload.
struct WendleObject
{
    uint32_t type = 0;
    std::span<const uint8_t> tags;
};

/// One tag of a received object; it points into the payload.
struct WTagView
{
    uint16_t number = 0;
    std::span<const uint8_t> value;
};

namespace wmsg {

constexpr size_t kObjectHeaderSize = 8;
constexpr size_t kTagHeaderSize = 4;
constexpr size_t kNumberSize = 4;

/// A tag whose value is a number or a float, header included.
constexpr size_t kNumberTagSize = kTagHeaderSize + kNumberSize;

/// The longest text that a tag carries; a longer one is cut at the end of a UTF-8 character.
constexpr size_t kMaxTextBytes = 65535;

/// The header of a tag as one number.
constexpr uint32_t tagHeader(uint16_t tag, size_t size)
{
    return uint32_t{tag} << 16 | static_cast<uint32_t>(size);
}

/// The size of the tag that carries @p text, header included.
inline size_t textTagSize(std::string_view text)
{
    return kTagHeaderSize + (text.size() <= kMaxTextBytes ? text : utf8::cut(text, kMaxTextBytes)).size();
}

// Each function writes to @p to, which has room, and returns the end of what it has written.

inline uint8_t* putObjectHeader(uint8_t* to, uint32_t type, size_t tagsSize)
{
    put32(to, type);
    put32(to + 4, static_cast<uint32_t>(tagsSize));
    return to + kObjectHeaderSize;
}

inline uint8_t* putNumberTag(uint8_t* to, uint16_t tag, uint32_t value)
{
    put32(to, tagHeader(tag, kNumberSize));
    put32(to + kTagHeaderSize, value);
    return to + kNumberTagSize;
}

inline uint8_t* putFloatTag(uint8_t* to, uint16_t tag, float value)
{
    return putNumberTag(to, tag, std::bit_cast<uint32_t>(value));
}

uint8_t* putTextTag(uint8_t* to, uint16_t tag, std::string_view text);

// Each function reads the value of a tag. False if it doesn't have the size of a number.

inline bool getNumber(std::span<const uint8_t> value, uint32_t* number)
{
    if (value.size() != kNumberSize) {
        return false;
    }
    *number = get32(value.data());
    return true;
}

inline bool getFloat(std::span<const uint8_t> value, float* number)
{
    uint32_t bits = 0;
    const bool read = getNumber(value, &bits);
    *number = read ? std::bit_cast<float>(bits) : *number;
    return read;
}

inline std::string_view getText(std::span<const uint8_t> value)
{
    return {reinterpret_cast<const char*>(value.data()), value.size()};
}

} // namespace wmsg

/// Appends objects to a payload tag by tag.
class WPayloadWriter
{
public:
    /// @p payload outlives the writer.
    explicit WPayloadWriter(std::vector<uint8_t>* payload) : mPayload(payload) {}

    /// Every tag stands between beginObject() and endObject().
    void beginObject(uint32_t type);
    void endObject();

    void putNumber(uint16_t tag, uint32_t value);
    void putFloat(uint16_t tag, float value);
    void putText(uint16_t tag, std::string_view text);
    void putTag(const WTagView& tag);

private:
    uint8_t* extend(size_t size);

    std::vector<uint8_t>* mPayload;
    size_t mObjectStart = 0;
};

/// Walks the objects of a payload, which outlives the walk.
class WObjectReader
{
public:
    explicit WObjectReader(std::span<const uint8_t> payload)
        : mNext(payload.data()), mEnd(payload.data() + payload.size())
    {}

    /// Fills @p *object with the next one. False at the end and at the first fault.
    bool next(WendleObject* object)
    {
        const auto left = static_cast<size_t>(mEnd - mNext);
        if (left < wmsg::kObjectHeaderSize) {
            return left == 0 ? false : fail("object", "ends within its header");
        }
        const size_t size = wmsg::get32(mNext + 4);
        if (size > left - wmsg::kObjectHeaderSize) {
            return fail("object length", "is more than the message holds");
        }
        object->type = wmsg::get32(mNext);
        object->tags = {mNext + wmsg::kObjectHeaderSize, size};
        mNext += wmsg::kObjectHeaderSize + size;
        return true;
    }

    WStatus status() const { return mStatus; }

private:
    /// Ends the walk at a fault.
    bool fail(const char* field, const char* problem)
    {
        mStatus = WStatus::error(field, problem);
        mNext = mEnd;
        return false;
    }

    const uint8_t* mNext;
    const uint8_t* mEnd;
    WStatus mStatus = WStatus::ok();
};

/// Walks the tags of an object.
class WTagReader
{
public:
    explicit WTagReader(std::span<const uint8_t> tags) : mLeft(tags) {}

    /// Fills @p *tag with the next one. False at the end and at the first fault.
    bool next(WTagView* tag);
    WStatus status() const { return mStatus; }
    bool atEnd() const { return mLeft.empty(); }

    // Each function reads the next tag if it is @p tag and complete. Else it returns false and the walk stays
    // where it is.

    bool takeNumber(uint16_t tag, uint32_t* value)
    {
        if (mLeft.size() < wmsg::kNumberTagSize ||
            wmsg::get32(mLeft.data()) != wmsg::tagHeader(tag, wmsg::kNumberSize)) {
            return false;
        }
        *value = wmsg::get32(mLeft.data() + wmsg::kTagHeaderSize);
        mLeft = mLeft.subspan(wmsg::kNumberTagSize);
        return true;
    }

    bool takeFloat(uint16_t tag, float* value)
    {
        uint32_t bits = std::bit_cast<uint32_t>(*value);
        const bool taken = takeNumber(tag, &bits);
        *value = std::bit_cast<float>(bits);
        return taken;
    }

    /// @p *text points into the object.
    bool takeText(uint16_t tag, std::string_view* text)
    {
        if (mLeft.size() < wmsg::kTagHeaderSize || wmsg::get16(mLeft.data()) != tag) {
            return false;
        }
        const size_t size = wmsg::get16(mLeft.data() + 2);
        if (size > mLeft.size() - wmsg::kTagHeaderSize) {
            return false;
        }
        *text = wmsg::getText(mLeft.subspan(wmsg::kTagHeaderSize, size));
        mLeft = mLeft.subspan(wmsg::kTagHeaderSize + size);
        return true;
    }

private:
    std::span<const uint8_t> mLeft;
    WStatus mStatus = WStatus::ok();
};
