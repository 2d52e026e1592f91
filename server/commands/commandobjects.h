#pragma once

#include "wmsg/wmsg.h"
#include "zulcommand/commandwords.h"

namespace server {

/// Fills @p *message from the words of a "get" or a "set" and returns the type of its object; nothing after
/// a mistake in the object's name.
///
/// In a get, keys that are not given stand for every device and every port. In a set, fields that are not
/// given say that the device leaves them as they are.
std::optional<uint32_t> readObject(const std::string& verb, zulcommand::CommandWords* words, WMsg* message);

} // namespace server
