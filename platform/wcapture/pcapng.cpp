#include "wcapture/pcapng.h"

namespace pcapng {

namespace {

constexpr uint32_t kSectionHeader = 0x0A0D0D0A;
constexpr uint32_t kInterface = 1;
constexpr uint32_t kEnhancedPacket = 6;

constexpr uint32_t kByteOrderMagic = 0x1A2B3C4D;
constexpr uint16_t kMajorVersion = 1;
constexpr uint16_t kMinorVersion = 0;
constexpr uint64_t kSectionLengthUnknown = ~uint64_t{0};

/// LINKTYPE_RAW of the registry at www.tcpdump.org/linktypes.html.
constexpr uint16_t kLinkTypeRaw = 101;
constexpr uint32_t kNoSnapLength = 0;

constexpr uint16_t kEndOfOptions = 0;
constexpr uint16_t kHardware = 2;
constexpr uint16_t kSystem = 3;
constexpr uint16_t kProgram = 4;
constexpr uint16_t kInterfaceName = 2;
constexpr uint16_t kTimeResolution = 9;
constexpr uint16_t kPacketFlags = 2;

/// Times in units of 10 to the power of -9 seconds.
constexpr uint8_t kNanoseconds = 9;

void put16(std::vector<uint8_t>* to, uint16_t value)
{
    to->push_back(static_cast<uint8_t>(value));
    to->push_back(static_cast<uint8_t>(value >> 8));
}

void put32(std::vector<uint8_t>* to, uint32_t value)
{
    put16(to, static_cast<uint16_t>(value));
    put16(to, static_cast<uint16_t>(value >> 16));
}

void put64(std::vector<uint8_t>* to, uint64_t value)
{
    put32(to, static_cast<uint32_t>(value));
    put32(to, static_cast<uint32_t>(value >> 32));
}

void putPadded(std::vector<uint8_t>* to, const uint8_t* bytes, size_t size)
{
    to->insert(to->end(), bytes, bytes + size);
    to->resize(to->size() + (4 - size % 4) % 4);
}

void putOption(std::vector<uint8_t>* to, uint16_t code, const uint8_t* value, size_t size)
{
    put16(to, code);
    put16(to, static_cast<uint16_t>(size));
    putPadded(to, value, size);
}

void putText(std::vector<uint8_t>* to, uint16_t code, const std::string& text)
{
    if (!text.empty()) {
        putOption(to, code, reinterpret_cast<const uint8_t*>(text.data()), text.size());
    }
}

/// Where the block begins; its length is filled in when it ends.
size_t beginBlock(std::vector<uint8_t>* to, uint32_t type)
{
    const size_t begin = to->size();
    put32(to, type);
    put32(to, 0);
    return begin;
}

void endBlock(std::vector<uint8_t>* to, size_t begin)
{
    put16(to, kEndOfOptions);
    put16(to, 0);
    const auto length = static_cast<uint32_t>(to->size() - begin + 4);
    put32(to, length);
    for (size_t byte = 0; byte < 4; ++byte) {
        (*to)[begin + 4 + byte] = static_cast<uint8_t>(length >> (8 * byte));
    }
}

} // namespace

void appendSectionHeader(std::vector<uint8_t>* file, const sWriter& writer)
{
    const size_t begin = beginBlock(file, kSectionHeader);
    put32(file, kByteOrderMagic);
    put16(file, kMajorVersion);
    put16(file, kMinorVersion);
    put64(file, kSectionLengthUnknown);
    putText(file, kHardware, writer.hardware);
    putText(file, kSystem, writer.system);
    putText(file, kProgram, writer.program);
    endBlock(file, begin);
}

void appendInterface(std::vector<uint8_t>* file, const std::string& name)
{
    const size_t begin = beginBlock(file, kInterface);
    put16(file, kLinkTypeRaw);
    put16(file, 0);
    put32(file, kNoSnapLength);
    putText(file, kInterfaceName, name);
    putOption(file, kTimeResolution, &kNanoseconds, 1);
    endBlock(file, begin);
}

void appendPacket(std::vector<uint8_t>* file, uint64_t timeNs, eDirection direction, const uint8_t* packet,
                  size_t size)
{
    const size_t begin = beginBlock(file, kEnhancedPacket);
    put32(file, 0); // the interface
    put32(file, static_cast<uint32_t>(timeNs >> 32));
    put32(file, static_cast<uint32_t>(timeNs));
    put32(file, static_cast<uint32_t>(size));
    put32(file, static_cast<uint32_t>(size));
    putPadded(file, packet, size);
    const auto flags = static_cast<uint8_t>(direction);
    const uint8_t value[] = {flags, 0, 0, 0};
    putOption(file, kPacketFlags, value, sizeof value);
    endBlock(file, begin);
}

} // namespace pcapng
