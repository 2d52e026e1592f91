#ifndef SERVER_EXPECTATION_H
#define SERVER_EXPECTATION_H

// What an expectation that was not met says.

#include <cstdint>
#include <optional>
#include <string>

#include "server/commands/messagelog.h"
#include "server/io/jsonline.h"
#include "zulobj/objectlist.h"

namespace server {

/// The most that a failed expectation shows of what came instead.
constexpr size_t kMaxInstead = 10;
constexpr size_t kMaxInsteadBytes = 8192; ///< of their payloads
constexpr size_t kMaxValueBytes = 100;    ///< of a value in the sentence

/// The name of an object type, or its number where it has none.
std::string typeText(uint32_t objectType);

/// "2 seconds".
std::string secondsText(double seconds);

/// True when @p list has an object that is as @p filter says.
bool hasWanted(const cObjectList& list, const MessageLog::Filter& filter);

/// No message of @p log is as @p filter says: the reply names what came instead. Messages with an object of
/// the type come before others.
Reply missedEvent(const MessageLog::Filter& filter, double seconds, const MessageLog& log);

/// The message @p list came, and should not have.
Reply unwantedEvent(const MessageLog::Filter& filter, cObjectList* list);

/// None of @p count answers was as @p filter says; @p last is the last of them, or null for none.
Reply missedAnswer(const MessageLog::Filter& filter, double seconds, size_t count, const cObjectList* last);

/// A reply with the type and the objects of @p list.
Reply replyWith(const cObjectList& list);

} // namespace server

#endif
