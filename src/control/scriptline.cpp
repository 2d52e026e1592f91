#include "scriptline.h"

#include "scriptevent.h"
#include "zulcommand/controllines.h"

zulcommand::JsonPtr scriptLine(const sScriptEvent& event)
{
    constexpr const char* kWords[] = {"started", "ended", "failed", "stopped"};
    return zulcommand::JsonPtr(json_pack(
        "{s:s, s:o, s:s, s:o, s:o}", "event", "script", "file", zulcommand::textOf(event.file.toStdString()),
        "state", kWords[event.state], "error", controllines::textOrNull(event.error.toStdString()), "line",
        event.line > 0 ? json_integer(event.line) : json_null()));
}
