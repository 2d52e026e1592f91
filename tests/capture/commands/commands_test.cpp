// What a server asked and set, as commands.

#include "messages.h"
#include "programrun.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

class CommandsTest : public CaptureTest
{
protected:
    /// The server says something about a port, with what @p fill adds.
    template <class Fill>
    static Bytes aboutPort(uint8_t type, uint8_t seq, eObjectTypes object, uint32_t port, Fill fill)
    {
        WMsg message = messageOf(type, seq);
        PayloadWriter writer(&message.payload);
        writer.beginObject(object);
        writer.putNumber(TAG_DEVICE_SERIAL, 0xFFFFFFFF);
        writer.putNumber(TAG_PORT_ID, port);
        fill(&writer);
        writer.endObject();
        return framesOf(message);
    }

    static Bytes emptyAnswer(uint8_t type, uint8_t seq)
    {
        WMsg message = messageOf(type, seq);
        message.answer = true;
        return framesOf(message);
    }

    static MadeCapture::Line begin(MadeCapture* made, uint32_t serial)
    {
        auto line = made->open(50000);
        made->fromServer(&line, deviceRequest(1));
        made->fromClient(&line, deviceAnswer(1, serial));
        return line;
    }

    MadeCapture mMade{"zulserver 1", {"zulserver"}};
};

constexpr const char* kDeviceLine =
    "expect get device deviceLabel=null deviceType=TYPE_UNKNOWN version=0 discreteInCount=0 "
    "discreteOutCount=0 analogInCount=0 analogOutCount=0";

TEST_F(CommandsTest, AnAnswerIsAnExpectationWithoutCounters)
{
    auto line = begin(&mMade, 7);
    mMade.fromServer(&line, inputRequest(2, 3));
    mMade.fromClient(&line, inputAnswer(2, 7, 3));
    mMade.fromServer(&line, aboutPort(1, 3, OBJ_PORT_AIN, 1, [](PayloadWriter*) {}));
    Bytes sample = aboutPort(1, 3, OBJ_PORT_AIN, 1, [](PayloadWriter* writer) {
        writer->putText(TAG_PORT_LABEL, "a \"b\" c");
        writer->putNumber(TAG_GAIN, 1.5F);
        writer->putNumber(TAG_LAST_SAMPLE_SEQ, uint32_t{9});
    });
    WMsg answer = messageOf(1, 3);
    answer.answer = true;
    answer.payload.assign(sample.begin() + wmsg::kHeaderSize, sample.end());
    mMade.fromClient(&line, framesOf(answer));
    const ProgramRun run = runCapture({"commands", file(mMade)});
    EXPECT_EQ(
        run.lines(),
        (Lines{"wait device", kDeviceLine,
               "expect get din 3 portLabel=null portStatus=OBJ_STATUS_ALARM_UNKNOWN "
               "inputState=OBJ_IO_STATE_UNKNOWN defaultState=OBJ_IO_STATE_UNKNOWN",
               "expect get ain 1 portLabel=\"a \\\"b\\\" c\" portStatus=OBJ_STATUS_ALARM_UNKNOWN gain=1.5 "
               "offset=null sampleRate=4294967295 displayUnit=null sampledValue=0"}));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
}

TEST_F(CommandsTest, EachPortOfAnAnswerIsExpected)
{
    auto line = begin(&mMade, 7);
    mMade.fromServer(&line, inputRequest(2, 0xFFFFFFFF));
    mMade.fromClient(&line, inputAnswer(2, 7, 4));
    EXPECT_EQ(runCapture({"commands", file(mMade)}).lines().back().substr(0, 25),
              "expect get din * portId=4");
}

TEST_F(CommandsTest, ASetHasWhatItChanges)
{
    auto line = begin(&mMade, 7);
    const auto set = [&](uint8_t seq, eObjectTypes type, auto fill) {
        mMade.fromServer(&line, aboutPort(0, seq, type, seq, fill));
        mMade.fromClient(&line, emptyAnswer(0, seq));
    };
    set(2, OBJ_PORT_DOUT, [](PayloadWriter* writer) { writer->putNumber(TAG_OUTPUT_STATE, uint32_t{1}); });
    set(3, OBJ_PORT_DIN, [](PayloadWriter* writer) { writer->putNumber(TAG_DEFAULT_STATE, uint32_t{2}); });
    set(4, OBJ_PORT_AOUT, [](PayloadWriter* writer) { writer->putNumber(TAG_SAMPLED_VALUE, 0.1F); });
    set(5, OBJ_PORT_AIN, [](PayloadWriter* writer) { writer->putNumber(TAG_SAMPLE_RATE, uint32_t{10}); });
    set(6, OBJ_PORT_DOUT, [](PayloadWriter*) {});
    const Lines lines = runCapture({"commands", file(mMade)}).lines();
    EXPECT_EQ(Lines(lines.begin() + 2, lines.end()),
              (Lines{"set dout 2 state=high", "set din 3 default=low", "set aout 4 value=0.1",
                     "set ain 5 rate=10", "# a message of type 0 with OBJ_PORT_DOUT that no command sends"}));
}

TEST_F(CommandsTest, AQuestionWithoutAnswerIsOnlyAsked)
{
    auto line = begin(&mMade, 7);
    mMade.fromServer(&line, inputRequest(2, 3));
    mMade.fromServer(&line, inputRequest(3, 9));
    mMade.fromClient(&line, emptyAnswer(1, 3));
    const Lines lines = runCapture({"commands", file(mMade)}).lines();
    EXPECT_EQ(Lines(lines.begin() + 2, lines.end()), (Lines{"get din 3", "get din 9"}));
}

TEST_F(CommandsTest, OfSeveralDevicesEachCommandNamesItsOwn)
{
    begin(&mMade, 7);
    auto line = begin(&mMade, 8);
    mMade.resetByServer(&line);
    begin(&mMade, 8); // connects again
    const std::string device = kDeviceLine;
    EXPECT_EQ(
        runCapture({"commands", file(mMade)}).lines(),
        (Lines{"wait device device=7", device + " device=7", "wait device device=8", device + " device=8"}));
}

} // namespace
