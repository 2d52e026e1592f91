#pragma once

#include "capture/sessions/recordeditem.h"
#include "zulcommand/jsontext.h"

namespace capture {

/// The line of "show" for the message @p item, without its end.
std::string messageLine(const RecordedItem& item);

} // namespace capture
