#include "wcapture/pcapformat.h"

#include <algorithm>

namespace {

constexpr uint32_t kMicroseconds = 0xA1B2C3D4;
constexpr uint32_t kNanoseconds = 0xA1B23C4D;
constexpr uint16_t kMajorVersion = 2;
constexpr size_t kFileHeader = 20; // behind the magic
constexpr size_t kPacketHeader = 16;

} // namespace

std::unique_ptr<cPcapFormat> cPcapFormat::of(std::istream* stream, std::span<const uint8_t> magic)
{
    for (const sByteOrder order : {sByteOrder{false}, sByteOrder{true}}) {
        const uint32_t number = order.get32(magic.data());
        if (number == kMicroseconds || number == kNanoseconds) {
            return std::unique_ptr<cPcapFormat>(new cPcapFormat(stream, order, number == kNanoseconds));
        }
    }
    return nullptr;
}

cCaptureFormat::eResult cPcapFormat::readHeader()
{
    if (!mReader.read(kFileHeader, &mHeader)) {
        return CUT;
    }
    if (mOrder.get16(mHeader.data()) != kMajorVersion) {
        return broken("pcap header", "its version is not known");
    }
    sCaptureInterface& interface = mInterfaces.emplace_back();
    interface.snapLength = mOrder.get32(mHeader.data() + 12);
    interface.linkType = static_cast<uint16_t>(mOrder.get32(mHeader.data() + 16));
    return PACKET;
}

cCaptureFormat::eResult cPcapFormat::next(sPacket* packet)
{
    if (mInterfaces.empty()) {
        const eResult result = readHeader();
        if (result != PACKET) {
            return result;
        }
    }
    if (!mReader.read(kPacketHeader, &mHeader)) {
        return mHeader.empty() ? END : CUT;
    }
    const uint32_t size = mOrder.get32(mHeader.data() + 8);
    if (size > kMaxPacket) {
        return broken("pcap packet", "it is longer than 1 MiB");
    }
    packet->timeNs = int64_t{mOrder.get32(mHeader.data())} * 1'000'000'000 +
                     int64_t{mOrder.get32(mHeader.data() + 4)} * mNsPerUnit;
    packet->interface = 0;
    packet->wireSize = std::max(size, mOrder.get32(mHeader.data() + 12));
    packet->comments.clear();
    return mReader.read(size, &packet->bytes) ? PACKET : CUT;
}
