#include "zuldevice/devicefile.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace zuldevice {

namespace {

/// The value of the next line, which is taken off @p *content; empty once the lines have run out.
std::string nextValue(std::string_view* content)
{
    const size_t end = std::min(content->find('\n'), content->size());
    std::string_view line = content->substr(0, end);
    content->remove_prefix(std::min(end + 1, content->size()));
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return lineValue(line);
}

uint32_t nextCount(std::string_view* content) { return numberOrZero(nextValue(content)); }

} // namespace

bool hasTooManyItems(const Counts& counts)
{
    return uint64_t{counts.digitalInputs} + counts.digitalOutputs + counts.analogInputs +
               counts.analogOutputs + counts.scanners >
           kMaxItems;
}

std::string lineValue(std::string_view line)
{
    // Without a colon find() gives the largest number, and the text behind it begins at 0.
    std::string value(line.substr(line.find(':') + 1));
    std::erase(value, ' ');
    return value;
}

uint32_t numberOrZero(std::string_view text)
{
    constexpr std::string_view kWhite = "\t\n\v\f\r ";
    text.remove_prefix(std::min(text.find_first_not_of(kWhite), text.size()));
    text = text.substr(0, text.find_last_not_of(kWhite) + 1);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end ? number : 0;
}

DeviceFile DeviceFile::read(std::string_view content)
{
    DeviceFile values;
    values.counts.digitalInputs = nextCount(&content);
    values.counts.digitalOutputs = nextCount(&content);
    values.counts.analogInputs = nextCount(&content);
    values.counts.analogOutputs = nextCount(&content);
    values.counts.scanners = nextCount(&content);
    values.type = nextValue(&content);
    values.version = nextValue(&content);
    values.serial = nextValue(&content);
    if (!content.empty()) {
        values.label = nextValue(&content);
    }
    return values;
}

} // namespace zuldevice
