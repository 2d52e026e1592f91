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

/// One tag that owns its value.
class WTag
{
public:
    WTag(uint16_t number, std::span<const uint8_t> value)
        : mNumber(number), mValue(value.begin(), value.end())
    {}

    uint16_t number() const { return mNumber; }
    std::span<const uint8_t> value() const { return mValue; }

private:
    uint16_t mNumber;
    std::vector<uint8_t> mValue;
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

/// @p value is a uint32_t or a float.
template <class Number>
inline uint8_t* putNumberTag(uint8_t* to, uint16_t tag, Number value)
{
    put32(to, tagHeader(tag, kNumberSize));
    put32(to + kTagHeaderSize, std::bit_cast<uint32_t>(value));
    return to + kNumberTagSize;
}

uint8_t* putTextTag(uint8_t* to, uint16_t tag, std::string_view text);

/// Reads a uint32_t or a float. False if @p value doesn't have the size of one.
template <class Number>
inline bool getNumber(std::span<const uint8_t> value, Number* number)
{
    if (value.size() != kNumberSize) {
        return false;
    }
    *number = std::bit_cast<Number>(get32(value.data()));
    return true;
}

inline std::string_view getText(std::span<const uint8_t> value)
{
    return {reinterpret_cast<const char*>(value.data()), value.size()};
}

} // namespace wmsg

/// Walks the objects of a payload, which outlives the walk.
class WObjectReader
{
public:
    explicit WObjectReader(std::span<const uint8_t> payload) : mLeft(payload) {}

    /// Fills @p *object with the next one. False at the end and at the first fault.
    bool next(WendleObject* object)
    {
        if (mLeft.size() < wmsg::kObjectHeaderSize) {
            return mLeft.empty() ? false : fail("object", "ends within its header");
        }
        const size_t size = wmsg::get32(mLeft.data() + 4);
        if (size > mLeft.size() - wmsg::kObjectHeaderSize) {
            return fail("object length", "is more than the message holds");
        }
        object->type = wmsg::get32(mLeft.data());
        object->tags = mLeft.subspan(wmsg::kObjectHeaderSize, size);
        mLeft = mLeft.subspan(wmsg::kObjectHeaderSize + size);
        return true;
    }

    /// The objects behind the last one.
    std::span<const uint8_t> left() const { return mLeft; }

    /// Skips the first @p bytes of left(), which must be whole objects.
    void skip(size_t bytes) { mLeft = mLeft.subspan(bytes); }

    WStatus status() const { return mStatus; }

private:
    /// Ends the walk at a fault.
    bool fail(const char* field, const char* problem)
    {
        mStatus = WStatus::error(field, problem);
        mLeft = {};
        return false;
    }

    std::span<const uint8_t> mLeft;
    WStatus mStatus = WStatus::ok();
};

/// Walks the tags of an object.
class WTagReader
{
public:
    explicit WTagReader(std::span<const uint8_t> tags) : mLeft(tags) {}

    /// Fills @p *tag with the next one. False at the end and at the first fault.
    bool next(WTagView* tag)
    {
        // Most tags are numbers. Where the next one begins is known then before this one is read.
        if (mLeft.size() >= wmsg::kNumberTagSize && wmsg::get16(mLeft.data() + 2) == wmsg::kNumberSize) {
            *tag = {wmsg::get16(mLeft.data()), mLeft.subspan(wmsg::kTagHeaderSize, wmsg::kNumberSize)};
            mLeft = mLeft.subspan(wmsg::kNumberTagSize);
            return true;
        }
        if (peek(tag)) {
            mLeft = mLeft.subspan(wmsg::kTagHeaderSize + tag->value.size());
            return true;
        }
        return mLeft.empty() ? false : fail();
    }

    WStatus status() const { return mStatus; }
    bool atEnd() const { return mLeft.empty(); }

    // Each function reads the next tag if it is @p tag and complete. Else it returns false and the walk stays
    // where it is.

    /// @p *value is a uint32_t or a float.
    template <class Number>
    bool takeNumber(uint16_t tag, Number* value)
    {
        if (mLeft.size() < wmsg::kNumberTagSize ||
            wmsg::get32(mLeft.data()) != wmsg::tagHeader(tag, wmsg::kNumberSize)) {
            return false;
        }
        *value = std::bit_cast<Number>(wmsg::get32(mLeft.data() + wmsg::kTagHeaderSize));
        mLeft = mLeft.subspan(wmsg::kNumberTagSize);
        return true;
    }

    /// @p *text points into the object.
    bool takeText(uint16_t tag, std::string_view* text)
    {
        WTagView next;
        if (!peek(&next) || next.number != tag) {
            return false;
        }
        *text = wmsg::getText(next.value);
        mLeft = mLeft.subspan(wmsg::kTagHeaderSize + next.value.size());
        return true;
    }

private:
    /// Ends the walk at a fault.
    bool fail()
    {
        mStatus = mLeft.size() < wmsg::kTagHeaderSize
                      ? WStatus::error("tag", "ends within its header")
                      : WStatus::error("tag length", "is more than the object holds");
        mLeft = {};
        return false;
    }

    /// False if the next tag isn't complete.
    bool peek(WTagView* tag) const
    {
        if (mLeft.size() < wmsg::kTagHeaderSize) {
            return false;
        }
        const size_t size = wmsg::get16(mLeft.data() + 2);
        if (size > mLeft.size() - wmsg::kTagHeaderSize) {
            return false;
        }
        *tag = {wmsg::get16(mLeft.data()), mLeft.subspan(wmsg::kTagHeaderSize, size)};
        return true;
    }

    std::span<const uint8_t> mLeft;
    WStatus mStatus = WStatus::ok();
};
