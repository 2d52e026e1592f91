#pragma once

#include "zulcommand/jsontext.h"

class cObject;
class cObjectList;
struct sLinkState;

/// The JSON forms of what a control socket tells.
namespace controllines {

using zulcommand::JsonPtr;

/// @p object is the form of a port.
JsonPtr changedLine(JsonPtr object);
JsonPtr setLine(const cObject& record);
JsonPtr linkLine(const sLinkState& state);

/// The line of a set with one object.
JsonPtr setMessageLine(uint32_t deviceSerial, const cObjectList& message);

/// The member "link" of the reply to "get link".
JsonPtr linkMember(const sLinkState& state);

/// Null for an empty text.
json_t* textOrNull(const std::string& text);

} // namespace controllines
