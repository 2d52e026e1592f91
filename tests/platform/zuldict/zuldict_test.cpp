#include "zuldict/zuldict.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

#include "zulobj/access.h"
#include "zulobj/adhoc.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"
#include "zulobj/port.h"

namespace {

TEST(ZuldictTest, TagNumbersRunFromOneWithoutAGap)
{
    uint32_t expected = 0;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        EXPECT_EQ(entry.tag, ++expected) << entry.name;
        EXPECT_EQ(&zuldict::entry(entry.tag), &entry);
    }
    EXPECT_EQ(expected, zuldict::tags().size());
}

TEST(ZuldictTest, TagNamesAreUnique)
{
    std::set<std::string> names = {"type"}; // an object's type has this key in JSON
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
    }
}

TEST(ZuldictTest, OnlyNumbersHaveEnumerators)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        EXPECT_TRUE(entry.names.empty() || entry.wireType == zuldict::eWireType::NUMBER) << entry.name;
    }
}

TEST(ZuldictTest, EnumeratorsAreFoundBothWays)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        std::set<std::string> names;
        for (const zuldict::Enumerator& enumerator : entry.names) {
            SCOPED_TRACE(enumerator.name);
            EXPECT_TRUE(names.insert(enumerator.name).second);
            EXPECT_STREQ(zuldict::nameOf(entry.names, enumerator.value), enumerator.name);
            uint32_t value = 0xFFFFFFFF;
            EXPECT_TRUE(zuldict::valueOf(entry.names, enumerator.name, &value));
            EXPECT_EQ(value, enumerator.value);
        }
    }
}

TEST(ZuldictTest, ObjectTypesHaveTheirNumbers)
{
    EXPECT_EQ(zuldict::objectTypes().size(), static_cast<size_t>(OBJ_NUM_OBJECT_TYPES));
    EXPECT_STREQ(zuldict::nameOf(zuldict::objectTypes(), 2), "OBJ_PORT_DIN");
    EXPECT_STREQ(zuldict::nameOf(zuldict::objectTypes(), 13), "OBJ_ADHOC_EVENT");
    EXPECT_EQ(zuldict::nameOf(zuldict::objectTypes(), OBJ_NUM_OBJECT_TYPES), nullptr);
}

TEST(ZuldictTest, UnknownNameLeavesTheValue)
{
    uint32_t value = 77;
    EXPECT_FALSE(zuldict::valueOf(zuldict::objectTypes(), "OBJ_TOASTER", &value));
    EXPECT_EQ(value, 77U);
}

template <class Record>
void expectFieldsFitTheDictionary()
{
    std::set<eTag> seen;
    for (const cField<Record>& field : Record::fields()) {
        const zuldict::TagEntry& entry = zuldict::entry(field.tag);
        SCOPED_TRACE(entry.name);
        EXPECT_TRUE(seen.insert(field.tag).second) << "twice in one record";
        EXPECT_EQ(field.member.index(), static_cast<size_t>(entry.wireType));
        EXPECT_TRUE(!field.key || entry.wireType == zuldict::eWireType::NUMBER) << "a key is a number";
    }
}

TEST(ZuldictTest, EveryFieldHasTheWireTypeOfItsTag)
{
    expectFieldsFitTheDictionary<cObjectAccess>();
    expectFieldsFitTheDictionary<cObjectAdhocEvent>();
    expectFieldsFitTheDictionary<cObjectAInput>();
    expectFieldsFitTheDictionary<cObjectAOutput>();
    expectFieldsFitTheDictionary<cObjectAnalogSample>();
    expectFieldsFitTheDictionary<cObjectCapability>();
    expectFieldsFitTheDictionary<cObjectDevice>();
    expectFieldsFitTheDictionary<cObjectDInput>();
    expectFieldsFitTheDictionary<cObjectDOutput>();
    expectFieldsFitTheDictionary<cObjectPort>();
}

} // namespace
