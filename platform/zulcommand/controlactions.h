#pragma once

#include <jansson.h>
#include <string>

#include "zulcommand/controlcommand.h"
#include "zulcommand/steereddevice.h"

/// What the commands of a control socket do at once. Each function returns one sentence if the device has
/// no such port or scanner, or cannot do it, else an empty text.
namespace controlactions {

/// Appends the records that a GET asks for to the array @p objects.
std::string get(const sControlCommand& command, const cSteeredDevice& device, json_t* objects);

/// Carries out a SET_DIGITAL, SET_ANALOG, SCAN, ADHOC, WIRE or UNWIRE.
std::string act(const sControlCommand& command, cSteeredDevice& device);

} // namespace controlactions
