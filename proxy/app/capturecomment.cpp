#include "proxy/app/capturecomment.h"

namespace proxy {

std::string commentOf(const Fault& fault)
{
    const std::string by = fault.rule == 0 ? "command" : "rule " + std::to_string(fault.rule);
    return by + ": " + nameOf(fault.kind) + (fault.became.empty() ? "" : ", " + fault.became);
}

} // namespace proxy
