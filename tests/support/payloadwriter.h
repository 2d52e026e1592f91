#pragma once

#include <string_view>
#include <vector>

#include "wmsg/wpayload.h"

/// Appends objects to a payload tag by tag.
class PayloadWriter
{
public:
    /// @p payload outlives the writer.
    explicit PayloadWriter(std::vector<uint8_t>* payload) : mPayload(payload) {}

    /// Every tag stands between beginObject() and endObject().
    void beginObject(uint32_t type)
    {
        mObjectStart = mPayload->size();
        wmsg::putObjectHeader(extend(wmsg::kObjectHeaderSize), type, 0);
    }

    void endObject()
    {
        const size_t tags = mPayload->size() - mObjectStart - wmsg::kObjectHeaderSize;
        wmsg::put32(mPayload->data() + mObjectStart + 4, static_cast<uint32_t>(tags));
    }

    template <class Number>
    void putNumber(uint16_t tag, Number value)
    {
        wmsg::putNumberTag(extend(wmsg::kNumberTagSize), tag, value);
    }

    void putText(uint16_t tag, std::string_view text)
    {
        wmsg::putTextTag(extend(wmsg::textTagSize(text)), tag, text);
    }

private:
    /// Room for @p size more bytes at the payload's end.
    uint8_t* extend(size_t size)
    {
        mPayload->resize(mPayload->size() + size);
        return mPayload->data() + mPayload->size() - size;
    }

    std::vector<uint8_t>* mPayload;
    size_t mObjectStart = 0;
};
