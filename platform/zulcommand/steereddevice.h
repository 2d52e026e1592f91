#pragma once

#include <string>
#include <vector>

#include "zulcommand/jsontext.h"
#include "zulobj/object.h"

/// A device as commands steer it. Ports and scanners are numbered from 1, and a wrong number may end the
/// program.
class cSteeredDevice
{
public:
    virtual ~cSteeredDevice() = default;

    /// The records of @p type in their order: of a kind of ports, the scanners (OBJ_ACCESS), the capabilities
    /// or the device itself.
    virtual std::vector<const cObject*> records(eObjectTypes type) const = 0;

    /// One of these records in its usual form; an analog input also has "value", where its slider stands.
    virtual zulcommand::JsonPtr objectOf(const cObject& record) const = 0;

    virtual void setDigitalInput(int port, bool high) = 0;
    virtual void setAnalogInput(int port, int value) = 0; ///< 0 to 100

    // Texts are UTF-8.

    virtual void reportScan(int scanner, const std::string& code) = 0;

    /// @p id is 1 to 99. Returns false if the device takes no such events.
    virtual bool reportAdhoc(uint32_t id, const std::string& label, const std::string& value) = 0;

    /// Puts @p output among the outputs of @p input, once, or takes it out. @p type is that of the input.
    /// Returns false, and changes nothing, if another input drives the output.
    virtual bool setWired(eObjectTypes type, int input, int output, bool wired) = 0;
};
