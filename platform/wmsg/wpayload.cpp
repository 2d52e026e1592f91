#include "wmsg/wpayload.h"

namespace wmsg {

uint8_t* putTextTag(uint8_t* to, uint16_t tag, std::string_view text)
{
    const std::string_view value = utf8::cut(text, kMaxTextBytes);
    put32(to, tagHeader(tag, value.size()));
    if (!value.empty()) {
        std::memcpy(to + kTagHeaderSize, value.data(), value.size());
    }
    return to + kTagHeaderSize + value.size();
}

} // namespace wmsg

/// Room for @p size more bytes at the payload's end.
uint8_t* WPayloadWriter::extend(size_t size)
{
    mPayload->resize(mPayload->size() + size);
    return mPayload->data() + mPayload->size() - size;
}

void WPayloadWriter::beginObject(uint32_t type)
{
    mObjectStart = mPayload->size();
    wmsg::putObjectHeader(extend(wmsg::kObjectHeaderSize), type, 0);
}

void WPayloadWriter::endObject()
{
    const size_t tags = mPayload->size() - mObjectStart - wmsg::kObjectHeaderSize;
    wmsg::put32(mPayload->data() + mObjectStart + 4, static_cast<uint32_t>(tags));
}

void WPayloadWriter::putNumber(uint16_t tag, uint32_t value)
{
    wmsg::putNumberTag(extend(wmsg::kNumberTagSize), tag, value);
}

void WPayloadWriter::putFloat(uint16_t tag, float value)
{
    wmsg::putFloatTag(extend(wmsg::kNumberTagSize), tag, value);
}

void WPayloadWriter::putText(uint16_t tag, std::string_view text)
{
    wmsg::putTextTag(extend(wmsg::textTagSize(text)), tag, text);
}

void WPayloadWriter::putTag(const WTagView& tag)
{
    wmsg::put32(extend(wmsg::kTagHeaderSize), wmsg::tagHeader(tag.number, tag.value.size()));
    mPayload->insert(mPayload->end(), tag.value.begin(), tag.value.end());
}

bool WTagReader::next(WTagView* tag)
{
    if (mLeft.empty()) {
        return false;
    }
    const size_t size = mLeft.size() < wmsg::kTagHeaderSize ? 0 : wmsg::get16(mLeft.data() + 2);
    if (mLeft.size() < wmsg::kTagHeaderSize + size) {
        mStatus = mLeft.size() < wmsg::kTagHeaderSize
                      ? WStatus::error("tag", "ends within its header")
                      : WStatus::error("tag length", "is more than the object holds");
        mLeft = {};
        return false;
    }
    tag->number = wmsg::get16(mLeft.data());
    tag->value = mLeft.subspan(wmsg::kTagHeaderSize, size);
    mLeft = mLeft.subspan(wmsg::kTagHeaderSize + size);
    return true;
}
