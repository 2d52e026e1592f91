// The lines of "show".

#include "messages.h"
#include "programrun.h"

namespace {

using Lines = std::vector<std::string>;

constexpr uint16_t kServerPort = 50000;

class ShowTest : public CaptureTest
{};

TEST_F(ShowTest, AMessageIsOneLine)
{
    MadeCapture made("zulserver 1", {"zulserver"});
    auto line = made.open(12345);
    made.wait(1500);
    made.fromClient(&line, inputEvent(9, 7, 2, 1));
    const ProgramRun run = runCapture({"show", file(made)});
    EXPECT_EQ(
        run.out,
        R"({"event":"message","time":1700000001.500000,"dir":"to-server","deviceSerial":7,)"
        R"("msgType":3,"msgSeq":9,"answer":false,"objects":[{"type":"OBJ_PORT_DIN","deviceSerial":7,)"
        R"("portId":2,"portLabel":null,"portStatus":"OBJ_STATUS_ALARM_UNKNOWN","portType":"OBJ_PORT_DIN",)"
        R"("inputState":"OBJ_IO_STATE_SET","defaultState":"OBJ_IO_STATE_UNKNOWN"}]})"
        "\n");
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.status, 0);
}

} // namespace
