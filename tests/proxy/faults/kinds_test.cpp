// The bytes of a message before and after each kind that changes messages or records, and what the fault
// says.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

/// The second event of docs/protocol.md: a sample of analog input 1.
constexpr char kSample[] = R"(
5a 57 01 0a 03 02 00 00 00 00 00 28 5f eb 60 11 ; type 3, sequence number 2
00 00 00 09 00 00 00 20                         ; analog sample
00 01 00 04 00 00 03 e9                         ; deviceSerial 1001
00 18 00 04 00 00 00 01                         ; portNum 1
00 1d 00 04 42 67 99 9a                         ; sample 57.9
00 1e 00 04 00 00 00 ff                         ; seqNum 255
)";

/// The fourth event: an ad-hoc event.
constexpr char kAdhoc[] = R"(
5a 57 01 0a 03 04 00 00 00 00 00 2f 01 c2 8a 46 ; type 3, sequence number 4
00 00 00 0d 00 00 00 27                         ; ad-hoc event
00 01 00 04 00 00 03 e9                         ; deviceSerial 1001
00 02 00 04 00 00 00 07                         ; portId 7
00 1b 00 04 64 6f 6f 72                         ; eventLabel "door"
00 1c 00 0b 66 6f 72 63 65 64 20 6f 70 65 6e    ; eventValue "forced open"
)";

enum eDraws : uint8_t
{
    kFixed,
    kDrawn ///< by the seed and by the direction, so only the bytes of one direction are stated
};

struct Row
{
    const char* name;
    const char* rule;
    const char* before;
    const char* after;
    const char* was;
    const char* became;
    eDraws draws;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.rule; }

/// Of kSample, as lines about faults write it.
constexpr char kSampleHex[] =
    "5a57010a03020000000000285feb6011"
    "000000090000002000010004000003e90018000400000001001d00044267999a001e0004000000ff";
constexpr const char* kSampleRecordHex = kSampleHex + 32;

constexpr Row kRows[] = {
    {"wrongChecksum", "wrong-checksum", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 bf 1b c8 02
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "5feb6011", "bf1bc802", kDrawn},
    {"wrongNumber", "wrong-number", kSample,
     R"(5a 57 01 0a 03 34 00 00 00 00 00 28 5f b9 60 11
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "2", "52", kDrawn},
    {"wrongType", "wrong-type", kSample,
     R"(5a 57 01 0a 20 02 00 00 00 00 00 28 42 eb 60 11
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "3", "32", kDrawn},
    {"unknownFlag", "unknown-flag", kSample,
     R"(5a 57 01 1a 03 02 00 00 00 00 00 28 5f eb 60 01
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "0a", "1a", kDrawn},
    {"tooLong", "too-long", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 07 f1 5f eb 58 48
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "40", "2033", kFixed},
    {"emptySegmentsN2", "empty-segments n=2", kSample,
     R"(5a 57 01 02 03 02 00 00 00 00 00 00 a2 a6 fe fd
5a 57 01 02 03 02 00 01 00 00 00 00 a2 a6 fe fc
5a 57 01 0a 03 02 00 02 00 00 00 28 5f eb 60 0f
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "1 segment", "3 segments", kFixed},
    {"neverLast", "never-last", kSample,
     R"(5a 57 01 02 03 02 00 00 00 00 00 28 5f eb 60 19
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "0a", "02", kFixed},
    {"truncate", "truncate", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 5f eb 60 11
00 00 00 09 00 00 00 20 00 01 00 04)",
     kSampleHex, "28 of 56 bytes", kFixed},
    {"corruptBits1", "corrupt bits=1", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 5f eb 60 11
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 02 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "00", "02", kDrawn},
    {"corruptBits3", "corrupt bits=3", kSample,
     R"(5a 57 01 0a 03 02 04 00 00 00 00 28 5f eb 60 11
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 a9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 20 00 00 ff)",
     "0000000000285feb6011000000090000002000010004000003e90018000400000001001d00044267999a001e000400",
     "0400000000285feb6011000000090000002000010004000003a90018000400000001001d00044267999a001e000420",
     kDrawn},
    {"lose", "lose", kSample, R"()", kSampleHex, "", kFixed},
    {"duplicate", "duplicate", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 5f eb 60 11
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff 5a 57 01 0a 03 02 00 00
00 00 00 28 5f eb 60 11 00 00 00 09 00 00 00 20
00 01 00 04 00 00 03 e9 00 18 00 04 00 00 00 01
00 1d 00 04 42 67 99 9a 00 1e 00 04 00 00 00 ff)",
     kSampleHex, "twice", kFixed},
    {"fieldDeviceserial7", "field deviceSerial=7", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 5f eb 63 f3
00 00 00 09 00 00 00 20 00 01 00 04 00 00 00 07
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "1001", "7", kFixed},
    {"fieldSampleNan", "field sample=nan", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 22 92 f9 ab
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 7f c0 00 00
00 1e 00 04 00 00 00 ff)",
     "57.9000015", "null", kFixed},
    {"fieldSample15", "field sample=1.5", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 62 92 f9 ab
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 3f c0 00 00
00 1e 00 04 00 00 00 ff)",
     "57.9000015", "1.5", kFixed},
    {"fieldEventvalueAllWell", "field eventValue=\"all well\"", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 2c 65 29 b2 95
00 00 00 0d 00 00 00 24 00 01 00 04 00 00 03 e9
00 02 00 04 00 00 00 07 00 1b 00 04 64 6f 6f 72
00 1c 00 08 61 6c 6c 20 77 65 6c 6c)",
     "forced open", "all well", kFixed},
    {"fieldEventlabelNull", "field eventLabel=null", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 27 66 4c f9 cc
00 00 00 0d 00 00 00 1f 00 01 00 04 00 00 03 e9
00 02 00 04 00 00 00 07 00 1c 00 0b 66 6f 72 63
65 64 20 6f 70 65 6e)",
     "door", "null", kFixed},
    {"fieldEventlabel", "field eventLabel=\"\"", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 2b 66 31 f9 c4
00 00 00 0d 00 00 00 23 00 01 00 04 00 00 03 e9
00 02 00 04 00 00 00 07 00 1b 00 00 00 1c 00 0b
66 6f 72 63 65 64 20 6f 70 65 6e)",
     "door", "", kFixed},
    {"fieldPortid0xffffffff", "field portId=0xFFFFFFFF", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 2f 01 c2 8a 4d
00 00 00 0d 00 00 00 27 00 01 00 04 00 00 03 e9
00 02 00 04 ff ff ff ff 00 1b 00 04 64 6f 6f 72
00 1c 00 0b 66 6f 72 63 65 64 20 6f 70 65 6e)",
     "7", "4294967295", kFixed},
    {"wrongSerial", "wrong-serial", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 3a d3 81 eb
00 00 00 09 00 00 00 20 00 01 00 04 25 17 e2 0f
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "1001", "622322191", kDrawn},
    {"unknownObject", "unknown-object", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 b9 a8 78 6b
a6 42 e7 ae 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff)",
     "OBJ_ANALOG_SAMPLE", "2789402542", kDrawn},
    {"unknownTag", "unknown-tag", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 30 d1 e5 33 02
00 00 00 09 00 00 00 28 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff f9 7f 00 04 94 87 2c f9)",
     "", "f97f000494872cf9", kDrawn},
    {"dropTagPortnum", "drop-tag portNum", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 20 60 03 60 26
00 00 00 09 00 00 00 18 00 01 00 04 00 00 03 e9
00 1d 00 04 42 67 99 9a 00 1e 00 04 00 00 00 ff)",
     "1", "", kFixed},
    {"dropTagEventlabel", "drop-tag eventLabel", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 27 66 4c f9 cc
00 00 00 0d 00 00 00 1f 00 01 00 04 00 00 03 e9
00 02 00 04 00 00 00 07 00 1c 00 0b 66 6f 72 63
65 64 20 6f 70 65 6e)",
     "door", "", kFixed},
    {"wrongLengthSeqnum", "wrong-length seqNum", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 27 5f eb 61 13
00 00 00 09 00 00 00 1f 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 03 00 00 00)",
     "4 bytes", "3 bytes", kFixed},
    {"wrongLengthSample", "wrong-length sample", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 27 42 08 5e b1
00 00 00 09 00 00 00 1f 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 03 42 67 99 00
1e 00 04 00 00 00 ff)",
     "4 bytes", "3 bytes", kFixed},
    {"wrongLengthEventlabel", "wrong-length eventLabel", kAdhoc,
     R"(5a 57 01 0a 03 04 00 00 00 00 00 2f 01 c1 8a 4b
00 00 00 0d 00 00 00 27 00 01 00 04 00 00 03 e9
00 02 00 04 00 00 00 07 00 1b ff ff 64 6f 6f 72
00 1c 00 0b 66 6f 72 63 65 64 20 6f 70 65 6e)",
     "4 bytes", "65535 bytes", kFixed},
    {"dropRecord", "drop-record", kSample, R"(5a 57 01 0a 03 02 00 00 00 00 00 00 a2 a6 fe f5)",
     kSampleRecordHex, "", kFixed},
    {"doubleRecord", "double-record", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 50 1d 2f c1 2d
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 42 67 99 9a
00 1e 00 04 00 00 00 ff 00 00 00 09 00 00 00 20
00 01 00 04 00 00 03 e9 00 18 00 04 00 00 00 01
00 1d 00 04 42 67 99 9a 00 1e 00 04 00 00 00 ff)",
     kSampleRecordHex, "twice", kFixed},
    {"nan", "nan", kSample,
     R"(5a 57 01 0a 03 02 00 00 00 00 00 28 22 92 f9 ab
00 00 00 09 00 00 00 20 00 01 00 04 00 00 03 e9
00 18 00 04 00 00 00 01 00 1d 00 04 7f c0 00 00
00 1e 00 04 00 00 00 ff)",
     "57.9000015", "null", kFixed},
};

class KindsTest : public testing::TestWithParam<Row>
{};

} // namespace

TEST_P(KindsTest, changesTheBytesAndSaysSo)
{
    const Row& row = GetParam();
    FaultyProxy proxy;
    proxy.add(row.rule);
    for (const eDirection direction : kDirections) {
        if (direction == kToDevice && row.draws == kDrawn) {
            break;
        }
        FaultyPipe pipe(&proxy);
        pipe.send(direction, hexBytes(row.before));
        EXPECT_EQ(pipe.take(direction), hexBytes(row.after));
        ASSERT_EQ(pipe.faults.size(), 1U);
        EXPECT_EQ(pipe.faults[0].was, row.was);
        EXPECT_EQ(pipe.faults[0].became, row.became);
        EXPECT_EQ(pipe.faults[0].direction, direction);
        EXPECT_EQ(pipe.faults[0].msgSeq, hexBytes(row.before)[5]);
    }
}

INSTANTIATE_TEST_SUITE_P(AllKinds, KindsTest, testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace proxy
