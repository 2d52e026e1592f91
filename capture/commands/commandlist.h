#pragma once

#include <cstdint>
#include <deque>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "capture/sessions/recordeditem.h"
#include "zulobj/objectlist.h"

namespace capture {

/// Makes commands of zulserver from what a server has asked and set in a recording.
class CommandList
{
public:
    /// What zulserver reads.
    static constexpr size_t kMaxBytes = 16 * 1024 * 1024;

    /// Returns false if there are more commands than zulserver reads.
    bool add(const RecordedItem& item);

    /// Writes a command per line. Of several devices each command names its own.
    void print(std::ostream& out) const;

private:
    using Serial = std::optional<uint32_t>;

    struct Command
    {
        Serial deviceSerial = {};
        std::vector<std::string> lines = {};
    };

    /// A request that has no answer yet.
    struct Question
    {
        std::unique_ptr<cObject> object = {};
        size_t command = 0; ///< which one sends it
    };

    /// The connection, and the number of the message there.
    using Key = std::pair<uint64_t, uint64_t>;

    void addQuestion(const RecordedItem& item);
    void addAnswer(const RecordedItem& item);
    void addObject(const RecordedItem& item, const cObject& object);
    void addCommand(const Serial& serial, const std::string& line);
    void setLines(Command* command, std::vector<std::string> lines);

    std::deque<Command> mCommands;
    std::map<Key, std::vector<Question>> mQuestions;
    std::set<Serial> mDevices;
    std::set<uint64_t> mBegun; ///< open connections on which something was asked
    size_t mBytes = 0;
};

} // namespace capture
