#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "proxy/rules/ruleset.h"
#include "zulcommand/jsontext.h"

namespace proxy {

/// A running proxy as commands steer it.
class ProxyControl
{
public:
    virtual ~ProxyControl() = default;

    /// Returns the number of the rule.
    virtual uint32_t addRule(Rule rule) = 0;

    /// False if there is no such rule.
    virtual bool clearRule(uint32_t number) = 0;
    virtual void clearRules() = 0;
    virtual const std::vector<RulePtr>& rules() const = 0;

    /// The open connections, as an array.
    virtual zulcommand::JsonPtr connections() const = 0;

    /// Does CUT, RESET or SILENCE to the open connections of the device, or to all. Returns to how many.
    virtual size_t command(eFault kind, std::optional<uint32_t> deviceSerial) = 0;
};

} // namespace proxy
