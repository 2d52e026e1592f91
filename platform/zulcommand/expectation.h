#pragma once

// The replies with messages, and those to expectations that were not met.

#include <cstdint>
#include <string>

#include "zulcommand/messagelog.h"
#include "zulcommand/reply.h"

namespace zulcommand {

/// Limits of what a failed expectation shows of the messages received instead.
constexpr size_t kMaxInstead = 10;
constexpr size_t kMaxInsteadBytes = 8192; ///< of their payloads
constexpr size_t kMaxValueBytes = 100;    ///< of a value in the sentence

/// The name of an object type, or its number if it has none.
std::string typeText(uint32_t objectType);

/// "2 seconds".
std::string secondsText(double seconds);

/// A reply with the type and the objects of @p message; an error if they are malformed.
Reply replyWith(const WMsg& message);

/// The line that the program prints for a message.
using EventLine = JsonPtr (*)(uint32_t deviceSerial, const cObjectList& message);

/// The reply if no message of @p log matches @p filter: it names what was received instead, first of all
/// messages with an object of the type, and has their lines.
Reply missedEvent(const MessageLog::Filter& filter, double seconds, const MessageLog& log, EventLine lineOf);

/// The reply if @p message was received and should not have been.
Reply unwantedEvent(const MessageLog::Filter& filter, const WMsg& message);

/// The reply if none of @p count answers matches @p filter; @p last is the reply with the last one.
Reply missedAnswer(const MessageLog::Filter& filter, double seconds, size_t count, Reply last);

} // namespace zulcommand
