#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "hexbytes.h"

/// docs/protocol.md.
inline std::string documentText()
{
    std::ifstream file(PROTOCOL_DOCUMENT);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The document's messages by name.
inline std::map<std::string, std::vector<uint8_t>> documentMessages()
{
    std::map<std::string, std::vector<uint8_t>> messages;
    std::istringstream lines(documentText());
    std::string name;
    std::string block;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("```hex ", 0) == 0) {
            name = line.substr(7);
            block.clear();
        } else if (line == "```" && !name.empty()) {
            messages[name] = hexBytes(block);
            name.clear();
        } else if (!name.empty()) {
            block += line + "\n";
        }
    }
    return messages;
}
