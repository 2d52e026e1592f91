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
#include <vector>

#include "wmsg/wstatus.h"

namespace wmsg {

constexpr size_t kObjectHeaderSize = 8;
constexpr size_t kTagHeaderSize = 4;

/// The longest text that a tag carries; a longer one is cut at the end of a UTF-8 character.
constexpr size_t kMaxTextBytes = 65535;

/// A number or a float, read from @p value, which holds 4 bytes.
uint32_t numberValue(const uint8_t* value);
float floatValue(const uint8_t* value);

} // namespace wmsg

/// Writes objects and their tags straight into a message's payload.
class WPayloadWriter
{
public:
    /// Appends to @p payload, which outlives the writer.
    explicit WPayloadWriter(std::vector<uint8_t>* payload) : mPayload(payload) {}

    /// Every tag stands between beginObject() and endObject().
    void beginObject(uint32_t type);
    void endObject();

    void putNumber(uint16_t tag, uint32_t value);
    void putFloat(uint16_t tag, float value);
    void putText(uint16_t tag, const char* text, size_t size);
    void putBytes(uint16_t tag, const uint8_t* value, size_t size);

private:
    uint8_t* grow(size_t size);

    std::vector<uint8_t>* mPayload;
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
