#pragma once

#include <mutex>
#include <optional>
#include <vector>

#include "zullink/linksession.h"
#include "zulobj/objlistener.h"

/// Calls the listeners with the received messages, one message at a time.
class cEventPump
{
public:
    void addListener(cObjectListener* listener);

    /// Calls every listener, as often as it was added. An error says that @p received is unreadable: then
    /// none is called.
    WStatus deliver(const LinkSession::Received& received);

    /// For the answer to the message of @p type that is being delivered; none if there is none.
    std::optional<LinkSession::ReplyToken> tokenFor(uint8_t type) const;

private:
    mutable std::mutex mMutex;

    // Guarded by mMutex.
    std::vector<cObjectListener*> mListeners;
    std::optional<LinkSession::ReplyToken> mToken; ///< none if nothing is being delivered
    uint8_t mType = 0;                             ///< of what is being delivered
};
