#include "server/pendingrequests.h"

#include <algorithm>
#include <utility>

namespace server {

uint8_t PendingRequests::number()
{
    for (int tried = 0; tried < 256; ++tried) {
        if (mRequests[++mLast].state == eState::FREE) {
            return mLast;
        }
    }
    mLast = mUnwanted.front();
    mUnwanted.pop_front();
    mRequests[mLast] = Request();
    return mLast;
}

uint8_t PendingRequests::number(Handler handler)
{
    const uint8_t seq = number();
    mRequests[seq] = {eState::WANTED, std::move(handler)};
    return seq;
}

uint8_t PendingRequests::numberUnwanted()
{
    const uint8_t seq = number();
    mRequests[seq].state = eState::UNWANTED;
    mUnwanted.push_back(seq);
    return seq;
}

void PendingRequests::giveUp(uint8_t seq)
{
    if (mRequests[seq].state == eState::WANTED) {
        mRequests[seq] = {eState::UNWANTED, nullptr};
        mUnwanted.push_back(seq);
    }
}

bool PendingRequests::answer(const WMsg& answer)
{
    const Request request = std::exchange(mRequests[answer.seq], Request());
    if (request.state == eState::WANTED) {
        request.handler(&answer);
        return true;
    }
    if (request.state == eState::UNWANTED) {
        mUnwanted.erase(std::find(mUnwanted.begin(), mUnwanted.end(), answer.seq));
    }
    ++mDropped;
    return false;
}

void PendingRequests::failAll()
{
    std::array<Request, 256> ended;
    std::swap(ended, mRequests);
    mUnwanted.clear();
    for (const Request& request : ended) {
        if (request.state == eState::WANTED) {
            request.handler(nullptr);
        }
    }
}

} // namespace server
