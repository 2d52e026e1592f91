#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Hands out the bytes of one fuzz input from its front; past the end every number is 0.
///
/// Integers stand in network byte order, so that inputs can be written by hand.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size) : mNext(data), mLeft(size) {}

    bool empty() const { return mLeft == 0; }

    uint8_t number8()
    {
        if (mLeft == 0) {
            return 0;
        }
        --mLeft;
        return *mNext++;
    }

    uint16_t number16()
    {
        const uint8_t high = number8();
        return static_cast<uint16_t>((high << 8) | number8());
    }

    uint32_t number32()
    {
        const uint32_t high = number16();
        return (high << 16) | number16();
    }

    /// As many of @p count bytes as are left.
    std::vector<uint8_t> bytes(size_t count)
    {
        const size_t taken = std::min(count, mLeft);
        const std::vector<uint8_t> bytes(mNext, mNext + taken);
        mNext += taken;
        mLeft -= taken;
        return bytes;
    }

    std::vector<uint8_t> rest() { return bytes(mLeft); }

    std::string restText()
    {
        const std::vector<uint8_t> text = rest();
        return {text.begin(), text.end()};
    }

private:
    const uint8_t* mNext;
    size_t mLeft;
};
