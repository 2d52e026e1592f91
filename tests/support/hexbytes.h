#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

/// The bytes that @p text writes in hex, two digits each; "78*20" is 20 bytes 78. On every line, what follows
/// a ';' is a note.
inline std::vector<uint8_t> hexBytes(const std::string& text)
{
    std::vector<uint8_t> bytes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream pairs(line.substr(0, line.find(';')));
        for (std::string pair; pairs >> pair;) {
            const size_t times = pair.find('*');
            const size_t count = times == std::string::npos ? 1 : std::stoul(pair.substr(times + 1));
            bytes.insert(bytes.end(), count, static_cast<uint8_t>(std::stoul(pair, nullptr, 16)));
        }
    }
    return bytes;
}

/// All segments of a message, as they travel.
template <class Message>
std::vector<uint8_t> framesOf(const Message& message)
{
    std::vector<uint8_t> bytes;
    message.appendFrames(bytes);
    return bytes;
}
