#pragma once

#include <string>

#include "zulobj/object.h"

namespace capture {

/// The command of zulserver that sends the request @p question, such as "get din 2". Empty if there is none.
std::string getCommand(const cObject& question);

/// The same for a set. Empty also if it changes nothing.
std::string setCommand(const cObject& object);

/// The command that sends @p get again and expects an answer like @p answer: its states, values and labels,
/// but no counters, as far as a line has room. @p isOne: the port is known from the question.
std::string expectation(const std::string& get, const cObject& answer, bool isOne);

/// True if @p question is about all ports of a kind, or about all capabilities.
bool asksForAll(const cObject& question);

/// True if @p answer is of the type and the port that @p question asks for.
bool answers(const cObject& answer, const cObject& question);

} // namespace capture
