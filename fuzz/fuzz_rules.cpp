// The rules of the proxy. The input is a file of rules, one a line.

#include <algorithm>
#include <string>
#include <vector>

#include "fuzzinput.h"
#include "property.h"
#include "proxy/rules/ruleparser.h"
#include "proxy/rules/ruleset.h"
#include "zulcommand/commandwords.h"

namespace {

using proxy::eFault;
using proxy::eFaultLayer;
using proxy::Rule;

std::vector<std::string> linesOf(const std::string& content)
{
    std::vector<std::string> lines(1);
    for (const char byte : content) {
        if (byte == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += byte;
        }
    }
    return lines;
}

void checkMistake(const std::string& line, const std::string& mistake)
{
    require(mistake.back() == '.', "a mistake is a sentence");
    require(mistake.size() < line.size() + 500, "a mistake repeats a part of its line at most");
}

void checkParameters(const Rule& rule)
{
    require(rule.ns >= 0 && rule.jitterNs >= 0 && rule.jitterNs <= rule.ns, "no time is below 0");
    require(rule.kind != eFault::STALL || rule.ns > 0, "a stall takes its time");
    require(rule.kind != eFault::SLICE || (rule.min >= 1 && rule.min <= rule.max), "a slice has bytes");
    require(rule.kind != eFault::RATE || rule.min >= 1, "a rate is above 0");
    const bool needsField =
        rule.kind == eFault::FIELD || rule.kind == eFault::DROP_TAG || rule.kind == eFault::WRONG_LENGTH;
    require((rule.change.field != nullptr) == needsField, "a field is named where one is needed");
}

void checkSelection(const Rule& rule)
{
    const bool choosesRecords = rule.object || rule.port;
    const bool choosesMessages = choosesRecords || rule.message || rule.type;
    require(proxy::layerOf(rule.kind) != eFaultLayer::CONNECTION || !choosesMessages,
            "a connection is no message");
    require(rule.message != Rule::PING ||
                !(choosesRecords || proxy::layerOf(rule.kind) == eFaultLayer::RECORD),
            "a ping has no records");
    require(!rule.share || (*rule.share >= 0.0 && *rule.share <= 1.0), "a share is a part");
    require(!rule.devices || rule.devices->first <= rule.devices->last, "a range has its order");
    require(!(rule.share && rule.devices), "devices are a share or a range");
    const bool early = rule.kind == eFault::REFUSE || rule.kind == eFault::ACCEPT_LATE;
    require(!early || !(rule.namesDevice() || rule.direction), "nothing is known before the server is asked");
}

void checkTimes(const Rule& rule)
{
    require(!rule.chance || (*rule.chance >= 0.0 && *rule.chance <= 1.0), "a chance is a part");
    require(rule.every != 0U && rule.first != 0U && rule.count != 0U && rule.reconnect != 0U,
            "what is counted begins with 1");
    require(!rule.first || *rule.first > rule.skip.value_or(0), "something is left after the skipped ones");
    require(rule.afterNs >= 0 && rule.forNs.value_or(1) > 0, "a window is open for a time");
    require(rule.forNs.value_or(1) < INT64_MAX / 2 - rule.afterNs, "the end of a window is a time");
}

/// The draws of @p rule do not depend on which rules there are beside it.
void checkDraws(const Rule& rule)
{
    proxy::RuleSet one;
    proxy::RuleSet other;
    other.add(Rule(), 0);
    const proxy::RulePtr alone = one.add(rule, 0);
    const proxy::RulePtr beside = other.add(rule, 0);
    const proxy::RulePtr twin = other.add(rule, 0);
    const proxy::DrawKey key{.deviceSerial = 1001, .connection = 1, .place = 1};
    const auto drawn = [&key](const proxy::RulePtr& active) { return drawFor(7, *active, key).next(); };
    require(drawn(alone) == drawn(beside), "a draw does not depend on other rules");
    require(drawn(beside) != drawn(twin), "two rules with the same text draw for themselves");
}

/// Returns true if @p line is a rule.
bool checkRule(const std::string& line)
{
    Rule rule;
    const std::string mistake = proxy::parseRule(line, &rule);
    if (!mistake.empty()) {
        checkMistake(line, mistake);
        return false;
    }
    require(line.size() <= zulcommand::kMaxCommandBytes, "a rule has its bound");
    require(rule.text == zulcommand::trimmed(line), "a rule keeps its text");
    Rule again;
    require(proxy::parseRule(rule.text, &again).empty() && again == rule,
            "a rule is read again from its text");
    checkParameters(rule);
    checkSelection(rule);
    checkTimes(rule);
    checkDraws(rule);
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const std::string content = input.restText();
    size_t good = 0;
    size_t number = 0;
    size_t firstBad = 0;
    for (const std::string& line : linesOf(content)) {
        ++number;
        const bool skipped = zulcommand::isSkipped(zulcommand::trimmed(line));
        if (!skipped && firstBad == 0) {
            checkRule(line) ? ++good : firstBad = number;
        }
    }
    std::vector<Rule> rules;
    const std::string mistake = proxy::parseRules(content, "FILE", &rules);
    require(rules.size() == good, "the rules before the first mistake are read");
    require(mistake.empty() == (firstBad == 0), "a file is as good as its lines");
    require(mistake.empty() || mistake.starts_with("FILE:" + std::to_string(firstBad) + ": "),
            "a mistake names its line");
    return 0;
}
