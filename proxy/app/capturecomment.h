#pragma once

#include <string>

#include "proxy/faults/fault.h"

namespace proxy {

/// What a capture says about @p fault on its packet: "rule 2: late, 3000 ms later".
std::string commentOf(const Fault& fault);

} // namespace proxy
