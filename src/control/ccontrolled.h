#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <string>

#include "zulcommand/jsontext.h"
#include "zullink/hostport.h"

class cDevice;

/// The program as the control socket steers it. GUI thread.
class cControlled
{
public:
    virtual ~cControlled() = default;

    /// The live device.
    virtual cDevice* device() const = 0;

    /// Connects the device to @p server, or to the one that is known already, or moves its link there.
    /// Returns false if no server is known.
    virtual bool connectTo(const std::optional<sHostPort>& server) = 0;

    /// Puts the device that the file at @p path describes in the place of the live one, whose scripts are
    /// stopped; it connects if that one's link was not off. Returns false if the file cannot be opened.
    virtual bool replaceDevice(const QString& path) = 0;

    /// Starts a script. Returns its number; 0 if the system refuses a thread; nothing if the file cannot be
    /// opened.
    virtual std::optional<uint64_t> runScript(const QString& path, const QStringList& arguments) = 0;

    /// Plays a scenario from now on. Returns the first mistake in it, or an empty text.
    virtual std::string playScenario(const std::string& path) = 0;

    /// The member "scenario" of the reply to "get scenario".
    virtual zulcommand::JsonPtr scenarioMember() const = 0;

    /// The number of scripts that have not ended.
    virtual size_t runningScripts() const = 0;
};
