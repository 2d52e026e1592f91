// The times of a connection, by a clock that the tests set.

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "zullink/asiodriver.h"

namespace {

std::chrono::milliseconds now(0);

} // namespace

cLinkClock::time_point cLinkClock::now() { return time_point(::now); }

namespace {

class LinkTimesTest : public testing::Test, private AsioDriver::Owner
{
protected:
    LinkTimesTest()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        mPeer = ends[0];
        mDriver = std::make_shared<AsioDriver>(
            boost::asio::ip::tcp::socket(mIo, boost::asio::ip::tcp::v4(), ends[1]),
            LinkSession::Settings{sLinkLimits(), false}, &mNumbers, nullptr,
            static_cast<AsioDriver::Owner*>(this));
        mDriver->start();
        WMsg message;
        message.payload.assign(100, 7);
        message.appendFrames(mFrames);
    }

    ~LinkTimesTest() override
    {
        mDriver->abandon();
        mDriver.reset();
        settle();
        ::close(mPeer);
    }

    /// Sends the next @p count bytes of a message.
    void sendBytes(size_t count)
    {
        EXPECT_EQ(::send(mPeer, mFrames.data() + mSent, count, 0), static_cast<ssize_t>(count));
        mSent += count;
        settle();
    }

    void sendRest() { sendBytes(mFrames.size() - mSent); }

    void pass(int seconds)
    {
        for (int second = 0; second < seconds; ++second) {
            now += std::chrono::seconds(1);
            settle();
        }
    }

    void pauseReading() { mPaused = true; }

    void resumeReading()
    {
        mPaused = false;
        mDriver->resumeReading();
        settle();
    }

    int mMessages = 0;
    std::string mReason;

private:
    void settle()
    {
        // A timer that is due earlier than any other has the loop look at the clock.
        LinkTimer look(mIo, LinkTimer::time_point::min());
        look.async_wait([](const boost::system::error_code&) {});
        mIo.restart();
        mIo.poll();
    }

    void linkMessage(LinkSession::Received&&) override { ++mMessages; }
    void linkClosed(const std::string& reason) override { mReason = reason; }
    bool readingPaused() const override { return mPaused; }

    boost::asio::io_context mIo;
    LinkNumbers mNumbers;
    std::shared_ptr<AsioDriver> mDriver;
    int mPeer = -1;
    std::vector<uint8_t> mFrames;
    size_t mSent = 0;
    bool mPaused = false;
};

} // namespace

TEST_F(LinkTimesTest, aMessageThatTakesTooLongEndsTheConnection)
{
    sendBytes(1);
    pass(15);
    sendBytes(1);
    pass(15);
    EXPECT_EQ(mReason, "");
    pass(2);
    EXPECT_EQ(mReason, "a message takes too long to arrive");
}

TEST_F(LinkTimesTest, theTimeForAMessageDoesNotRunWhileNobodyReads)
{
    sendBytes(20);
    pauseReading();
    sendBytes(20);
    pass(40);
    resumeReading();
    EXPECT_EQ(mReason, "");
    sendRest();
    EXPECT_EQ(mReason, "");
    EXPECT_EQ(mMessages, 1);
}

TEST_F(LinkTimesTest, theTimeForAMessageGoesOnAfterwards)
{
    sendBytes(20);
    pass(20);
    pauseReading();
    sendBytes(20);
    pass(40);
    resumeReading();
    pass(9);
    EXPECT_EQ(mReason, "");
    pass(3);
    EXPECT_EQ(mReason, "a message takes too long to arrive");
}

TEST_F(LinkTimesTest, aPeerIsNotSilentWhileNobodyReads)
{
    pauseReading();
    sendRest();
    pass(100);
    resumeReading();
    pass(29);
    EXPECT_EQ(mReason, "");
    pass(2);
    EXPECT_EQ(mReason, "it is silent");
}
