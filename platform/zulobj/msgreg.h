#ifndef ZULOBJ_MSGREG_H
#define ZULOBJ_MSGREG_H

#include <cstddef>
#include <cstdint>
#include <deque>

class cObjectList;

/// One outstanding request; the caller that waits for its answer holds it.
struct cMsgReg
{
    /// How a request of a client came out.
    enum eMsgStatus
    {
        MSG_OK = 0,
        MSG_ERROR = 1, ///< not sent, or the connection was lost before the answer came, or no answer in time
        MSG_WAITING = 2, ///< no answer yet
        MSG_BUSY = 3     ///< every sequence number stands for another outstanding request
    };

    eMsgStatus status = MSG_WAITING;
    int transmitted = 0;           ///< how often it went out
    cObjectList* answer = nullptr; ///< borrowed; filled when the answer comes
    bool complete = false;
};

/// Finds the outstanding request that a sequence number stands for. It has no lock of its own.
///
/// A number stays taken until its answer comes, also when nobody waits for that any longer. Answers come in
/// the order of the requests, so an answer also tells that none will come to an earlier request.
class cMsgRegistry
{
public:
    /// One number stays free for everything that is not a request.
    static constexpr size_t kMaxOutstanding = 255;

    bool isTaken(uint8_t seq) const;

    /// @p request has just been sent, as number @p seq.
    void add(uint8_t seq, cMsgReg* request) { mEntries.push_back({seq, request}); }

    /// The request that was sent as @p seq, whose answer has come; null when nobody waits for it. The number
    /// is free again.
    cMsgReg* answered(uint8_t seq);

    /// Nobody waits for the answer to @p request any longer.
    void giveUp(const cMsgReg* request);

    /// How many numbers are taken for nobody.
    size_t givenUp() const;

    /// Ends every request with @p status and forgets it.
    void failAll(cMsgReg::eMsgStatus status);

private:
    struct Entry
    {
        uint8_t seq;
        cMsgReg* request; ///< null when given up
    };

    std::deque<Entry> mEntries; ///< oldest first
};

#endif
