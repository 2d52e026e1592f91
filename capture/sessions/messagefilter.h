#pragma once

#include <string>
#include <vector>

#include "capture/sessions/recordeditem.h"
#include "zulcommand/condition.h"

namespace capture {

/// Selects recorded messages by the words of a command line, all of which must hold.
class MessageFilter
{
public:
    /// Reads @p words, each NAME=VALUE. Returns one sentence about a mistake, or an empty text.
    std::string read(const std::vector<std::string>& words);

    /// Object, port and fields have to be those of one record of the message.
    bool matches(const RecordedItem& item) const;

private:
    std::string finish(zulcommand::CommandWords* words);
    bool matchesRecord(const WendleObject& record) const;

    zulcommand::MessageSelector mSelector;
    zulcommand::Conditions mConditions;
};

} // namespace capture
