#pragma once

#include "zulcommand/jsontext.h"

struct sScriptEvent;

/// The JSON form of what the control socket tells of a script.
zulcommand::JsonPtr scriptLine(const sScriptEvent& event);
