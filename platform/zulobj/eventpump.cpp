#include "zulobj/eventpump.h"

#include "zulobj/objectlist.h"

void cEventPump::addListener(cObjectListener* listener)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mListeners.push_back(listener);
}

WStatus cEventPump::deliver(const LinkSession::Received& received)
{
    cObjectList list;
    const WStatus status = list.decode(received.message);
    if (!status.isOk()) {
        return status;
    }
    std::unique_lock<std::mutex> lock(mMutex);
    mToken = received.token;
    mType = received.message.type;
    // No lock is held during a call: a listener may wait for the thread that adds one.
    const std::vector<cObjectListener*> called = mListeners;
    lock.unlock();
    for (cObjectListener* listener : called) {
        listener->handleObjectAction(&list);
    }
    lock.lock();
    mToken.reset();
    return status;
}

std::optional<LinkSession::ReplyToken> cEventPump::tokenFor(uint8_t type) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mType == type ? mToken : std::nullopt;
}
