// What each kind of the message layer does to the bytes.

#include "faultypipe.h"
#include "messages.h"

namespace proxy {

namespace {

class MessageFaultsTest : public testing::Test
{
protected:
    /// What comes out of @p bytes with @p rule, at once and later.
    Bytes through(const std::string& rule, const Bytes& bytes)
    {
        mProxy = std::make_unique<FaultyProxy>();
        mProxy->add(rule);
        mPipe = std::make_unique<FaultyPipe>(mProxy.get());
        mPipe->send(kToServer, bytes);
        return mPipe->take(kToServer);
    }

    /// The single fault of the last through().
    Fault onlyFault() const
    {
        EXPECT_EQ(mPipe->faults.size(), 1U);
        return mPipe->faults.empty() ? Fault() : mPipe->faults.front();
    }

    FaultyPipe& pipe() { return *mPipe; }

private:
    std::unique_ptr<FaultyProxy> mProxy;
    std::unique_ptr<FaultyPipe> mPipe;
};

} // namespace

TEST_F(MessageFaultsTest, loseTakesTheMessageAway)
{
    EXPECT_EQ(through("lose msg=event", sample(1) + answer(2) + sample(3)), answer(2));
    ASSERT_EQ(pipe().faults.size(), 2U);
    EXPECT_EQ(pipe().faults[0].msgSeq, 1);
    EXPECT_EQ(pipe().faults[0].became, "");
    EXPECT_EQ(pipe().faults[1].msgSeq, 3);
}

TEST_F(MessageFaultsTest, duplicateSendsTheCopyRightBehind)
{
    EXPECT_EQ(through("duplicate first=1", sample(1) + sample(2)), sample(1) + sample(1) + sample(2));
    EXPECT_EQ(onlyFault().became, "twice");
}

TEST_F(MessageFaultsTest, lateLetsLaterOnesOvertake)
{
    EXPECT_EQ(through("late ms=100 first=1", sample(1) + sample(2)), sample(2));
    EXPECT_EQ(onlyFault().became, "100 ms later");
    pipe().pass(100 * kMs - 1);
    EXPECT_EQ(pipe().take(kToServer), Bytes());
    pipe().pass(1);
    EXPECT_EQ(pipe().take(kToServer), sample(1));
}

} // namespace proxy
