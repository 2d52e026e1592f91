#pragma once

#include <optional>
#include <string>

#include "proxy/faults/segmentedmessage.h"
#include "proxy/rules/rule.h"
#include "zuldevice/seededrandom.h"

namespace proxy {

/// What has been changed, in words or hexadecimal bytes.
struct Change
{
    std::string was = {};
    std::string became = {};
};

/// Does what @p rule, of one of the kinds that change segments, says. Returns nothing if there is nothing to
/// change.
std::optional<Change> editMessage(const Rule& rule, cSeededRandom* draws, SegmentedMessage* message);

/// True if editMessage() implements the kind.
bool editsSegments(eFault kind);

} // namespace proxy
