#include "zulscenario/mapreader.h"

#include <algorithm>

#include "zulscenario/valuetext.h"

namespace zulscenario {

MapReader::MapReader(const ValueReader& values, const Entry& entry, const Words& words, PortTypes ports)
    : mValues(values),
      mMap(entry),
      mExample(ports.size() == 0 ? std::string(words.front()) : nameOf(*ports.begin()) + " 1")
{
    if (entry.value.kind != YamlNode::eKind::MAP) {
        values.failNot(entry, "a map such as {" + mExample + ": ...}");
        return;
    }
    for (size_t i = 0; i + 1 < entry.value.items.size(); i += 2) {
        add({entry.value.items[i], entry.value.items[i + 1]}, words, ports);
    }
}

void MapReader::add(const Entry& entry, const Words& words, PortTypes ports)
{
    if (std::ranges::find(words, entry.key.text) != words.end()) {
        mEntries.push_back(entry);
        return;
    }
    const std::optional<Port> port = parsePort(entry.key.text);
    if (port && std::ranges::find(ports, port->type) != ports.end()) {
        mValues.checkPort(*port, entry.key);
        mPorts.push_back({*port, entry});
        return;
    }
    std::string known;
    for (const eObjectTypes type : ports) {
        known += (known.empty() ? "" : ", ") + nameOf(type) + " N";
    }
    for (const std::string_view word : words) {
        known += (known.empty() ? "" : ", ") + std::string(word);
    }
    mValues.mistakes().fail(entry.key.offset,
                            "There is no key " + excerpt(entry.key.text) + " here; there are " + known + ".");
}

const Entry* MapReader::find(std::string_view word) const
{
    const auto found =
        std::ranges::find_if(mEntries, [&](const Entry& entry) { return entry.key.text == word; });
    return found == mEntries.end() ? nullptr : &*found;
}

void MapReader::failWithout(const std::string& word) const
{
    mValues.mistakes().fail(mMap.key.offset, mMap.key.text + " needs the key " + excerpt(word) + ".");
}

} // namespace zulscenario
