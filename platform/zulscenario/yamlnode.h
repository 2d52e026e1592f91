#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zulscenario {

/// A value of a YAML file, or a key.
struct YamlNode
{
    enum class eKind : uint8_t
    {
        NOTHING,
        TEXT,
        LIST,
        MAP
    };

    eKind kind = eKind::NOTHING;
    bool isQuoted = false; ///< a text that is no number, whatever it looks like
    uint32_t line = 0;     ///< of the file, from 1
    size_t offset = 0;     ///< of its first byte in the file
    std::string text = {};
    std::vector<YamlNode> items =
        {}; ///< of a list; of a map its keys, which are texts, each with its value behind it
};

} // namespace zulscenario
