#ifndef SERVER_LINKSETTINGS_H
#define SERVER_LINKSETTINGS_H

#include <cstddef>
#include <memory>

#include "wcapture/capturefile.h"

namespace server {

/// How the connection to a device is kept, in milliseconds and bytes, and where it is recorded.
struct LinkSettings
{
    int pingAfterMs = 10000;   ///< nothing received for so long: ask
    int giveUpAfterMs = 30000; ///< nothing received, or nothing sent, for so long: the peer is gone
    int askAgainMs = 1000;     ///< after an answer without a device record
    int askAttempts = 5;
    int identifyMs = 30000;              ///< until the device has said who it is
    size_t queueBytes = 4 * 1024 * 1024; ///< what the peer may leave unread
    size_t heldBytes = 16 * 1024 * 1024; ///< messages that wait for the device record
    size_t heldMessageOverhead = 128;    ///< what each of those counts beside its payload

    std::shared_ptr<cCaptureFile> capture; ///< null where nothing is recorded
};

} // namespace server

#endif
