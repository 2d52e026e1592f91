#ifndef WTAG_H
#define WTAG_H

#include <cstddef>
#include <cstdint>
#include <vector>

/// One tag as an object of its own: its number and the bytes of its value, as they stand in a message.
class WTag
{
public:
    WTag(uint16_t number, const uint8_t* value, size_t size);

    uint16_t number() const { return mNumber; }
    const uint8_t* value() const { return mValue.data(); }
    size_t size() const { return mValue.size(); }

private:
    uint16_t mNumber;
    std::vector<uint8_t> mValue;
};

#endif
