#include "zulcommand/messagerecords.h"

namespace zulcommand {

namespace {

constexpr uint32_t kEveryDevice = 0xFFFFFFFF;

bool isWhole(const WendleObject& record)
{
    WTagReader reader(record.tags);
    for (WTagView tag; reader.next(&tag);) {
    }
    return reader.status().isOk();
}

} // namespace

bool readRecords(std::span<const uint8_t> payload, std::vector<WendleObject>* records)
{
    records->clear();
    WObjectReader reader(payload);
    for (WendleObject record; reader.next(&record);) {
        if (!isWhole(record)) {
            return false;
        }
        records->push_back(record);
    }
    return reader.status().isOk();
}

bool findTag(const WendleObject& record, uint16_t tag, std::span<const uint8_t>* value)
{
    bool found = false;
    WTagReader reader(record.tags);
    for (WTagView next; reader.next(&next);) {
        if (next.number == tag) {
            *value = next.value;
            found = true;
        }
    }
    return found;
}

bool hasPort(const WendleObject& record, uint32_t port)
{
    return anyTag(record, [port](const WTagView& tag) {
        uint32_t number = 0;
        return readPort(tag, &number) && number == port;
    });
}

std::optional<uint32_t> deviceSerialIn(std::span<const WendleObject> records)
{
    for (const WendleObject& record : records) {
        std::span<const uint8_t> value;
        uint32_t serial = kEveryDevice;
        if (findTag(record, TAG_DEVICE_SERIAL, &value) && wmsg::getNumber(value, &serial) &&
            serial != kEveryDevice) {
            return serial;
        }
    }
    return std::nullopt;
}

} // namespace zulcommand
