#include "proxy/rules/ruleset.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace proxy {

namespace {

constexpr uint64_t kSeed = 7;

Rule ruleNamed(const std::string& text)
{
    Rule rule;
    rule.text = text;
    return rule;
}

RulePtr added(RuleSet& rules, const std::string& text) { return rules.add(ruleNamed(text), 0); }

DrawKey someKey()
{
    return {
        .deviceSerial = 1001, .connection = 2, .direction = eDirection::TO_DEVICE, .ping = false, .place = 5};
}

uint64_t drawnBy(const RulePtr& rule, const DrawKey& key = someKey(), uint64_t seed = kSeed)
{
    return drawFor(seed, *rule, key).next();
}

double shareOfThousand(const std::string& text, double share, uint64_t seed = kSeed)
{
    RuleSet rules;
    const RulePtr rule = added(rules, text);
    rule->rule.share = share;
    int inside = 0;
    for (uint32_t serial = 1; serial <= 1000; ++serial) {
        inside += sharesIn(seed, *rule, serial) ? 1 : 0;
    }
    return inside / 1000.0;
}

} // namespace

TEST(RuleSetTest, keepsRulesInTheOrderInWhichTheyWereGiven)
{
    RuleSet rules;
    added(rules, "lose");
    added(rules, "swap");
    ASSERT_EQ(rules.all().size(), 2U);
    EXPECT_EQ(rules.all()[0]->rule.text, "lose");
    EXPECT_EQ(rules.all()[0]->number, 1U);
    EXPECT_EQ(rules.all()[1]->rule.text, "swap");
    EXPECT_EQ(rules.all()[1]->number, 2U);
}

TEST(RuleSetTest, givesANumberOnce)
{
    RuleSet rules;
    added(rules, "lose");
    EXPECT_TRUE(rules.clear(1));
    EXPECT_EQ(added(rules, "lose")->number, 2U);
    rules.clear();
    EXPECT_EQ(added(rules, "lose")->number, 3U);
}

TEST(RuleSetTest, clearsOneRuleOrAll)
{
    RuleSet rules;
    added(rules, "lose");
    added(rules, "swap");
    added(rules, "cut");
    EXPECT_TRUE(rules.clear(2));
    EXPECT_FALSE(rules.clear(2));
    EXPECT_FALSE(rules.clear(4));
    ASSERT_EQ(rules.all().size(), 2U);
    EXPECT_EQ(rules.all()[1]->rule.text, "cut");
    rules.clear();
    EXPECT_TRUE(rules.all().empty());
}

TEST(RuleSetTest, itsVersionChangesWithEveryRuleThatComesOrGoes)
{
    RuleSet rules;
    std::set<uint64_t> versions{rules.version()};
    added(rules, "lose");
    EXPECT_TRUE(versions.insert(rules.version()).second);
    added(rules, "lose");
    EXPECT_TRUE(versions.insert(rules.version()).second);
    rules.clear(1);
    EXPECT_TRUE(versions.insert(rules.version()).second);
    rules.clear();
    EXPECT_TRUE(versions.insert(rules.version()).second);
}

TEST(RuleSetTest, aClearOfARuleThatIsNotThereChangesNothing)
{
    RuleSet rules;
    added(rules, "lose");
    const uint64_t version = rules.version();
    rules.clear(9);
    EXPECT_EQ(rules.version(), version);
}

TEST(RuleSetTest, remembersWhenARuleWasAdded)
{
    RuleSet rules;
    EXPECT_EQ(rules.add(ruleNamed("lose"), 17)->addedNs, 17);
}

TEST(DrawTest, theSameSeedTextAndPlaceDrawTheSame)
{
    RuleSet one;
    RuleSet other;
    EXPECT_EQ(drawnBy(added(one, "lose p=0.5")), drawnBy(added(other, "lose p=0.5")));
}

TEST(DrawTest, theDrawOfOneTextIsTheSameEverywhereAndForEver)
{
    RuleSet rules;
    EXPECT_EQ(drawnBy(added(rules, "lose p=0.5")), 15361377617429628228U);
}

TEST(DrawTest, theNumberOfARuleDoesNotMatter)
{
    RuleSet one;
    RuleSet other;
    added(other, "swap");
    added(other, "cut");
    EXPECT_EQ(drawnBy(added(one, "lose p=0.5")), drawnBy(added(other, "lose p=0.5")));
}

TEST(DrawTest, twoRulesWithTheSameTextDrawDifferently)
{
    RuleSet rules;
    const RulePtr first = added(rules, "lose p=0.5");
    const RulePtr second = added(rules, "lose p=0.5");
    const RulePtr third = added(rules, "lose p=0.5");
    EXPECT_EQ((std::set<uint64_t>{drawnBy(first), drawnBy(second), drawnBy(third)}.size()), 3U);
}

TEST(DrawTest, aRuleInThePlaceOfAClearedOneDrawsWhatThatOneDrew)
{
    RuleSet rules;
    const uint64_t first = drawnBy(added(rules, "lose p=0.5"));
    const uint64_t second = drawnBy(added(rules, "lose p=0.5"));
    rules.clear(1);
    EXPECT_EQ(drawnBy(rules.all()[0]), second);
    EXPECT_EQ(drawnBy(added(rules, "lose p=0.5")), first);
}

TEST(DrawTest, everyPartOfTheKeyAndTheSeedAndTheTextMatter)
{
    RuleSet rules;
    const RulePtr rule = added(rules, "lose p=0.5");
    std::set<uint64_t> drawn{drawnBy(rule)};
    DrawKey key = someKey();
    key.deviceSerial = 1002;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key = someKey();
    key.deviceSerial.reset();
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key.deviceSerial = 0;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key = someKey();
    key.connection = 3;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key = someKey();
    key.direction = eDirection::TO_SERVER;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key = someKey();
    key.ping = true;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    key = someKey();
    key.place = 6;
    EXPECT_TRUE(drawn.insert(drawnBy(rule, key)).second);
    EXPECT_TRUE(drawn.insert(drawnBy(rule, someKey(), kSeed + 1)).second);
    EXPECT_TRUE(drawn.insert(drawnBy(added(rules, "lose p=0.6"))).second);
}

TEST(DrawTest, theFirstNumbersOfPlacesAreSpreadEvenly)
{
    RuleSet rules;
    const RulePtr rule = added(rules, "lose p=0.02");
    int below = 0;
    DrawKey key = someKey();
    for (key.place = 1; key.place <= 10'000; ++key.place) {
        below += drawFor(kSeed, *rule, key).nextFraction() < 0.02 ? 1 : 0;
    }
    EXPECT_NEAR(below, 200, 50);
}

TEST(DrawTest, aShareOfTheDevicesIsAboutThatShare)
{
    EXPECT_NEAR(shareOfThousand("lose device=5%", 0.05), 0.05, 0.03);
    EXPECT_NEAR(shareOfThousand("lose device=50%", 0.5), 0.5, 0.06);
}

TEST(DrawTest, aShareOfNothingOrAllIsExactlyThat)
{
    EXPECT_EQ(shareOfThousand("lose device=0%", 0.0), 0.0);
    EXPECT_EQ(shareOfThousand("lose device=100%", 1.0), 1.0);
}

TEST(DrawTest, theShareHasTheSameDevicesWithTheSameSeedAndOthersWithAnother)
{
    RuleSet rules;
    const RulePtr rule = added(rules, "lose device=50%");
    rule->rule.share = 0.5;
    const auto devices = [&](uint64_t seed) {
        std::set<uint32_t> inside;
        for (uint32_t serial = 1; serial <= 100; ++serial) {
            if (sharesIn(seed, *rule, serial)) {
                inside.insert(serial);
            }
        }
        return inside;
    };
    EXPECT_EQ(devices(1), devices(1));
    EXPECT_NE(devices(1), devices(2));
}

} // namespace proxy
