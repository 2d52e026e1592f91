#include "wmsg/wpayload.h"

#include <algorithm>

namespace wmsg {

size_t cutTextSize(const char* text)
{
    // A character is never cut in two: bytes 10xxxxxx continue one (RFC 3629).
    size_t cut = kMaxTextBytes;
    while (cut > kMaxTextBytes - 4 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) {
        --cut;
    }
    return (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80 ? kMaxTextBytes : cut;
}

} // namespace wmsg

void WPayloadWriter::grow(size_t size)
{
    // What is filled with zeros once is never filled again when the payload is overwritten: a page is most
    // messages.
    constexpr size_t kLeast = 4096;
    const size_t needed = mSize + size;
    mPayload->resize(mMode == APPEND ? needed : std::max({needed, 2 * mPayload->size(), kLeast}));
}

void WPayloadWriter::beginObject(uint32_t type)
{
    mObjectStart = mSize;
    wmsg::putObjectHeader(room(wmsg::kObjectHeaderSize), type, 0);
    wrote(wmsg::kObjectHeaderSize);
}

void WPayloadWriter::endObject()
{
    const size_t tags = mSize - mObjectStart - wmsg::kObjectHeaderSize;
    wmsg::put32(mPayload->data() + mObjectStart + 4, static_cast<uint32_t>(tags));
}

void WPayloadWriter::putNumber(uint16_t tag, uint32_t value)
{
    wmsg::putNumberTag(room(wmsg::kNumberTagSize), tag, value);
    wrote(wmsg::kNumberTagSize);
}

void WPayloadWriter::putFloat(uint16_t tag, float value) { putNumber(tag, wmsg::floatBits(value)); }

void WPayloadWriter::putText(uint16_t tag, const char* text, size_t size)
{
    putBytes(tag, reinterpret_cast<const uint8_t*>(text), wmsg::tagTextSize(text, size));
}

void WPayloadWriter::putBytes(uint16_t tag, const uint8_t* value, size_t size)
{
    wmsg::putBytesTag(room(wmsg::kTagHeaderSize + size), tag, value, size);
    wrote(wmsg::kTagHeaderSize + size);
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
