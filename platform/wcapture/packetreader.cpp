#include "wcapture/packetreader.h"

#include "wcapture/pcapformat.h"
#include "wcapture/pcapngformat.h"

cCaptureFormat::eResult cPacketReader::next(sPacket* packet)
{
    if (mLast == cCaptureFormat::PACKET && !mFormat) {
        mLast = open();
    }
    if (mLast == cCaptureFormat::PACKET) {
        mLast = mFormat->next(packet);
    }
    return mLast;
}

cCaptureFormat::eResult cPacketReader::open()
{
    cBlockReader reader(mStream);
    std::vector<uint8_t> magic;
    if (!reader.read(4, &magic)) {
        mStatus =
            WStatus::error("capture file", magic.empty() ? "it is empty" : "it is neither pcapng nor pcap");
        return cCaptureFormat::BROKEN;
    }
    mFormat = cPcapFormat::of(mStream, magic);
    if (!mFormat) {
        mFormat = cPcapngFormat::of(mStream, magic);
    }
    if (!mFormat) {
        mStatus = WStatus::error("capture file", "it is neither pcapng nor pcap");
        return cCaptureFormat::BROKEN;
    }
    return cCaptureFormat::PACKET;
}

const std::vector<sCaptureInterface>& cPacketReader::interfaces() const
{
    static const std::vector<sCaptureInterface> kNone;
    return mFormat ? mFormat->interfaces() : kNone;
}

const std::string& cPacketReader::program() const
{
    static const std::string kNone;
    return mFormat ? mFormat->program() : kNone;
}
