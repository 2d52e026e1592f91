#pragma once

#include <string>

#include "proxy/rules/rule.h"
#include "zulcommand/commandwords.h"

namespace proxy {

/// The words that a rule of one kind may have behind its name.
struct FaultSyntax
{
    // Bits of `takes`.
    static constexpr unsigned kDevice = 1U << 0U;           ///< device, reconnect
    static constexpr unsigned kDirection = 1U << 1U;        ///< dir
    static constexpr unsigned kDirectionOfCount = 1U << 2U; ///< dir, only with one of kCounts
    static constexpr unsigned kMessages = 1U << 3U;         ///< msg, type, object, port
    static constexpr unsigned kCounts = 1U << 4U;           ///< p, every, first, skip, count
    static constexpr unsigned kAfter = 1U << 5U;            ///< after
    static constexpr unsigned kFor = 1U << 6U;              ///< for
    static constexpr unsigned kWindow = kAfter | kFor;

    const char* name; ///< or an alias
    eFault kind;
    unsigned takes;

    /// Takes the words that say what the rule does. A mistake is kept in the words.
    void (*read)(zulcommand::CommandWords*, Rule*);
};

/// Null if there is no kind by this name.
const FaultSyntax* findSyntax(const std::string& name);

} // namespace proxy
