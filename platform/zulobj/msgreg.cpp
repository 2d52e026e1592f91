#include "zulobj/msgreg.h"

void cMsgRegistry::remove(const cMsgReg* request)
{
    for (cMsgReg*& entry : mBySeq) {
        if (entry == request) {
            entry = nullptr;
        }
    }
}

void cMsgRegistry::failAll(cMsgReg::eMsgStatus status)
{
    for (cMsgReg*& entry : mBySeq) {
        if (entry != nullptr) {
            entry->status = status;
            entry->complete = true;
            entry = nullptr;
        }
    }
}
