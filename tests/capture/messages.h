#pragma once

#include "hexbytes.h"
#include "payloadwriter.h"
#include "wmsg/wmsg.h"
#include "zuldict/zuldict.h"

// Messages of a device and its server, as they travel.

inline WMsg messageOf(uint8_t type, uint8_t seq)
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.event = type == 3;
    return message;
}

/// The device reports that its digital input @p port is @p state.
inline std::vector<uint8_t> inputEvent(uint8_t seq, uint32_t serial, uint32_t port, uint32_t state)
{
    WMsg message = messageOf(3, seq);
    PayloadWriter writer(&message.payload);
    writer.beginObject(OBJ_PORT_DIN);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.putNumber(TAG_PORT_ID, port);
    writer.putNumber(TAG_INPUT_STATE, state);
    writer.endObject();
    return framesOf(message);
}

/// The device reports a sample of its analog input 1.
inline std::vector<uint8_t> sampleEvent(uint8_t seq, uint32_t serial, float sample)
{
    WMsg message = messageOf(3, seq);
    PayloadWriter writer(&message.payload);
    writer.beginObject(OBJ_ANALOG_SAMPLE);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.putNumber(TAG_PORT_NUM, uint32_t{1});
    writer.putNumber(TAG_SAMPLE, sample);
    writer.putNumber(TAG_SEQ_NUM, uint32_t{seq});
    writer.endObject();
    return framesOf(message);
}

/// The server asks for the device's record, or the device answers with it.
inline std::vector<uint8_t> deviceMessage(uint8_t seq, uint32_t serial, bool isAnswer)
{
    WMsg message = messageOf(1, seq);
    message.answer = isAnswer;
    PayloadWriter writer(&message.payload);
    writer.beginObject(OBJ_DEVICE);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.endObject();
    return framesOf(message);
}

inline std::vector<uint8_t> deviceRequest(uint8_t seq) { return deviceMessage(seq, 0xFFFFFFFF, false); }
inline std::vector<uint8_t> deviceAnswer(uint8_t seq, uint32_t serial)
{
    return deviceMessage(seq, serial, true);
}

/// The server asks for a digital input, or the device answers with it.
inline std::vector<uint8_t> inputMessage(uint8_t seq, uint32_t serial, uint32_t port, bool isAnswer)
{
    WMsg message = messageOf(1, seq);
    message.answer = isAnswer;
    PayloadWriter writer(&message.payload);
    writer.beginObject(OBJ_PORT_DIN);
    writer.putNumber(TAG_DEVICE_SERIAL, serial);
    writer.putNumber(TAG_PORT_ID, port);
    writer.endObject();
    return framesOf(message);
}

inline std::vector<uint8_t> inputRequest(uint8_t seq, uint32_t port)
{
    return inputMessage(seq, 0xFFFFFFFF, port, false);
}
inline std::vector<uint8_t> inputAnswer(uint8_t seq, uint32_t serial, uint32_t port)
{
    return inputMessage(seq, serial, port, true);
}

inline std::vector<uint8_t> pingMessage(bool isAnswer) { return framesOf(WMsg::ping(isAnswer)); }
