#pragma once

#include <vector>

#include "zulcommand/jsontext.h"
#include "zuldict/zuldict.h"

class cDevice;
class cObject;
class cObjectList;
struct sLinkState;
struct sScriptEvent;

/// The JSON forms of what the control socket tells.
namespace controllines {

using zulcommand::JsonPtr;

/// A record in its usual form; an analog input of the panel also has "value", where its slider stands.
JsonPtr objectOf(const cObject& record);

JsonPtr changedLine(const cObject& record);
JsonPtr setLine(const cObject& record);
JsonPtr linkLine(const sLinkState& state);
JsonPtr scriptLine(const sScriptEvent& event);

/// The line of a set with one object.
JsonPtr setMessageLine(uint32_t deviceSerial, const cObjectList& message);

/// The member "link" of the reply to "get link".
JsonPtr linkMember(const sLinkState& state);

} // namespace controllines
