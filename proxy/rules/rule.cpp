#include "proxy/rules/rule.h"

#include <array>

namespace proxy {

namespace {

struct Kind
{
    eFault fault;
    const char* name;
    eFaultLayer layer;
};

using enum eFaultLayer;

/// In the order of eFault.
constexpr std::array kKinds = std::to_array<Kind>({
    {eFault::REFUSE, "refuse", CONNECTION},
    {eFault::ACCEPT_LATE, "accept-late", CONNECTION},
    {eFault::CUT, "cut", CONNECTION},
    {eFault::RESET, "reset", CONNECTION},
    {eFault::HALF_CLOSE, "half-close", CONNECTION},
    {eFault::SILENCE, "silence", CONNECTION},
    {eFault::STALL, "stall", CONNECTION},
    {eFault::TIMEOUT, "timeout", CONNECTION},
    {eFault::SLOW_CLOSE, "slow_close", CONNECTION},
    {eFault::DELAY, "delay", BYTES},
    {eFault::RATE, "rate", BYTES},
    {eFault::SLICE, "slice", BYTES},
    {eFault::CORRUPT, "corrupt", BYTES},
    {eFault::JOIN, "join", BYTES},
    {eFault::LIMIT, "limit", BYTES},
    {eFault::LOSE, "lose", MESSAGE},
    {eFault::DUPLICATE, "duplicate", MESSAGE},
    {eFault::LATE, "late", MESSAGE},
    {eFault::SWAP, "swap", MESSAGE},
    {eFault::HOLD, "hold", MESSAGE},
    {eFault::TRUNCATE, "truncate", MESSAGE},
    {eFault::WRONG_CHECKSUM, "wrong-checksum", MESSAGE},
    {eFault::WRONG_NUMBER, "wrong-number", MESSAGE},
    {eFault::WRONG_TYPE, "wrong-type", MESSAGE},
    {eFault::UNKNOWN_FLAG, "unknown-flag", MESSAGE},
    {eFault::TOO_LONG, "too-long", MESSAGE},
    {eFault::EMPTY_SEGMENTS, "empty-segments", MESSAGE},
    {eFault::NEVER_LAST, "never-last", MESSAGE},
    {eFault::FIELD, "field", RECORD},
    {eFault::WRONG_SERIAL, "wrong-serial", RECORD},
    {eFault::UNKNOWN_OBJECT, "unknown-object", RECORD},
    {eFault::UNKNOWN_TAG, "unknown-tag", RECORD},
    {eFault::DROP_TAG, "drop-tag", RECORD},
    {eFault::WRONG_LENGTH, "wrong-length", RECORD},
    {eFault::DROP_RECORD, "drop-record", RECORD},
    {eFault::DOUBLE_RECORD, "double-record", RECORD},
    {eFault::NAN_FLOATS, "nan", RECORD},
});

constexpr bool inOrder()
{
    for (size_t i = 0; i < kKinds.size(); ++i) {
        if (kKinds[i].fault != static_cast<eFault>(i)) {
            return false;
        }
    }
    return kKinds.back().fault == eFault::NAN_FLOATS;
}
static_assert(inOrder());

const Kind& kindOf(eFault fault) { return kKinds[static_cast<size_t>(fault)]; }

} // namespace

const char* nameOf(eFault kind) { return kindOf(kind).name; }

eFaultLayer layerOf(eFault kind) { return kindOf(kind).layer; }

bool Rule::actsOnMessages() const
{
    const bool beforeMessages = kind == eFault::REFUSE || kind == eFault::ACCEPT_LATE;
    return layerOf(kind) == CONNECTION && !beforeMessages && (chance || every || first || skip || count);
}

} // namespace proxy
