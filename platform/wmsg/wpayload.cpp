#include "wmsg/wpayload.h"

#include <cstring>

#include "wmsg/wbytes.h"

namespace {

/// The length of @p text, cut to what a tag carries. A UTF-8 character is never cut in two: bytes
/// 10xxxxxx continue one (RFC 3629).
size_t tagTextSize(const char* text, size_t size)
{
    if (size <= wmsg::kMaxTextBytes) {
        return size;
    }
    size = wmsg::kMaxTextBytes;
    size_t cut = size;
    while (cut > size - 4 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) {
        --cut;
    }
    return (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80 ? size : cut;
}

} // namespace

namespace wmsg {

uint32_t numberValue(const uint8_t* value) { return get32(value); }

float floatValue(const uint8_t* value)
{
    const uint32_t bits = get32(value);
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

} // namespace wmsg

uint8_t* WPayloadWriter::grow(size_t size)
{
    const size_t end = mPayload->size();
    mPayload->resize(end + size);
    return mPayload->data() + end;
}

void WPayloadWriter::beginObject(uint32_t type)
{
    mObjectStart = mPayload->size();
    wmsg::put32(grow(wmsg::kObjectHeaderSize), type);
}

void WPayloadWriter::endObject()
{
    const size_t tags = mPayload->size() - mObjectStart - wmsg::kObjectHeaderSize;
    wmsg::put32(mPayload->data() + mObjectStart + 4, static_cast<uint32_t>(tags));
}

void WPayloadWriter::putNumber(uint16_t tag, uint32_t value)
{
    uint8_t* to = grow(wmsg::kTagHeaderSize + 4);
    wmsg::put16(to, tag);
    wmsg::put16(to + 2, 4);
    wmsg::put32(to + 4, value);
}

void WPayloadWriter::putFloat(uint16_t tag, float value)
{
    uint32_t bits = 0;
    static_assert(sizeof bits == sizeof value, "a float is its IEEE 754 pattern of 32 bits");
    std::memcpy(&bits, &value, sizeof bits);
    putNumber(tag, bits);
}

void WPayloadWriter::putText(uint16_t tag, const char* text, size_t size)
{
    putBytes(tag, reinterpret_cast<const uint8_t*>(text), tagTextSize(text, size));
}

void WPayloadWriter::putBytes(uint16_t tag, const uint8_t* value, size_t size)
{
    uint8_t* to = grow(wmsg::kTagHeaderSize + size);
    wmsg::put16(to, tag);
    wmsg::put16(to + 2, static_cast<uint16_t>(size));
    if (size > 0) {
        std::memcpy(to + wmsg::kTagHeaderSize, value, size);
    }
}

bool WObjectReader::next(WendleObject* object)
{
    if (mLeft == 0) {
        return false;
    }
    if (mLeft < wmsg::kObjectHeaderSize) {
        mStatus = WStatus::error("object", "ends within its header");
        mLeft = 0;
        return false;
    }
    const size_t size = wmsg::get32(mNext + 4);
    if (size > mLeft - wmsg::kObjectHeaderSize) {
        mStatus = WStatus::error("object length", "is more than the message holds");
        mLeft = 0;
        return false;
    }
    object->type = wmsg::get32(mNext);
    object->tags = mNext + wmsg::kObjectHeaderSize;
    object->size = size;
    mNext += wmsg::kObjectHeaderSize + size;
    mLeft -= wmsg::kObjectHeaderSize + size;
    return true;
}

bool WTagReader::next(WTagView* tag)
{
    if (mLeft == 0) {
        return false;
    }
    if (mLeft < wmsg::kTagHeaderSize) {
        mStatus = WStatus::error("tag", "ends within its header");
        mLeft = 0;
        return false;
    }
    const size_t size = wmsg::get16(mNext + 2);
    if (size > mLeft - wmsg::kTagHeaderSize) {
        mStatus = WStatus::error("tag length", "is more than the object holds");
        mLeft = 0;
        return false;
    }
    tag->number = wmsg::get16(mNext);
    tag->value = mNext + wmsg::kTagHeaderSize;
    tag->size = size;
    mNext += wmsg::kTagHeaderSize + size;
    mLeft -= wmsg::kTagHeaderSize + size;
    return true;
}
