#pragma once

#include <cstdint>
#include <vector>

/// The bytes of digital inputs without a label, written and read by code that knows nothing else: what a
/// codec of these bytes could cost at the least.
namespace handwritten {

struct Input
{
    uint32_t deviceSerial;
    uint32_t portId;
    uint32_t portStatus;
    uint32_t portType;
    uint32_t inputState;
    uint32_t defaultState;

    bool operator==(const Input& other) const;
};

void encode(const std::vector<Input>& inputs, std::vector<uint8_t>* bytes);

/// False if a byte that is not a value isn't as encode() writes it.
bool decode(const std::vector<uint8_t>& bytes, std::vector<Input>* inputs);

} // namespace handwritten
