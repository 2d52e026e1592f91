#include "cportwatch.h"

#include <utility>

#include "cainput.h"

bool cPortWatch::changed(const cObjectPort& port)
{
    std::vector<uint8_t> bytes(port.encodedSize());
    port.encode(bytes.data());
    if (const auto* input = dynamic_cast<const cAInput*>(&port)) {
        // The record does not hold where the slider stands, which is 0 to 100.
        bytes.push_back(static_cast<uint8_t>(input->getCurrentSample()));
    }
    const auto [remembered, isNew] = mRemembered.try_emplace(&port);
    const bool changed = !isNew && remembered->second != bytes;
    remembered->second = std::move(bytes);
    return changed;
}
