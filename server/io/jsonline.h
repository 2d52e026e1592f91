#pragma once

// The lines that the server prints, as JSON objects.

#include <array>
#include <cstdint>
#include <string>

#include "zulcommand/jsontext.h"
#include "zulobj/device.h"
#include "zulobj/objectlist.h"

namespace server {

/// The "event" of every line that is printed.
inline constexpr std::array kEvents{"listening", "http",   "connected", "device",
                                    "message",   "answer", "reply",     "disconnected"};

zulcommand::JsonPtr listeningLine(const std::string& address, uint16_t port);
zulcommand::JsonPtr connectedLine(const std::string& peer);
zulcommand::JsonPtr deviceLine(const std::string& peer, const cObjectDevice& device);
zulcommand::JsonPtr messageLine(uint32_t deviceSerial, const cObjectList& message);
zulcommand::JsonPtr answerLine(const std::string& peer, uint32_t deviceSerial, const cObjectList& answer);
zulcommand::JsonPtr disconnectedLine(const std::string& peer, const cObjectDevice* device,
                                     const std::string& reason);

} // namespace server
