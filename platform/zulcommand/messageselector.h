#pragma once

#include <cstdint>

namespace zulcommand {

/// Which way a message goes.
enum class eDirection : uint8_t
{
    TO_SERVER,
    TO_DEVICE
};

constexpr eDirection kDirections[] = {eDirection::TO_SERVER, eDirection::TO_DEVICE};

/// "to-server" or "to-device".
const char* nameOf(eDirection direction);

} // namespace zulcommand
