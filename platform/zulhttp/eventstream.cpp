#include "zulhttp/eventstream.h"

#include <algorithm>
#include <utility>

namespace zulhttp {

namespace {

/// Pieces that are written by one call.
constexpr size_t kMaxPieces = 64;

} // namespace

void EventStream::send(Text text)
{
    if (!mOpen || text->empty()) {
        return;
    }
    if (mWaitingBytes + text->size() > kMaxWaiting) {
        return close();
    }
    mWaitingBytes += text->size();
    mWaiting.push_back(std::move(text));
    onChange();
}

void EventStream::close()
{
    if (std::exchange(mOpen, false)) {
        mWaiting.clear();
        onChange();
    }
}

void EventStream::appendOutput(std::vector<std::string_view>* pieces) const
{
    for (size_t i = 0; i < std::min(kMaxPieces, mWaiting.size()); ++i) {
        pieces->push_back(std::string_view(*mWaiting[i]).substr(i == 0 ? mWritten : 0));
    }
}

void EventStream::written(size_t size)
{
    mWaitingBytes -= size;
    mWritten += size;
    while (!mWaiting.empty() && mWritten >= mWaiting.front()->size()) {
        mWritten -= mWaiting.front()->size();
        mWaiting.pop_front();
    }
}

} // namespace zulhttp
