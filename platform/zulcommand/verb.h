#pragma once

#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "zulcommand/messagelog.h"

namespace zulcommand {

/// What the commands of every program have in common.
struct CommandBase
{
    /// The device that the command names, and the object that it waits for.
    MessageLog::Filter filter;

    /// True for "device=*": the command means all devices at the same time.
    bool everyDevice = false;

    /// How long to wait or sleep.
    double seconds = 0.0;
};

/// A command by its first word. @p Command is a CommandBase with an enumeration Kind and a member `kind`.
template <class Command>
struct Verb
{
    const char* word;
    typename Command::Kind kind; ///< unless `read` says another
    void (*read)(CommandWords*, Command*);
    const char* help;                ///< lines
    bool namesDevice = false;        ///< takes device=SERIAL and peer=ADDRESS:PORT
    const char* timeField = nullptr; ///< says how long the command waits
    double seconds = 0.0;            ///< how long it waits without that field
    bool namesEveryDevice = false;   ///< takes device=* too
};

/// The type of an object, by name or number.
std::optional<uint32_t> parseObjectType(const std::string& text);

/// True if records of the type have the field @p name.
bool hasField(uint32_t objectType, const char* name);

// For a Verb's `read`. A mistake is kept in @p *words.

/// The type of an object, by name or number, if there is a further word.
void readObjectType(CommandWords* words, MessageLog::Filter* filter);

/// The fields "device" and "peer". "device=*" is a mistake unless @p every.
void readDevice(CommandWords* words, bool every, CommandBase* command);

/// The number of seconds that "sleep" takes.
void readSleep(CommandWords* words, CommandBase* command);

/// Takes the field @p name, a time above 0; @p seconds if the line has none.
double readTime(CommandWords* words, const char* name, double seconds);

/// The fields of objects in a command, which say what these should be.
class ExpectedFields
{
public:
    /// Takes every field that the dictionary knows.
    explicit ExpectedFields(CommandWords* words);

    /// Adds the conditions to @p *filter, whose object has to have these fields. A field by the name of
    /// @p extra, unless null, is that one.
    void addTo(MessageLog::Filter* filter, const zuldict::TagEntry* extra, CommandWords* words) const;

private:
    std::vector<std::pair<const zuldict::TagEntry*, FieldValue>> mFields;
};

/// What the words after "expect" ask for.
enum class Expected
{
    EVENT,
    NO_EVENT,
    GET
};

/// Reads "event [TYPE]" or "no event [TYPE]" into @p *filter, or "get", after which @p get is called to read
/// the rest. It returns a field that the object has beside its record's, under a name of the dictionary, or
/// null.
Expected readExpected(CommandWords* words, MessageLog::Filter* filter,
                      const std::function<const zuldict::TagEntry*()>& get);

/// Reads one command of @p verbs. Returns one sentence that says what is wrong with it, or an empty text if
/// @p *command was filled.
template <class Command>
std::string readCommand(const std::string& line, std::span<const Verb<Command>> verbs, Command* command)
{
    if (std::string mistake = lineMistake(line); !mistake.empty()) {
        return mistake;
    }
    *command = Command();
    CommandWords words(line);
    const std::string first = words.word();
    for (const Verb<Command>& verb : verbs) {
        if (first != verb.word) {
            continue;
        }
        command->kind = verb.kind;
        if (verb.namesDevice) {
            readDevice(&words, verb.namesEveryDevice, command);
        }
        if (verb.timeField != nullptr) {
            command->seconds = readTime(&words, verb.timeField, verb.seconds);
        }
        verb.read(&words, command);
        return words.finish();
    }
    return first.empty() ? "The line does not begin with a command."
                         : "There is no command " + quote(first) + ".";
}

/// The lines of "help".
template <class Command>
std::string helpOf(std::span<const Verb<Command>> verbs)
{
    std::string text;
    for (const Verb<Command>& verb : verbs) {
        text += verb.help;
    }
    return text;
}

} // namespace zulcommand
