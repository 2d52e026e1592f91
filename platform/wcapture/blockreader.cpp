#include "wcapture/blockreader.h"

#include <algorithm>

#include "wmsg/wbytes.h"

namespace {

constexpr size_t kPortion = 64 * 1024;

} // namespace

bool cBlockReader::read(size_t size, std::vector<uint8_t>* bytes)
{
    bytes->clear();
    while (bytes->size() < size) {
        const size_t had = bytes->size();
        bytes->resize(had + std::min(kPortion, size - had));
        mStream->read(reinterpret_cast<char*>(bytes->data() + had),
                      static_cast<std::streamsize>(bytes->size() - had));
        const auto count = static_cast<size_t>(mStream->gcount());
        if (count < bytes->size() - had) {
            bytes->resize(had + count);
            return false;
        }
    }
    return true;
}

bool cBlockReader::skip(uint64_t size)
{
    std::vector<uint8_t> bytes;
    while (size > 0) {
        const auto portion = static_cast<size_t>(std::min<uint64_t>(kPortion, size));
        if (!read(portion, &bytes)) {
            return false;
        }
        size -= portion;
    }
    return true;
}

uint16_t sByteOrder::get16(const uint8_t* from) const
{
    return isBig ? wmsg::get16(from) : static_cast<uint16_t>(from[1] << 8 | from[0]);
}

uint32_t sByteOrder::get32(const uint8_t* from) const
{
    const uint32_t first = get16(from);
    const uint32_t second = get16(from + 2);
    return isBig ? first << 16 | second : second << 16 | first;
}

uint64_t sByteOrder::get64(const uint8_t* from) const
{
    const uint64_t first = get32(from);
    const uint64_t second = get32(from + 4);
    return isBig ? first << 32 | second : second << 32 | first;
}
