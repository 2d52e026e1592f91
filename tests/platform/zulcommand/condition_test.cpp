#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <string>

#include "zulcommand/commandwords.h"
#include "zulcommand/condition.h"
#include "zulcommand/jsontext.h"

using namespace zulcommand;

namespace {

struct Row
{
    const char* name;
    const char* field; ///< NAME=VALUE
    const char* json;  ///< the value that the object has
    bool holds;
};

void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

/// The condition that the one field of a command line stands for.
Condition readCondition(const std::string& line)
{
    CommandWords words(line);
    std::optional<Condition> condition;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (const std::optional<FieldValue> value = words.field(entry.name)) {
            condition.emplace(entry, *value, &words);
        }
    }
    EXPECT_EQ(words.finish(), "");
    return condition.value();
}

JsonPtr objectWith(const std::string& name, const std::string& json)
{
    return JsonPtr(json_loads(("{\"" + name + "\":" + json + "}").c_str(), 0, nullptr));
}

} // namespace

class ConditionTest : public testing::TestWithParam<Row>
{};

TEST_P(ConditionTest, holdsOrNot)
{
    const Row& row = GetParam();
    const Condition condition = readCondition(row.field);
    EXPECT_EQ(condition.text(), row.field);
    const JsonPtr object = objectWith(condition.name(), row.json);
    ASSERT_TRUE(object);
    EXPECT_EQ(condition.holds(object.get()), row.holds);
}

INSTANTIATE_TEST_SUITE_P(
    all, ConditionTest,
    testing::Values(
        Row{"number", "portId=2", "2", true}, Row{"otherNumber", "portId=2", "3", false},
        Row{"hexadecimal", "portId=0x1F", "31", true},
        Row{"largest", "portId=4294967295", "4294967295", true},
        Row{"numberInMarks", "portId=\"2\"", "2", true},
        Row{"enumerator", "inputState=OBJ_IO_STATE_SET", "\"OBJ_IO_STATE_SET\"", true},
        Row{"enumeratorByNumber", "inputState=1", "\"OBJ_IO_STATE_SET\"", true},
        Row{"otherEnumerator", "inputState=OBJ_IO_STATE_SET", "\"OBJ_IO_STATE_CLEAR\"", false},
        Row{"numberWithoutName", "inputState=77", "77", true},
        Row{"objectType", "portType=OBJ_PORT_AIN", "\"OBJ_PORT_AIN\"", true},
        Row{"float", "sample=0.1", "0.100000001", true}, Row{"nextFloat", "sample=0.1", "0.100000009", false},
        Row{"manyDigits", "sample=20.50000000000001", "20.5", true},
        Row{"minusZero", "sample=0", "-0.0", true}, Row{"tolerance", "sample=20.5~0.1", "20.6000004", true},
        Row{"toleranceBelow", "sample=20.5~0.1", "20.3999996", true},
        Row{"aboveTolerance", "sample=20.5~0.1", "20.6000023", false},
        Row{"belowTolerance", "sample=20.5~0.1", "20.3999977", false},
        Row{"noTolerance", "sample=2~0", "2", true},
        Row{"hugeTolerance", "sample=-3e38~3e38", "-3.40282347e38", true},
        Row{"negative", "sample=-1.5~0.5", "-1.9", true}, Row{"nullFloat", "sample=null", "null", true},
        Row{"nullIsNoNumber", "sample=0", "null", false}, Row{"numberIsNotNull", "sample=null", "0.0", false},
        Row{"text", "label=DOOR", "\"DOOR\"", true}, Row{"case", "label=DOOR", "\"door\"", false},
        Row{"partOfAText", "label=DOOR", "\"DOOR 1\"", false},
        Row{"blanks", "label=\"DOOR  1\"", "\"DOOR  1\"", true},
        Row{"escapes", R"(label="a\"b\\c\u00e9\n")", R"("a\"b\\c\u00e9\n")", true},
        Row{"numberAsText", "label=7", "\"7\"", true}, Row{"equals", "label=a=b", "\"a=b\"", true},
        Row{"empty", "label=", "\"\"", true}, Row{"emptyInMarks", "label=\"\"", "\"\"", true},
        Row{"emptyIsNotNull", "label=", "null", false}, Row{"nullText", "label=null", "null", true},
        Row{"nullIsNotTheText", "label=null", "\"null\"", false},
        Row{"theTextNull", "label=\"null\"", "\"null\"", true},
        Row{"theTextIsNotNull", "label=\"null\"", "null", false},
        Row{"notUTF8", "label=a\xFF", "\"a\\ufffd\"", true}),
    [](const testing::TestParamInfo<Row>& row) { return row.param.name; });

TEST(ConditionTextTest, anObjectWithoutTheFieldDoesNotMatch)
{
    EXPECT_FALSE(readCondition("label=null").holds(objectWith("portId", "1").get()));
}

TEST(ConditionTextTest, everyNameOfTheDictionaryIsTaken)
{
    size_t enumerators = 0;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        for (const zuldict::Enumerator& enumerator : entry.names) {
            ++enumerators;
            const Condition condition = readCondition(std::string(entry.name) + "=" + enumerator.name);
            const JsonPtr object = objectWith(entry.name, "\"" + std::string(enumerator.name) + "\"");
            EXPECT_TRUE(condition.holds(object.get())) << enumerator.name;
        }
    }
    EXPECT_GT(enumerators, 30U);
}

TEST(ConditionTextTest, noFieldOfACommandIsNamedAsOneOfTheDictionary)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        for (const char* taken : {"device", "within", "timeout", "serial", "object"}) {
            EXPECT_STRNE(entry.name, taken);
        }
    }
}
