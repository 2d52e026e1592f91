#pragma once

#include <ctime>
#include <fstream>
#include <jansson.h>
#include <memory>
#include <string>
#include <vector>

#include "hexbytes.h"
#include "zuldevice/portrules.h"
#include "zulobj/objectlist.h"

/// A device that a recorded conversation can be played to. Ports and scanners are numbered from 1.
class ConversationDevice
{
public:
    virtual ~ConversationDevice() = default;
    virtual void receive(const cObjectList& list) = 0;
    virtual void setDigitalInput(int port, int value) = 0;
    virtual void setAnalogInput(int port, int value) = 0;
    virtual void connectDigitalInput(int input, int output) = 0;
    virtual void connectAnalogInput(int input, int output) = 0;
    virtual void scan(int scanner, const char* code) = 0;
    virtual void adhoc(int id, const char* label, const char* value) = 0;
    virtual void takeSamples(time_t now) = 0;

    /// The next list that the device has sent and that was not taken yet; null if none comes.
    virtual std::unique_ptr<cObjectList> next() = 0;

    /// True if the device has sent more than was taken.
    virtual bool hasMore() = 0;
};

/// A recorded conversation with a device: a file with a JSON object on each line, which has one key.
///
/// "device" describes the device. "server" is a list from the server. "digital" and "analog" are a port and
/// its new value, "connectDigital" and "connectAnalog" an input and an output, "scan" a scanner and a code,
/// "adhoc" an id, a label and a value, "time" the seconds at which samples are taken. "sends" is the next
/// message of the device, its frames in hex, with the sequence number 0.
class Conversation
{
public:
    explicit Conversation(const char* path)
    {
        std::ifstream file(path);
        for (std::string line; std::getline(file, line);) {
            json_t* step = json_loads(line.c_str(), 0, nullptr);
            if (json_object_size(step) == 1) {
                mSteps.emplace_back(step, &json_decref);
            }
        }
    }

    size_t size() const { return mSteps.size(); }

    zuldevice::Counts counts() const
    {
        return {number("digitalInputs"), number("digitalOutputs"), number("analogInputs"),
                number("analogOutputs"), number("scanners")};
    }
    std::string label() const { return json_string_value(json_object_get(device(), "label")); }
    uint32_t version() const { return number("version"); }
    uint32_t serial() const { return number("serial"); }

    /// Plays it to @p device. Returns what differs from the record, a line each; "" if nothing does.
    std::string playTo(ConversationDevice* device) const
    {
        std::string differences;
        for (size_t i = 1; i < mSteps.size(); ++i) {
            const std::string difference = play(mSteps[i].get(), device);
            if (!difference.empty()) {
                differences += "line " + std::to_string(i + 1) + ": " + difference + "\n";
            }
        }
        return device->hasMore() ? differences + "the device sends more\n" : differences;
    }

private:
    using Json = std::unique_ptr<json_t, void (*)(json_t*)>;

    json_t* device() const { return json_object_get(mSteps.front().get(), "device"); }
    uint32_t number(const char* key) const
    {
        return static_cast<uint32_t>(json_integer_value(json_object_get(device(), key)));
    }

    static std::string play(json_t* step, ConversationDevice* device)
    {
        const std::string action = json_object_iter_key(json_object_iter(step));
        json_t* value = json_object_get(step, action.c_str());
        const auto integer = [&](size_t i) {
            return static_cast<int>(json_integer_value(json_array_get(value, i)));
        };
        const auto text = [&](size_t i) { return json_string_value(json_array_get(value, i)); };
        if (action == "sends") {
            return expect(json_string_value(value), device);
        }
        if (action == "server") {
            cObjectList list;
            if (!list.parse(value).isOk()) {
                return "is not a list";
            }
            device->receive(list);
        } else if (action == "digital") {
            device->setDigitalInput(integer(0), integer(1));
        } else if (action == "analog") {
            device->setAnalogInput(integer(0), integer(1));
        } else if (action == "connectDigital") {
            device->connectDigitalInput(integer(0), integer(1));
        } else if (action == "connectAnalog") {
            device->connectAnalogInput(integer(0), integer(1));
        } else if (action == "scan") {
            device->scan(integer(0), text(1));
        } else if (action == "adhoc") {
            device->adhoc(integer(0), text(1), text(2));
        } else if (action == "time") {
            device->takeSamples(json_integer_value(value));
        } else {
            return "unknown action " + action;
        }
        return "";
    }

    static std::string expect(const std::string& hex, ConversationDevice* device)
    {
        const std::unique_ptr<cObjectList> list = device->next();
        if (list == nullptr) {
            return "the device sends nothing";
        }
        WMsg message;
        if (!list->encode(&message).isOk()) {
            return "the device's message is too large";
        }
        const std::string sent = toHex(framesOf(message));
        return sent == hex ? "" : "the device sends " + sent;
    }

    static std::string toHex(const std::vector<uint8_t>& bytes)
    {
        std::string hex;
        for (const uint8_t byte : bytes) {
            hex += "0123456789abcdef"[byte >> 4];
            hex += "0123456789abcdef"[byte & 15];
        }
        return hex;
    }

    std::vector<Json> mSteps;
};
