#include "zulcommand/linerunner.h"

#include <utility>

#include "zulcommand/commandwords.h"

namespace zulcommand {

void LineRunner::submit(const std::string& line)
{
    std::string text = trimmed(line);
    if (!isSkipped(text)) {
        mQueue.push_back(std::move(text));
    }
}

void LineRunner::runNext()
{
    if (isRunning() || mQueue.empty()) {
        return;
    }
    std::string text = std::move(mQueue.front());
    mQueue.pop_front();
    begin(std::move(text));
}

} // namespace zulcommand
