#include <cfloat>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>

#include "samplerecords.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace {

/// A JSON value that releases itself.
struct Json
{
    explicit Json(json_t* owned) : value(owned) {}
    explicit Json(const std::string& text)
        : value(json_loads(text.c_str(), JSON_DECODE_ANY | JSON_ALLOW_NUL, nullptr))
    {
        EXPECT_NE(value, nullptr) << text;
    }
    ~Json() { json_decref(value); }
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;

    json_t* value;
};

std::string textOf(const Json& json)
{
    char* text = json_dumps(json.value, zulobj::kDumpFlags);
    const std::string copy = text == nullptr ? "" : text;
    free(text);
    return copy;
}

std::string textOf(const cObject& record) { return textOf(Json(record.getJSONObj())); }

std::string textOf(const cObjectList& list) { return textOf(Json(list.getJSONObj())); }

WStatus parseText(cObject* record, const std::string& text) { return record->parse(Json(text).value); }

uint32_t bitsOf(float value)
{
    uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

const char* const kPortFields =
    R"("deviceSerial":1001,"portId":3,"portLabel":"Door","portStatus":"OBJ_STATUS_ALARM_WARN",)";

TEST(JsonTest, EveryRecordHasItsExactText)
{
    const std::string port = kPortFields;
    const std::string expected[] = {
        R"({"type":"OBJ_DEVICE","deviceSerial":1001,"deviceLabel":"Lab","deviceType":"TYPE_MODBUS","version":2,)"
        R"("discreteInCount":3,"discreteOutCount":4,"analogInCount":5,"analogOutCount":6})",
        R"({"type":"OBJ_PORT",)" + port + R"("portType":"OBJ_PORT_AIN"})",
        R"({"type":"OBJ_PORT_DIN",)" + port +
            R"("portType":"OBJ_PORT_DIN","inputState":"OBJ_IO_STATE_SET","defaultState":"OBJ_IO_STATE_CLEAR"})",
        R"({"type":"OBJ_PORT_DOUT",)" + port +
            R"("portType":"OBJ_PORT_DOUT","outputState":"OBJ_IO_STATE_CLEAR","defaultState":"OBJ_IO_STATE_SET"})",
        R"({"type":"OBJ_PORT_AIN",)" + port +
            R"("portType":"OBJ_PORT_AIN","gain":1.5,"offset":-0.25,"sampleRate":15,"displayUnit":"V",)"
            R"("sampledValue":57.9000015,"lastSampleSeq":255})",
        R"({"type":"OBJ_PORT_AOUT",)" + port +
            R"("portType":"OBJ_PORT_AOUT","gain":1.0,"offset":0.0,"minimumValue":-10.0,"maximumValue":10.0,)"
            R"("displayUnit":"mA","sampledValue":4.5})",
        R"({"type":"OBJ_ANALOG_SAMPLE","deviceSerial":1001,"portNum":1,"sample":57.9000015,"seqNum":255})",
        R"({"type":"OBJ_ACCESS","deviceSerial":1001,"portNum":1,"label":"Gate","scanCode":"0042"})",
        R"({"type":"OBJ_CAPABILITY","deviceSerial":1001,"capId":7,"label":"Scanners","value":"2"})",
        R"({"type":"OBJ_ADHOC_EVENT","deviceSerial":1001,"portId":9,"eventLabel":"Smoke","eventValue":"yes"})",
    };
    const auto records = sampleRecords();
    ASSERT_EQ(records.size(), std::size(expected));
    for (size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(textOf(*records[i]), expected[i]);
    }
}

TEST(JsonTest, EveryRecordReadsBack)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        const std::unique_ptr<cObject> read = zulobj::createRecord(record->getType());
        const WStatus status = parseText(read.get(), textOf(*record));
        EXPECT_TRUE(status.isOk()) << status.text();
        EXPECT_EQ(encoded(*read), encoded(*record));
    }
}

TEST(JsonTest, FreshRecordReadsBack)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        const std::unique_ptr<cObject> fresh = zulobj::createRecord(record->getType());
        const std::unique_ptr<cObject> read(record->clone());
        ASSERT_TRUE(parseText(read.get(), textOf(*fresh)).isOk());
        EXPECT_EQ(textOf(*read), textOf(*fresh)) << "null makes a text one never set and a float NaN";
    }
}

TEST(JsonTest, WhatHasNoValueIsNull)
{
    EXPECT_EQ(textOf(cObjectAccess()),
              R"({"type":"OBJ_ACCESS","deviceSerial":0,"portNum":0,"label":null,"scanCode":null})");
    for (const float value : {NAN, INFINITY, -INFINITY}) {
        cObjectAnalogSample sample;
        sample.setSample(value);
        EXPECT_EQ(textOf(sample),
                  R"({"type":"OBJ_ANALOG_SAMPLE","deviceSerial":0,"portNum":0,"sample":null,"seqNum":0})");
    }
}

TEST(JsonTest, NullAndEmptyTextStayDifferent)
{
    cObjectAccess access;
    access.setLabel("before");
    ASSERT_TRUE(parseText(&access, R"({"label":null,"scanCode":""})").isOk());
    EXPECT_EQ(access.getLabel(), nullptr);
    EXPECT_STREQ(access.getScanCode(), "");
}

TEST(JsonTest, FloatReadsBackAsTheSameFloat)
{
    const float values[] = {0.0F,     -0.0F,        1.0F,          57.9F,           0.1F,
                            1.0F / 3, 1e-10F,       16777217.0F,   FLT_MAX,         -FLT_MAX,
                            FLT_MIN,  FLT_TRUE_MIN, -FLT_TRUE_MIN, 1.17549421e-38F, FLT_EPSILON};
    for (const float value : values) {
        SCOPED_TRACE(value);
        cObjectAnalogSample sent;
        sent.setSample(value);
        cObjectAnalogSample read;
        ASSERT_TRUE(parseText(&read, textOf(sent)).isOk());
        EXPECT_EQ(bitsOf(read.getSample()), bitsOf(value));
    }
}

TEST(JsonTest, FloatsAllOverTheirRangeReadBack)
{
    for (uint32_t bits = 1; bits < 0x7F800000U; bits += 4001 * 17) {
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        cObjectAnalogSample sent;
        sent.setSample(value);
        cObjectAnalogSample read;
        ASSERT_TRUE(parseText(&read, textOf(sent)).isOk());
        ASSERT_EQ(bitsOf(read.getSample()), bits);
    }
}

TEST(JsonTest, EnumeratorStandsByItsNameOrItsNumber)
{
    cObjectDInput input;
    ASSERT_TRUE(parseText(&input, R"({"inputState":"OBJ_IO_STATE_CLEAR","defaultState":1})").isOk());
    EXPECT_EQ(input.getInputState(), cObject::OBJ_IO_STATE_CLEAR);
    EXPECT_EQ(input.getDefaultState(), cObject::OBJ_IO_STATE_SET);
}

TEST(JsonTest, NumberWithoutANameStaysANumber)
{
    cObjectDInput input;
    ASSERT_TRUE(parseText(&input, R"({"inputState":77,"portType":4294967295})").isOk());
    EXPECT_EQ(textOf(input),
              R"({"type":"OBJ_PORT_DIN","deviceSerial":0,"portId":0,"portLabel":null,)"
              R"("portStatus":"OBJ_STATUS_ALARM_UNKNOWN","portType":4294967295,"inputState":77,)"
              R"("defaultState":"OBJ_IO_STATE_UNKNOWN"})");
}

TEST(JsonTest, UnknownTypeStandsByItsNumber)
{
    EXPECT_EQ(textOf(*zulobj::createRecord(static_cast<eObjectTypes>(99))), R"({"type":99})");
    EXPECT_EQ(textOf(*zulobj::createRecord(OBJ_EVENT)), R"({"type":"OBJ_EVENT"})");
}

TEST(JsonTest, BytesThatAreNotUtf8BecomeReplacementCharacters)
{
    struct Row
    {
        const char* name;
        const char* text;
        const char* shown;
    };
    const Row rows[] = {
        {"Latin 1", "a\xE9z", "a\xEF\xBF\xBDz"},
        {"cut at the end", "Gr\xC3", "Gr\xEF\xBF\xBD"},
        {"overlong", "\xC0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {"valid stays", "\xF0\x9F\x98\x80 \xC3\xA9\xFF", "\xF0\x9F\x98\x80 \xC3\xA9\xEF\xBF\xBD"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        cObjectCapability capability;
        capability.setLabel(row.text);
        const Json json(capability.getJSONObj());
        EXPECT_STREQ(json_string_value(json_object_get(json.value, "label")), row.shown);
    }
}

TEST(JsonTest, ErrorNamesTheKeyAtFault)
{
    struct Row
    {
        const char* json;
        const char* key;
    };
    const Row rows[] = {{R"({"deviceSerial":"x"})", "deviceSerial"},
                        {R"({"deviceSerial":-1})", "deviceSerial"},
                        {R"({"deviceSerial":4294967296})", "deviceSerial"},
                        {R"({"deviceSerial":1.5})", "deviceSerial"},
                        {R"({"deviceSerial":null})", "deviceSerial"},
                        {R"({"portStatus":"OBJ_STATUS_SLEEPY"})", "portStatus"},
                        {R"({"portStatus":-1})", "portStatus"},
                        {R"({"portLabel":5})", "portLabel"},
                        {R"({"gain":"1.5"})", "gain"},
                        {R"({"gain":true})", "gain"},
                        {R"({"gain":1e39})", "gain"},
                        {R"({"gain":-3.5e38})", "gain"},
                        {R"({"type":"OBJ_PORT_DIN"})", "type"},
                        {R"({"type":"OBJ_TOASTER"})", "type"},
                        {"[]", "object"},
                        {"5", "object"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        cObjectAInput input;
        EXPECT_STREQ(parseText(&input, row.json).field(), row.key);
    }
}

TEST(JsonTest, UnknownAndAbsentKeysArePassedOver)
{
    cObjectAInput input;
    input.setGain(2.0F);
    ASSERT_TRUE(parseText(&input, R"({"colour":"red","sampleRate":3})").isOk());
    EXPECT_EQ(input.getSampleRate(), 3U);
    EXPECT_EQ(input.getGain(), 2.0F);
}

TEST(JsonTest, WholeNumberIsTakenForAFloat)
{
    cObjectAInput input;
    ASSERT_TRUE(parseText(&input, R"({"gain":2})").isOk());
    EXPECT_EQ(input.getGain(), 2.0F);
}

TEST(JsonListTest, ListHasItsExactText)
{
    cObjectList list;
    list.setMsgType(3);
    list.setMsgSeq(200);
    list.add(new cObjectAnalogSample);
    list.add(nullptr);
    list.add(zulobj::createRecord(static_cast<eObjectTypes>(99)).release());
    EXPECT_EQ(textOf(list), R"({"msgType":3,"msgSeq":200,"objects":[{"type":"OBJ_ANALOG_SAMPLE",)"
                            R"("deviceSerial":0,"portNum":0,"sample":0.0,"seqNum":0},{"type":99}]})");
}

TEST(JsonListTest, ListReadsBack)
{
    cObjectList list;
    list.setMsgType(1);
    list.setMsgSeq(17);
    for (auto& record : sampleRecords()) {
        list.add(record.release());
    }
    cObjectList read;
    read.add(new cObjectDevice);
    const WStatus status = read.parse(Json(textOf(list)).value);
    EXPECT_TRUE(status.isOk()) << status.text();
    EXPECT_EQ(textOf(read), textOf(list));
    EXPECT_FALSE(read.getEvent());
}

TEST(JsonListTest, TypeThreeIsAnEvent)
{
    cObjectList list;
    ASSERT_TRUE(list.parse(Json(R"({"msgType":3,"objects":[]})").value).isOk());
    EXPECT_TRUE(list.getEvent());
}

TEST(JsonListTest, ErrorNamesTheKeyAtFault)
{
    struct Row
    {
        const char* json;
        const char* key;
    };
    const Row rows[] = {{R"({"objects":[]})", "msgType"},
                        {R"({"msgType":256,"objects":[]})", "msgType"},
                        {R"({"msgType":-1,"objects":[]})", "msgType"},
                        {R"({"msgType":1,"msgSeq":"a","objects":[]})", "msgSeq"},
                        {R"({"msgType":1})", "objects"},
                        {R"({"msgType":1,"objects":{}})", "objects"},
                        {R"({"msgType":1,"objects":[{}]})", "type"},
                        {R"({"msgType":1,"objects":[5]})", "type"},
                        {R"({"msgType":1,"objects":[{"type":"OBJ_DEVICE","version":"x"}]})", "version"},
                        {"[]", "msgType"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        cObjectList list;
        EXPECT_STREQ(list.parse(Json(std::string(row.json)).value).field(), row.key);
    }
}

} // namespace
