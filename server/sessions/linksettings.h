#ifndef SERVER_LINKSETTINGS_H
#define SERVER_LINKSETTINGS_H

#include <cstddef>
#include <memory>

#include "wcapture/capturefile.h"
#include "zullink/linksession.h"

namespace server {

/// How the connection to a device is kept, in milliseconds and bytes, and where it is recorded.
struct LinkSettings
{
    /// Nothing outlives a connection.
    LinkSession::Settings link{.keepsMessages = false};

    int askAgainMs = 1000; ///< after an answer without a device record
    int askAttempts = 5;
    int identifyMs = 30000;              ///< until the device has said who it is
    size_t heldBytes = 16 * 1024 * 1024; ///< messages that wait for the device record
    size_t heldMessageOverhead = 128;    ///< what each of those counts beside its payload

    std::shared_ptr<cCaptureFile> capture; ///< null where nothing is recorded
};

} // namespace server

#endif
