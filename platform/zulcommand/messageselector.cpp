#include "zulcommand/messageselector.h"

namespace zulcommand {

const char* nameOf(eDirection direction)
{
    return direction == eDirection::TO_SERVER ? "to-server" : "to-device";
}

} // namespace zulcommand
