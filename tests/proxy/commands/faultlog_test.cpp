#include "proxy/commands/faultlog.h"

#include <gtest/gtest.h>

namespace proxy {

namespace {

Fault lateFault(uint32_t rule)
{
    return {.rule = rule,
            .kind = eFault::LATE,
            .connection = 1,
            .deviceSerial = 1001,
            .direction = eDirection::TO_DEVICE,
            .msgSeq = 7,
            .object = 2};
}

std::optional<Fault> taken(FaultLog& log, const FaultLog::Filter& filter)
{
    uint64_t since = 0;
    return log.take(filter, &since);
}

bool takes(const FaultLog::Filter& filter)
{
    FaultLog log;
    log.add(lateFault(3));
    return taken(log, filter).has_value();
}

class Counter : public FaultLog::Listener
{
public:
    void faultAdded() override { ++count; }

    int count = 0;
};

} // namespace

TEST(FaultLogTest, aFaultIsTakenOnce)
{
    FaultLog log;
    log.add(lateFault(1));
    EXPECT_TRUE(taken(log, {.kind = eFault::LATE}));
    EXPECT_FALSE(taken(log, {.kind = eFault::LATE}));
}

TEST(FaultLogTest, theEarliestIsTakenFirst)
{
    FaultLog log;
    log.add(lateFault(1));
    log.add(lateFault(2));
    EXPECT_EQ(taken(log, {.kind = eFault::LATE})->rule, 1U);
    EXPECT_EQ(taken(log, {.kind = eFault::LATE})->rule, 2U);
}

TEST(FaultLogTest, everyPartOfTheFilterHasToMatch)
{
    EXPECT_TRUE(takes({.kind = eFault::LATE,
                       .rule = 3,
                       .connection = 1,
                       .deviceSerial = 1001,
                       .direction = eDirection::TO_DEVICE,
                       .msgSeq = 7,
                       .object = 2}));
    EXPECT_FALSE(takes({.kind = eFault::LOSE}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .rule = 4}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .connection = 2}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .deviceSerial = 1002}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .direction = eDirection::TO_SERVER}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .msgSeq = 8}));
    EXPECT_FALSE(takes({.kind = eFault::LATE, .object = 3}));
}

TEST(FaultLogTest, aPartThatTheFaultDoesNotHaveMatchesNoValue)
{
    FaultLog log;
    log.add({.kind = eFault::CUT});
    EXPECT_FALSE(taken(log, {.kind = eFault::CUT, .deviceSerial = 0}));
    EXPECT_FALSE(taken(log, {.kind = eFault::CUT, .msgSeq = 0}));
    EXPECT_TRUE(taken(log, {.kind = eFault::CUT}));
}

TEST(FaultLogTest, whatWasScannedIsNotScannedAgain)
{
    FaultLog log;
    log.add(lateFault(1));
    uint64_t since = 0;
    EXPECT_FALSE(log.take({.kind = eFault::LOSE}, &since));
    EXPECT_EQ(since, 1U);
    EXPECT_FALSE(log.take({.kind = eFault::LATE}, &since));
    log.add(lateFault(2));
    EXPECT_EQ(log.take({.kind = eFault::LATE}, &since)->rule, 2U);
}

TEST(FaultLogTest, keepsTheLatest)
{
    FaultLog log(2);
    for (uint32_t rule = 1; rule <= 3; ++rule) {
        log.add(lateFault(rule));
    }
    ASSERT_EQ(log.all().size(), 2U);
    EXPECT_EQ(log.all().front().fault.rule, 2U);
    EXPECT_EQ(log.added(), 3U);
}

TEST(FaultLogTest, clearDropsAll)
{
    FaultLog log;
    log.add(lateFault(1));
    log.clear();
    EXPECT_FALSE(taken(log, {.kind = eFault::LATE}));
}

TEST(FaultLogTest, tellsItsListenersUntilTheyLeave)
{
    FaultLog log;
    Counter one;
    Counter other;
    log.listen(&one);
    log.listen(&other);
    log.add(lateFault(1));
    log.ignore(&one);
    log.add(lateFault(2));
    EXPECT_EQ(one.count, 1);
    EXPECT_EQ(other.count, 2);
}

} // namespace proxy
