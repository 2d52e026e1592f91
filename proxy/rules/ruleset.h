#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "proxy/rules/rule.h"
#include "zuldevice/seededrandom.h"

namespace proxy {

/// A rule that is in force.
struct ActiveRule
{
    Rule rule;
    uint32_t number = 0; ///< from 1, in the order in which rules were added
    uint64_t draws = 0;  ///< decides what it draws; of its text, and of which rule with that text it is
    int64_t addedNs = 0; ///< when; kFromTheBeginning for a rule that was there before any connection
    uint64_t matched = 0;
    uint64_t injected = 0;

    static constexpr int64_t kFromTheBeginning = INT64_MIN;
};

using RulePtr = std::shared_ptr<ActiveRule>;

/// The rules of a proxy, in the order in which they were given.
class RuleSet
{
public:
    /// As many rules as a proxy takes; add() does not look.
    static constexpr size_t kMaxRules = 1000;

    /// Returns the rule that was added. A number is given once.
    RulePtr add(Rule rule, int64_t nowNs);

    /// False if there is no rule @p number.
    bool clear(uint32_t number);
    void clear();

    const std::vector<RulePtr>& all() const { return mRules; }
    bool has(uint32_t number) const;

    /// Changes with every rule that comes or goes.
    uint64_t version() const { return mVersion; }

private:
    uint64_t drawsOf(const std::string& text) const;

    std::vector<RulePtr> mRules;
    uint32_t mLast = 0;
    uint64_t mVersion = 0;
};

/// What is drawn depends on this, the seed and the rule's text, and on nothing else.
struct DrawKey
{
    std::optional<uint32_t> deviceSerial = {}; ///< nothing before it is known
    uint32_t connection = 0;                   ///< which one of that device, from 1; 0 before it is known
    eDirection direction = eDirection::TO_SERVER;
    bool ping = false;  ///< pings come by the clock, so they are counted by themselves
    uint64_t place = 0; ///< of the message among those of its direction, from 1; of a connection its number
};

/// The numbers that @p rule draws for one message, or for one connection.
cSeededRandom drawFor(uint64_t seed, const ActiveRule& rule, const DrawKey& key);

/// True if the device belongs to the rule's share.
bool sharesIn(uint64_t seed, const ActiveRule& rule, uint32_t deviceSerial);

} // namespace proxy
