// Capture files. The input: a byte, then the file. If the lowest bit of the byte is set, only connections to
// port 50000 are followed.

#include <sstream>
#include <unordered_map>

#include "fuzzinput.h"
#include "heldmemory.h"
#include "property.h"
#include "wcapture/packetreader.h"
#include "wcapture/tcpstreams.h"

namespace {

/// Far more than a small file needs, and far less than lengths in it can ask for.
constexpr size_t kMaxMemory = 24 * 1024 * 1024;

/// Checks that what is told of streams makes sense.
class Checker : public cTcpStreams::cListener
{
public:
    void opened(const sStream& stream, const std::vector<std::string>& comments, int64_t /*timeNs*/) override
    {
        require(stream.number == ++mLast, "streams are numbered in order");
        require(comments.size() <= cCaptureFormat::kMaxComments, "comments are bounded");
        mOpen[stream.number] = {};
    }
    void received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                  int64_t /*timeNs*/) override
    {
        require(!bytes.empty(), "received bytes are some");
        requireOpen(stream, from);
        mReceived += bytes.size();
    }
    void lost(const sStream& stream, cTcpStreams::eSide from, uint64_t bytes, int64_t /*timeNs*/) override
    {
        require(bytes > 0, "lost bytes are some");
        requireOpen(stream, from);
    }
    void ended(const sStream& stream, cTcpStreams::eSide from, int64_t /*timeNs*/) override
    {
        requireOpen(stream, from);
        mOpen[stream.number].hasEnded[from] = true;
    }
    void wasReset(const sStream& stream, cTcpStreams::eSide /*from*/, int64_t /*timeNs*/) override
    {
        require(mOpen.count(stream.number) == 1, "what is reset was open");
    }
    void closed(const sStream& stream, int64_t /*timeNs*/) override
    {
        require(mOpen.erase(stream.number) == 1, "what is closed was open");
    }
    void remark(const std::string& sentence) override
    {
        require(sentence.ends_with('.') && sentence.find('\n') == std::string::npos,
                "a remark is a sentence");
    }

    bool allClosed() const { return mOpen.empty(); }
    size_t received() const { return mReceived; }

private:
    struct Open
    {
        bool hasEnded[2] = {};
    };

    void requireOpen(const sStream& stream, cTcpStreams::eSide from)
    {
        const auto found = mOpen.find(stream.number);
        require(found != mOpen.end(), "only open streams go on");
        require(!found->second.hasEnded[from], "nothing comes behind an end");
    }

    std::unordered_map<uint64_t, Open> mOpen;
    uint64_t mLast = 0;
    size_t mReceived = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const bool isFiltered = (input.number8() & 1) != 0;
    const size_t before = heldMemory();
    std::istringstream file(input.restText());
    cPacketReader reader(&file);
    Checker checker;
    cTcpStreams streams(&checker);
    if (isFiltered) {
        streams.setServerPort(50000);
    }
    sPacket packet;
    cCaptureFormat::eResult result = reader.next(&packet);
    for (; result == cCaptureFormat::PACKET; result = reader.next(&packet)) {
        require(packet.interface < reader.interfaces().size(), "a packet has its interface");
        require(packet.wireSize >= packet.bytes.size(), "no more is recorded than there was");
        streams.add(packet, reader.interfaces()[packet.interface]);
        require(heldMemory() < before + kMaxMemory + size, "memory is bounded");
    }
    require(reader.status().isOk() == (result != cCaptureFormat::BROKEN), "what is broken has a reason");
    require(reader.next(&packet) == result, "the end stays the end");
    streams.finish();
    require(checker.allClosed(), "all streams are closed in the end");
    require(checker.received() <= size, "nothing comes that was not in the file");
    return 0;
}
