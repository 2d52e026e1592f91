#pragma once

#include <bit>
#include <string>
#include <vector>

#include "hexbytes.h"
#include "payloadwriter.h"
#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"
#include "zuldict/zuldict.h"

// Messages for tests of the proxy, as they travel.
namespace proxy {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kSerial = 1001;

inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes part(const Bytes& bytes, size_t from, size_t size)
{
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return {begin, begin + static_cast<std::ptrdiff_t>(size)};
}

inline Bytes samplePayload(uint32_t serial, uint32_t port, float value)
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.putNumber(TAG_PORT_NUM, port);
    writer.putNumber(TAG_SAMPLE, value);
    writer.endObject();
    return payload;
}

inline Bytes adhocPayload(uint32_t serial, const std::string& value)
{
    Bytes payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ADHOC_EVENT);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.putNumber(TAG_PORT_ID, uint32_t{7});
    writer.putText(TAG_EVENT_VALUE, value);
    writer.endObject();
    return payload;
}

inline Bytes event(uint8_t seq, const Bytes& payload)
{
    return framesOf(WMsg{.type = 3, .seq = seq, .event = true, .payload = payload});
}

inline Bytes sample(uint8_t seq, uint32_t serial = kSerial, uint32_t port = 1)
{
    return event(seq, samplePayload(serial, port, 0.5F));
}

/// An event of several segments.
inline Bytes large(uint8_t seq, size_t textSize, uint32_t serial = kSerial)
{
    return event(seq, adhocPayload(serial, std::string(textSize, 'x')));
}

inline Bytes request(uint8_t seq, uint32_t serial = kSerial)
{
    return framesOf(WMsg{.type = 1, .seq = seq, .payload = samplePayload(serial, 1, 0.0F)});
}

inline Bytes set(uint8_t seq) { return framesOf(WMsg{.type = 0, .seq = seq, .payload = {}}); }

inline Bytes answer(uint8_t seq, uint8_t type = 1)
{
    return framesOf(WMsg{.type = type, .seq = seq, .answer = true, .payload = {}});
}

inline Bytes ping(bool isAnswer = false) { return framesOf(WMsg::ping(isAnswer)); }

/// The sequence numbers of the messages in @p bytes, pings left out. Ends at the first bytes that a receiver
/// refuses.
inline std::vector<int> numbersIn(const Bytes& bytes)
{
    std::vector<int> numbers;
    WMsgReader reader;
    WMsg message;
    const uint8_t* data = bytes.data();
    size_t size = bytes.size();
    while (reader.read(&data, &size, 0, &message) == WMsgReader::MESSAGE) {
        if (!message.control) {
            numbers.push_back(message.seq);
        }
    }
    return numbers;
}

} // namespace proxy
