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
