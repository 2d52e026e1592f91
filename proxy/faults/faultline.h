#pragma once

#include "proxy/faults/fault.h"
#include "zulcommand/jsontext.h"

namespace proxy {

/// The line about a fault, without the time, which zulcommand::lineText() adds.
zulcommand::JsonPtr faultLine(const Fault& fault);

} // namespace proxy
