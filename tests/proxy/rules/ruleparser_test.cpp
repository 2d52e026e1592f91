#include "proxy/rules/ruleparser.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace proxy {

namespace {

std::string mistakeIn(const std::string& text)
{
    Rule rule;
    return parseRule(text, &rule);
}

Rule parsed(const std::string& text)
{
    Rule rule;
    EXPECT_EQ(parseRule(text, &rule), "") << text;
    return rule;
}

struct KindRow
{
    std::string kind; ///< with all that it needs
    eFault fault;
    std::string group; ///< which words it takes
};

const std::vector<KindRow> kKinds = {
    {"refuse", eFault::REFUSE, "before"},
    {"accept-late ms=200", eFault::ACCEPT_LATE, "before"},
    {"cut", eFault::CUT, "both"},
    {"reset", eFault::RESET, "both"},
    {"half-close", eFault::HALF_CLOSE, "side"},
    {"silence", eFault::SILENCE, "side"},
    {"stall for=3", eFault::STALL, "stall"},
    {"delay ms=100", eFault::DELAY, "all"},
    {"rate bytes=960", eFault::RATE, "all"},
    {"slice bytes=1-5", eFault::SLICE, "all"},
    {"corrupt bits=1", eFault::CORRUPT, "all"},
    {"join bytes=100", eFault::JOIN, "all"},
    {"limit bytes=100", eFault::LIMIT, "all"},
    {"lose", eFault::LOSE, "all"},
    {"duplicate", eFault::DUPLICATE, "all"},
    {"late ms=3000", eFault::LATE, "all"},
    {"swap", eFault::SWAP, "all"},
    {"hold until=3", eFault::HOLD, "all"},
    {"truncate", eFault::TRUNCATE, "all"},
    {"wrong-checksum", eFault::WRONG_CHECKSUM, "all"},
    {"wrong-number", eFault::WRONG_NUMBER, "all"},
    {"wrong-type", eFault::WRONG_TYPE, "all"},
    {"unknown-flag", eFault::UNKNOWN_FLAG, "all"},
    {"too-long", eFault::TOO_LONG, "all"},
    {"empty-segments n=2", eFault::EMPTY_SEGMENTS, "all"},
    {"never-last", eFault::NEVER_LAST, "all"},
    {"field inputState=1", eFault::FIELD, "all"},
    {"wrong-serial", eFault::WRONG_SERIAL, "all"},
    {"unknown-object", eFault::UNKNOWN_OBJECT, "all"},
    {"unknown-tag", eFault::UNKNOWN_TAG, "all"},
    {"drop-tag inputState", eFault::DROP_TAG, "all"},
    {"wrong-length inputState", eFault::WRONG_LENGTH, "all"},
    {"drop-record", eFault::DROP_RECORD, "all"},
    {"double-record", eFault::DOUBLE_RECORD, "all"},
    {"nan", eFault::NAN_FLOATS, "all"},
    {"latency latency=100", eFault::DELAY, "all"},
    {"bandwidth rate=1", eFault::RATE, "all"},
    {"slicer average_size=10", eFault::SLICE, "all"},
    {"timeout timeout=0", eFault::TIMEOUT, "stall"},
    {"reset_peer timeout=100", eFault::RESET, "reset_peer"},
    {"limit_data bytes=100", eFault::LIMIT, "all"},
    {"slow_close delay=100", eFault::SLOW_CLOSE, "slow_close"},
};

/// The words of selection and of time, and the groups of kinds that take them.
struct WordRow
{
    std::string word;
    std::set<std::string> groups;
};

const std::vector<WordRow> kWords = {
    {"dir=to-server", {"side", "stall", "all", "slow_close"}},
    {"p=0.5 dir=to-device", {"both", "side", "stall", "all", "reset_peer"}},
    {"device=1001", {"both", "side", "stall", "all", "reset_peer", "slow_close"}},
    {"device=1001-1003", {"both", "side", "stall", "all", "reset_peer", "slow_close"}},
    {"device=5%", {"both", "side", "stall", "all", "reset_peer", "slow_close"}},
    {"reconnect=2", {"both", "side", "stall", "all", "reset_peer", "slow_close"}},
    {"msg=event", {"all"}},
    {"type=3", {"all"}},
    {"object=OBJ_PORT_AIN port=2", {"all"}},
    {"port=1", {"all"}},
    {"p=0.02", {"before", "both", "side", "stall", "all", "reset_peer"}},
    {"every=2", {"before", "both", "side", "stall", "all", "reset_peer"}},
    {"first=3", {"before", "both", "side", "stall", "all", "reset_peer"}},
    {"skip=5", {"before", "both", "side", "stall", "all", "reset_peer"}},
    {"count=3", {"before", "both", "side", "stall", "all", "reset_peer"}},
    {"after=1.5", {"before", "both", "side", "stall", "all", "slow_close"}},
    {"for=2", {"before", "both", "side", "all", "reset_peer", "slow_close"}},
};

/// An analog input has no state.
bool contradicts(const KindRow& kind, const WordRow& word)
{
    return word.word.find("OBJ_PORT_AIN") != std::string::npos &&
           kind.kind.find("inputState") != std::string::npos;
}

struct MistakeRow
{
    std::string rule;
    std::string word; ///< that the sentence names
};

void expectMistakes(const std::vector<MistakeRow>& rows)
{
    for (const MistakeRow& row : rows) {
        const std::string mistake = mistakeIn(row.rule);
        EXPECT_NE(mistake.find(row.word), std::string::npos) << row.rule << ": " << mistake;
        EXPECT_TRUE(mistake.ends_with('.')) << row.rule << ": " << mistake;
        EXPECT_EQ(mistake.find('\n'), std::string::npos) << row.rule;
    }
}

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kSecond = 1'000'000'000;

} // namespace

TEST(RuleParserTest, everyKindAndAliasIsKnown)
{
    for (const KindRow& row : kKinds) {
        EXPECT_EQ(parsed(row.kind).kind, row.fault) << row.kind;
    }
}

TEST(RuleParserTest, everyKindIsKnownByItsName)
{
    for (int number = 0; number <= static_cast<int>(eFault::NAN_FLOATS); ++number) {
        const auto kind = static_cast<eFault>(number);
        // A timeout begins with a silence.
        EXPECT_EQ(parseFaultKind(nameOf(kind)), kind == eFault::TIMEOUT ? eFault::SILENCE : kind)
            << nameOf(kind);
    }
}

TEST(RuleParserTest, everyKindIsInTheTableOfThisTest)
{
    std::set<eFault> known;
    for (const KindRow& row : kKinds) {
        known.insert(row.fault);
    }
    EXPECT_EQ(known.size(), static_cast<size_t>(eFault::NAN_FLOATS) + 1);
}

TEST(RuleParserTest, everyKindTakesTheWordsThatHaveASenseForItAndNoOthers)
{
    for (const KindRow& kind : kKinds) {
        for (const WordRow& word : kWords) {
            std::string rule = kind.kind;
            rule += " " + word.word;
            const bool takes = word.groups.contains(kind.group) && !contradicts(kind, word);
            EXPECT_EQ(mistakeIn(rule).empty(), takes) << rule << ": " << mistakeIn(rule);
        }
    }
}

TEST(RuleParserTest, noWordIsTakenTwice)
{
    for (const KindRow& kind : kKinds) {
        for (const WordRow& word : kWords) {
            EXPECT_NE(mistakeIn(kind.kind + " " + word.word + " " + word.word), "") << kind.kind << word.word;
        }
    }
}

TEST(RuleParserTest, noKindTakesAParameterOfAnother)
{
    const std::vector<std::string> parameters = {
        "ms=5",           "jitter=1",          "bytes=5", "gap=1",     "bits=1",    "until=1", "n=1",
        "average_size=5", "size_variation=1",  "delay=1", "latency=5", "timeout=5", "rate=5",  "gain=1",
        "inputState=1",   "another-inputState"};
    for (const KindRow& kind : kKinds) {
        for (const std::string& parameter : parameters) {
            const std::string name = parameter.substr(0, parameter.find('='));
            const bool own =
                (name == "jitter" && kind.fault == eFault::DELAY) ||
                (name == "gap" && kind.kind.starts_with("slice ")) ||
                (kind.kind.starts_with("slicer ") && (name == "size_variation" || name == "delay"));
            std::string rule = kind.kind;
            rule += " " + parameter;
            EXPECT_EQ(mistakeIn(rule).empty(), own) << rule;
        }
    }
}

TEST(RuleParserTest, aParameterThatIsMissingIsNamed)
{
    expectMistakes({
        {"accept-late", "\"ms\""},
        {"stall", "\"for\""},
        {"delay", "\"ms\""},
        {"delay jitter=5", "\"ms\""},
        {"rate", "\"bytes\""},
        {"slice", "\"bytes\""},
        {"slice gap=5", "\"bytes\""},
        {"corrupt", "\"bits\""},
        {"join", "\"bytes\""},
        {"limit", "\"bytes\""},
        {"late", "\"ms\""},
        {"hold", "\"until\""},
        {"empty-segments", "\"n\""},
        {"field", "NAME=VALUE"},
        {"drop-tag", "NAME"},
        {"wrong-length", "NAME"},
        {"latency jitter=5", "\"latency\""},
        {"bandwidth", "\"rate\""},
        {"slicer", "\"average_size\""},
        {"slicer size_variation=1 delay=5", "\"average_size\""},
        {"late 3000", "\"ms\""},
        {"timeout", "\"timeout\""},
        {"reset_peer", "\"timeout\""},
        {"limit_data", "\"bytes\""},
        {"slow_close", "\"delay\""},
    });
}

TEST(RuleParserTest, aKindThatIsNotThereIsNamed)
{
    expectMistakes({
        {"LOSE", "\"LOSE\""},
        {"loose", "\"loose\""},
        {"p=0.5 lose", "\"p=0.5\""},
        {"Cut", "\"Cut\""},
        {"slow-close delay=5", "\"slow-close\""},
        {"wrong_checksum", "\"wrong_checksum\""},
        {"lose,p=0.5", "\"lose,p=0.5\""},
        {"# lose", "\"#\""},
        {"\"lose\"", "\"lose\""},
    });
    EXPECT_EQ(mistakeIn(""), "The rule is empty.");
    EXPECT_EQ(mistakeIn(" \t"), "The rule is empty.");
}

TEST(RuleParserTest, aWordThatIsNotThereIsNamed)
{
    expectMistakes({
        {"lose foo=1", "\"foo\""},
        {"lose foo", "\"foo\""},
        {"lose P=0.5", "\"P\""},
        {"lose Dir=to-server", "\"Dir\""},
        {"lose direction=to-server", "\"direction\""},
        {"lose =5", "\"=5\""},
        {"delay MS=100", "\"MS\""},
        {"latency ms=100", "\"ms\""},
        {"lose p=0.5 p=0.5", "\"p\" is given twice"},
        {"lose msg=get msg=set", "\"msg\" is given twice"},
        {"delay ms=1 ms=2", "\"ms\" is given twice"},
        {"drop-tag gain offset", "\"offset\""},
        {"field gain=1 offset=1", "\"offset\""},
        {"field gain=1 gain=2", "\"gain\" is given twice"},
        {"cut msg=get", "\"msg\""},
        {"reset object=OBJ_DEVICE", "\"object\""},
        {"silence port=1", "\"port\""},
        {"stall for=3 type=3", "\"type\""},
        {"refuse device=1001", "\"device\""},
        {"refuse dir=to-server", "\"dir\""},
        {"refuse reconnect=1", "\"reconnect\""},
        {"accept-late ms=5 msg=get", "\"msg\""},
        {"cut dir=to-server", "dir"},
        {"reset dir=to-device", "dir"},
        {"reset_peer timeout=5 after=1", "\"after\""},
        {"slow_close delay=5 p=0.5", "\"p\""},
    });
}

TEST(RuleParserTest, aValueThatIsNoneIsNamed)
{
    expectMistakes({
        {"lose dir=both", "\"both\""},
        {"lose dir=TO-SERVER", "\"TO-SERVER\""},
        {"lose dir=to_server", "\"to_server\""},
        {"lose dir=", "dir"},
        {"lose device=7-3", "\"7-3\""},
        {"lose device=abc", "\"abc\""},
        {"lose device=*", "\"*\""},
        {"lose device=", "device"},
        {"lose device=-5", "\"-5\""},
        {"lose device=5-", "\"5-\""},
        {"lose device=1-2-3", "\"1-2-3\""},
        {"lose device=4294967296", "\"4294967296\""},
        {"lose device=101%", "\"101%\""},
        {"lose device=100.5%", "\"100.5%\""},
        {"lose device=-5%", "\"-5%\""},
        {"lose device=%", "\"%\""},
        {"lose device=nan%", "\"nan%\""},
        {"lose device=5%%", "\"5%%\""},
        {"lose msg=GET", "\"GET\""},
        {"lose msg=request", "\"request\""},
        {"lose msg=", "msg"},
        {"lose type=256", "\"256\""},
        {"lose type=-1", "\"-1\""},
        {"lose type=event", "\"event\""},
        {"lose object=OBJ_NOTHING", "\"OBJ_NOTHING\""},
        {"lose object=obj_device", "\"obj_device\""},
        {"lose object=4294967296", "\"4294967296\""},
        {"lose object=", "object"},
        {"lose port=4294967296", "\"4294967296\""},
        {"lose port=*", "\"*\""},
        {"lose p=1.1", "\"1.1\""},
        {"lose p=-0.1", "\"-0.1\""},
        {"lose p=nan", "\"nan\""},
        {"lose p=inf", "\"inf\""},
        {"lose p=50%", "\"50%\""},
        {"lose p=", "p "},
        {"lose every=0", "every"},
        {"lose every=1.5", "\"1.5\""},
        {"lose every=4294967296", "\"4294967296\""},
        {"lose first=0", "first"},
        {"lose skip=-1", "\"-1\""},
        {"lose count=0", "count"},
        {"lose count=x", "\"x\""},
        {"lose reconnect=0", "reconnect"},
        {"lose after=-1", "\"-1\""},
        {"lose after=nan", "\"nan\""},
        {"lose after=4294967296", "\"4294967296\""},
        {"lose for=0", "for"},
        {"lose for=0.0000000001", "for"},
        {"lose for=soon", "\"soon\""},
        {"stall for=0", "for"},
        {"stall for=-3", "\"-3\""},
        {"delay ms=-1", "\"-1\""},
        {"delay ms=4294967296", "\"4294967296\""},
        {"delay ms=nan", "\"nan\""},
        {"delay ms=1s", "\"1s\""},
        {"delay ms=", "ms"},
        {"delay ms=10 jitter=-1", "\"-1\""},
        {"delay ms=10 jitter=x", "\"x\""},
        {"rate bytes=0", "bytes"},
        {"rate bytes=1.5", "\"1.5\""},
        {"rate bytes=4294967296", "\"4294967296\""},
        {"slice bytes=0", "bytes"},
        {"slice bytes=7-3", "\"7-3\""},
        {"slice bytes=0-3", "\"0-3\""},
        {"slice bytes=1-65537", "\"1-65537\""},
        {"slice bytes=1-2-3", "\"1-2-3\""},
        {"slice bytes=-", "\"-\""},
        {"slice bytes=5 gap=-1", "\"-1\""},
        {"corrupt bits=0", "bits"},
        {"corrupt bits=4294967296", "\"4294967296\""},
        {"join bytes=0", "bytes"},
        {"join bytes=65537", "\"65537\""},
        {"limit bytes=-1", "\"-1\""},
        {"hold until=0", "until"},
        {"empty-segments n=0", "n "},
        {"empty-segments n=1001", "\"1001\""},
        {"bandwidth rate=0", "rate"},
        {"bandwidth rate=4194304", "\"4194304\""},
        {"slicer average_size=0", "average_size"},
        {"slicer average_size=65537", "\"65537\""},
        {"timeout timeout=-1", "\"-1\""},
    });
}

TEST(RuleParserTest, aValueThatIsNoneForItsFieldIsNamed)
{
    expectMistakes({
        {"field foo=1", "\"foo\""},
        {"field inputState=HIGH", "\"HIGH\""},
        {"field portId=4294967296", "\"4294967296\""},
        {"field portId=-1", "\"-1\""},
        {"field portId=nan", "\"nan\""},
        {"field portId=null", "\"null\""},
        {"field portId=", "portId"},
        {"field gain=1e40", "\"1e40\""},
        {"field gain=x", "\"x\""},
        {"field gain=", "gain"},
        {"field gain=1~2", "\"1~2\""},
        {"field portLabel=\"front", "portLabel"},
        {"field portLabel=front door", "\"door\""},
        {"drop-tag foo", "\"foo\""},
        {"drop-tag INPUTSTATE", "\"INPUTSTATE\""},
        {"drop-tag inputState=1", "\"inputState\""},
        {"wrong-length foo", "\"foo\""},
    });
}

TEST(RuleParserTest, wordsThatContradictEachOtherAreNamed)
{
    expectMistakes({
        {"delay ms=100 jitter=101", "jitter"},
        {"latency latency=100 jitter=100.5", "jitter"},
        {"slicer average_size=10 size_variation=10", "size_variation"},
        {"slicer average_size=65536 size_variation=1", "size_variation"},
        {"lose first=3 skip=3", "first"},
        {"lose skip=5 first=2", "first"},
        {"lose msg=ping object=OBJ_DEVICE", "object"},
        {"lose msg=ping port=1", "port"},
        {"nan msg=ping", "msg=ping"},
        {"drop-record msg=ping", "msg=ping"},
        {"field gain=1 msg=ping", "msg=ping"},
        {"lose msg=get type=0", "type"},
        {"lose msg=set type=1", "type"},
        {"lose msg=event type=1", "type"},
        {"lose object=OBJ_DEVICE port=1", "port"},
        {"field inputState=1 object=OBJ_PORT_AIN", "inputState"},
        {"drop-tag gain object=OBJ_DEVICE", "gain"},
        {"nan object=OBJ_PORT_DIN", "float"},
    });
}

TEST(RuleParserTest, textThatIsNoLineIsAMistake)
{
    EXPECT_EQ(mistakeIn(std::string("lose\0", 5)), "The rule holds a NUL.");
    EXPECT_EQ(mistakeIn("lose \xFF"), "The rule is not UTF-8.");
    EXPECT_EQ(mistakeIn("lose" + std::string(4092, ' ')), "");
    EXPECT_EQ(mistakeIn("lose" + std::string(4093, ' ')), "The rule is longer than 4096 bytes.");
}

TEST(RuleParserTest, theTextOfARuleIsAsItWasWrittenWithoutBlanksAtItsEnds)
{
    EXPECT_EQ(parsed("  lose   p=0.50\t").text, "lose   p=0.50");
}

TEST(RuleParserTest, timesAreMillisecondsAndSecondsWithFractions)
{
    const Rule delay = parsed("delay ms=100.5 jitter=0.25 after=1.5 for=0.001");
    EXPECT_EQ(delay.ns, 100 * kMillisecond + kMillisecond / 2);
    EXPECT_EQ(delay.jitterNs, kMillisecond / 4);
    EXPECT_EQ(delay.afterNs, kSecond + kSecond / 2);
    EXPECT_EQ(delay.forNs, kMillisecond);
    EXPECT_EQ(parsed("delay ms=4294967295").ns, 4294967295 * kMillisecond);
    EXPECT_EQ(parsed("stall for=3").ns, 3 * kSecond);
    EXPECT_EQ(parsed("stall for=3").forNs, std::nullopt);
    EXPECT_EQ(parsed("accept-late ms=200").ns, 200 * kMillisecond);
}

TEST(RuleParserTest, countsAreTakenAsTheyAre)
{
    const Rule rule = parsed("lose p=0.02 every=2 first=9 skip=5 count=3 reconnect=4");
    EXPECT_EQ(rule.chance, 0.02);
    EXPECT_EQ(rule.every, 2U);
    EXPECT_EQ(rule.first, 9U);
    EXPECT_EQ(rule.skip, 5U);
    EXPECT_EQ(rule.count, 3U);
    EXPECT_EQ(rule.reconnect, 4U);
    EXPECT_FALSE(parsed("lose").chance || parsed("lose").every || parsed("lose").first ||
                 parsed("lose").skip || parsed("lose").count || parsed("lose").reconnect);
}

TEST(RuleParserTest, aConnectionKindActsOnMessagesIfItCountsOrDrawsThem)
{
    for (const char* word : {"p=1", "every=1", "first=1", "skip=0", "count=1"}) {
        for (const char* kind : {"cut ", "reset ", "half-close ", "silence ", "stall for=1 "}) {
            EXPECT_TRUE(parsed(std::string(kind) + word).actsOnMessages()) << kind << word;
        }
        EXPECT_FALSE(parsed(std::string("refuse ") + word).actsOnMessages()) << word;
        EXPECT_FALSE(parsed(std::string("accept-late ms=1 ") + word).actsOnMessages()) << word;
        EXPECT_FALSE(parsed(std::string("lose ") + word).actsOnMessages()) << word;
    }
    EXPECT_FALSE(parsed("cut after=1 device=1001").actsOnMessages());
}

TEST(RuleParserTest, whichMessagesIsReadFromTheirWords)
{
    const Rule rule =
        parsed("lose dir=to-device device=1001-0x3EB msg=answer type=1 object=OBJ_PORT_DIN port=2");
    EXPECT_EQ(rule.direction, eDirection::TO_DEVICE);
    ASSERT_TRUE(rule.devices);
    EXPECT_EQ(rule.devices->first, 1001U);
    EXPECT_EQ(rule.devices->last, 1003U);
    EXPECT_EQ(rule.message, Rule::ANSWER);
    EXPECT_EQ(rule.type, 1);
    EXPECT_EQ(rule.object, static_cast<uint32_t>(OBJ_PORT_DIN));
    EXPECT_EQ(rule.port, 2U);
    EXPECT_EQ(parsed("lose dir=to-server").direction, eDirection::TO_SERVER);
    EXPECT_EQ(parsed("lose msg=get").message, Rule::GET);
    EXPECT_EQ(parsed("lose msg=set").message, Rule::SET);
    EXPECT_EQ(parsed("lose msg=event type=3").message, Rule::EVENT);
    EXPECT_EQ(parsed("lose msg=ping").message, Rule::PING);
    EXPECT_EQ(parsed("lose object=99").object, 99U);
    EXPECT_EQ(parsed("lose device=1001").devices->last, 1001U);
}

TEST(RuleParserTest, aPercentageIsAShareOfTheDevices)
{
    EXPECT_EQ(parsed("lose device=5%").share, 0.05);
    EXPECT_EQ(parsed("lose device=0.5%").share, 0.005);
    EXPECT_EQ(parsed("lose device=0%").share, 0.0);
    EXPECT_EQ(parsed("lose device=100%").share, 1.0);
    EXPECT_FALSE(parsed("lose device=100%").devices);
}

TEST(RuleParserTest, onlyRulesThatNameDevicesNeedTheDevice)
{
    EXPECT_TRUE(parsed("lose device=1").namesDevice());
    EXPECT_TRUE(parsed("lose device=5%").namesDevice());
    EXPECT_TRUE(parsed("lose reconnect=1").namesDevice());
    EXPECT_FALSE(parsed("lose msg=get").namesDevice());
}

TEST(RuleParserTest, sizesAreOneNumberOrTwo)
{
    EXPECT_EQ(parsed("slice bytes=3-7 gap=2.5").min, 3U);
    EXPECT_EQ(parsed("slice bytes=3-7 gap=2.5").max, 7U);
    EXPECT_EQ(parsed("slice bytes=3-7 gap=2.5").ns, 5 * kMillisecond / 2);
    EXPECT_EQ(parsed("slice bytes=65536").min, 65536U);
    EXPECT_EQ(parsed("slice bytes=65536").max, 65536U);
    EXPECT_EQ(parsed("slice bytes=1").ns, 0);
    EXPECT_EQ(parsed("rate bytes=4294967295").min, 4294967295U);
    EXPECT_EQ(parsed("corrupt bits=3").min, 3U);
    EXPECT_EQ(parsed("join bytes=65536").min, 65536U);
    EXPECT_EQ(parsed("limit bytes=0").min, 0U);
    EXPECT_EQ(parsed("hold until=3").min, 3U);
    EXPECT_EQ(parsed("empty-segments n=1000").min, 1000U);
}

TEST(RuleParserTest, aliasesHaveTheirOwnParametersAndUnits)
{
    EXPECT_EQ(parsed("latency latency=100 jitter=20").ns, 100 * kMillisecond);
    EXPECT_EQ(parsed("latency latency=100 jitter=20").jitterNs, 20 * kMillisecond);
    EXPECT_EQ(parsed("bandwidth rate=2").min, 2048U);
    EXPECT_EQ(parsed("bandwidth rate=4194303").min, 4194303U * 1024U);
    const Rule slicer = parsed("slicer average_size=100 size_variation=20 delay=10");
    EXPECT_EQ(slicer.min, 80U);
    EXPECT_EQ(slicer.max, 120U);
    EXPECT_EQ(slicer.ns, 10'000);
    EXPECT_EQ(parsed("slicer average_size=100").max, 100U);
    EXPECT_EQ(parsed("timeout timeout=500").ns, 500 * kMillisecond);
    EXPECT_EQ(parsed("reset_peer timeout=500").afterNs, 500 * kMillisecond);
    EXPECT_EQ(parsed("limit_data bytes=7").min, 7U);
    EXPECT_EQ(parsed("slow_close delay=500").ns, 500 * kMillisecond);
}

TEST(RuleParserTest, aFieldHasItsValueAsTheDictionarySays)
{
    const Rule number = parsed("field portId=0x10");
    EXPECT_EQ(number.change.field, &zuldict::entry(TAG_PORT_ID));
    EXPECT_EQ(number.change.bits, 16U);
    EXPECT_EQ(parsed("field inputState=OBJ_IO_STATE_CLEAR").change.bits, 2U);
    EXPECT_EQ(parsed("field portType=OBJ_PORT_DIN").change.bits, static_cast<uint32_t>(OBJ_PORT_DIN));
    EXPECT_EQ(parsed("field gain=-1.5").change.bits, std::bit_cast<uint32_t>(-1.5F));
    EXPECT_EQ(parsed("field gain=-inf").change.bits,
              std::bit_cast<uint32_t>(-std::numeric_limits<float>::infinity()));
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(parsed("field gain=nan").change.bits)));
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(parsed("field gain=null").change.bits)));
    EXPECT_EQ(parsed("field portLabel=\"front door\" p=0.5").change.text, "front door");
    EXPECT_EQ(parsed("field portLabel=Größe").change.text, "Größe");
    EXPECT_EQ(parsed("field portLabel=").change.text, "");
    EXPECT_FALSE(parsed("field portLabel=").change.absent);
    EXPECT_TRUE(parsed("field portLabel=null").change.absent);
    EXPECT_FALSE(parsed("field portLabel=\"null\"").change.absent);
    EXPECT_EQ(parsed("drop-tag portLabel").change.field, &zuldict::entry(TAG_PORT_LABEL));
    EXPECT_EQ(parsed("wrong-length gain").change.field, &zuldict::entry(TAG_GAIN));
}

TEST(RuleParserTest, everyFieldOfTheDictionaryCanBeNamed)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const std::string name = entry.name;
        EXPECT_EQ(parsed("drop-tag " + name).change.field, &entry);
        EXPECT_EQ(parsed("field " + name + "=1").change.field, &entry);
    }
}

TEST(RuleParserTest, anObjectThatTheDictionaryDoesNotKnowMayHaveAnyField)
{
    EXPECT_EQ(mistakeIn("field inputState=1 object=99"), "");
    EXPECT_EQ(mistakeIn("nan object=OBJ_EVENT"), "");
    EXPECT_EQ(mistakeIn("lose object=99 port=1"), "");
}

TEST(RuleParserTest, theKindInALineAboutAFaultIsOurs)
{
    EXPECT_EQ(parseFaultKind("latency"), eFault::DELAY);
    EXPECT_EQ(parseFaultKind("bandwidth"), eFault::RATE);
    EXPECT_EQ(parseFaultKind("slicer"), eFault::SLICE);
    EXPECT_EQ(parseFaultKind("timeout"), eFault::SILENCE);
    EXPECT_EQ(parseFaultKind("reset_peer"), eFault::RESET);
    EXPECT_EQ(parseFaultKind("limit_data"), eFault::LIMIT);
    EXPECT_EQ(parseFaultKind("slow_close"), eFault::SLOW_CLOSE);
    EXPECT_EQ(parseFaultKind("late"), eFault::LATE);
    EXPECT_EQ(parseFaultKind("later"), std::nullopt);
}

TEST(RulesFileTest, hasOneRuleALineAndCommentsAndBlankLines)
{
    std::vector<Rule> rules;
    EXPECT_EQ(parseRules("# slow\n\nlose p=0.5\r\n  swap  \n  # end\ncut", "gate.rules", &rules), "");
    ASSERT_EQ(rules.size(), 3U);
    EXPECT_EQ(rules[0].text, "lose p=0.5");
    EXPECT_EQ(rules[1].text, "swap");
    EXPECT_EQ(rules[2].text, "cut");
}

TEST(RulesFileTest, addsToTheRulesThatAreThere)
{
    std::vector<Rule> rules = {parsed("lose")};
    EXPECT_EQ(parseRules("swap\n", "gate.rules", &rules), "");
    ASSERT_EQ(rules.size(), 2U);
    EXPECT_EQ(rules[1].text, "swap");
}

TEST(RulesFileTest, anEmptyFileHasNoRules)
{
    std::vector<Rule> rules;
    EXPECT_EQ(parseRules("", "gate.rules", &rules), "");
    EXPECT_EQ(parseRules("\n\n# nothing", "gate.rules", &rules), "");
    EXPECT_TRUE(rules.empty());
}

TEST(RulesFileTest, aMistakeNamesFileAndLine)
{
    std::vector<Rule> rules;
    EXPECT_EQ(parseRules("# slow\n\nlose\nloose\n", "gate.rules", &rules),
              "gate.rules:4: There is no kind \"loose\".");
    EXPECT_EQ(parseRules(std::string("lose\nswap\0\n", 11), "a", &rules), "a:2: The rule holds a NUL.");
    EXPECT_EQ(parseRules("lose\n" + std::string(5000, 'a') + "\n", "a", &rules),
              "a:2: The rule is longer than 4096 bytes.");
}

} // namespace proxy
