#pragma once

#include <cstddef>
#include <memory>

#include "wcapture/capturefile.h"
#include "zullink/linksession.h"

namespace server {

/// Times in milliseconds and limits in bytes of the connection to a device, and its recording.
struct LinkSettings
{
    /// Nothing outlives a connection.
    LinkSession::Settings link{sLinkLimits(), false};

    int askAgainMs = 1000; ///< the pause after an answer without a device record
    int askAttempts = 5;
    int identifyMs = 30000;              ///< the device must have sent its record by then
    size_t heldBytes = 16 * 1024 * 1024; ///< messages that wait for the device record
    size_t heldMessageOverhead = 128;    ///< added to the payload of each

    std::shared_ptr<cCaptureFile> capture; ///< null if nothing is recorded
};

} // namespace server
