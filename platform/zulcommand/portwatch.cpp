#include "zulcommand/portwatch.h"

#include <utility>

#include "zulobj/port.h"

bool cPortWatch::changed(const cObjectPort& port, int value)
{
    std::vector<uint8_t> bytes(port.encodedSize());
    port.encode(bytes.data());
    bytes.push_back(static_cast<uint8_t>(value)); // 0 to 100
    const auto [remembered, isNew] = mRemembered.try_emplace(&port);
    const bool changed = !isNew && remembered->second != bytes;
    remembered->second = std::move(bytes);
    return changed;
}
