#include "proxy/rules/ruleset.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace proxy {

namespace {

/// Appends the bytes of @p number to those at @p at, and returns where they end.
char* append(char* at, uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        *at++ = static_cast<char>(number >> shift & 0xFF);
    }
    return at;
}

} // namespace

RulePtr RuleSet::add(Rule rule, int64_t nowNs)
{
    auto active = std::make_shared<ActiveRule>();
    active->draws = drawsOf(rule.text);
    active->rule = std::move(rule);
    active->number = ++mLast;
    active->addedNs = nowNs;
    mRules.push_back(active);
    ++mVersion;
    return active;
}

/// Rules with the same text draw different numbers. One that takes the place of a cleared one draws what that
/// one drew.
uint64_t RuleSet::drawsOf(const std::string& text) const
{
    for (uint64_t twin = 0;; ++twin) {
        const uint64_t draws = cSeededRandom(0, text, twin).next();
        if (std::ranges::find(mRules, draws, [](const RulePtr& rule) { return rule->draws; }) ==
            mRules.end()) {
            return draws;
        }
    }
}

bool RuleSet::clear(uint32_t number)
{
    const auto cleared = std::erase_if(mRules, [&](const RulePtr& rule) { return rule->number == number; });
    mVersion += cleared;
    return cleared > 0;
}

bool RuleSet::has(uint32_t number) const
{
    return std::ranges::any_of(mRules, [number](const RulePtr& rule) { return rule->number == number; });
}

void RuleSet::clear()
{
    mRules.clear();
    ++mVersion;
}

cSeededRandom drawFor(uint64_t seed, const ActiveRule& rule, const DrawKey& key)
{
    std::array<char, 19> bytes;
    char* end = bytes.data();
    *end++ = key.deviceSerial ? 1 : 0;
    *end++ = key.direction == eDirection::TO_SERVER ? 0 : 1;
    *end++ = key.ping ? 1 : 0;
    end = append(end, key.deviceSerial.value_or(0));
    end = append(end, key.connection);
    end = append(end, static_cast<uint32_t>(rule.draws >> 32));
    end = append(end, static_cast<uint32_t>(rule.draws));
    return {seed, std::string_view(bytes.data(), end), key.place};
}

bool sharesIn(uint64_t seed, const ActiveRule& rule, uint32_t deviceSerial)
{
    std::array<char, 8> bytes;
    append(append(bytes.data(), static_cast<uint32_t>(rule.draws >> 32)), static_cast<uint32_t>(rule.draws));
    cSeededRandom random(seed, std::string_view(bytes.data(), bytes.size()), deviceSerial);
    return random.nextFraction() < rule.rule.share.value_or(1.0);
}

} // namespace proxy
