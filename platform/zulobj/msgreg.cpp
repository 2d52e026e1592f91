#include "zulobj/msgreg.h"

#include <algorithm>

bool cMsgRegistry::isTaken(uint8_t seq) const
{
    return std::any_of(mEntries.begin(), mEntries.end(),
                       [seq](const Entry& entry) { return entry.seq == seq; });
}

cMsgReg* cMsgRegistry::answered(uint8_t seq)
{
    const auto found = std::find_if(mEntries.begin(), mEntries.end(),
                                    [seq](const Entry& entry) { return entry.seq == seq; });
    if (found == mEntries.end()) {
        return nullptr;
    }
    cMsgReg* const request = found->request;
    const auto overtaken =
        std::remove_if(mEntries.begin(), found, [](const Entry& entry) { return entry.request == nullptr; });
    mEntries.erase(mEntries.erase(overtaken, found));
    return request;
}

void cMsgRegistry::giveUp(const cMsgReg* request)
{
    for (Entry& entry : mEntries) {
        if (entry.request == request) {
            entry.request = nullptr;
        }
    }
}

size_t cMsgRegistry::givenUp() const
{
    return static_cast<size_t>(std::count_if(mEntries.begin(), mEntries.end(),
                                             [](const Entry& entry) { return entry.request == nullptr; }));
}

void cMsgRegistry::failAll(cMsgReg::eMsgStatus status)
{
    for (const Entry& entry : mEntries) {
        if (entry.request != nullptr) {
            entry.request->status = status;
            entry.request->complete = true;
        }
    }
    mEntries.clear();
}
