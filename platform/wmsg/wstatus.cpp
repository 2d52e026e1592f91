#include "wmsg/wstatus.h"

std::string WStatus::text() const
{
    if (isOk()) {
        return "ok";
    }
    return std::string(mField) + ": " + mProblem;
}
