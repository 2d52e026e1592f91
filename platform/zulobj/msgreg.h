#ifndef ZULOBJ_MSGREG_H
#define ZULOBJ_MSGREG_H

#include <array>
#include <cstddef>
#include <cstdint>

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
class cMsgRegistry
{
public:
    /// One number stays free for everything that is not a request.
    static constexpr size_t kMaxOutstanding = 255;

    bool isTaken(uint8_t seq) const { return mBySeq[seq] != nullptr; }
    void add(uint8_t seq, cMsgReg* request) { mBySeq[seq] = request; }
    cMsgReg* find(uint8_t seq) const { return mBySeq[seq]; }

    /// Forgets @p request, whatever its number.
    void remove(const cMsgReg* request);

    /// Ends every request with @p status and forgets it.
    void failAll(cMsgReg::eMsgStatus status);

private:
    std::array<cMsgReg*, 256> mBySeq{};
};

#endif
