#pragma once

// The rules of docs/protocol.md for payloads once more, written as they are said.

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "framemodel.h"

namespace model {

using Bytes = std::vector<uint8_t>;

/// The tags of each record in the order in which they are sent.
inline const std::map<uint32_t, std::vector<uint16_t>>& recordTags()
{
    static const std::map<uint32_t, std::vector<uint16_t>> tags = {
        {0, {1, 17, 18, 19, 20, 21, 22, 23}},
        {1, {1, 2, 3, 4, 5}},
        {2, {1, 2, 3, 4, 5, 6, 8}},
        {3, {1, 2, 3, 4, 5, 7, 8}},
        {4, {1, 2, 3, 4, 5, 9, 10, 11, 12, 13, 14}},
        {9, {1, 24, 29, 30}},
        {10, {1, 24, 25, 26}},
        {11, {1, 2, 3, 4, 5, 9, 10, 15, 16, 12, 13}},
        {12, {1, 31, 25, 32}},
        {13, {1, 2, 27, 28}},
    };
    return tags;
}

inline bool isText(uint16_t tag)
{
    static const std::set<uint16_t> texts = {3, 12, 17, 25, 26, 27, 28, 32};
    return texts.count(tag) > 0;
}

/// What a number or float is where its tag is absent.
inline uint32_t absent(uint32_t type, uint16_t tag)
{
    constexpr uint32_t kNaN = 0x7FC00000;
    if (tag == 5) {
        return type;
    }
    if (tag == 9 || tag == 10 || (type == 11 && tag == 13)) {
        return kNaN;
    }
    return tag == 11 ? 0xFFFFFFFF : 0;
}

inline void put(Bytes* bytes, uint32_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        bytes->push_back(static_cast<uint8_t>(value >> (8 * (count - 1 - i))));
    }
}

/// The payload of a message as a receiver has to read it.
class Payload
{
public:
    explicit Payload(const Bytes& payload)
    {
        size_t at = 0;
        while (mReadable && at < payload.size()) {
            if (payload.size() - at < 8 || number(&payload[at + 4], 4) > payload.size() - at - 8) {
                mReadable = false;
                return;
            }
            const size_t size = number(&payload[at + 4], 4);
            readObject(number(&payload[at], 4), {payload.begin() + at + 8, payload.begin() + at + 8 + size});
            at += 8 + size;
        }
    }

    bool readable() const { return mReadable; }

    /// Each object up to the first fault as a sender writes it.
    const std::vector<Bytes>& objects() const { return mObjects; }

private:
    void readObject(uint32_t type, const Bytes& tags)
    {
        const auto record = recordTags().find(type);
        const std::vector<uint16_t> known =
            record == recordTags().end() ? std::vector<uint16_t>() : record->second;
        std::map<uint16_t, Bytes> values;
        size_t at = 0;
        while (at < tags.size()) {
            if (tags.size() - at < 4 || number(&tags[at + 2], 2) > tags.size() - at - 4) {
                mReadable = false;
                return;
            }
            const auto tag = static_cast<uint16_t>(number(&tags[at], 2));
            const size_t size = number(&tags[at + 2], 2);
            at += 4;
            if (std::find(known.begin(), known.end(), tag) != known.end()) {
                if (!isText(tag) && size != 4) {
                    mReadable = false;
                    return;
                }
                values[tag] = Bytes(tags.begin() + at, tags.begin() + at + size);
            }
            at += size;
        }
        mObjects.push_back(written(type, known, values));
    }

    static Bytes written(uint32_t type, const std::vector<uint16_t>& known,
                         const std::map<uint16_t, Bytes>& values)
    {
        Bytes tags;
        for (const uint16_t tag : known) {
            const auto value = values.find(tag);
            if (value == values.end() && isText(tag)) {
                continue;
            }
            Bytes bytes;
            if (value == values.end()) {
                put(&bytes, absent(type, tag), 4);
            } else if (isText(tag)) {
                bytes.assign(value->second.begin(), std::find(value->second.begin(), value->second.end(), 0));
            } else {
                bytes = value->second;
            }
            put(&tags, tag, 2);
            put(&tags, static_cast<uint32_t>(bytes.size()), 2);
            tags.insert(tags.end(), bytes.begin(), bytes.end());
        }
        Bytes object;
        put(&object, type, 4);
        put(&object, static_cast<uint32_t>(tags.size()), 4);
        object.insert(object.end(), tags.begin(), tags.end());
        return object;
    }

    bool mReadable = true;
    std::vector<Bytes> mObjects;
};

} // namespace model
