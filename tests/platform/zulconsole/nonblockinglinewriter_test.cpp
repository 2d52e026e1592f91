#include <boost/asio/io_context.hpp>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>

#include "zulconsole/nonblockinglinewriter.h"

using zulconsole::NonBlockingLineWriter;

namespace {

class JsonOutputTest : public testing::Test
{
protected:
    JsonOutputTest()
    {
        EXPECT_EQ(::pipe2(mPipe, O_CLOEXEC), 0);
        mOutput = std::make_unique<NonBlockingLineWriter>(mIo, mPipe[1]);
        mOutput->onWritable = [this] { ++mDrained; };
        mOutput->onWriteFailed = [this](const std::string& reason) { mReason = reason; };
    }

    ~JsonOutputTest() override
    {
        mOutput.reset();
        ::close(mPipe[0]);
        ::close(mPipe[1]);
    }

    size_t readSome()
    {
        char data[65536];
        const ssize_t size = ::read(mPipe[0], data, sizeof data);
        return size > 0 ? static_cast<size_t>(size) : 0;
    }

    boost::asio::io_context mIo;
    int mPipe[2] = {-1, -1};
    std::unique_ptr<NonBlockingLineWriter> mOutput;
    int mDrained = 0;
    std::string mReason;
};

} // namespace

TEST_F(JsonOutputTest, aLineIsThereAtOnce)
{
    mOutput->writeLine("{}");
    char data[16] = {};
    EXPECT_EQ(::read(mPipe[0], data, sizeof data), 3);
    EXPECT_STREQ(data, "{}\n");
}

TEST_F(JsonOutputTest, aReaderThatStopsCongestsAndThenGetsAll)
{
    const std::string line(999, 'x');
    size_t written = 0;
    while (!mOutput->congested()) {
        mOutput->writeLine(line);
        written += line.size() + 1;
    }
    EXPECT_GT(written, NonBlockingLineWriter::kCongestedBytes);
    size_t got = 0;
    while (got < written) {
        got += readSome();
        mIo.poll();
        mIo.restart();
    }
    EXPECT_EQ(got, written);
    EXPECT_EQ(mDrained, 1);
    EXPECT_FALSE(mOutput->congested());
}

TEST_F(JsonOutputTest, finishGivesUpOnAReaderThatNeverReads)
{
    mOutput->writeLine(std::string(1000000, 'x'));
    EXPECT_FALSE(mOutput->finish(1));
}

TEST_F(JsonOutputTest, nothingIsWrittenAfterFinish)
{
    mOutput->writeLine("a");
    EXPECT_TRUE(mOutput->finish(1));
    mOutput->writeLine("b");
    EXPECT_EQ(readSome(), 2U);
}

TEST_F(JsonOutputTest, aReaderThatGoesAwayIsToldOnce)
{
    ::signal(SIGPIPE, SIG_IGN);
    ::close(mPipe[0]);
    mPipe[0] = -1;
    mOutput->writeLine("a");
    mOutput->writeLine("b");
    EXPECT_EQ(mReason, "") << "not from inside writeLine()";
    EXPECT_EQ(mIo.run(), 1U);
    EXPECT_EQ(mReason, "Broken pipe");
}
