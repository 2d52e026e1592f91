#pragma once

#include <cstdint>
#include <string>

#include "proxy/faults/fault.h"
#include "zulcommand/jsontext.h"

namespace proxy {

/// The line about a fault, without the time, which zulcommand::lineText() adds.
zulcommand::JsonPtr faultLine(const Fault& fault);

/// What the user is told if that comes on a connection which is not the protocol.
std::string foreignSentence(uint64_t connection, eDirection direction);

} // namespace proxy
