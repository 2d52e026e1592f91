// The times of a connection, by a clock that the tests set.

#include <boost/asio/io_context.hpp>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "server/sessions/connection.h"

namespace {

std::chrono::milliseconds now(0);

} // namespace

cLinkClock::time_point cLinkClock::now() { return time_point(::now); }

namespace {

class LinkTimesTest : public testing::Test, private server::Connection::Owner
{
protected:
    LinkTimesTest()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        mPeer = ends[0];
        mConnection = std::make_shared<server::Connection>(
            boost::asio::ip::tcp::socket(mIo, boost::asio::ip::tcp::v4(), ends[1]), server::LinkSettings(),
            static_cast<server::Connection::Owner*>(this));
        mConnection->start();
        WMsg message;
        message.payload.assign(100, 7);
        message.appendFrames(mFrames);
    }

    ~LinkTimesTest() override
    {
        mConnection->abandon();
        mConnection.reset();
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

    void hold() { mHeld = true; }

    void resume()
    {
        mHeld = false;
        mConnection->resumeReading();
        settle();
    }

    int mMessages = 0;
    std::string mReason;

private:
    void settle()
    {
        // A timer that is due earlier than any other has the loop look at the clock.
        server::LinkTimer look(mIo, server::LinkTimer::time_point::min());
        look.async_wait([](const boost::system::error_code&) {});
        mIo.restart();
        mIo.poll();
    }

    void connectionMessage(WMsg&&) override { ++mMessages; }
    void connectionClosed(const std::string& reason) override { mReason = reason; }
    bool readingHeld() const override { return mHeld; }

    boost::asio::io_context mIo;
    std::shared_ptr<server::Connection> mConnection;
    int mPeer = -1;
    std::vector<uint8_t> mFrames;
    size_t mSent = 0;
    bool mHeld = false;
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
    hold();
    sendBytes(20);
    pass(40);
    resume();
    EXPECT_EQ(mReason, "");
    sendRest();
    EXPECT_EQ(mReason, "");
    EXPECT_EQ(mMessages, 1);
}

TEST_F(LinkTimesTest, theTimeForAMessageGoesOnAfterwards)
{
    sendBytes(20);
    pass(20);
    hold();
    sendBytes(20);
    pass(40);
    resume();
    pass(9);
    EXPECT_EQ(mReason, "");
    pass(3);
    EXPECT_EQ(mReason, "a message takes too long to arrive");
}

TEST_F(LinkTimesTest, aPeerIsNotSilentWhileNobodyReads)
{
    hold();
    sendRest();
    pass(100);
    resume();
    pass(29);
    EXPECT_EQ(mReason, "");
    pass(2);
    EXPECT_EQ(mReason, "it is silent");
}
