#include "wcapture/pcapngformat.h"

#include <algorithm>

#include "wcapture/pcapngblocks.h"

namespace {

constexpr uint32_t kAroundBody = 12; // the type and both lengths

bool holdsPacket(uint32_t type)
{
    return type == pcapng::kEnhancedPacket || type == pcapng::kSimplePacket ||
           type == pcapng::kObsoletePacket;
}

size_t padded(size_t size) { return (size + 3) / 4 * 4; }

std::string textOf(std::span<const uint8_t> bytes)
{
    const auto part = bytes.first(std::min(bytes.size(), cCaptureFormat::kMaxText));
    return {part.begin(), std::ranges::find(part, uint8_t{0})};
}

} // namespace

std::unique_ptr<cPcapngFormat> cPcapngFormat::of(std::istream* stream, std::span<const uint8_t> magic)
{
    // This type reads the same in both byte orders.
    const bool isSection = sByteOrder{}.get32(magic.data()) == pcapng::kSectionHeader;
    return std::unique_ptr<cPcapngFormat>(isSection ? new cPcapngFormat(stream) : nullptr);
}

cCaptureFormat::eResult cPcapngFormat::next(sPacket* packet)
{
    eResult result = mIsInSection ? PACKET : readSection();
    bool isFilled = false;
    while (result == PACKET && !isFilled) {
        if (!mReader.read(4, &mHead)) {
            return mHead.empty() ? END : CUT;
        }
        const uint32_t type = mOrder.get32(mHead.data());
        result = type == pcapng::kSectionHeader ? readSection() : readBlock(type, packet);
        isFilled = holdsPacket(type);
    }
    return result;
}

/// Behind the type of the block.
cCaptureFormat::eResult cPcapngFormat::readBlock(uint32_t type, sPacket* packet)
{
    if (!mReader.read(4, &mHead)) {
        return CUT;
    }
    const uint32_t length = mOrder.get32(mHead.data());
    if (length < kAroundBody || length % 4 != 0) {
        return broken("pcapng block", "its length is wrong");
    }
    if (!holdsPacket(type) && type != pcapng::kInterface) {
        return mReader.skip(length - kAroundBody) ? readEnd(length) : CUT;
    }
    const eResult result = readBody(length - kAroundBody, length);
    if (result != PACKET) {
        return result;
    }
    return type == pcapng::kInterface ? takeInterface() : takePacket(type, packet);
}

/// Tries both on the number that has a known value.
bool cPcapngFormat::findByteOrder(const uint8_t* magic)
{
    for (const bool isBig : {false, true}) {
        mOrder.isBig = isBig;
        if (mOrder.get32(magic) == pcapng::kByteOrderMagic) {
            return true;
        }
    }
    return false;
}

/// Behind the type of the block: the byte order comes before the length that needs it.
cCaptureFormat::eResult cPcapngFormat::readSection()
{
    if (!mReader.read(8, &mHead)) {
        return CUT;
    }
    if (!findByteOrder(mHead.data() + 4)) {
        return broken("pcapng section", "its byte order is not known");
    }
    const uint32_t length = mOrder.get32(mHead.data());
    constexpr uint32_t kFixed = 12; // version and length of the section
    if (length < kAroundBody + 4 + kFixed || length % 4 != 0) {
        return broken("pcapng section", "its length is wrong");
    }
    const eResult result = readBody(length - kAroundBody - 4, length);
    if (result != PACKET) {
        return result;
    }
    if (mOrder.get16(mBody.data()) != pcapng::kMajorVersion) {
        return broken("pcapng section", "its version is not known");
    }
    mIsInSection = true;
    mInterfaces.clear();
    mClocks.clear();
    mProgram.clear();
    const bool isSound = forOptions(kFixed, [this](uint16_t code, std::span<const uint8_t> value) {
        if (code == pcapng::kProgram) {
            mProgram = textOf(value);
        }
    });
    return isSound ? PACKET : broken("pcapng section", "an option is longer than the block");
}

/// Reads what is left of a block of @p length bytes: @p size bytes and the length again.
cCaptureFormat::eResult cPcapngFormat::readBody(size_t size, uint32_t length)
{
    if (size > kMaxPacket) {
        return broken("pcapng block", "it is longer than 1 MiB");
    }
    return mReader.read(size, &mBody) ? readEnd(length) : CUT;
}

cCaptureFormat::eResult cPcapngFormat::readEnd(uint32_t length)
{
    if (!mReader.read(4, &mHead)) {
        return CUT;
    }
    return mOrder.get32(mHead.data()) == length ? PACKET
                                                : broken("pcapng block", "its two lengths are not the same");
}

/// Calls @p take with the code and value of each option from @p offset of the body. Returns false if one is
/// longer than the block.
template <class Take>
bool cPcapngFormat::forOptions(size_t offset, Take take) const
{
    std::span<const uint8_t> left = std::span(mBody).subspan(std::min(offset, mBody.size()));
    while (left.size() >= 4) {
        const uint16_t code = mOrder.get16(left.data());
        const size_t size = mOrder.get16(left.data() + 2);
        if (code == pcapng::kEndOfOptions) {
            break;
        }
        left = left.subspan(4);
        if (padded(size) > left.size()) {
            return false;
        }
        take(code, left.first(size));
        left = left.subspan(padded(size));
    }
    return true;
}

cCaptureFormat::eResult cPcapngFormat::takeInterface()
{
    constexpr size_t kFixed = 8;
    if (mBody.size() < kFixed) {
        return broken("pcapng interface", "it is too short");
    }
    if (mInterfaces.size() == kMaxInterfaces) {
        return broken("pcapng interface", "there are more than 4,096");
    }
    sCaptureInterface interface;
    pcapng::sClock clock;
    interface.linkType = mOrder.get16(mBody.data());
    interface.snapLength = mOrder.get32(mBody.data() + 4);
    const bool isSound = forOptions(kFixed, [&](uint16_t code, std::span<const uint8_t> value) {
        if (code == pcapng::kInterfaceName) {
            interface.name = textOf(value);
        } else if (code == pcapng::kTimeResolution && !value.empty()) {
            clock.resolution = value[0];
        } else if (code == pcapng::kTimeOffset && value.size() == 8) {
            clock.offsetSeconds = static_cast<int64_t>(mOrder.get64(value.data()));
        }
    });
    if (!isSound) {
        return broken("pcapng interface", "an option is longer than the block");
    }
    mInterfaces.push_back(std::move(interface));
    mClocks.push_back(clock);
    return PACKET;
}

cCaptureFormat::eResult cPcapngFormat::takePacket(uint32_t type, sPacket* packet)
{
    packet->comments.clear();
    if (type == pcapng::kSimplePacket) {
        return takeSimplePacket(packet);
    }
    constexpr size_t kFixed = 20;
    if (mBody.size() < kFixed) {
        return broken("pcapng packet", "it is too short");
    }
    const bool isObsolete = type == pcapng::kObsoletePacket;
    packet->interface = isObsolete ? mOrder.get16(mBody.data()) : mOrder.get32(mBody.data());
    if (packet->interface >= mInterfaces.size()) {
        return broken("pcapng packet", "its interface is not described");
    }
    const uint64_t high = mOrder.get32(mBody.data() + 4);
    mLastNs = mClocks[packet->interface].timeNs(high << 32 | mOrder.get32(mBody.data() + 8));
    packet->timeNs = mLastNs;
    const uint32_t size = mOrder.get32(mBody.data() + 12);
    packet->wireSize = mOrder.get32(mBody.data() + 16);
    if (!takeBytes(kFixed, size, packet)) {
        return broken("pcapng packet", "it is longer than its block");
    }
    takeComments(kFixed + padded(size), packet);
    return PACKET;
}

/// A packet without a time: it gets that of the packet before it.
cCaptureFormat::eResult cPcapngFormat::takeSimplePacket(sPacket* packet)
{
    constexpr size_t kFixed = 4;
    if (mBody.size() < kFixed) {
        return broken("pcapng packet", "it is too short");
    }
    if (mInterfaces.empty()) {
        return broken("pcapng packet", "its interface is not described");
    }
    packet->interface = 0;
    packet->timeNs = mLastNs;
    packet->wireSize = mOrder.get32(mBody.data());
    const uint32_t limit = mInterfaces.front().snapLength;
    const uint32_t size = limit == 0 ? packet->wireSize : std::min(packet->wireSize, limit);
    return takeBytes(kFixed, size, packet) ? PACKET : broken("pcapng packet", "it is longer than its block");
}

bool cPcapngFormat::takeBytes(size_t offset, size_t size, sPacket* packet)
{
    if (size > mBody.size() - offset) {
        return false;
    }
    const auto begin = mBody.begin() + static_cast<std::ptrdiff_t>(offset);
    packet->bytes.assign(begin, begin + static_cast<std::ptrdiff_t>(size));
    packet->wireSize = std::max(packet->wireSize, static_cast<uint32_t>(size));
    return true;
}

/// An option that is longer than the block ends them: the packet itself is sound.
void cPcapngFormat::takeComments(size_t offset, sPacket* packet) const
{
    forOptions(offset, [packet](uint16_t code, std::span<const uint8_t> value) {
        if (code == pcapng::kComment && packet->comments.size() < kMaxComments) {
            packet->comments.push_back(textOf(value));
        }
    });
}
