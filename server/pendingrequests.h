#ifndef SERVER_PENDINGREQUESTS_H
#define SERVER_PENDINGREQUESTS_H

#include <array>
#include <cstdint>
#include <deque>
#include <functional>

#include "wmsg/wmsg.h"

namespace server {

/// Numbers the messages of one connection and finds the request that an answer belongs to.
///
/// The numbers run 1 to 255, then 0. One whose answer is still to come is passed over, also when nobody
/// waits for that answer any longer; when all are in that state, the one given up longest ago is reused.
class PendingRequests
{
public:
    /// Gets the answer, or null when the connection ended before it came.
    using Handler = std::function<void(const WMsg*)>;

    /// A number for a message that is not answered.
    uint8_t number();

    /// A number for a message whose answer goes to @p handler, at most 255 at a time.
    uint8_t number(Handler handler);

    /// A number for a message whose answer nobody wants.
    uint8_t numberUnwanted();

    /// The answer to @p seq is no longer wanted: its handler is forgotten.
    void giveUp(uint8_t seq);

    /// Hands @p answer to its request. False, and the answer is counted, when nobody waits for it.
    bool answer(const WMsg& answer);

    /// Ends every request with null.
    void failAll();

    /// Answers that nobody waited for.
    uint64_t dropped() const { return mDropped; }

private:
    enum class eState
    {
        FREE,
        WANTED,
        UNWANTED
    };

    struct Request
    {
        eState state = eState::FREE;
        Handler handler;
    };

    std::array<Request, 256> mRequests;
    std::deque<uint8_t> mUnwanted; ///< oldest first
    uint8_t mLast = 0;
    uint64_t mDropped = 0;
};

} // namespace server

#endif
