#ifndef WPAYLOAD_H
#define WPAYLOAD_H

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

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "wmsg/wbytes.h"
#include "wmsg/wstatus.h"

namespace wmsg {

constexpr size_t kObjectHeaderSize = 8;
constexpr size_t kTagHeaderSize = 4;

/// A tag whose value is a number or a float, header included.
constexpr size_t kNumberTagSize = kTagHeaderSize + 4;

/// The longest text that a tag carries; a longer one is cut at the end of a UTF-8 character.
constexpr size_t kMaxTextBytes = 65535;

/// A number or a float, read from @p value, which holds 4 bytes.
inline uint32_t numberValue(const uint8_t* value) { return get32(value); }

inline float floatValue(const uint8_t* value)
{
    const uint32_t bits = get32(value);
    float number = 0;
    static_assert(sizeof bits == sizeof number, "a float is its IEEE 754 pattern of 32 bits");
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

inline uint32_t floatBits(float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// What a text longer than kMaxTextBytes is cut to: at the end of a UTF-8 character.
size_t cutTextSize(const char* text);

/// The length of @p text on the line.
inline size_t tagTextSize(const char* text, size_t size)
{
    return size <= kMaxTextBytes ? size : cutTextSize(text);
}

/// The four bytes that a number's or a float's tag begins with.
constexpr uint32_t numberTagHeader(uint16_t tag) { return uint32_t{tag} << 16 | 4U; }

// Each writes one tag, or an object's header, where the caller has made room, and returns where it ends.

inline uint8_t* putNumberTag(uint8_t* to, uint16_t tag, uint32_t value)
{
    put32(to, numberTagHeader(tag));
    put32(to + kTagHeaderSize, value);
    return to + kNumberTagSize;
}

inline uint8_t* putBytesTag(uint8_t* to, uint16_t tag, const void* value, size_t size)
{
    put16(to, tag);
    put16(to + 2, static_cast<uint16_t>(size));
    if (size > 0) {
        std::memcpy(to + kTagHeaderSize, value, size);
    }
    return to + kTagHeaderSize + size;
}

/// The same for a value of at most @p Room bytes in a place of so many: all are written, which is cheaper
/// than to write some, so there is room for them too.
template <size_t Room>
uint8_t* putShortTag(uint8_t* to, uint16_t tag, std::string_view value)
{
    put32(to, uint32_t{tag} << 16 | static_cast<uint32_t>(value.size()));
    std::memcpy(to + kTagHeaderSize, value.data(), Room);
    return to + kTagHeaderSize + value.size();
}

inline uint8_t* putObjectHeader(uint8_t* to, uint32_t type, size_t tags)
{
    put32(to, type);
    put32(to + 4, static_cast<uint32_t>(tags));
    return to + kObjectHeaderSize;
}

} // namespace wmsg

/// Writes objects and their tags straight into a message's payload.
class WPayloadWriter
{
public:
    enum eMode
    {
        APPEND,
        REPLACE ///< overwrites what is there; the payload has its size when the writer is finished or gone
    };

    /// @p payload outlives the writer.
    explicit WPayloadWriter(std::vector<uint8_t>* payload, eMode mode = APPEND)
        : mPayload(payload), mMode(mode), mSize(mode == APPEND ? payload->size() : 0)
    {}
    ~WPayloadWriter()
    {
        if (mMode == REPLACE) {
            finish();
        }
    }
    WPayloadWriter(const WPayloadWriter&) = delete;
    WPayloadWriter& operator=(const WPayloadWriter&) = delete;

    /// The size of the payload so far, in bytes.
    size_t size() const { return mSize; }

    /// Gives the payload its size.
    void finish() { mPayload->resize(mSize); }

    /// Room for @p size bytes at the payload's end, for someone who then calls wrote(). Good until the next
    /// call.
    uint8_t* room(size_t size)
    {
        if (mPayload->size() - mSize < size) {
            grow(size);
        }
        return mPayload->data() + mSize;
    }
    void wrote(size_t size) { mSize += size; }

    /// Where the room ends that needs no further growing, and what has been written of it.
    const uint8_t* roomEnd() const { return mPayload->data() + mPayload->size(); }
    void wroteTo(const uint8_t* end) { mSize = static_cast<size_t>(end - mPayload->data()); }

    /// Every tag stands between beginObject() and endObject().
    void beginObject(uint32_t type);
    void endObject();

    void putNumber(uint16_t tag, uint32_t value);
    void putFloat(uint16_t tag, float value);
    void putText(uint16_t tag, const char* text, size_t size);
    void putBytes(uint16_t tag, const uint8_t* value, size_t size);

private:
    void grow(size_t size);

    std::vector<uint8_t>* mPayload;
    const eMode mMode;
    size_t mSize;
    size_t mObjectStart = 0;
};

/// One object of a received payload; it points into the payload.
struct WendleObject
{
    uint32_t type = 0;
    const uint8_t* tags = nullptr;
    size_t size = 0;
};

/// One tag of a received object; it points into the payload.
struct WTagView
{
    uint16_t number = 0;
    const uint8_t* value = nullptr;
    size_t size = 0;
};

/// Walks the objects of a payload, which outlives the walk.
class WObjectReader
{
public:
    WObjectReader(const uint8_t* payload, size_t size) : mNext(payload), mLeft(size) {}

    /// Fills @p *object with the next one. False at the end and at the first fault.
    bool next(WendleObject* object);

    /// The tags of the next object, which is then passed, if it is of this @p type with tags of @p size bytes
    /// in all; else null, and the walk stands still.
    const uint8_t* nextIf(uint32_t type, uint32_t size)
    {
        const size_t whole = wmsg::kObjectHeaderSize + size;
        if (mLeft < whole || wmsg::get64(mNext) != (uint64_t{type} << 32 | size)) {
            return nullptr;
        }
        const uint8_t* tags = mNext + wmsg::kObjectHeaderSize;
        mNext += whole;
        mLeft -= whole;
        return tags;
    }

    /// The type of the next object; false where there is none, or too few bytes for its header.
    bool peekType(uint32_t* type) const
    {
        if (mLeft < wmsg::kObjectHeaderSize) {
            return false;
        }
        *type = wmsg::get32(mNext);
        return true;
    }

    /// Whether there is a next object and it is of this type.
    bool nextIs(uint32_t type) const
    {
        uint32_t next = 0;
        return peekType(&next) && next == type;
    }

    WStatus status() const { return mStatus; }

private:
    const uint8_t* mNext;
    size_t mLeft;
    WStatus mStatus = WStatus::ok();
};

/// Walks the tags of an object.
class WTagReader
{
public:
    explicit WTagReader(const WendleObject& object) : mNext(object.tags), mLeft(object.size) {}

    /// Fills @p *tag with the next one. False at the end and at the first fault.
    bool next(WTagView* tag);
    WStatus status() const { return mStatus; }

private:
    const uint8_t* mNext;
    size_t mLeft;
    WStatus mStatus = WStatus::ok();
};

#endif
