#include "zulcommand/messageselector.h"

#include "wmsg/wmsg.h"
#include "zulobj/objectlist.h"

namespace zulcommand {

namespace {

template <class Value>
struct NamedValue
{
    const char* name;
    Value value;
};

constexpr NamedValue<eDirection> kDirectionNames[] = {{"to-server", eDirection::TO_SERVER},
                                                      {"to-device", eDirection::TO_DEVICE}};

constexpr NamedValue<MessageSelector::eMessage> kMessageNames[] = {{"get", MessageSelector::GET},
                                                                   {"set", MessageSelector::SET},
                                                                   {"event", MessageSelector::EVENT},
                                                                   {"answer", MessageSelector::ANSWER},
                                                                   {"ping", MessageSelector::PING}};

/// Takes the value that the field @p name gives by one of @p names.
template <class Value, size_t Size>
std::optional<Value> readName(CommandWords* words, const char* name, const NamedValue<Value> (&names)[Size])
{
    const std::optional<std::string> text = words->text(name);
    std::string known;
    for (const NamedValue<Value>& one : names) {
        if (text == one.name) {
            return one.value;
        }
        known += (known.empty() ? "" : ", ") + std::string(one.name);
    }
    if (text) {
        words->fail(std::string(name) + " is none of " + known + ": " + quote(*text) + ".");
    }
    return std::nullopt;
}

} // namespace

const char* nameOf(eDirection direction) { return kDirectionNames[static_cast<size_t>(direction)].name; }

std::optional<eDirection> readDirection(CommandWords* words)
{
    return readName(words, "dir", kDirectionNames);
}

std::optional<uint32_t> readObjectField(CommandWords* words)
{
    const std::optional<std::string> text = words->text("object");
    const std::optional<uint32_t> type = text ? parseObjectType(*text) : std::nullopt;
    if (text && !type) {
        words->fail("object is no type of an object: " + quote(*text) + ".");
    }
    return type;
}

void readMessages(CommandWords* words, MessageSelector* selector)
{
    selector->message = readName(words, "msg", kMessageNames);
    if (const std::optional<uint32_t> type = words->number("type", 0, 255)) {
        selector->type = static_cast<uint8_t>(*type);
    }
    selector->object = readObjectField(words);
    selector->port = words->number("port");
}

std::optional<DeviceRange> parseDevices(const std::string& text)
{
    const size_t dash = text.find('-');
    const auto first = parseNumber(text.substr(0, dash));
    const auto last = dash == std::string::npos ? first : parseNumber(text.substr(dash + 1));
    return first && last && *first <= *last ? std::make_optional<DeviceRange>({*first, *last}) : std::nullopt;
}

std::string contradictionIn(const MessageSelector& selector)
{
    const std::optional<uint8_t> type = selector.message ? typeOf(*selector.message) : std::nullopt;
    if (selector.message == MessageSelector::PING && (selector.object || selector.port)) {
        return std::string("msg=ping has no records: ") + (selector.object ? "object" : "port") +
               " matches none.";
    }
    if (type && selector.type && *type != *selector.type) {
        return "type contradicts msg: that is type " + std::to_string(*type) + ".";
    }
    const auto isPort = [](const zuldict::TagEntry& entry) {
        return entry.tag == TAG_PORT_ID || entry.tag == TAG_PORT_NUM;
    };
    if (selector.object && selector.port && !mayHave(*selector.object, isPort)) {
        return "object is a type without a port.";
    }
    return "";
}

std::optional<uint8_t> typeOf(MessageSelector::eMessage message)
{
    switch (message) {
    case MessageSelector::SET:
        return cObjectList::kSet;
    case MessageSelector::GET:
        return cObjectList::kRequest;
    case MessageSelector::EVENT:
        return cObjectList::kEvent;
    default:
        return std::nullopt;
    }
}

bool choosesFlags(const MessageSelector& selector, uint8_t flags)
{
    const bool control = (flags & wmsg::kFlagControl) != 0;
    const bool answer = (flags & wmsg::kFlagAnswer) != 0;
    if (!selector.message) {
        return !(control && selector.type);
    }
    return *selector.message == MessageSelector::PING
               ? control
               : !control && answer == (*selector.message == MessageSelector::ANSWER);
}

bool choosesHeader(const MessageSelector& selector, uint8_t flags, uint8_t type)
{
    const std::optional<uint8_t> meant = selector.message ? typeOf(*selector.message) : std::nullopt;
    return choosesFlags(selector, flags) && (!meant || *meant == type) &&
           (!selector.type || *selector.type == type);
}

bool choosesObject(const MessageSelector& selector, const WendleObject& record)
{
    return (!selector.object || *selector.object == record.type) &&
           (!selector.port || hasPort(record, *selector.port));
}

} // namespace zulcommand
