#include <boost/asio/io_context.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "zulconsole/lineinput.h"

namespace {

/// Reads lines from a pipe in which some wait already.
class LineInputTest : public testing::Test
{
protected:
    static constexpr size_t kLines = 4000;

    LineInputTest()
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
        mReadEnd = ends[0];
        std::string text;
        for (size_t line = 0; line < kLines; ++line) {
            text += "line\n";
        }
        EXPECT_EQ(::write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        ::close(ends[1]);
        mInput = std::make_unique<zulconsole::LineInput>(mIo, mReadEnd, 100);
    }

    ~LineInputTest() override { ::close(mReadEnd); }

    boost::asio::io_context mIo;
    std::unique_ptr<zulconsole::LineInput> mInput;
    size_t mLines = 0;

private:
    int mReadEnd = -1;
};

} // namespace

TEST_F(LineInputTest, nothingIsReadWhileItIsHeld)
{
    mInput->onLine = [this](const std::string&) {
        ++mLines;
        mInput->hold();
    };
    mInput->start();
    mIo.run();
    const size_t first = mLines;
    EXPECT_GT(first, 0U);
    EXPECT_LT(first, kLines / 2);
    mInput->resume();
    mIo.restart();
    mIo.run();
    EXPECT_GT(mLines, first);
    EXPECT_LT(mLines, kLines);
}

TEST_F(LineInputTest, everyLineComesInTheEnd)
{
    size_t held = 0;
    mInput->onLine = [&](const std::string& line) {
        mLines += line == "line" ? 1 : 0;
        mInput->hold();
    };
    mInput->start();
    for (; mLines < kLines; ++held) {
        mIo.restart();
        mIo.run();
        mInput->resume();
    }
    EXPECT_GT(held, 2U);
}
