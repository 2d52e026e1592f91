// That the sieve leaves out no rule that chooses a message.

#include <algorithm>
#include <gtest/gtest.h>

#include "messages.h"
#include "proxy/faults/rulesieve.h"
#include "proxy/rules/ruleparser.h"

namespace proxy {

namespace {

/// Selectors of all kinds, some of which share a mask: 41 and 9, 257 and 1. Some together make no rule.
std::vector<Rule> manyRules()
{
    std::vector<Rule> rules;
    for (const char* kind :
         {"lose", "nan", "drop-record", "wrong-serial", "drop-tag portId", "field sample=1"}) {
        for (const char* which :
             {"", " port=1", " port=7", " port=257", " object=OBJ_ANALOG_SAMPLE", " object=41",
              " object=OBJ_ADHOC_EVENT port=7", " object=OBJ_ANALOG_SAMPLE port=7"}) {
            for (const char* header : {"", " msg=event", " msg=get", " msg=answer", " type=3", " type=35"}) {
                Rule rule;
                if (parseRule(std::string(kind) + which + header, &rule).empty()) {
                    rules.push_back(rule);
                }
            }
        }
    }
    return rules;
}

Bytes unknownRecord()
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(eObjectTypes(41));
    writer.putNumber(eTag(33), 7);
    writer.endObject();
    return payload;
}

/// As long as a record of two numbers, but its port stands elsewhere.
Bytes oddRecord()
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putText(TAG_EVENT_LABEL, "");
    writer.putNumber(TAG_PORT_ID, uint32_t{7});
    writer.putText(TAG_EVENT_VALUE, "");
    writer.endObject();
    return payload;
}

Bytes twoNumbers()
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_DEVICE_SERIAL, kSerial);
    writer.putNumber(TAG_PORT_ID, uint32_t{3});
    writer.endObject();
    return payload;
}

/// Ten records, all like @p record but for one.
std::vector<Bytes> runs(const Bytes& record, const Bytes& other)
{
    std::vector<Bytes> payloads;
    for (size_t place = 0; place < 10; ++place) {
        Bytes payload;
        for (size_t i = 0; i < 10; ++i) {
            payload = payload + (i == place ? other : record);
        }
        payloads.push_back(payload);
    }
    return payloads;
}

std::vector<Bytes> payloads()
{
    const Bytes first = samplePayload(kSerial, 1, 0.5F);
    const Bytes text = adhocPayload(kSerial, "text");
    Bytes bothPorts;
    PayloadWriter writer(&bothPorts);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_PORT_NUM, 1);
    writer.putNumber(TAG_PORT_ID, 7);
    writer.endObject();
    return {{},
            first,
            text,
            unknownRecord(),
            bothPorts,
            first + first + samplePayload(kSerial, 7, 0.5F) + first,
            first + text + text + adhocPayload(kSerial, "Text") + unknownRecord(),
            bothPorts + bothPorts + first + bothPorts,
            oddRecord() + oddRecord() + twoNumbers(),
            twoNumbers() + twoNumbers() + oddRecord() + twoNumbers(),
            first + first + part(first, 0, first.size() - 1),
            Bytes(3, 0),
            first + Bytes(3, 0),
            adhocPayload(kSerial, std::string(5000, 'x')) + first};
}

CutMessage cut(const Bytes& bytes, size_t segments)
{
    return {.bytes = bytes, .segments = segments, .place = 1};
}

/// The rules that choose the message, found one by one.
std::vector<size_t> chosen(const std::vector<Rule>& rules, MessageFacts* facts)
{
    std::vector<size_t> numbers;
    const SegmentHeader header = facts->header();
    for (size_t number = 0; number < rules.size(); ++number) {
        if (choosesHeader(rules[number], header.flags(), header.type()) &&
            choosesRecords(rules[number], facts)) {
            numbers.push_back(number);
        }
    }
    return numbers;
}

/// @p rules are found among one another, and each alone.
void expectFound(const std::vector<Rule>& rules, const WMsg& message)
{
    const Bytes bytes = framesOf(message);
    const CutMessage whole = cut(bytes, message.segmentCount());
    MessageMemory memory;
    MessageFacts facts(whole, &memory);
    std::vector<const Rule*> all;
    for (const Rule& rule : rules) {
        all.push_back(&rule);
    }
    const RuleSieve sieve(all);
    std::vector<size_t> found;
    sieve.forEach(sieve.find(&facts), [&](size_t number) { found.push_back(number); });
    EXPECT_TRUE(std::ranges::is_sorted(found));
    for (const size_t number : chosen(rules, &facts)) {
        EXPECT_TRUE(std::ranges::binary_search(found, number)) << rules[number].text;
        EXPECT_NE(RuleSieve({&rules[number]}).find(&facts), 0U) << rules[number].text;
    }
}

RuleSieve::Mask foundIn(const Bytes& bytes, const RuleSieve& sieve,
                        RuleSieve::Mask among = ~RuleSieve::Mask{0})
{
    const CutMessage message = cut(bytes, 1);
    MessageMemory memory;
    MessageFacts facts(message, &memory);
    return sieve.find(&facts, among);
}

} // namespace

TEST(RuleSieveTest, everyRuleThatChoosesAMessageIsFound)
{
    const std::vector<Rule> rules = manyRules();
    for (const Bytes& payload : payloads()) {
        expectFound(rules, {.type = 3, .event = true, .payload = payload});
        expectFound(rules, {.type = 1, .payload = payload});
        expectFound(rules, {.type = 1, .answer = true, .payload = payload});
        expectFound(rules, {.type = 35, .payload = payload});
        expectFound(rules, {.type = 0, .control = true, .payload = payload});
    }
}

TEST(RuleSieveTest, aRecordIsFoundAtAnyPlaceBetweenOthers)
{
    const std::vector<Rule> rules = manyRules();
    const Bytes first = samplePayload(kSerial, 1, 0.5F);
    for (const auto& [record, other] :
         {std::pair(first, samplePayload(kSerial, 7, 0.5F)), std::pair(twoNumbers(), oddRecord()),
          std::pair(twoNumbers(), first), std::pair(unknownRecord(), adhocPayload(kSerial, "text"))}) {
        for (const Bytes& payload : runs(record, other)) {
            expectFound(rules, {.type = 3, .event = true, .payload = payload});
        }
    }
}

TEST(RuleSieveTest, onlyTheRulesThatAreAskedForAreFound)
{
    Rule rule;
    ASSERT_EQ(parseRule("lose port=1", &rule), "");
    const RuleSieve sieve({&rule, &rule, &rule});
    EXPECT_EQ(foundIn(sample(1), sieve), 7U);
    EXPECT_EQ(foundIn(sample(1), sieve, 2), 2U);
}

TEST(RuleSieveTest, aRuleThatOnlySharesAMaskIsLeftOut)
{
    Rule rule;
    ASSERT_EQ(parseRule("lose port=257", &rule), "");
    EXPECT_EQ(foundIn(sample(1), RuleSieve({&rule})), 0U);
}

} // namespace proxy
