#include "server/sessions/pendingrequests.h"

#include <algorithm>
#include <utility>

namespace server {

bool PendingRequests::isOutstanding(uint8_t seq) const
{
    return std::find(mOutstanding.begin(), mOutstanding.end(), seq) != mOutstanding.end();
}

uint8_t PendingRequests::number()
{
    do {
        ++*mLast;
    } while (isOutstanding(*mLast));
    return *mLast;
}

std::optional<uint8_t> PendingRequests::number(Handler handler)
{
    if (mOutstanding.size() >= kMaxOutstanding) {
        return std::nullopt;
    }
    const uint8_t seq = number();
    mOutstanding.push_back(seq);
    mHandlers[seq] = std::move(handler);
    return seq;
}

bool PendingRequests::answer(const WMsg& answer)
{
    const auto found = std::find(mOutstanding.begin(), mOutstanding.end(), answer.seq);
    if (found == mOutstanding.end()) {
        ++mDropped;
        return false;
    }
    const Handler handler = std::exchange(mHandlers[answer.seq], nullptr);
    const auto overtaken = std::remove_if(mOutstanding.begin(), found,
                                          [this](uint8_t seq) { return mHandlers[seq] == nullptr; });
    mOutstanding.erase(mOutstanding.erase(overtaken, found));
    if (handler == nullptr) {
        ++mDropped;
        return false;
    }
    handler(&answer);
    return true;
}

void PendingRequests::failAll()
{
    std::array<Handler, 256> ended;
    std::swap(ended, mHandlers);
    mOutstanding.clear();
    for (const Handler& handler : ended) {
        if (handler != nullptr) {
            handler(nullptr);
        }
    }
}

} // namespace server
