#include "capture/commands/commandlist.h"

#include <ostream>

#include "capture/commands/commandtext.h"
#include "zulcommand/expectation.h"

namespace capture {

bool CommandList::add(const RecordedItem& item)
{
    if (item.kind == RecordedItem::CLOSED) {
        const uint64_t number = item.connection->number;
        mBegun.erase(number);
        mQuestions.erase(mQuestions.lower_bound({number, 0}), mQuestions.lower_bound({number + 1, 0}));
    } else if (item.kind == RecordedItem::MESSAGE && !item.message.control) {
        if (item.question) {
            addAnswer(item);
        } else if (item.direction == eDirection::TO_DEVICE && !item.message.answer) {
            addQuestion(item);
        }
    }
    return mBytes <= kMaxBytes;
}

void CommandList::addQuestion(const RecordedItem& item)
{
    const Serial serial = item.connection->deviceSerial;
    const bool isNew = mDevices.insert(serial).second;
    if (isNew) {
        addCommand(serial, "wait device");
    }
    const bool isFirst = mBegun.insert(item.connection->number).second;
    cObjectList list;
    const bool isReadable = list.decode(item.message).isOk();
    const cObject* const object = list.first();
    if (isFirst && !isNew && isReadable && object != nullptr && object->getType() == OBJ_DEVICE) {
        return; // a server asks so when a device has connected again
    }
    if (!isReadable) {
        addCommand(serial, "# a message that cannot be read");
    } else if (object == nullptr) {
        addCommand(serial, "send type=" + std::to_string(item.message.type));
    }
    for (const cObject* next = object; isReadable && next != nullptr; next = list.next()) {
        addObject(item, *next);
    }
}

void CommandList::addObject(const RecordedItem& item, const cObject& object)
{
    const Serial serial = item.connection->deviceSerial;
    if (item.message.type == cObjectList::kRequest) {
        mQuestions[{item.connection->number, item.number}].push_back(
            {std::unique_ptr<cObject>(object.clone()), mCommands.size()});
        addCommand(serial, getCommand(object));
        return;
    }
    const std::string command = item.message.type == cObjectList::kSet ? setCommand(object) : "";
    addCommand(serial, command.empty()
                           ? "# a message of type " + std::to_string(item.message.type) + " with " +
                                 zulcommand::typeText(object.getType()) + " that no command sends"
                           : command);
}

void CommandList::addAnswer(const RecordedItem& item)
{
    const auto asked = mQuestions.extract(Key(item.connection->number, item.question->number));
    cObjectList list;
    if (asked.empty() || !list.decode(item.message).isOk()) {
        return;
    }
    for (const Question& question : asked.mapped()) {
        const std::string get = getCommand(*question.object);
        std::vector<std::string> lines;
        for (const cObject* answer = list.first(); answer != nullptr; answer = list.next()) {
            if (answers(*answer, *question.object)) {
                lines.push_back(expectation(get, *answer, !asksForAll(*question.object)));
            }
        }
        if (!lines.empty()) {
            setLines(&mCommands[question.command], std::move(lines));
        }
    }
}

void CommandList::addCommand(const Serial& serial, const std::string& line)
{
    mCommands.push_back({serial, {}});
    setLines(&mCommands.back(), {line});
}

void CommandList::setLines(Command* command, std::vector<std::string> lines)
{
    constexpr size_t kDeviceBytes = 20; // for device=SERIAL and the end of the line
    for (const std::string& line : command->lines) {
        mBytes -= line.size() + kDeviceBytes;
    }
    for (const std::string& line : lines) {
        mBytes += line.size() + kDeviceBytes;
    }
    command->lines = std::move(lines);
}

void CommandList::print(std::ostream& out) const
{
    for (const Command& command : mCommands) {
        for (const std::string& line : command.lines) {
            const bool namesDevice = mDevices.size() > 1 && command.deviceSerial && line[0] != '#';
            out << line << (namesDevice ? " device=" + std::to_string(*command.deviceSerial) : "") << '\n';
        }
    }
    out.flush();
}

} // namespace capture
