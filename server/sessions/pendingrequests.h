#ifndef SERVER_PENDINGREQUESTS_H
#define SERVER_PENDINGREQUESTS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

#include "wmsg/wmsg.h"

namespace server {

/// Numbers the messages of one connection and finds the request that an answer belongs to.
///
/// The numbers run 1 to 255, then 0, and on from there on the next connection. One whose answer is still to
/// come is passed over, also when nobody waits for that answer any longer. Answers come in the order of the
/// requests, so an answer also tells that none will come to an earlier request.
class PendingRequests
{
public:
    /// Gets the answer, or null when the connection ended before it came.
    using Handler = std::function<void(const WMsg*)>;

    /// Goes on behind @p last, which outlives it and holds the number given last, by whomever; 0 before any.
    explicit PendingRequests(uint8_t* last) : mLast(last) {}

    /// One number stays free for what is not answered.
    static constexpr size_t kMaxOutstanding = 255;

    /// A number for a message that is not answered.
    uint8_t number();

    /// A number for a message whose answer goes to @p handler; none while too many are outstanding.
    std::optional<uint8_t> number(Handler handler);

    /// A number for a message whose answer nobody wants; none while too many are outstanding.
    std::optional<uint8_t> numberUnwanted() { return number(nullptr); }

    /// The answer to @p seq is no longer wanted: its handler is forgotten.
    void giveUp(uint8_t seq) { mHandlers[seq] = nullptr; }

    /// Hands @p answer to its request. False, and the answer is counted, when nobody waits for it.
    bool answer(const WMsg& answer);

    /// Ends every request with null.
    void failAll();

    /// Answers that nobody waited for.
    uint64_t dropped() const { return mDropped; }

private:
    bool isOutstanding(uint8_t seq) const;

    std::deque<uint8_t> mOutstanding; ///< numbers of requests without an answer, oldest first
    std::array<Handler, 256> mHandlers;
    uint8_t* mLast;
    uint64_t mDropped = 0;
};

} // namespace server

#endif
