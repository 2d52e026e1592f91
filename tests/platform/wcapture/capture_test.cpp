#include <arpa/inet.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "capturereader.h"
#include "hexbytes.h"
#include "streamlines.h"
#include "wcapture/capturedlink.h"
#include "wcapture/packetreader.h"

namespace {

using Bytes = std::vector<uint8_t>;

TEST(PcapngTest, SectionHeaderIsTheFormats)
{
    Bytes file;
    pcapng::appendSectionHeader(&file, {"x86_64", "", "zulbench 1"});
    EXPECT_EQ(file, hexBytes("0a 0d 0d 0a  3c 00 00 00 ; type, length of 60\n"
                             "4d 3c 2b 1a              ; byte order: little-endian\n"
                             "01 00 00 00              ; version 1.0\n"
                             "ff ff ff ff ff ff ff ff  ; length of the section: not told\n"
                             "02 00 06 00  78 38 36 5f  36 34 00 00 ; hardware\n"
                             "04 00 0a 00  7a 75 6c 62  65 6e 63 68  20 31 00 00 ; program\n"
                             "00 00 00 00              ; end of the options\n"
                             "3c 00 00 00"));
}

TEST(PcapngTest, InterfaceHasRawPacketsAndNanoseconds)
{
    Bytes file;
    pcapng::appendInterface(&file, "link");
    EXPECT_EQ(file, hexBytes("01 00 00 00  28 00 00 00 ; type, length of 40\n"
                             "65 00 00 00  00 00 00 00 ; link type 101, no limit on a packet's length\n"
                             "02 00 04 00  6c 69 6e 6b ; name\n"
                             "09 00 01 00  09 00 00 00 ; times in 10^-9 s\n"
                             "00 00 00 00\n"
                             "28 00 00 00"));
}

TEST(PcapngTest, PacketHasItsTimeLengthAndDirection)
{
    Bytes file;
    const Bytes packet{0xAA, 0xBB, 0xCC, 0xDD, 0xEE};
    pcapng::appendPacket(&file, 0x0123456789ABCDEF, pcapng::eDirection::OUTBOUND, packet);
    EXPECT_EQ(file, hexBytes("06 00 00 00  34 00 00 00 ; type, length of 52\n"
                             "00 00 00 00              ; interface 0\n"
                             "67 45 23 01  ef cd ab 89 ; time, the upper half first\n"
                             "05 00 00 00  05 00 00 00 ; length here and on the wire\n"
                             "aa bb cc dd  ee 00 00 00\n"
                             "02 00 04 00  02 00 00 00 ; flags: outbound\n"
                             "00 00 00 00\n"
                             "34 00 00 00"));
}

TEST(PcapngTest, PacketHasItsInterfaceAndComments)
{
    Bytes file;
    pcapng::appendPacket(&file, 0, pcapng::eDirection::INBOUND, Bytes{0xAA}, {1, {"one", "two!"}});
    EXPECT_EQ(file, hexBytes("06 00 00 00  40 00 00 00 ; type, length of 64\n"
                             "01 00 00 00              ; interface 1\n"
                             "00 00 00 00  00 00 00 00 ; time\n"
                             "01 00 00 00  01 00 00 00 ; length here and on the wire\n"
                             "aa 00 00 00\n"
                             "02 00 04 00  01 00 00 00 ; flags: inbound\n"
                             "01 00 03 00  6f 6e 65 00 ; comment\n"
                             "01 00 04 00  74 77 6f 21 ; comment\n"
                             "00 00 00 00\n"
                             "40 00 00 00"));
}

sEndpoint v4(const char* address, uint16_t port)
{
    sockaddr_storage storage{};
    auto& in = reinterpret_cast<sockaddr_in&>(storage);
    in.sin_family = AF_INET;
    in.sin_port = htons(port);
    EXPECT_EQ(inet_pton(AF_INET, address, &in.sin_addr), 1);
    sEndpoint endpoint;
    EXPECT_TRUE(sEndpoint::from(storage, &endpoint));
    return endpoint;
}

sEndpoint v6(const char* address, uint16_t port)
{
    sockaddr_storage storage{};
    auto& in = reinterpret_cast<sockaddr_in6&>(storage);
    in.sin6_family = AF_INET6;
    in.sin6_port = htons(port);
    EXPECT_EQ(inet_pton(AF_INET6, address, &in.sin6_addr), 1);
    sEndpoint endpoint;
    EXPECT_TRUE(sEndpoint::from(storage, &endpoint));
    return endpoint;
}

TEST(TcpPacketTest, OverIpVersion4)
{
    Bytes packet;
    const Bytes payload{'Z', 'W', '!'};
    sTcpFields fields;
    fields.flags = sTcpFields::kPush | sTcpFields::kAck;
    fields.sequence = 0x01020304;
    fields.acknowledged = 0x05060708;
    appendTcpPacket(&packet, v4("192.0.2.1", 50000), v4("192.0.2.2", 40000), fields, payload);
    EXPECT_EQ(packet, hexBytes("45 00 00 2b  00 00 40 00 ; version 4, 20 bytes, of 43; don't fragment\n"
                               "40 06 b6 c9              ; TTL 64, TCP, checksum\n"
                               "c0 00 02 01  c0 00 02 02\n"
                               "c3 50 9c 40              ; from port 50000 to 40000\n"
                               "01 02 03 04  05 06 07 08 ; sequence number, acknowledged\n"
                               "50 18 ff ff              ; 20 bytes, PSH and ACK, window\n"
                               "40 c9 00 00              ; checksum\n"
                               "5a 57 21"));
}

TEST(TcpPacketTest, OverIpVersion6)
{
    Bytes packet;
    const Bytes payload{'Z', 'W'};
    sTcpFields fields;
    fields.flags = sTcpFields::kAck;
    appendTcpPacket(&packet, v6("2001:db8::1", 50000), v6("2001:db8::2", 40000), fields, payload);
    EXPECT_EQ(packet, hexBytes("60 00 00 00  00 16 06 40 ; version 6; 22 bytes follow: TCP; 64 hops\n"
                               "20 01 0d b8  00 00 00 00  00 00 00 00  00 00 00 01\n"
                               "20 01 0d b8  00 00 00 00  00 00 00 00  00 00 00 02\n"
                               "c3 50 9c 40  00 00 00 00  00 00 00 00\n"
                               "50 10 ff ff\n"
                               "9a 75 00 00\n"
                               "5a 57"));
}

TEST(TcpPacketTest, FirstOneSaysHowTheConnectionCounts)
{
    Bytes packet;
    sTcpFields fields;
    fields.flags = sTcpFields::kSyn;
    appendTcpPacket(&packet, v4("192.0.2.1", 1), v4("192.0.2.2", 2), fields, {});
    const Bytes tcp(packet.begin() + 20, packet.end());
    EXPECT_EQ(tcp, hexBytes("00 01 00 02  00 00 00 00  00 00 00 00\n"
                            "70 02 ff ff  07 d6 00 00 ; 28 bytes, SYN\n"
                            "02 04 fd e8              ; at most 65,000 bytes in a packet\n"
                            "01 03 03 0e              ; windows in units of 2^14 bytes"));
}

TEST(TcpPacketTest, AddressOfVersion4InsideOneOfVersion6IsPlain)
{
    const sEndpoint endpoint = v6("::ffff:192.0.2.1", 7);
    EXPECT_FALSE(endpoint.isV6);
    EXPECT_EQ(Bytes(endpoint.address.begin(), endpoint.address.begin() + 4), (Bytes{192, 0, 2, 1}));
    EXPECT_EQ(endpoint.port, 7);
}

TEST(TcpPacketTest, OtherAddressesAreRefused)
{
    sockaddr_storage storage{};
    storage.ss_family = AF_UNIX;
    sEndpoint endpoint;
    EXPECT_FALSE(sEndpoint::from(storage, &endpoint));
}

class CaptureFileTest : public testing::Test
{
protected:
    CaptureFileTest() { ::close(::mkstemp(mPath)); }
    ~CaptureFileTest() override { std::remove(mPath); }

    std::shared_ptr<cCaptureFile> create()
    {
        EXPECT_EQ(cCaptureFile::create(mPath, "test 1", &mFile).text(), "ok");
        return mFile;
    }

    std::unique_ptr<cCapturedLink> link(const std::shared_ptr<cCaptureFile>& file,
                                        cCapturedLink::eRole role = cCapturedLink::CONNECTED)
    {
        return std::make_unique<cCapturedLink>(file, v4("192.0.2.1", 40000), v4("192.0.2.2", 50000), role);
    }

    /// What the file holds once everything queued is written.
    std::vector<RecordedPacket> packets()
    {
        mFile->flush();
        bool isWhole = false;
        auto found = packetsIn(fileBytes(mPath), &isWhole);
        EXPECT_TRUE(isWhole);
        return found;
    }

    static void send(cCapturedLink& link, const Bytes& bytes)
    {
        link.sending(bytes.data(), [&bytes] { return static_cast<ssize_t>(bytes.size()); });
    }

    char mPath[32] = "/tmp/capture-test-XXXXXX";
    std::shared_ptr<cCaptureFile> mFile;
};

/// "direction flags sequence acknowledged bytes", the numbers counted from their beginnings.
std::vector<std::string> summaries(const std::vector<RecordedPacket>& packets, uint32_t begin)
{
    std::vector<std::string> lines;
    for (const RecordedPacket& packet : packets) {
        char line[64];
        const bool acks = (packet.tcpFlags() & sTcpFields::kAck) != 0;
        std::snprintf(line, sizeof line, "%s %02x %u %u %zu", packet.direction == 1 ? "in" : "out",
                      packet.tcpFlags(), packet.sequence() - begin, acks ? packet.acknowledged() - begin : 0,
                      packet.payload().size());
        lines.emplace_back(line);
    }
    return lines;
}

TEST_F(CaptureFileTest, ConnectionIsFollowedFromItsHandshakeToItsEnd)
{
    const auto file = create();
    {
        const auto record = link(file);
        send(*record, Bytes(10));
        record->received(Bytes(7));
        send(*record, Bytes(5));
        record->peerClosed();
    }
    EXPECT_EQ(summaries(packets(), 1 << 20),
              (std::vector<std::string>{"out 02 0 0 0", "in 12 0 1 0", "out 10 1 1 0", "out 18 1 1 10",
                                        "in 18 1 11 7", "out 18 11 8 5", "in 11 8 16 0", "out 11 16 9 0"}));
}

TEST_F(CaptureFileTest, AcceptedConnectionBeginsWithThePeer)
{
    const auto file = create();
    link(file, cCapturedLink::ACCEPTED)->peerReset();
    EXPECT_EQ(summaries(packets(), 1 << 20),
              (std::vector<std::string>{"in 02 0 0 0", "out 12 0 1 0", "in 10 1 1 0", "in 14 1 1 0"}));
}

TEST_F(CaptureFileTest, EndThatThisSideHasMadeIsNotThePeers)
{
    const auto file = create();
    const auto record = link(file);
    record->closed();
    record->peerClosed();
    record->peerReset();
    EXPECT_EQ(summaries(packets(), 1 << 20).back(), "out 11 1 1 0");
}

TEST_F(CaptureFileTest, PeersEndAfterThisSidesIsRecorded)
{
    const auto file = create();
    const auto record = link(file);
    record->sendingEnded();
    record->peerClosed();
    EXPECT_EQ(summaries(packets(), 1 << 20).back(), "in 11 1 2 0");
}

TEST_F(CaptureFileTest, NothingFollowsAResetByThisSide)
{
    const auto file = create();
    const auto record = link(file);
    record->reset();
    record->peerClosed();
    record->received(Bytes(3));
    EXPECT_EQ(summaries(packets(), 1 << 20).back(), "out 14 1 1 0");
}

TEST_F(CaptureFileTest, CommentStandsOnTheNextPacketAlone)
{
    const auto file = create();
    const auto record = link(file);
    record->comment("rule 1: late, 3000 ms later");
    record->comment("rule 2: duplicate, twice");
    record->received(Bytes(10));
    record->received(Bytes(10));
    record->comment("rule 3: reset, reset");
    record->reset();
    const auto found = packets();
    ASSERT_EQ(found.size(), 6U);
    EXPECT_EQ(found[3].comments,
              (std::vector<std::string>{"rule 1: late, 3000 ms later", "rule 2: duplicate, twice"}));
    EXPECT_EQ(found[4].comments, std::vector<std::string>());
    EXPECT_EQ(found[5].comments, std::vector<std::string>{"rule 3: reset, reset"});
}

TEST_F(CaptureFileTest, ConnectionsStandOnTheInterfacesOfTheFile)
{
    EXPECT_EQ(cCaptureFile::create(mPath, "test 1", &mFile, {"devices", "server"}).text(), "ok");
    cCapturedLink(mFile, v4("192.0.2.1", 40000), v4("192.0.2.2", 50000), cCapturedLink::CONNECTED,
                  {1, {"connection 7"}});
    const auto found = packets();
    ASSERT_EQ(found.size(), 4U);
    for (const RecordedPacket& packet : found) {
        EXPECT_EQ(packet.interface, 1U);
        EXPECT_EQ(packet.comments.size(), &packet == &found[0] ? 1U : 0U);
    }
}

TEST_F(CaptureFileTest, NextConnectionOnTheSamePortsBeginsElsewhere)
{
    const auto file = create();
    link(file);
    link(file);
    const auto found = packets();
    ASSERT_EQ(found.size(), 8U);
    EXPECT_EQ(found[0].sequence(), 1U << 20);
    EXPECT_EQ(found[4].sequence(), 2U << 20);
}

TEST_F(CaptureFileTest, WhatWasNotSentIsNotRecorded)
{
    const auto file = create();
    const auto record = link(file);
    const Bytes bytes(10);
    EXPECT_EQ(record->sending(bytes.data(), [] { return -1; }), -1);
    EXPECT_EQ(record->sending(bytes.data(), [] { return 3; }), 3);
    const auto found = packets();
    ASSERT_EQ(found.size(), 4U);
    EXPECT_EQ(found[3].payload().size(), 3U);
}

TEST_F(CaptureFileTest, BytesThatOnePacketCannotHoldFillSeveral)
{
    const auto file = create();
    Bytes bytes(2 * kMaxTcpPayload + 1);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7);
    }
    link(file)->received(bytes);
    Bytes joined;
    for (const RecordedPacket& packet : packets()) {
        const Bytes part = packet.payload();
        joined.insert(joined.end(), part.begin(), part.end());
    }
    EXPECT_EQ(joined, bytes);
}

TEST_F(CaptureFileTest, TimesNeverGoBackAndAreNow)
{
    const auto before = static_cast<uint64_t>(::time(nullptr)) * 1000000000;
    const auto file = create();
    link(file);
    uint64_t last = before;
    for (const RecordedPacket& packet : packets()) {
        EXPECT_GE(packet.timeNs, last);
        last = packet.timeNs;
    }
    EXPECT_LE(last, static_cast<uint64_t>(::time(nullptr) + 1) * 1000000000);
}

TEST_F(CaptureFileTest, EveryPacketComesIntoTheFileWithoutAnotherOne)
{
    const auto file = create();
    const auto record = link(file);
    for (size_t count = 1; count <= 3; ++count) {
        send(*record, Bytes(count));
        EXPECT_EQ(packets().size(), 3 + count);
    }
}

TEST_F(CaptureFileTest, WhatIsQueuedIsWrittenBeforeTheFileEnds)
{
    constexpr size_t kCount = 200;
    link(create())->received(Bytes(kCount * kMaxTcpPayload));
    mFile.reset();
    bool isWhole = false;
    EXPECT_EQ(packetsIn(fileBytes(mPath), &isWhole).size(), kCount + 4);
    EXPECT_TRUE(isWhole);
}

/// Everything that can be read from @p fd.
Bytes readAll(int fd)
{
    Bytes bytes;
    uint8_t buffer[65536];
    for (ssize_t count = 0; (count = ::read(fd, buffer, sizeof buffer)) > 0;) {
        bytes.insert(bytes.end(), buffer, buffer + count);
    }
    return bytes;
}

TEST_F(CaptureFileTest, AWriterThatIsStuckDelaysNobodyAndItsQueueIsBounded)
{
    std::remove(mPath);
    ASSERT_EQ(::mkfifo(mPath, 0600), 0);
    const int reader = ::open(mPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    std::vector<std::string> said;
    create()->setReport([&said](const std::string& sentence) { said.push_back(sentence); });
    constexpr size_t kCount = 2 * cCaptureFile::kMaxQueuedBytes / kMaxTcpPayload;
    {
        // The test does not read the pipe, so the first blocks fill it.
        const auto record = link(mFile);
        for (size_t i = 0; i < kCount; ++i) {
            record->received(Bytes(kMaxTcpPayload));
        }
    }
    ::fcntl(reader, F_SETFL, 0);
    Bytes bytes;
    std::thread drain([&] { bytes = readAll(reader); });
    mFile->flush();
    mFile.reset();
    drain.join();
    ::close(reader);
    bool isWhole = false;
    const size_t recorded = packetsIn(bytes, &isWhole).size();
    EXPECT_TRUE(isWhole);
    EXPECT_GT(recorded, kCount / 4);
    EXPECT_LT(recorded, kCount);
    EXPECT_EQ(said,
              std::vector<std::string>{"Packets are missing in the capture file '" + std::string(mPath) +
                                       "', as they came faster than they could be written."});
}

TEST_F(CaptureFileTest, WhatWasRecordedIsReadBackAsConnections)
{
    const auto file = create();
    {
        const auto first = link(file);
        send(*first, {'a', 'b'});
        first->received(Bytes{'x'});
    }
    {
        const auto second = link(file, cCapturedLink::ACCEPTED);
        second->received(Bytes{'c'});
        second->peerReset();
    }
    file->flush();
    std::ifstream stream(mPath, std::ios::binary);
    cPacketReader reader(&stream);
    StreamLines lines;
    lines.writesTimes = false;
    cTcpStreams streams(&lines);
    sPacket packet;
    while (reader.next(&packet) == cCaptureFormat::PACKET) {
        streams.add(packet, reader.interfaces()[packet.interface]);
    }
    streams.finish();
    EXPECT_EQ(reader.program(), "test 1");
    EXPECT_EQ(lines.lines, (std::vector<std::string>{"opened 1", "1c ab", "1s x", "1c ended", "closed 1",
                                                     "opened 2", "2c c", "2c reset", "closed 2"}));
}

TEST_F(CaptureFileTest, ThreadsDoNotMixTheirPackets)
{
    constexpr int kCount = 500;
    const auto file = create();
    {
        const auto record = link(file);
        std::thread receiver([&record] {
            for (int i = 0; i < kCount; ++i) {
                record->received(Bytes(33));
            }
        });
        for (int i = 0; i < kCount; ++i) {
            send(*record, Bytes(21));
        }
        receiver.join();
    }
    uint32_t next[3] = {0, 1 << 20, 1 << 20};
    const auto found = packets();
    EXPECT_EQ(found.size(), 2U * kCount + 4);
    for (const RecordedPacket& packet : found) {
        uint32_t& expected = next[packet.direction];
        EXPECT_EQ(packet.sequence(), expected);
        const bool counts = (packet.tcpFlags() & (sTcpFields::kSyn | sTcpFields::kFin)) != 0;
        expected += static_cast<uint32_t>(packet.payload().size()) + (counts ? 1 : 0);
    }
}

TEST_F(CaptureFileTest, OldContentIsReplacedAndTheUmaskDecidesTheRights)
{
    std::ofstream(mPath) << std::string(5000, 'x');
    create();
    EXPECT_TRUE(packets().empty());

    std::remove(mPath);
    const mode_t old = ::umask(027);
    create();
    ::umask(old);
    struct stat status
    {};
    ASSERT_EQ(::stat(mPath, &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(CaptureFileTest, FileThatCannotBeCreatedIsSaid)
{
    EXPECT_EQ(cCaptureFile::create("/no/such/place", "test 1", &mFile).text(),
              "capture file: No such file or directory");
    EXPECT_EQ(mFile, nullptr);
}

TEST_F(CaptureFileTest, DiskThatIsFullFromTheBeginningIsSaid)
{
    EXPECT_EQ(cCaptureFile::create("/dev/full", "test 1", &mFile).text(),
              "capture file: No space left on device");
    EXPECT_EQ(mFile, nullptr);
}

/// Lets no file of this process grow beyond a size, while it lives.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &mOld);
        const rlimit limit{bytes, mOld.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &mOld);
        std::signal(SIGXFSZ, SIG_DFL);
    }

private:
    rlimit mOld{};
};

TEST_F(CaptureFileTest, FileThatCannotGrowIsSaidOnceAndEndsWithAWholePacket)
{
    std::vector<std::string> said;
    const auto file = create();
    file->setReport([&said](const std::string& sentence) { said.push_back(sentence); });
    const auto record = link(file);
    send(*record, Bytes(100));
    file->flush();
    const size_t fitting = fileBytes(mPath).size();
    {
        // Room for the first half of the next block.
        const FileSizeLimit limit(fitting + 100);
        send(*record, Bytes(200));
        send(*record, Bytes(1));
        file->flush();
    }
    EXPECT_EQ(fileBytes(mPath).size(), fitting);
    EXPECT_EQ(packets().size(), 4U);
    send(*record, Bytes(1));
    EXPECT_EQ(packets().size(), 4U);
    EXPECT_EQ(said, std::vector<std::string>{"The capture file '" + std::string(mPath) +
                                             "' ends here, as it could not be written: File too large."});
}

} // namespace
