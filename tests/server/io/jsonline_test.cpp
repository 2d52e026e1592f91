#include <cmath>
#include <gtest/gtest.h>
#include <limits>

#include "server/io/jsonline.h"
#include "zulcommand/reply.h"
#include "zulobj/ainput.h"
#include "zulobj/dinput.h"

using namespace server;
using namespace zulcommand;

TEST(JsonLineTest, listening)
{
    EXPECT_EQ(dumped(listeningLine("127.0.0.1", 50000)),
              R"({"event":"listening","address":"127.0.0.1","port":50000})");
}

TEST(JsonLineTest, theTimeHasMicroseconds)
{
    const std::chrono::system_clock::time_point time{std::chrono::microseconds(1795303465123456)};
    EXPECT_EQ(lineText(connectedLine("[::1]:4711"), time),
              R"({"event":"connected","time":1795303465.123456,"peer":"[::1]:4711"})");
}

TEST(JsonLineTest, connected)
{
    EXPECT_EQ(dumped(connectedLine("[::1]:4711")), R"({"event":"connected","peer":"[::1]:4711"})");
}

TEST(JsonLineTest, deviceHasItsFieldsFlat)
{
    cObjectDevice device;
    device.setDeviceSerial(4711);
    device.setDeviceType(cObjectDevice::TYPE_DISCRETE_IO);
    device.setVersion(3);
    device.setAnalogInCount(2);
    EXPECT_EQ(dumped(deviceLine("10.0.0.1:5", device)),
              R"({"event":"device","peer":"10.0.0.1:5","deviceSerial":4711,"deviceLabel":null,)"
              R"("deviceType":"TYPE_DISCRETE_IO","version":3,"discreteInCount":0,"discreteOutCount":0,)"
              R"("analogInCount":2,"analogOutCount":0})");
}

TEST(JsonLineTest, answerSaysWhoGaveIt)
{
    const cObjectList list;
    EXPECT_EQ(
        dumped(answerLine("10.0.0.1:5", 7, list)),
        R"({"event":"answer","peer":"10.0.0.1:5","deviceSerial":7,"msgType":0,"msgSeq":0,"objects":[]})");
}

TEST(JsonLineTest, message)
{
    cObjectDInput input;
    input.setDeviceSerial(5);
    input.setPortId(1);
    input.setPortLabel("Door");
    input.setInputState(cObject::OBJ_IO_STATE_SET);
    cObjectList list;
    list.setMsgType(3);
    list.setMsgSeq(9);
    list.addBorrowed(&input);
    EXPECT_EQ(
        dumped(messageLine(5, list)),
        R"({"event":"message","deviceSerial":5,"msgType":3,"msgSeq":9,"objects":[{"type":"OBJ_PORT_DIN",)"
        R"("deviceSerial":5,"portId":1,"portLabel":"Door","portStatus":"OBJ_STATUS_ALARM_UNKNOWN",)"
        R"("portType":"OBJ_PORT_DIN","inputState":"OBJ_IO_STATE_SET",)"
        R"("defaultState":"OBJ_IO_STATE_UNKNOWN"}]})");
}

TEST(JsonLineTest, floatsReadBackAsTheSameAndNaNIsNull)
{
    cObjectAInput input;
    input.setSampledValue(0.1F);
    input.setGain(std::numeric_limits<float>::infinity());
    cObjectList list;
    list.addBorrowed(&input);
    const JsonPtr line(json_loads(dumped(messageLine(1, list)).c_str(), 0, nullptr));
    json_t* object = json_array_get(json_object_get(line.get(), "objects"), 0);
    EXPECT_EQ(static_cast<float>(json_real_value(json_object_get(object, "sampledValue"))), 0.1F);
    EXPECT_TRUE(json_is_null(json_object_get(object, "gain")));
    EXPECT_TRUE(json_is_null(json_object_get(object, "offset")));
}

TEST(JsonLineTest, disconnected)
{
    EXPECT_EQ(dumped(disconnectedLine("1.2.3.4:5", nullptr, "it is silent")),
              R"({"event":"disconnected","peer":"1.2.3.4:5","deviceSerial":null,"reason":"it is silent"})");
    cObjectDevice device;
    device.setDeviceSerial(6);
    EXPECT_EQ(dumped(disconnectedLine("1.2.3.4:5", &device, "gone")),
              R"({"event":"disconnected","peer":"1.2.3.4:5","deviceSerial":6,"reason":"gone"})");
}

TEST(JsonLineTest, replies)
{
    EXPECT_EQ(dumped(replyLine("send type=9", 0.25, Reply())),
              R"({"event":"reply","command":"send type=9","status":"ok","msgType":null,"objects":[],)"
              R"("seconds":0.25})");
    Reply late;
    late.status = Reply::Status::TIMEOUT;
    late.error = "Late.";
    EXPECT_EQ(dumped(replyLine("x", 5.0000004, late)),
              R"({"event":"reply","command":"x","status":"timeout","msgType":null,"objects":[],)"
              R"("seconds":5.0,"error":"Late."})");
    cObjectDevice device;
    cObjectList list;
    list.addBorrowed(&device);
    Reply answered;
    answered.msgType = 1;
    answered.objects = objectsOf(list);
    const JsonPtr line = replyLine("get device", 1.5, answered);
    EXPECT_EQ(json_integer_value(json_object_get(line.get(), "msgType")), 1);
    EXPECT_EQ(json_array_size(json_object_get(line.get(), "objects")), 1U);
}

TEST(JsonLineTest, aCommandThatIsNotUtf8StillMakesALine)
{
    const JsonPtr line(json_loads(dumped(replyLine("a\xFF\"b", 0, Reply())).c_str(), 0, nullptr));
    EXPECT_STREQ(json_string_value(json_object_get(line.get(), "command")), "a\xEF\xBF\xBD\"b");
}
