#include "zulcommand/jsontext.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>

#include "wmsg/utf8.h"
#include "zulobj/jsonvalue.h"

namespace zulcommand {

json_t* textOf(const std::string& text) { return json_string(utf8::repaired(text.c_str()).c_str()); }

std::string dumped(const json_t* json)
{
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(json, zulobj::kDumpFlags | JSON_ENCODE_ANY), &std::free);
    return text ? text.get() : std::string();
}

/// The library writes all reals of a text with as many digits as a float has, which are too few for the time.
std::string lineText(const JsonPtr& line, std::chrono::system_clock::time_point time)
{
    const std::chrono::duration<double> seconds = time.time_since_epoch();
    std::array<char, 48> member;
    std::snprintf(member.data(), member.size(), ",\"time\":%.6f", seconds.count());
    std::string text = dumped(line.get());
    return text.insert(std::min(text.find(','), text.size()), member.data());
}

std::string lineText(const JsonPtr& line, int64_t timeNs)
{
    using namespace std::chrono;
    return lineText(line,
                    system_clock::time_point(duration_cast<system_clock::duration>(nanoseconds(timeNs))));
}

} // namespace zulcommand
