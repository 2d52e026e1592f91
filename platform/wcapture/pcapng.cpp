#include "wcapture/pcapng.h"

#include <algorithm>
#include <limits>

#include "wcapture/pcapngblocks.h"

namespace pcapng {

namespace {

constexpr uint64_t kSectionLengthUnknown = ~uint64_t{0};

/// LINKTYPE_RAW of the registry at www.tcpdump.org/linktypes.html.
constexpr uint16_t kLinkTypeRaw = 101;
constexpr uint32_t kNoSnapLength = 0;

/// Times in units of 10 to the power of -9 seconds.
constexpr uint8_t kNanoseconds = 9;

using Bytes = std::vector<uint8_t>;

/// Little-endian.
template <class Integer>
void put(Bytes* to, Integer value)
{
    for (size_t byte = 0; byte < sizeof value; ++byte) {
        to->push_back(static_cast<uint8_t>(value >> (8 * byte)));
    }
}

void putPadded(Bytes* to, std::span<const uint8_t> bytes)
{
    to->insert(to->end(), bytes.begin(), bytes.end());
    to->resize(to->size() + (4 - bytes.size() % 4) % 4);
}

void putOption(Bytes* to, uint16_t code, std::span<const uint8_t> value)
{
    put(to, code);
    put(to, static_cast<uint16_t>(value.size()));
    putPadded(to, value);
}

void putText(Bytes* to, uint16_t code, const std::string& text)
{
    if (!text.empty()) {
        const size_t size = std::min<size_t>(text.size(), std::numeric_limits<uint16_t>::max());
        putOption(to, code, {reinterpret_cast<const uint8_t*>(text.data()), size});
    }
}

/// Where the block begins; endBlock() fills in its length.
size_t beginBlock(Bytes* to, uint32_t type)
{
    const size_t begin = to->size();
    put(to, type);
    put(to, uint32_t{0});
    return begin;
}

void endBlock(Bytes* to, size_t begin)
{
    put(to, uint32_t{kEndOfOptions}); // and its length
    put(to, static_cast<uint32_t>(to->size() - begin + 4));
    std::copy(to->end() - 4, to->end(), to->begin() + static_cast<std::ptrdiff_t>(begin + 4));
}

} // namespace

void appendSectionHeader(Bytes* file, const sWriter& writer)
{
    const size_t begin = beginBlock(file, kSectionHeader);
    put(file, kByteOrderMagic);
    put(file, kMajorVersion);
    put(file, kMinorVersion);
    put(file, kSectionLengthUnknown);
    putText(file, kHardware, writer.hardware);
    putText(file, kSystem, writer.system);
    putText(file, kProgram, writer.program);
    endBlock(file, begin);
}

void appendInterface(Bytes* file, const std::string& name)
{
    const size_t begin = beginBlock(file, kInterface);
    put(file, kLinkTypeRaw);
    put(file, uint16_t{0});
    put(file, kNoSnapLength);
    putText(file, kInterfaceName, name);
    putOption(file, kTimeResolution, {&kNanoseconds, 1});
    endBlock(file, begin);
}

void appendPacket(Bytes* file, uint64_t timeNs, eDirection direction, std::span<const uint8_t> packet,
                  const sPacketNotes& notes)
{
    const size_t begin = beginBlock(file, kEnhancedPacket);
    put(file, notes.interface);
    put(file, static_cast<uint32_t>(timeNs >> 32));
    put(file, static_cast<uint32_t>(timeNs));
    put(file, static_cast<uint32_t>(packet.size()));
    put(file, static_cast<uint32_t>(packet.size()));
    putPadded(file, packet);
    put(file, kPacketFlags);
    put(file, static_cast<uint16_t>(sizeof direction));
    put(file, static_cast<uint32_t>(direction));
    for (const std::string& comment : notes.comments) {
        putText(file, kComment, comment);
    }
    endBlock(file, begin);
}

} // namespace pcapng
