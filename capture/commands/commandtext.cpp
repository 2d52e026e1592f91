#include "capture/commands/commandtext.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <optional>
#include <span>
#include <vector>

#include "zulcommand/commandwords.h"
#include "zulcommand/jsontext.h"

namespace capture {

using zulcommand::JsonPtr;

namespace {

/// A record with its bytes, which its fields are read from.
class Fields
{
public:
    explicit Fields(const cObject& record) : mBytes(record.encodedSize()) { record.encode(mBytes.data()); }

    /// Nothing if the record has no such field, or a text never set.
    std::optional<std::span<const uint8_t>> find(eTag tag) const
    {
        std::optional<std::span<const uint8_t>> found;
        WTagReader reader{std::span(mBytes).subspan(wmsg::kObjectHeaderSize)};
        for (WTagView view; reader.next(&view);) {
            found = view.number == tag ? std::optional(view.value) : found;
        }
        return found;
    }

    /// Of a float its bits; 0 if the record has no such field.
    uint32_t number(eTag tag) const
    {
        uint32_t number = 0;
        if (const auto value = find(tag)) {
            static_cast<void>(wmsg::getNumber(*value, &number));
        }
        return number;
    }

private:
    std::vector<uint8_t> mBytes;
};

struct Kind
{
    eObjectTypes type;
    const char* word;
};

constexpr Kind kPortKinds[] = {
    {OBJ_PORT_DIN, "din"}, {OBJ_PORT_DOUT, "dout"}, {OBJ_PORT_AIN, "ain"}, {OBJ_PORT_AOUT, "aout"}};

const char* portWord(eObjectTypes type)
{
    const auto* const found = std::ranges::find(kPortKinds, type, &Kind::type);
    return found == std::end(kPortKinds) ? nullptr : found->word;
}

std::string portText(uint32_t port) { return port == cObject::kWildcard ? "*" : std::to_string(port); }

/// A float as a command has it.
std::string realText(uint32_t bits)
{
    const auto real = std::bit_cast<float>(bits);
    if (std::isnan(real)) {
        return "nan";
    }
    if (std::isinf(real)) {
        return real < 0 ? "-inf" : "inf";
    }
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), real).ptr;
    return {text.data(), end};
}

/// " serial=N" unless it is that of every device.
std::string serialText(const Fields& fields)
{
    const uint32_t serial = fields.number(TAG_DEVICE_SERIAL);
    return serial == cObject::kWildcard ? "" : " serial=" + std::to_string(serial);
}

/// " NAME=high" or " NAME=low"; an empty text if the set leaves the state as it is.
std::string stateText(const char* name, uint32_t state)
{
    return state == cObject::OBJ_IO_STATE_SET     ? std::string(" ") + name + "=high"
           : state == cObject::OBJ_IO_STATE_CLEAR ? std::string(" ") + name + "=low"
                                                  : "";
}

std::string realField(const char* name, uint32_t bits)
{
    return std::isnan(std::bit_cast<float>(bits)) ? "" : std::string(" ") + name + '=' + realText(bits);
}

std::string changesOf(eObjectTypes type, const Fields& fields)
{
    switch (type) {
    case OBJ_PORT_DIN:
        return stateText("default", fields.number(TAG_DEFAULT_STATE));
    case OBJ_PORT_DOUT:
        return stateText("state", fields.number(TAG_OUTPUT_STATE)) +
               stateText("default", fields.number(TAG_DEFAULT_STATE));
    case OBJ_PORT_AIN: {
        const uint32_t rate = fields.number(TAG_SAMPLE_RATE);
        return (rate == cObject::kRateUnchanged ? "" : " rate=" + std::to_string(rate)) +
               realField("gain", fields.number(TAG_GAIN)) + realField("offset", fields.number(TAG_OFFSET));
    }
    case OBJ_PORT_AOUT:
        return realField("value", fields.number(TAG_SAMPLED_VALUE));
    default:
        return "";
    }
}

/// Which device, counters, and what zulserver takes for a part of the question.
bool isExpected(const zuldict::TagEntry& entry, bool isOne)
{
    switch (entry.tag) {
    case TAG_DEVICE_SERIAL:
    case TAG_PORT_TYPE:
    case TAG_SEQ_NUM:
    case TAG_LAST_SAMPLE_SEQ:
        return false;
    case TAG_PORT_ID:
        return !isOne;
    default:
        return true;
    }
}

/// @p value, as an expectation has it.
std::string valueText(const zuldict::TagEntry& entry, const json_t* value)
{
    if (json_is_real(value)) {
        return realText(std::bit_cast<uint32_t>(static_cast<float>(json_real_value(value))));
    }
    const bool isName = json_is_string(value) && entry.wireType == zuldict::eWireType::NUMBER;
    return isName ? json_string_value(value) : zulcommand::dumped(value);
}

} // namespace

bool asksForAll(const cObject& question)
{
    return question.getType() == OBJ_CAPABILITY || Fields(question).number(TAG_PORT_ID) == cObject::kWildcard;
}

bool answers(const cObject& answer, const cObject& question)
{
    return answer.getType() == question.getType() &&
           (asksForAll(question) ||
            Fields(answer).number(TAG_PORT_ID) == Fields(question).number(TAG_PORT_ID));
}

std::string getCommand(const cObject& question)
{
    const Fields fields(question);
    const eObjectTypes type = question.getType();
    const std::string serial = serialText(fields);
    if (type == OBJ_DEVICE || type == OBJ_CAPABILITY) {
        return (type == OBJ_DEVICE ? "get device" : "get capability") + serial;
    }
    if (type == OBJ_ANALOG_SAMPLE) {
        return "get sample " + std::to_string(fields.number(TAG_PORT_NUM)) + ' ' +
               std::to_string(fields.number(TAG_SEQ_NUM)) + serial;
    }
    if (const char* const word = portWord(type)) {
        const uint32_t portType = fields.number(TAG_PORT_TYPE);
        return std::string("get ") + word + ' ' + portText(fields.number(TAG_PORT_ID)) + serial +
               (portType == type ? "" : " portType=" + std::to_string(portType));
    }
    return "get object=" + std::to_string(type) + serial;
}

std::string setCommand(const cObject& object)
{
    const Fields fields(object);
    const char* const word = portWord(object.getType());
    const std::string changes = word != nullptr ? changesOf(object.getType(), fields) : "";
    return changes.empty() ? ""
                           : std::string("set ") + word + ' ' + portText(fields.number(TAG_PORT_ID)) +
                                 serialText(fields) + changes;
}

std::string expectation(const std::string& get, const cObject& answer, bool isOne)
{
    constexpr size_t kMaxBytes = zulcommand::kMaxCommandBytes - 32; // room for device=SERIAL
    const JsonPtr json(answer.getJSONObj());
    std::string text = "expect " + get;
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const json_t* const value = json_object_get(json.get(), entry.name);
        if (value == nullptr || !isExpected(entry, isOne)) {
            continue;
        }
        const std::string field = std::string(" ") + entry.name + '=' + valueText(entry, value);
        text += text.size() + field.size() <= kMaxBytes ? field : "";
    }
    return text;
}

} // namespace capture
