#pragma once

#include <cstdint>
#include <span>
#include <vector>

/// One tag that owns its value, the bytes that stand in a message.
class WTag
{
public:
    WTag(uint16_t number, std::span<const uint8_t> value)
        : mNumber(number), mValue(value.begin(), value.end())
    {}

    uint16_t number() const { return mNumber; }
    std::span<const uint8_t> value() const { return mValue; }

private:
    uint16_t mNumber;
    std::vector<uint8_t> mValue;
};
