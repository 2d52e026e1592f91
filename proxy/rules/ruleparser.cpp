#include "proxy/rules/ruleparser.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include "proxy/rules/faultsyntax.h"
#include "proxy/rules/rulewords.h"

namespace proxy {

using namespace zulcommand;

namespace {

using S = FaultSyntax;

/// A decimal number from 0 to @p max.
std::optional<double> parseUpTo(const std::string& text, double max)
{
    const std::optional<double> number = parseDouble(text);
    return number && !std::signbit(*number) && *number <= max ? number : std::nullopt;
}

void readDevices(CommandWords* words, Rule* rule)
{
    const std::optional<std::string> text = words->text("device");
    if (text && text->ends_with('%')) {
        const std::optional<double> percentage = parseUpTo(text->substr(0, text->size() - 1), 100.0);
        rule->share = percentage.value_or(0.0) / 100.0;
        if (!percentage) {
            words->fail("device is not a percentage from 0 to 100: " + quote(*text) + ".");
        }
    } else if (text) {
        rule->devices = parseDevices(*text);
        if (!rule->devices) {
            words->fail("device is neither SERIAL, nor A-B with A no larger than B, nor a percentage: " +
                        quote(*text) + ".");
        }
    }
    rule->reconnect = words->number("reconnect", 1);
}

void readCounts(CommandWords* words, Rule* rule)
{
    if (const std::optional<std::string> text = words->text("p")) {
        rule->chance = parseUpTo(*text, 1.0);
        if (!rule->chance) {
            words->fail("p is not a number from 0 to 1: " + quote(*text) + ".");
        }
    }
    rule->every = words->number("every", 1);
    rule->skip = words->number("skip");
    rule->first = words->number("first", 1);
    rule->count = words->number("count", 1);
    if (rule->first && *rule->first <= rule->skip.value_or(0)) {
        words->fail("first is not larger than skip.");
    }
}

void readWindow(CommandWords* words, unsigned takes, Rule* rule)
{
    if ((takes & S::kAfter) != 0) {
        rule->afterNs = readSeconds(words, "after", true).value_or(0);
    }
    if ((takes & S::kFor) != 0) {
        rule->forNs = readSeconds(words, "for", false);
    }
}

void readDirectionOf(CommandWords* words, unsigned takes, Rule* rule)
{
    if ((takes & (S::kDirection | S::kDirectionOfCount)) == 0) {
        return;
    }
    rule->direction = readDirection(words);
    if (rule->direction && (takes & S::kDirection) == 0 && !rule->actsOnMessages()) {
        words->fail("dir needs p, every, first, skip or count here: without them both sides are meant.");
    }
}

/// One sentence if no record of the rule's object is one that its kind could act on.
std::string objectMistake(const Rule& rule)
{
    const auto isTarget = [&rule](const zuldict::TagEntry& entry) {
        return rule.kind == eFault::NAN_FLOATS ? entry.wireType == zuldict::eWireType::FLOAT
                                               : &entry == rule.change.field;
    };
    if ((rule.change.field != nullptr || rule.kind == eFault::NAN_FLOATS) &&
        !mayHave(*rule.object, isTarget)) {
        return "object is a type without " +
               (rule.change.field == nullptr ? "a float." : quote(rule.change.field->name) + ".");
    }
    return "";
}

/// One sentence if words that are right by themselves contradict each other.
std::string contradiction(const Rule& rule)
{
    if (rule.message == Rule::PING && layerOf(rule.kind) == eFaultLayer::RECORD) {
        return "msg=ping has no records for this kind.";
    }
    const std::string mistake = contradictionIn(rule);
    return mistake.empty() && rule.object ? objectMistake(rule) : mistake;
}

/// One sentence if the rule does not say which field.
std::string missingField(const Rule& rule)
{
    switch (rule.change.field == nullptr ? rule.kind : eFault::LOSE) {
    case eFault::FIELD:
        return "The kind \"field\" needs NAME=VALUE, with the NAME of a field.";
    case eFault::DROP_TAG:
    case eFault::WRONG_LENGTH:
        return "The kind " + quote(nameOf(rule.kind)) + " needs the NAME of a field.";
    default:
        return "";
    }
}

std::string readRule(const FaultSyntax& syntax, const std::string& line, Rule* rule)
{
    CommandWords words(line, "The kind " + quote(syntax.name));
    rule->kind = syntax.kind;
    syntax.read(&words, rule);
    if ((syntax.takes & S::kDevice) != 0) {
        readDevices(&words, rule);
    }
    if ((syntax.takes & S::kMessages) != 0) {
        readMessages(&words, rule);
    }
    if ((syntax.takes & S::kCounts) != 0) {
        readCounts(&words, rule);
    }
    readWindow(&words, syntax.takes, rule);
    readDirectionOf(&words, syntax.takes, rule);
    std::string mistake = words.finish();
    mistake = mistake.empty() ? missingField(*rule) : mistake;
    return mistake.empty() ? contradiction(*rule) : mistake;
}

} // namespace

std::string parseRule(const std::string& text, Rule* rule)
{
    if (std::string mistake = lineMistake(text, "The rule"); !mistake.empty()) {
        return mistake;
    }
    *rule = Rule();
    rule->text = trimmed(text);
    const size_t end = std::min(rule->text.find_first_of(kBlanks), rule->text.size());
    const std::string kind = rule->text.substr(0, end);
    if (kind.empty()) {
        return "The rule is empty.";
    }
    const FaultSyntax* syntax = findSyntax(kind);
    return syntax == nullptr ? "There is no kind " + quote(kind) + "."
                             : readRule(*syntax, rule->text.substr(end), rule);
}

std::string parseRules(const std::string& content, const std::string& name, std::vector<Rule>* rules)
{
    size_t number = 0;
    for (size_t begin = 0; begin < content.size();) {
        const size_t end = std::min(content.find('\n', begin), content.size());
        const std::string line = trimmed(content.substr(begin, end - begin));
        begin = end + 1;
        ++number;
        if (isSkipped(line)) {
            continue;
        }
        Rule rule;
        if (const std::string mistake = parseRule(line, &rule); !mistake.empty()) {
            return (name + ":").append(std::to_string(number)).append(": ").append(mistake);
        }
        rules->push_back(std::move(rule));
    }
    return "";
}

std::optional<eFault> parseFaultKind(const std::string& name)
{
    const FaultSyntax* syntax = findSyntax(name);
    if (syntax == nullptr) {
        return std::nullopt;
    }
    return syntax->kind == eFault::TIMEOUT ? eFault::SILENCE : syntax->kind;
}

} // namespace proxy
