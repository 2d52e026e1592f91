// What Wireshark's command line program makes of bytes that are not as they should be.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <random>

#include "capturereader.h"
#include "dissected.h"
#include "documentmessages.h"
#include "hexbytes.h"
#include "wmsg/wbytes.h"

namespace {

Bytes good() { return documentMessages()["event-digital-input"]; }

/// Makes the checksum right again after a change of the segment.
Bytes mended(Bytes segment)
{
    wmsg::put32(segment.data() + 12, 0);
    wmsg::put32(segment.data() + 12, wmsg::checksumFinish(wmsg::checksumAdd(0, segment)));
    return segment;
}

Bytes withByte(size_t offset, uint8_t value)
{
    Bytes segment = good();
    segment[offset] = value;
    return mended(segment);
}

/// An event with this payload.
Bytes withPayload(const std::string& hex)
{
    WMsg message = messageOf(3, 1);
    message.payload = hexBytes(hex);
    return framesOf(message);
}

Bytes joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

/// One segment of an event, by its own number, and last or not.
Bytes segmentOf(uint16_t number, bool isLast, uint8_t seq = 1, uint8_t type = 3, uint8_t flags = 2)
{
    Bytes segment = hexBytes("5a 57 01 00 00 00 00 00 00 00 00 00 00 00 00 00");
    segment[3] = static_cast<uint8_t>(flags | (isLast ? 8 : 0));
    segment[4] = type;
    segment[5] = seq;
    wmsg::put16(segment.data() + 6, number);
    return mended(segment);
}

/// A segment full of zeros.
Bytes fullSegment(uint16_t number, bool isLast)
{
    Bytes segment = segmentOf(number, isLast);
    segment.resize(wmsg::kMaxSegmentSize);
    wmsg::put32(segment.data() + 8, wmsg::kMaxSegmentPayload);
    return mended(segment);
}

Bytes manySegments(size_t count, const std::function<Bytes(uint16_t, bool)>& segment)
{
    Bytes all;
    for (size_t number = 0; number < count; ++number) {
        const Bytes one = segment(static_cast<uint16_t>(number), number + 1 == count);
        all.insert(all.end(), one.begin(), one.end());
    }
    return all;
}

/// Bytes that a device sends, and all that is said about them.
struct Broken
{
    const char* name;
    Bytes bytes;
    Words complaints;
};

/// The test's name tells which one it is; the bytes would say nothing.
void PrintTo(const Broken& broken, std::ostream* out) { *out << broken.name; }

std::vector<Broken> brokenMessages()
{
    const std::string object = "00 00 00 0d  00 00 00 ";
    return {
        {"WrongMagic", withByte(0, 0x5B), {"magic"}},
        {"UnknownVersion", withByte(2, 2), {"version"}},
        {"UnknownFlag", withByte(3, 0x1A), {"flags"}},
        {"HighestFlag", withByte(3, 0x8A), {"flags"}},
        {"PayloadTooLong", withByte(10, 0x08), {"length"}},
        {"LengthOfFourGigabytes", withByte(8, 0xFF), {"length"}},
        {"ChecksumThatDoesNotFit",
         joined({hexBytes("5a 57 01 08 00 01 00 00 00 00 00 00 01 02 03 04")}),
         {"checksum"}},
        {"FirstSegmentMissing", segmentOf(1, true), {"segment"}},
        {"SegmentLeftOut", joined({segmentOf(0, false), segmentOf(2, true)}), {"segment"}},
        {"SegmentTwice", joined({segmentOf(0, false), segmentOf(0, true)}), {"segment"}},
        {"OtherNumberInBetween", joined({segmentOf(0, false), segmentOf(1, true, 2)}), {"mixed"}},
        {"OtherTypeInBetween", joined({segmentOf(0, false), segmentOf(1, true, 1, 4)}), {"mixed"}},
        {"OtherFlagsInBetween", joined({segmentOf(0, false), segmentOf(1, true, 1, 3, 0)}), {"mixed"}},
        {"ControlOfSeveralSegments", segmentOf(0, false, 0, 0, 4), {"control"}},
        {"ControlWithASegmentNumber", segmentOf(1, true, 0, 0, 4), {"control"}},
        {"ControlWithPayload",
         mended(joined({hexBytes("5a 57 01 0c 00 00 00 00 00 00 00 04 00 00 00 00"), {1, 2, 3, 4}})),
         {"control"}},
        {"TooManySegments",
         manySegments(1025, [](uint16_t number, bool isLast) { return segmentOf(number, isLast); }),
         {"message_segments"}},
        {"MessageTooLong",
         manySegments(517, [](uint16_t number, bool) { return fullSegment(number, false); }),
         {"message_length"}},
        {"HeaderOfAnObjectCut", withPayload("00 00 00 0d 00 00"), {"object_cut"}},
        {"ObjectLongerThanThePayload", withPayload(object + "01"), {"object_cut"}},
        {"ObjectOfFourGigabytes", withPayload("00 00 00 0d ff ff ff ff"), {"object_cut"}},
        {"HeaderOfATagCut", withPayload(object + "02  00 01"), {"tag_cut"}},
        {"TagLongerThanTheObject", withPayload(object + "04  00 01 00 01"), {"tag_cut"}},
        {"NumberOfThreeBytes", withPayload(object + "07  00 01 00 03 01 02 03"), {"value_length"}},
        {"NumberOfNoBytes", withPayload(object + "04  00 01 00 00"), {"value_length"}},
        {"FloatOfFiveBytes",
         withPayload("00 00 00 09 00 00 00 09  00 1d 00 05 01 02 03 04 05"),
         {"value_length"}},
        {"TextWithNul", withPayload(object + "07  00 1b 00 03 41 00 42"), {"text_nul"}},
        {"TextThatBeginsWithNul", withPayload(object + "05  00 1b 00 01 00"), {"text_nul"}},
        {"UnknownObject", withPayload("ff ff ff ff 00 00 00 00"), {"object_unknown"}},
        {"UnknownTag", withPayload(object + "05  ff ff 00 01 00"), {"tag_unknown"}},
        {"TagOfAnotherRecord", withPayload(object + "08  00 09 00 04 00 00 00 00"), {"tag_foreign"}},
        {"TagOfARecordWithoutFields", withPayload("00 00 00 05 00 00 00 04  00 09 00 00"), {"tag_foreign"}},
        {"TagTwice",
         withPayload(object + "10  00 01 00 04 00 00 00 01  00 01 00 04 00 00 00 02"),
         {"tag_repeated"}},
        {"StrayAnswer", framesOf(messageOf(1, 1, true)), {"answer_stray"}},
        {"StrayAnswerToAPing", framesOf(WMsg::ping(true)), {"answer_stray"}},
    };
}

class BrokenTest : public DissectedTest, public testing::WithParamInterface<Broken>
{
protected:
    /// The names of the complaints about the frames of the capture.
    Words complaintsAbout(const TcpCapture& capture, const Words& options)
    {
        Words found;
        for (const char* name :
             {"magic",          "version",     "flags",       "length",         "checksum",
              "segment",        "mixed",       "control",     "message_length", "message_segments",
              "message_time",   "object_cut",  "tag_cut",     "value_length",   "text_nul",
              "object_unknown", "tag_unknown", "tag_foreign", "tag_repeated",   "answer_stray",
              "segment_cut"}) {
            mColumns.push_back("zul.expert." + std::string(name));
            mNames.emplace_back(name);
        }
        for (const Words& row : rows(capture, "zul", mColumns, options)) {
            for (size_t i = 0; i < row.size(); ++i) {
                if (!row[i].empty()) {
                    found.push_back(mNames[i]);
                }
            }
        }
        mColumns.clear();
        mNames.clear();
        return found;
    }

    Words mColumns;
    Words mNames;
};

TEST_P(BrokenTest, IsSaid)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServerInPieces(GetParam().bytes, 60000);
    EXPECT_EQ(complaintsAbout(capture, {}), GetParam().complaints);
    EXPECT_EQ(complaintsAbout(capture, {"-2"}), GetParam().complaints);
}

TEST_P(BrokenTest, IsSaidToAnotherReceiverInPieces)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServerInPieces(GetParam().bytes, GetParam().bytes.size() > 10000 ? 1500 : 5);
    Words found = complaintsAbout(capture, {});
    // If the bytes cannot be read on, every packet that follows is no segment either.
    found.erase(std::unique(found.begin(), found.end()), found.end());
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(found.front(), GetParam().complaints.front());
}

INSTANTIATE_TEST_SUITE_P(All, BrokenTest, testing::ValuesIn(brokenMessages()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(BrokenTest, MessageThatTakesTooLongIsSaid)
{
    for (const auto& [waitMs, complaints] :
         std::vector<std::pair<uint64_t, Words>>{{29990, {}}, {30001, {"message_time"}}}) {
        TcpCapture capture;
        auto link = capture.link();
        link.toServer(segmentOf(0, false));
        capture.wait(waitMs);
        link.toServer(segmentOf(1, true));
        EXPECT_EQ(complaintsAbout(capture, {}), complaints);
    }
}

TEST_F(BrokenTest, TextStopsAtItsNul)
{
    TcpCapture capture;
    capture.link().toServer(withPayload("00 00 00 0d 00 00 00 07  00 1b 00 03 41 00 42"));
    EXPECT_EQ(rows(capture, "zul", {"zul.eventLabel"}), (Rows{{"A"}}));
}

TEST_F(BrokenTest, ReadingGoesOnBehindBytesThatAreNoSegment)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServer(hexBytes("00 01 02 03"));
    link.toServer(good());
    EXPECT_EQ(rows(capture, "zul", {"zul.message"}), (Rows{{""}, {"event 1"}}));
}

TEST_F(BrokenTest, PacketsThatAreCutAreReadAsFarAsTheyGo)
{
    for (const size_t size : {45U, 56U, 60U, 100U}) {
        SCOPED_TRACE(size);
        TcpCapture capture;
        auto link = capture.link();
        capture.cutAt(size);
        link.toServer(good());
        EXPECT_EQ(complaintsAbout(capture, {}), Words{"segment_cut"});
    }
}

TEST_F(BrokenTest, SegmentsAreReadOneByOneWhereTcpIsNotPutTogether)
{
    TcpCapture capture;
    auto link = capture.link();
    link.toServer(good());
    link.toServerInPieces(good(), 50);
    const Words options{"-o", "tcp.desegment_tcp_streams:FALSE"};
    EXPECT_EQ(rows(capture, "zul.message", {"zul.message"}, options), (Rows{{"event 1"}}));
    EXPECT_EQ(complaintsAbout(capture, options), (Words{"segment_cut", "magic"}));
}

using FuzzTest = DissectedTest;

/// A capture with whatever the fuzz targets have found worth keeping, and good messages damaged at random.
TcpCapture damagedCapture(unsigned seed)
{
    std::vector<Bytes> inputs;
    for (const auto& message : documentMessages()) {
        inputs.push_back(message.second);
    }
    inputs.push_back(framesOf(longMessage(9, 5000)));
    for (const char* folder : {"/frames", "/reassembly", "/records", "/client"}) {
        for (const auto& file : std::filesystem::directory_iterator(std::string(CORPUS_DIRECTORY) + folder)) {
            Bytes bytes = fileBytes(file.path().string());
            bytes.resize(std::min<size_t>(bytes.size(), 4000));
            inputs.push_back(bytes);
        }
    }
    std::sort(inputs.begin(), inputs.end());
    std::mt19937 random(seed);
    const auto below = [&random](size_t limit) { return static_cast<size_t>(random()) % limit; };
    TcpCapture capture;
    for (const Bytes& input : inputs) {
        for (int round = 0; round < 3; ++round) {
            Bytes bytes = input;
            for (size_t damage = below(4); damage > 0 && !bytes.empty(); --damage) {
                bytes[below(bytes.size())] = static_cast<uint8_t>(random());
            }
            bytes.resize(below(4) == 0 ? below(bytes.size() + 1) : bytes.size());
            const bool isMended = bytes.size() >= 16 && bytes.size() <= 2048 && below(2) == 0;
            auto link = capture.link(below(2) == 0 ? 50000 : 50123);
            link.toServer(good());
            capture.cutAt(below(5) == 0 ? 40 + below(60) : SIZE_MAX);
            link.toServerInPieces(isMended ? mended(bytes) : bytes, 1 + below(3000));
            capture.cutAt(SIZE_MAX);
            link.toDevice(joined({bytes, input}));
        }
    }
    return capture;
}

TEST_F(FuzzTest, NoBytesMakeTheScriptFail)
{
    for (const unsigned seed : {1U, 2U, 3U}) {
        SCOPED_TRACE(seed);
        const TcpCapture capture = damagedCapture(seed);
        EXPECT_GT(rows(capture, "zul", {"zul.message"}).size(), 1000U);
        rows(capture, "zul", {"zul.message"}, {"-o", "tcp.desegment_tcp_streams:FALSE"});
    }
}

TEST_F(FuzzTest, DamagedMessagesAreTheSameInTwoPasses)
{
    const TcpCapture capture = damagedCapture(4);
    const Words names{"frame.number",  "_ws.col.Info", "zul.message",
                      "zul.answer_to", "zul.object",   "_ws.expert.message"};
    EXPECT_EQ(rows(capture, "zul", names), rows(capture, "zul", names, {"-2"}));
    details(capture, {"-2"});
}

} // namespace
