#include "server/commands/commandobjects.h"

#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"

namespace server {

namespace {

uint32_t readSerial(CommandWords* words) { return words->number("serial").value_or(cObject::kWildcard); }

uint32_t readNumberWord(CommandWords* words, const std::string& name, uint32_t min)
{
    const std::string word = words->word();
    const std::optional<uint32_t> number = parseNumber(word, min);
    if (!number) {
        words->fail(word.empty() ? "The command needs " + name + "." : numberMistake(name, word, min));
    }
    return number.value_or(0);
}

uint32_t readPort(CommandWords* words, bool required)
{
    const std::string word = words->word();
    if (word.empty() && required) {
        words->fail("The command needs a PORT, or * for every port.");
    }
    if (word.empty() || word == "*") {
        return cObject::kWildcard;
    }
    const std::optional<uint32_t> port = parseNumber(word, 1);
    if (!port) {
        words->fail("PORT is neither * nor a whole number from 1 to 4294967295: " + quoted(word) + ".");
    }
    return port.value_or(0);
}

/// Returns OBJ_IO_STATE_UNKNOWN if the field is absent or wrong.
cObject::eObjectIOState readState(CommandWords* words, const std::string& name)
{
    const std::optional<std::string> text = words->text(name);
    if (text == "high") {
        return cObject::OBJ_IO_STATE_SET;
    }
    if (text == "low") {
        return cObject::OBJ_IO_STATE_CLEAR;
    }
    if (text) {
        words->fail(name + " is neither high nor low: " + quoted(*text) + ".");
    }
    return cObject::OBJ_IO_STATE_UNKNOWN;
}

template <class Record>
std::shared_ptr<cObject> getRecord(CommandWords* words)
{
    auto record = std::make_shared<Record>();
    record->setDeviceSerial(readSerial(words));
    return record;
}

template <class Port>
std::shared_ptr<Port> readPortRecord(CommandWords* words, bool required)
{
    auto port = std::make_shared<Port>();
    port->setPortId(readPort(words, required));
    port->setDeviceSerial(readSerial(words));
    return port;
}

template <class Port>
std::shared_ptr<cObject> getPort(CommandWords* words)
{
    auto port = readPortRecord<Port>(words, false);
    port->setPortType(words->number("portType").value_or(port->getPortType()));
    return port;
}

std::shared_ptr<cObject> getSample(CommandWords* words)
{
    auto sample = std::make_shared<cObjectAnalogSample>();
    sample->setPortNum(readNumberWord(words, "PORT", 1));
    sample->setSeqNum(readNumberWord(words, "SEQ", 0));
    sample->setDeviceSerial(readSerial(words));
    return sample;
}

std::shared_ptr<cObject> setDInput(CommandWords* words)
{
    auto port = readPortRecord<cObjectDInput>(words, true);
    port->setDefaultState(readState(words, "default"));
    if (port->getDefaultState() == cObject::OBJ_IO_STATE_UNKNOWN) {
        words->failWithout("default");
    }
    return port;
}

std::shared_ptr<cObject> setDOutput(CommandWords* words)
{
    auto port = readPortRecord<cObjectDOutput>(words, true);
    port->setOutputState(readState(words, "state"));
    port->setDefaultState(readState(words, "default"));
    return port;
}

std::shared_ptr<cObject> setAInput(CommandWords* words)
{
    auto port = readPortRecord<cObjectAInput>(words, true);
    port->setSampleRate(words->number("rate").value_or(port->getSampleRate()));
    port->setGain(words->real("gain").value_or(port->getGain()));
    port->setOffset(words->real("offset").value_or(port->getOffset()));
    return port;
}

std::shared_ptr<cObject> setAOutput(CommandWords* words)
{
    auto port = readPortRecord<cObjectAOutput>(words, true);
    if (const auto value = words->real("value")) {
        port->setSampledValue(*value);
    } else {
        words->failWithout("value");
    }
    return port;
}

using ObjectReader = std::shared_ptr<cObject> (*)(CommandWords*);

struct ObjectWord
{
    const char* word;
    ObjectReader read;
};

constexpr ObjectWord kGetWords[] = {
    {"device", getRecord<cObjectDevice>},
    {"capability", getRecord<cObjectCapability>},
    {"din", getPort<cObjectDInput>},
    {"dout", getPort<cObjectDOutput>},
    {"ain", getPort<cObjectAInput>},
    {"aout", getPort<cObjectAOutput>},
    {"sample", getSample},
};

constexpr ObjectWord kSetWords[] = {
    {"din", setDInput},
    {"dout", setDOutput},
    {"ain", setAInput},
    {"aout", setAOutput},
};

/// Finds the object by the field that gives its type code, or by the word that names it.
template <size_t N>
void readObject(const std::string& verb, const ObjectWord (&known)[N], CommandWords* words, Command* command)
{
    if (const auto type = words->number("object")) {
        command->object = std::make_shared<cObject>(static_cast<eObjectTypes>(*type));
        command->objectSerial = words->number("serial");
        return;
    }
    const std::string word = words->word();
    for (const ObjectWord& candidate : known) {
        if (word == candidate.word) {
            command->object = candidate.read(words);
            return;
        }
    }
    words->fail(word.empty() ? "The command does not say what to " + verb + "."
                             : "There is no " + quoted(word) + " to " + verb + ".");
}

} // namespace

void readObjectToGet(CommandWords* words, Command* command) { readObject("get", kGetWords, words, command); }

void readObjectToSet(CommandWords* words, Command* command) { readObject("set", kSetWords, words, command); }

} // namespace server
