// Which messages a rule chooses, and when.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

/// Which of @p messages, sent in one piece each, @p rule loses: 'x' for each one that is lost.
std::string lostBy(const std::string& rule, const std::vector<Bytes>& messages,
                   eDirection direction = kToServer, FaultyProxy* shared = nullptr)
{
    FaultyProxy own;
    FaultyProxy* proxy = shared == nullptr ? &own : shared;
    if (!rule.empty()) {
        proxy->add(rule);
    }
    FaultyPipe pipe(proxy);
    std::string lost;
    for (const Bytes& message : messages) {
        pipe.send(direction, message);
        lost += pipe.take(direction).empty() ? 'x' : '.';
    }
    return lost;
}

Bytes withFlag(Bytes message, uint8_t flag)
{
    message[3] |= flag;
    return message;
}

const std::vector<Bytes> kOfEachSort = {
    request(1),   set(2), sample(3),  answer(4, 1),
    answer(5, 3), ping(), ping(true), framesOf(WMsg{.type = 9, .payload = {}})};

} // namespace

TEST(SelectorsTest, msgChoosesBySortOfMessage)
{
    EXPECT_EQ(lostBy("lose", kOfEachSort), "xxxxxxxx");
    EXPECT_EQ(lostBy("lose msg=get", kOfEachSort), "x.......");
    EXPECT_EQ(lostBy("lose msg=set", kOfEachSort), ".x......");
    EXPECT_EQ(lostBy("lose msg=event", kOfEachSort), "..x.....");
    EXPECT_EQ(lostBy("lose msg=answer", kOfEachSort), "...xx...");
    EXPECT_EQ(lostBy("lose msg=ping", kOfEachSort), ".....xx.");
}

TEST(SelectorsTest, theEventFlagDecidesNothing)
{
    EXPECT_EQ(lostBy("lose msg=get", {withFlag(request(1), wmsg::kFlagEvent)}), "x");
    EXPECT_EQ(lostBy("lose msg=event", {withFlag(request(1), wmsg::kFlagEvent)}), ".");
}

TEST(SelectorsTest, typeChoosesByTheHeaderAndNoPingsUnlessTheyAreAskedFor)
{
    EXPECT_EQ(lostBy("lose type=0", kOfEachSort), ".x......");
    EXPECT_EQ(lostBy("lose type=0 msg=ping", kOfEachSort), ".....xx.");
    EXPECT_EQ(lostBy("lose type=1 msg=ping", kOfEachSort), "........");
    EXPECT_EQ(lostBy("lose type=1", kOfEachSort), "x..x....");
    EXPECT_EQ(lostBy("lose type=9", kOfEachSort), ".......x");
    EXPECT_EQ(lostBy("lose type=3 msg=answer", kOfEachSort), "....x...");
}

TEST(SelectorsTest, dirChoosesADirection)
{
    EXPECT_EQ(lostBy("lose dir=to-server", {sample(1)}, kToServer), "x");
    EXPECT_EQ(lostBy("lose dir=to-server", {sample(1)}, kToDevice), ".");
    EXPECT_EQ(lostBy("lose dir=to-device", {sample(1)}, kToServer), ".");
    EXPECT_EQ(lostBy("lose dir=to-device", {sample(1)}, kToDevice), "x");
}

TEST(SelectorsTest, objectAndPortChooseMessagesWithSuchARecord)
{
    const std::vector<Bytes> messages = {sample(1), large(2, 10), event(3, {}), large(4, 5000),
                                         event(5, adhocPayload(1, "x") + samplePayload(1, 9, 0.0F))};
    EXPECT_EQ(lostBy("lose object=OBJ_ANALOG_SAMPLE", messages), "x...x");
    EXPECT_EQ(lostBy("lose object=13", messages), ".x.xx");
    EXPECT_EQ(lostBy("lose port=7", messages), ".x.xx");
    EXPECT_EQ(lostBy("lose port=9", messages), "....x");
    EXPECT_EQ(lostBy("lose port=9 object=OBJ_ADHOC_EVENT", messages), ".....");
}

TEST(SelectorsTest, aRecordKindCountsOnlyMessagesThatItCanActOn)
{
    FaultyProxy proxy;
    proxy.add("nan first=1");
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, large(1, 10) + answer(2) + sample(3) + sample(4));
    ASSERT_EQ(pipe.faults.size(), 1U);
    EXPECT_EQ(pipe.faults[0].msgSeq, 3);
    EXPECT_EQ(proxy.rules.all()[0]->matched, 2U);
}

TEST(SelectorsTest, countsAreOfWhatMatches)
{
    const std::vector<Bytes> ten(10, sample(1));
    EXPECT_EQ(lostBy("lose first=3", ten), "xxx.......");
    EXPECT_EQ(lostBy("lose skip=5 count=3", ten), ".....xxx..");
    EXPECT_EQ(lostBy("lose every=3", ten), "x..x..x..x");
    EXPECT_EQ(lostBy("lose skip=1 every=3", ten), ".x..x..x..");
    EXPECT_EQ(lostBy("lose every=3 count=4", ten), "x..x......");
    EXPECT_EQ(lostBy("lose skip=2 first=4", ten), "..xx......");
    EXPECT_EQ(lostBy("lose every=2 msg=event", {sample(1), answer(1), sample(2), sample(3)}), "x..x");
}

TEST(SelectorsTest, countsAreOfEachConnectionAndDirectionByItself)
{
    FaultyProxy proxy;
    proxy.add("lose first=1");
    for (const eDirection direction : {kToServer, kToDevice, kToServer}) {
        EXPECT_EQ(lostBy("", {sample(1), sample(2)}, direction, &proxy), "x.");
    }
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, sample(1));
    pipe.send(kToDevice, sample(2));
    EXPECT_EQ(pipe.faults.size(), 2U);
}

TEST(SelectorsTest, aDeviceIsMatchedFromTheMessageThatTellsItsNumber)
{
    const std::vector<Bytes> messages = {answer(1), sample(2), answer(3)};
    EXPECT_EQ(lostBy("lose device=1001", messages), ".xx");
    EXPECT_EQ(lostBy("lose device=1000-1001", messages), ".xx");
    EXPECT_EQ(lostBy("lose device=1002-1003", messages), "...");
    EXPECT_EQ(lostBy("lose device=100%", messages), ".xx");
    EXPECT_EQ(lostBy("lose device=0%", messages), "...");
    EXPECT_EQ(lostBy("lose reconnect=1", messages), ".xx");
    EXPECT_EQ(lostBy("lose reconnect=2", messages), "...");
}

TEST(SelectorsTest, messagesToADeviceMatchOnceItIsKnown)
{
    FaultyProxy proxy;
    proxy.add("lose device=1001 dir=to-device");
    FaultyPipe pipe(&proxy);
    pipe.send(kToDevice, request(1));
    EXPECT_EQ(pipe.take(kToDevice), request(1));
    pipe.send(kToServer, sample(1));
    pipe.send(kToDevice, request(2));
    EXPECT_EQ(pipe.take(kToDevice), Bytes());
}

TEST(SelectorsTest, bytesPassAtOnceIfNoRuleCouldActOnThem)
{
    const Bytes half = part(sample(9), 0, 20);
    const auto passes = [&](const std::vector<std::string>& rules, eDirection direction) {
        FaultyProxy proxy;
        for (const std::string& rule : rules) {
            proxy.add(rule);
        }
        FaultyPipe pipe(&proxy);
        pipe.send(kToServer, sample(1));
        pipe.take(kToServer);
        pipe.send(direction, half);
        return pipe.take(direction) == half;
    };
    EXPECT_TRUE(passes({"lose dir=to-device"}, kToServer));
    EXPECT_TRUE(passes({"lose device=7", "lose reconnect=2", "lose device=0%"}, kToServer));
    EXPECT_TRUE(passes({"lose after=10"}, kToServer));
    EXPECT_TRUE(passes({"cut after=10", "slow_close delay=1"}, kToDevice));
    EXPECT_FALSE(passes({"lose type=99"}, kToServer));
}

TEST(SelectorsTest, aShareOfTheDevicesIsChosenBySeedAndText)
{
    const auto chosen = [](uint64_t seed, const std::string& rule) {
        FaultyProxy proxy;
        proxy.seed = seed;
        proxy.add(rule);
        std::string lost;
        for (uint32_t serial = 0; serial < 1000; ++serial) {
            lost += lostBy("", {sample(1, serial)}, kToServer, &proxy);
        }
        return lost;
    };
    const std::string first = chosen(1, "lose device=5%");
    EXPECT_EQ(chosen(1, "lose device=5%"), first);
    EXPECT_NE(chosen(2, "lose device=5%"), first);
    EXPECT_NE(chosen(1, "lose device=5% first=1"), first);
    EXPECT_NEAR(static_cast<double>(std::ranges::count(first, 'x')), 50, 25);
}

TEST(SelectorsTest, afterAndForRunFromTheConnectionsBeginning)
{
    FaultyProxy proxy;
    proxy.add("lose after=1 for=2");
    FaultyPipe pipe(&proxy, 1, 100 * kSecond);
    std::string lost;
    for (int i = 0; i < 10; ++i) {
        pipe.send(kToServer, sample(1));
        lost += pipe.take(kToServer).empty() ? 'x' : '.';
        pipe.pass(kSecond / 2);
    }
    EXPECT_EQ(lost, "..xxxx....");
    EXPECT_EQ(proxy.rules.all()[0]->matched, 4U);
}

TEST(SelectorsTest, afterAndForOfALaterRuleRunFromItsAdding)
{
    FaultyProxy proxy;
    FaultyPipe pipe(&proxy);
    pipe.pass(10 * kSecond);
    proxy.add("lose after=1 for=1", pipe.nowNs());
    std::string lost;
    for (int i = 0; i < 6; ++i) {
        pipe.send(kToServer, sample(1));
        lost += pipe.take(kToServer).empty() ? 'x' : '.';
        pipe.pass(kSecond / 2);
    }
    EXPECT_EQ(lost, "..xx..");
}

TEST(SelectorsTest, theBeginningOfAMessagePassesWhenTheTimesOfAllRulesAreOver)
{
    FaultyProxy proxy;
    proxy.add("lose for=1");
    proxy.add("lose for=2 type=99");
    FaultyPipe pipe(&proxy);
    pipe.send(kToServer, part(sample(1), 0, 20));
    EXPECT_EQ(pipe.connection().deadline(), 2 * kSecond);
    pipe.pass(2 * kSecond - 1);
    EXPECT_EQ(pipe.take(kToServer), Bytes());
    pipe.pass(1);
    EXPECT_EQ(pipe.take(kToServer), part(sample(1), 0, 20));
    EXPECT_EQ(pipe.connection().deadline(), FaultyConnection::kNever);
    pipe.send(kToServer, part(sample(1), 20, sample(1).size() - 20));
    EXPECT_EQ(pipe.take(kToServer), part(sample(1), 20, sample(1).size() - 20));
}

TEST(SelectorsTest, chanceIsDrawnForEachMessage)
{
    const std::vector<Bytes> thousand(1000, sample(1));
    const std::string lost = lostBy("lose p=0.1", thousand);
    EXPECT_NEAR(static_cast<double>(std::ranges::count(lost, 'x')), 100, 40);
    EXPECT_EQ(lostBy("lose p=0.1", thousand), lost);
    EXPECT_EQ(lostBy("lose p=0", thousand), std::string(1000, '.'));
    EXPECT_EQ(lostBy("lose p=1", thousand), std::string(1000, 'x'));
}

} // namespace proxy
