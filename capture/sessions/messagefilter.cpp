#include "capture/sessions/messagefilter.h"

#include <algorithm>

#include "zulcommand/expectation.h"
#include "zulcommand/jsontext.h"
#include "zulobj/recordfactory.h"

namespace capture {

using namespace zulcommand;

namespace {

/// Returns @p word as it is written in a line of commands: quotation marks enclose a value with blanks.
std::string written(const std::string& word)
{
    const size_t value = word.find('=') + 1;
    const bool isPlain = word.find_first_of(kBlanks, value) == std::string::npos && value < word.size();
    return isPlain || word[value] == '"' || value == 0
               ? word
               : word.substr(0, value) + dumped(JsonPtr(textOf(word.substr(value))));
}

void readDevices(CommandWords* words, MessageSelector* selector)
{
    if (const std::optional<std::string> text = words->text("device")) {
        selector->devices = parseDevices(*text);
        if (!selector->devices) {
            words->fail("device is neither SERIAL nor A-B with A no larger than B: " + quote(*text) + ".");
        }
    }
}

uint8_t flagsOf(const WMsg& message)
{
    return static_cast<uint8_t>((message.control ? wmsg::kFlagControl : 0) |
                                (message.answer ? wmsg::kFlagAnswer : 0));
}

} // namespace

std::string MessageFilter::read(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + written(word);
    }
    if (std::string mistake = lineMistake(line, "The filter"); !mistake.empty()) {
        return mistake;
    }
    CommandWords fields(line, "The filter");
    mSelector.direction = readDirection(&fields);
    readDevices(&fields, &mSelector);
    readMessages(&fields, &mSelector);
    return finish(&fields);
}

/// Reads the fields of records.
std::string MessageFilter::finish(CommandWords* words)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const std::optional<FieldValue> value = words->field(entry.name);
        if (!value) {
            continue;
        }
        mConditions.emplace_back(entry, *value, words);
        if (mSelector.object && !hasField(*mSelector.object, entry.name)) {
            words->fail(typeText(*mSelector.object) + " has no field " + quote(entry.name) + ".");
        }
    }
    const std::string mistake = words->finish();
    return mistake.empty() ? contradictionIn(mSelector) : mistake;
}

bool MessageFilter::matches(const RecordedItem& item) const
{
    const std::optional<uint32_t> serial = item.connection->deviceSerial;
    if (item.direction != mSelector.direction.value_or(item.direction) ||
        (mSelector.devices && !(serial && mSelector.devices->has(*serial))) ||
        !choosesHeader(mSelector, flagsOf(item.message), item.message.type)) {
        return false;
    }
    if (!mSelector.object && !mSelector.port && mConditions.empty()) {
        return true;
    }
    std::vector<WendleObject> records;
    return readRecords(item.message.payload, &records) &&
           std::ranges::any_of(records, [this](const WendleObject& record) { return matchesRecord(record); });
}

bool MessageFilter::matchesRecord(const WendleObject& record) const
{
    if (!choosesObject(mSelector, record) || mConditions.empty()) {
        return choosesObject(mSelector, record);
    }
    const std::unique_ptr<cObject> object = zulobj::createRecord(static_cast<eObjectTypes>(record.type));
    return object->decode(record.tags).isOk() && allHold(mConditions, JsonPtr(object->getJSONObj()).get());
}

} // namespace capture
