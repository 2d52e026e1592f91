#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "proxy/rules/rule.h"

namespace proxy {

/// Something that a rule, or a command, has done to a connection.
struct Fault
{
    uint32_t rule = 0; ///< its number; 0 for a command
    eFault kind = eFault::LOSE;
    uint64_t connection = 0; ///< of the proxy, from 1
    std::optional<uint32_t> deviceSerial = {};
    std::optional<eDirection> direction = {};
    std::optional<uint8_t> msgSeq = {};
    std::optional<uint32_t> object = {}; ///< type of the record, the first if they are several
    std::string was = {};
    std::string became = {};
};

} // namespace proxy
