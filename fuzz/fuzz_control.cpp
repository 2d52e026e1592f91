// The lines to a control socket: how bytes are cut into lines, and what each line means. The input: a byte
// that says in what pieces the rest comes, then the bytes.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "property.h"
#include "zulcommand/controlcommand.h"
#include "zulcommand/linesplitter.h"

namespace {

using Kind = sControlCommand::Kind;
using zulcommand::kMaxCommandBytes;

/// The lines of @p bytes, which come in pieces of @p size.
std::vector<std::string> linesOf(const std::string& bytes, size_t size)
{
    std::vector<std::string> lines;
    zulcommand::LineSplitter splitter(kMaxCommandBytes);
    for (size_t at = 0; at < bytes.size(); at += size) {
        splitter.take(bytes.data() + at, std::min(size, bytes.size() - at),
                      [&](const std::string& line) { lines.push_back(line); });
    }
    lines.push_back(splitter.rest());
    return lines;
}

/// The same, without a splitter.
std::vector<std::string> plainLinesOf(const std::string& bytes)
{
    std::vector<std::string> lines(1);
    for (const char byte : bytes) {
        if (byte == '\n') {
            lines.emplace_back();
        } else if (lines.back().size() <= kMaxCommandBytes) {
            lines.back() += byte;
        }
    }
    return lines;
}

bool needsPort(Kind kind)
{
    return kind == Kind::SET_DIGITAL || kind == Kind::SET_ANALOG || kind == Kind::SCAN ||
           kind == Kind::ADHOC || kind == Kind::WIRE || kind == Kind::UNWIRE;
}

bool waits(Kind kind)
{
    return kind == Kind::CONNECT || kind == Kind::EXPECT_GET || kind == Kind::EXPECT_EVENT ||
           kind == Kind::EXPECT_NO_EVENT || kind == Kind::WAIT_LINK_UP || kind == Kind::WAIT_LINK_DOWN ||
           kind == Kind::WAIT_SCRIPTS;
}

size_t textsOf(Kind kind)
{
    return kind == Kind::ADHOC ? 2 : kind == Kind::SCAN || kind == Kind::LOAD || kind == Kind::SCRIPT ? 1 : 0;
}

void checkCommand(const sControlCommand& command)
{
    require(!needsPort(command.kind) || command.number >= 1, "ports count from 1");
    require(command.kind != Kind::SET_DIGITAL || command.value <= 1, "a state is low or high");
    require(command.kind != Kind::SET_ANALOG || command.value <= 100, "a slider ends at 100");
    require(command.kind != Kind::ADHOC || command.number <= 99, "an ad-hoc event's id ends at 99");
    require(command.kind == Kind::SCRIPT ? !command.texts.empty()
                                         : command.texts.size() == textsOf(command.kind),
            "a command has its texts");
    require(std::ranges::all_of(command.texts,
                                [](const std::string& text) { return text.find('\0') == std::string::npos; }),
            "a text holds no NUL");
    require(command.seconds >= 0.0 && command.seconds <= zulcommand::kMaxSeconds, "no time is beyond a day");
    require(!waits(command.kind) || command.seconds > 0.0, "nobody waits for no time");
    require(command.filter.conditions.empty() || command.filter.objectType.has_value(),
            "conditions are an object's");
    require(!command.server || command.kind == Kind::CONNECT, "a server is for connect");
}

void checkLine(const std::string& line)
{
    sControlCommand command;
    const std::string mistake = parseControlCommand(line, &command);
    if (mistake.empty()) {
        checkCommand(command);
        require(line.size() <= kMaxCommandBytes, "a command has its bound");
    } else {
        require(mistake.back() == '.', "a mistake is a sentence");
        require(mistake.size() < line.size() + 500, "a mistake repeats a part of its line at most");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::vector<std::string> lines = linesOf(bytes, 1 + data[0]);
    require(lines == plainLinesOf(bytes), "the pieces do not matter");
    for (const std::string& line : lines) {
        checkLine(line);
    }
    return 0;
}
