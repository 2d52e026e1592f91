#include "handwritten.h"

#include <cstring>

namespace handwritten {

namespace {

constexpr uint32_t kType = 2;
constexpr uint16_t kTags[] = {1, 2, 4, 5, 6, 8};
constexpr size_t kTagBytes = 8;
constexpr size_t kHeaderBytes = 8;
constexpr size_t kRecordBytes = kHeaderBytes + 6 * kTagBytes;

void put(uint8_t* to, uint32_t value)
{
    value = __builtin_bswap32(value);
    std::memcpy(to, &value, sizeof value);
}

uint32_t get(const uint8_t* from)
{
    uint32_t value = 0;
    std::memcpy(&value, from, sizeof value);
    return __builtin_bswap32(value);
}

void putTag(uint8_t* to, uint16_t tag, uint32_t value)
{
    put(to, uint32_t{tag} << 16 | 4);
    put(to + 4, value);
}

bool getTag(const uint8_t* from, uint16_t tag, uint32_t* value)
{
    *value = get(from + 4);
    return get(from) == (uint32_t{tag} << 16 | 4);
}

} // namespace

bool Input::operator==(const Input& other) const { return std::memcmp(this, &other, sizeof other) == 0; }

void encode(const std::vector<Input>& inputs, std::vector<uint8_t>* bytes)
{
    bytes->resize(inputs.size() * kRecordBytes);
    uint8_t* to = bytes->data();
    for (const Input& input : inputs) {
        put(to, kType);
        put(to + 4, kRecordBytes - kHeaderBytes);
        putTag(to + 8, kTags[0], input.deviceSerial);
        putTag(to + 16, kTags[1], input.portId);
        putTag(to + 24, kTags[2], input.portStatus);
        putTag(to + 32, kTags[3], input.portType);
        putTag(to + 40, kTags[4], input.inputState);
        putTag(to + 48, kTags[5], input.defaultState);
        to += kRecordBytes;
    }
}

bool decode(const std::vector<uint8_t>& bytes, std::vector<Input>* inputs)
{
    if (bytes.size() % kRecordBytes != 0) {
        return false;
    }
    inputs->resize(bytes.size() / kRecordBytes);
    const uint8_t* from = bytes.data();
    for (Input& input : *inputs) {
        const bool sound =
            get(from) == kType && get(from + 4) == kRecordBytes - kHeaderBytes &&
            getTag(from + 8, kTags[0], &input.deviceSerial) && getTag(from + 16, kTags[1], &input.portId) &&
            getTag(from + 24, kTags[2], &input.portStatus) && getTag(from + 32, kTags[3], &input.portType) &&
            getTag(from + 40, kTags[4], &input.inputState) &&
            getTag(from + 48, kTags[5], &input.defaultState);
        if (!sound) {
            return false;
        }
        from += kRecordBytes;
    }
    return true;
}

} // namespace handwritten
