#include "server/commands/commandobjects.h"

#include <array>
#include <bit>
#include <string_view>

#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace server {

using namespace zulcommand;

namespace {

/// A word or field of a command that fills a field of the object.
struct Part
{
    const char* name = nullptr;
    eTag tag = {};

    /// Takes the value, of a float its bits. Nothing if the command does not give it.
    std::optional<uint32_t> (*read)(const Part& part, CommandWords* words) = nullptr;

    bool required = false;
};

std::optional<uint32_t> readPort(const Part& part, CommandWords* words)
{
    const std::string word = words->word();
    if (word.empty() && part.required) {
        words->fail("The command needs a PORT, or * for every port.");
    }
    if (word.empty() || word == "*") {
        return cObject::kWildcard;
    }
    const std::optional<uint32_t> port = parseNumber(word, 1);
    if (!port) {
        words->fail("PORT is neither * nor a whole number from 1 to 4294967295: " + quote(word) + ".");
    }
    return port;
}

template <uint32_t Min>
std::optional<uint32_t> readWord(const Part& part, CommandWords* words)
{
    const std::string word = words->word();
    const std::optional<uint32_t> number = parseNumber(word, Min);
    if (!number) {
        words->fail(word.empty() ? std::string("The command needs ") + part.name + "."
                                 : numberMistake(part.name, word, Min));
    }
    return number;
}

std::optional<uint32_t> readNumber(const Part& part, CommandWords* words) { return words->number(part.name); }

std::optional<uint32_t> readReal(const Part& part, CommandWords* words)
{
    const std::optional<float> real = words->real(part.name);
    return real ? std::make_optional(std::bit_cast<uint32_t>(*real)) : std::nullopt;
}

std::optional<uint32_t> readState(const Part& part, CommandWords* words)
{
    const std::optional<std::string> text = words->text(part.name);
    if (text == "high") {
        return cObject::OBJ_IO_STATE_SET;
    }
    if (text && text != "low") {
        words->fail(part.name + (" is neither high nor low: " + quote(*text)) + ".");
    }
    return text ? std::make_optional<uint32_t>(cObject::OBJ_IO_STATE_CLEAR) : std::nullopt;
}

constexpr Part kAnyPort{"PORT", TAG_PORT_ID, readPort};
constexpr Part kPort{"PORT", TAG_PORT_ID, readPort, true};
constexpr Part kPortNum{"PORT", TAG_PORT_NUM, readWord<1>};
constexpr Part kSeqNum{"SEQ", TAG_SEQ_NUM, readWord<0>};
constexpr Part kSerial{"serial", TAG_DEVICE_SERIAL, readNumber};
constexpr Part kPortType{"portType", TAG_PORT_TYPE, readNumber};
constexpr Part kState{"state", TAG_OUTPUT_STATE, readState};
constexpr Part kDefault{"default", TAG_DEFAULT_STATE, readState};
constexpr Part kOnlyDefault{"default", TAG_DEFAULT_STATE, readState, true};
constexpr Part kRate{"rate", TAG_SAMPLE_RATE, readNumber};
constexpr Part kGain{"gain", TAG_GAIN, readReal};
constexpr Part kOffset{"offset", TAG_OFFSET, readReal};
constexpr Part kValue{"value", TAG_SAMPLED_VALUE, readReal, true};

/// An object that a command names by a word.
struct ObjectWord
{
    std::string_view verb;
    std::string_view word;
    eObjectTypes type;
    std::array<Part, 5> parts; ///< in the order in which they are read, up to the first without a name
};

constexpr ObjectWord kObjectWords[] = {
    {"get", "device", OBJ_DEVICE, {{kSerial}}},
    {"get", "capability", OBJ_CAPABILITY, {{kSerial}}},
    {"get", "din", OBJ_PORT_DIN, {{kAnyPort, kSerial, kPortType}}},
    {"get", "dout", OBJ_PORT_DOUT, {{kAnyPort, kSerial, kPortType}}},
    {"get", "ain", OBJ_PORT_AIN, {{kAnyPort, kSerial, kPortType}}},
    {"get", "aout", OBJ_PORT_AOUT, {{kAnyPort, kSerial, kPortType}}},
    {"get", "sample", OBJ_ANALOG_SAMPLE, {{kPortNum, kSeqNum, kSerial}}},
    {"set", "din", OBJ_PORT_DIN, {{kPort, kSerial, kOnlyDefault}}},
    {"set", "dout", OBJ_PORT_DOUT, {{kPort, kSerial, kState, kDefault}}},
    {"set", "ain", OBJ_PORT_AIN, {{kPort, kSerial, kRate, kGain, kOffset}}},
    {"set", "aout", OBJ_PORT_AOUT, {{kPort, kSerial, kValue}}},
};

/// Gives the field @p tag of @p record its value.
void setField(cObject* record, eTag tag, uint32_t value)
{
    std::array<uint8_t, wmsg::kNumberTagSize> bytes;
    wmsg::putNumberTag(bytes.data(), tag, value);
    WendleObject field{record->getType(), bytes};
    static_cast<void>(record->parse(&field, nullptr));
}

std::vector<uint8_t> readParts(const ObjectWord& object, CommandWords* words)
{
    const std::unique_ptr<cObject> record = zulobj::createRecord(object.type);
    setField(record.get(), TAG_DEVICE_SERIAL, cObject::kWildcard); // unless it is given
    for (auto part = object.parts.begin(); part != object.parts.end() && part->name != nullptr; ++part) {
        if (const std::optional<uint32_t> value = part->read(*part, words)) {
            setField(record.get(), part->tag, *value);
        } else if (part->required) {
            words->failWithout(part->name);
        }
    }
    std::vector<uint8_t> payload(record->encodedSize());
    record->encode(payload.data());
    return payload;
}

} // namespace

std::optional<uint32_t> readObject(const std::string& verb, CommandWords* words, WMsg* message)
{
    message->type = verb == "get" ? cObjectList::kRequest : cObjectList::kSet;
    if (const std::optional<uint32_t> type = words->number("object")) {
        const std::optional<uint32_t> serial = words->number("serial");
        const size_t tags = serial ? wmsg::kNumberTagSize : 0;
        message->payload.resize(wmsg::kObjectHeaderSize + tags);
        uint8_t* tag = wmsg::putObjectHeader(message->payload.data(), *type, tags);
        if (serial) {
            wmsg::putNumberTag(tag, TAG_DEVICE_SERIAL, *serial);
        }
        return type;
    }
    const std::string word = words->word();
    for (const ObjectWord& object : kObjectWords) {
        if (object.verb == verb && object.word == word) {
            message->payload = readParts(object, words);
            return object.type;
        }
    }
    words->fail(word.empty() ? "The command does not say what to " + verb + "."
                             : "There is no " + quote(word) + " to " + verb + ".");
    return std::nullopt;
}

} // namespace server
