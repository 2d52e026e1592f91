// The lines and the exit status of "diff".

#include <cmath>
#include <jansson.h>

#include "capture/diff/comparison.h"
#include "messages.h"
#include "programrun.h"
#include "zulcommand/jsontext.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;
using zulcommand::JsonPtr;

/// "missing 7 at 3", by device and seconds in the recording that has it; "changed" with the fields.
std::string brief(const std::string& line)
{
    const JsonPtr json(json_loads(line.c_str(), 0, nullptr));
    const auto get = [&json](const char* name) { return json_object_get(json.get(), name); };
    const json_t* side = json_is_null(get("a")) ? get("b") : get("a");
    std::string brief = json_string_value(get("kind")) + (' ' + zulcommand::dumped(get("deviceSerial"))) +
                        " at " +
                        std::to_string(std::lround(json_number_value(json_object_get(side, "seconds"))));
    for (size_t i = 0; i < json_array_size(get("fields")); ++i) {
        brief += std::string(" ") + json_string_value(json_array_get(get("fields"), i));
    }
    return brief;
}

Lines brief(const ProgramRun& run)
{
    Lines lines;
    for (const std::string& line : run.lines()) {
        lines.push_back(brief(line));
    }
    return lines;
}

class DiffTest : public CaptureTest
{
protected:
    /// A recording of one device that sends these messages, one a second.
    static MadeCapture ofDevice(uint32_t serial, const std::vector<Bytes>& messages)
    {
        MadeCapture made("zulserver 1", {"zulserver"});
        auto line = made.open(50000);
        made.fromServer(&line, deviceRequest(1));
        made.fromClient(&line, deviceAnswer(1, serial));
        for (const Bytes& message : messages) {
            made.wait(1000);
            made.fromClient(&line, message);
        }
        return made;
    }

    ProgramRun diff(const MadeCapture& a, const MadeCapture& b, const Lines& words = {})
    {
        Lines all = {"diff", file(a, "a"), file(b, "b")};
        all.insert(all.end(), words.begin(), words.end());
        return runCapture(all);
    }
};

TEST_F(DiffTest, TheSameRecordingGivesNothing)
{
    const auto made = ofDevice(7, {inputEvent(1, 7, 1, 1), sampleEvent(2, 7, 20.5F)});
    const ProgramRun run = diff(made, made);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
}

TEST_F(DiffTest, TimesPortsAndNumbersMayDiffer)
{
    const auto a = ofDevice(7, {inputEvent(1, 7, 1, 1), sampleEvent(2, 7, 20.5F)});
    MadeCapture b("zulserver 1", {"zulserver"});
    b.open(50000); // another connection comes first
    b.wait(12345);
    auto line = b.open(50001);
    b.fromServer(&line, deviceRequest(200));
    b.fromClient(&line, deviceAnswer(200, 7));
    b.fromClient(&line, inputEvent(8, 7, 1, 1));
    b.fromClient(&line, sampleEvent(99, 7, 20.5F));
    EXPECT_EQ(diff(a, b).out, "");
}

TEST_F(DiffTest, PingsMayDiffer)
{
    const auto a = ofDevice(7, {inputEvent(1, 7, 1, 1)});
    const auto b = ofDevice(7, {pingMessage(false), inputEvent(1, 7, 1, 1), pingMessage(true)});
    EXPECT_EQ(diff(a, b).out, "");
}

TEST_F(DiffTest, AMissingMessageIsOneDifference)
{
    std::vector<Bytes> messages;
    for (uint8_t i = 0; i < 40; ++i) {
        messages.push_back(inputEvent(i, 7, i % 3 + 1U, i % 2 + 1U));
    }
    const auto all = ofDevice(7, messages);
    messages.erase(messages.begin() + 20);
    const auto fewer = ofDevice(7, messages);
    const ProgramRun missing = diff(all, fewer);
    EXPECT_EQ(brief(missing), (Lines{"missing 7 at 21"}));
    EXPECT_EQ(missing.status, 4);
    EXPECT_EQ(brief(diff(fewer, all)), (Lines{"extra 7 at 21"}));
}

TEST_F(DiffTest, AnotherValueIsOneDifferenceThatNamesTheField)
{
    const auto a = ofDevice(7, {inputEvent(1, 7, 1, 1), inputEvent(2, 7, 2, 1), inputEvent(3, 7, 1, 2)});
    const auto b = ofDevice(7, {inputEvent(1, 7, 1, 1), inputEvent(2, 7, 2, 2), inputEvent(3, 7, 1, 2)});
    const ProgramRun run = diff(a, b);
    EXPECT_EQ(brief(run), (Lines{"changed 7 at 2 inputState"}));
    EXPECT_EQ(run.status, 4);
}

TEST_F(DiffTest, ADifferenceIsALineOfJson)
{
    const ProgramRun run = diff(ofDevice(7, {sampleEvent(3, 7, 20)}), ofDevice(7, {}));
    EXPECT_EQ(run.out, R"({"event":"difference","kind":"missing","deviceSerial":7,"dir":"to-server",)"
                       R"("answer":false,"a":{"seconds":1.0,"msgType":3,"msgSeq":3,"objects":[)"
                       R"({"type":"OBJ_ANALOG_SAMPLE","deviceSerial":7,"portNum":1,"sample":20.0,)"
                       R"("seqNum":3}]},"b":null})"
                       "\n");
}

TEST_F(DiffTest, DevicesAreComparedEachByItself)
{
    const auto recording = [](bool swapped) {
        MadeCapture made("zulserver 1", {"zulserver"});
        auto first = made.open(50000);
        auto second = made.open(50000);
        const auto sends = [&made](MadeCapture::Line* line, uint32_t serial) {
            made.fromClient(line, inputEvent(1, serial, 1, 1));
            made.fromClient(line, inputEvent(2, serial, 1, 2));
        };
        sends(swapped ? &second : &first, swapped ? 8 : 7);
        sends(swapped ? &first : &second, swapped ? 7 : 8);
        return made;
    };
    EXPECT_EQ(diff(recording(false), recording(true)).out, "");
}

TEST_F(DiffTest, TheOrderBetweenAnswersAndEventsMayDiffer)
{
    const auto recording = [](bool eventFirst) {
        MadeCapture made("zulserver 1", {"zulserver"});
        auto line = made.open(50000);
        made.fromServer(&line, deviceRequest(1));
        made.fromClient(&line, eventFirst ? inputEvent(1, 7, 1, 1) : deviceAnswer(1, 7));
        made.fromClient(&line, eventFirst ? deviceAnswer(1, 7) : inputEvent(1, 7, 1, 1));
        return made;
    };
    EXPECT_EQ(diff(recording(true), recording(false)).out, "");
}

TEST_F(DiffTest, ADeviceThatOnlyOneHasIsAllItsMessages)
{
    MadeCapture both = ofDevice(7, {inputEvent(1, 7, 1, 1)});
    const auto one = both;
    auto line = both.open(50000);
    both.fromClient(&line, inputEvent(1, 8, 1, 1));
    both.fromClient(&line, inputEvent(2, 8, 1, 2));
    EXPECT_EQ(brief(diff(one, both)), (Lines{"extra 8 at 1", "extra 8 at 1"}));
}

TEST_F(DiffTest, AnIgnoredFieldMayDiffer)
{
    const auto a = ofDevice(7, {inputEvent(1, 7, 1, 1), sampleEvent(2, 7, 1)});
    const auto b = ofDevice(7, {inputEvent(1, 7, 1, 2), sampleEvent(2, 7, 2)});
    EXPECT_EQ(brief(diff(a, b, {"--ignore", "inputState"})), (Lines{"changed 7 at 2 sample"}));
    EXPECT_EQ(diff(a, b, {"--ignore", "inputState", "--ignore", "sample"}).status, 0);
}

TEST_F(DiffTest, AnIgnoredFieldThatDoesNotExistIsAMistake)
{
    const auto made = ofDevice(7, {});
    const ProgramRun run = diff(made, made, {"--ignore", "colour"});
    EXPECT_EQ(run.err, "zulcapture: --ignore: there is no field \"colour\".\n");
    EXPECT_EQ(run.status, 1);
}

TEST_F(DiffTest, TimesTellHowLongAnswersTook)
{
    MadeCapture slow("zulserver 1", {"zulserver"});
    auto line = slow.open(50000);
    slow.fromServer(&line, deviceRequest(1));
    slow.wait(2000);
    slow.fromClient(&line, deviceAnswer(1, 7));
    const ProgramRun run = diff(slow, ofDevice(7, {}), {"--times"});
    EXPECT_EQ(run.out, R"({"event":"times","a":{"answers":1,"p50":2.0,"p99":2.0},)"
                       R"("b":{"answers":1,"p50":0.0,"p99":0.0}})"
                       "\n");
    EXPECT_EQ(run.status, 0);
}

TEST_F(DiffTest, AReportHasACaseForEachDevice)
{
    MadeCapture a = ofDevice(7, {inputEvent(1, 7, 1, 1)});
    auto line = a.open(50000);
    a.fromClient(&line, inputEvent(1, 8, 1, 1));
    const std::string report = file(Bytes{}, "junit.xml");
    EXPECT_EQ(diff(a, ofDevice(7, {inputEvent(1, 7, 1, 1)}), {"--junit", report}).status, 4);
    std::ifstream stream(report);
    const std::string xml{std::istreambuf_iterator<char>(stream), {}};
    const auto has = [&xml](const char* text) { return xml.find(text) != std::string::npos; };
    EXPECT_TRUE(has("<testsuite name=\"zulcapture diff\" tests=\"2\" failures=\"1\"")) << xml;
    EXPECT_TRUE(has("name=\"device 7\" time=\"0.000000\">\n</testcase>")) << xml;
    EXPECT_TRUE(has("<failure message=\"1 difference.\" type=\"difference\">{\"event")) << xml;
}

TEST_F(DiffTest, AFileThatCannotBeReadIsSaid)
{
    const auto made = ofDevice(7, {});
    const ProgramRun missing = runCapture({"diff", file(made), "/nowhere/at.all"});
    EXPECT_EQ(missing.err, "zulcapture: Cannot read \"/nowhere/at.all\": No such file or directory.\n");
    EXPECT_EQ(missing.status, 1);
    const std::string foreign = file(Bytes{'h', 'e', 'l', 'l', 'o'}, "foreign");
    const ProgramRun broken = runCapture({"diff", file(made), foreign});
    EXPECT_EQ(broken.err,
              "zulcapture: Cannot read \"" + foreign + "\": capture file: it is neither pcapng nor pcap.\n");
    EXPECT_EQ(broken.status, 1);
}

TEST_F(DiffTest, ALongStretchThatIsMissingIsAsManyDifferences)
{
    std::vector<Bytes> messages;
    for (size_t i = 0; i < 3 * capture::Comparison::kMaxBehind; ++i) {
        messages.push_back(sampleEvent(static_cast<uint8_t>(i), 7, static_cast<float>(i)));
    }
    const auto all = ofDevice(7, messages);
    messages.erase(messages.begin() + 100, messages.begin() + 300);
    const Lines lines = brief(diff(all, ofDevice(7, messages)));
    ASSERT_EQ(lines.size(), 200U);
    EXPECT_EQ(lines.front(), "missing 7 at 101");
    EXPECT_EQ(lines.back(), "missing 7 at 300");
}

TEST_F(DiffTest, AboveTheBoundOnlyWhatWaitsMostIsDecided)
{
    WMsg large = messageOf(3, 1);
    PayloadWriter writer(&large.payload);
    writer.beginObject(OBJ_ADHOC_EVENT);
    writer.putNumber(TAG_DEVICE_SERIAL, uint32_t{8});
    writer.putText(TAG_EVENT_VALUE, std::string(60000, 'x'));
    writer.endObject();
    const size_t count = capture::Comparison::kMaxWaitingBytes / large.payload.size() * 2;
    const auto recording = [&](bool isWhole) {
        MadeCapture made("zulserver 1", {"zulserver"});
        auto first = made.open(50000);
        auto second = made.open(50000);
        for (size_t i = 0; i < count; ++i) {
            made.fromClient(&first, sampleEvent(1, 7, static_cast<float>(i)));
            if (isWhole) {
                made.fromClient(&second, framesOf(large));
            }
        }
        return made;
    };
    EXPECT_EQ(brief(diff(recording(true), recording(false))), Lines(count, "missing 8 at 0"));
}

TEST_F(DiffTest, OfAProxyWhatCameInIsCompared)
{
    MadeCapture a("zulproxy 1", {"devices", "server"});
    auto device = a.open(7000, 0, {"connection 1"});
    auto server = a.open(50000, 1, {"connection 1"});
    a.fromServer(&server, deviceRequest(1));
    a.fromServer(&device, deviceRequest(1));
    a.fromClient(&device, deviceAnswer(1, 7));
    a.fromClient(&server, deviceAnswer(1, 7));
    a.fromClient(&device, inputEvent(1, 7, 1, 1)); // the proxy loses it
    EXPECT_EQ(diff(a, ofDevice(7, {inputEvent(1, 7, 1, 1)})).out, "");
}

} // namespace
