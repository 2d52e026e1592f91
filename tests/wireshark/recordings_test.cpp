// What Wireshark's own tools make of a recording is read the same.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

#include "streamlines.h"
#include "tcpcapture.h"
#include "wcapture/packetreader.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

class RecordingsTest : public testing::Test
{
protected:
    RecordingsTest()
    {
        char path[] = "/tmp/recordings-test-XXXXXX";
        mFolder = mkdtemp(path);
        TcpCapture capture;
        TcpCapture::Link first = capture.link();
        TcpCapture::Link second = capture.link();
        first.toServer(bytes("hello"));
        second.toServer(bytes("and"));
        first.toDevice(bytes("there"));
        second.toServer(Bytes(1000, 'x'));
        capture.save(in("recording"));
    }
    ~RecordingsTest() override { std::filesystem::remove_all(mFolder); }

    static Bytes bytes(const std::string& text) { return {text.begin(), text.end()}; }

    std::string in(const std::string& name) const { return mFolder + '/' + name; }

    /// Runs a tool inside of the folder; "in" and "out" are the recording and what the tool writes.
    void run(const std::string& command) const
    {
        const std::string all = "cd " + mFolder + " && cp recording in && " + command + " >said 2>&1";
        ASSERT_EQ(std::system(all.c_str()), 0) << all;
    }

    struct Read
    {
        Lines lines;
        cCaptureFormat::eResult end = cCaptureFormat::PACKET;
        size_t interfaces = 0;
    };

    Read read(const std::string& name) const
    {
        std::ifstream file(in(name), std::ios::binary);
        cPacketReader reader(&file);
        StreamLines lines;
        cTcpStreams streams(&lines);
        streams.setServerPort(50000);
        Read read;
        sPacket packet;
        while ((read.end = reader.next(&packet)) == cCaptureFormat::PACKET) {
            streams.add(packet, reader.interfaces()[packet.interface]);
        }
        streams.finish();
        read.lines = lines.lines;
        read.interfaces = reader.interfaces().size();
        return read;
    }

    std::string mFolder;
};

class ConvertedTest : public RecordingsTest, public testing::WithParamInterface<const char*>
{};

TEST_P(ConvertedTest, IsReadTheSame)
{
    const Read before = read("recording");
    EXPECT_EQ(before.end, cCaptureFormat::END);
    EXPECT_EQ(before.lines.size(), 8U);
    run(GetParam());
    const Read after = read("out");
    EXPECT_EQ(after.end, cCaptureFormat::END);
    EXPECT_EQ(after.lines, before.lines);
}

// editcap makes no microseconds of times that have them in whole anyway, and mergecap keeps the order of
// times.
INSTANTIATE_TEST_SUITE_P(All, ConvertedTest,
                         testing::Values("editcap -F pcap in out", "editcap -F nsecpcap in out",
                                         "editcap -F pcapng in out", "mergecap -w out in",
                                         "tshark -n -r $PWD/in -w - > out2 2>said2; cp out2 out"));

TEST_F(RecordingsTest, MergedOnesHaveTheirInterfaces)
{
    run("mergecap -I none -w out in in");
    const Read merged = read("out");
    EXPECT_EQ(merged.end, cCaptureFormat::END);
    EXPECT_EQ(merged.interfaces, 2U);
    EXPECT_EQ(merged.lines.size(), 2 * read("recording").lines.size());
}

TEST_F(RecordingsTest, AddedCommentsAreRead)
{
    run("editcap -a '1:the device calls' in out");
    EXPECT_TRUE(read("out").lines.at(0).ends_with(": opened 1 \"the device calls\""))
        << read("out").lines.at(0);
}

TEST_F(RecordingsTest, PacketsThatWereCutLackBytes)
{
    run("editcap -s 45 in out");
    const Lines lines = read("out").lines;
    EXPECT_TRUE(
        std::ranges::any_of(lines, [](const std::string& line) { return line.ends_with("1c hello"); }));
    EXPECT_TRUE(
        std::ranges::any_of(lines, [](const std::string& line) { return line.ends_with("2c lost 995"); }));
}

TEST_F(RecordingsTest, BytesThatWereMadeEthernetPacketsAreRead)
{
    std::ofstream(in("hex")) << "000000 68 65 6c 6c 6f\n";
    run("text2pcap -T 40000,50000 hex out");
    const Lines lines = read("out").lines;
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[1].ends_with(": 1c hello")) << lines[1];
}

} // namespace
