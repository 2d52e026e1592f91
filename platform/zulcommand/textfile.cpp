#include "zulcommand/textfile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "zulcommand/commandwords.h"

namespace zulcommand {

namespace {

constexpr size_t kMaxFileBytes = 16 * 1024 * 1024;

} // namespace

std::string readTextFile(const std::string& path, std::string* content)
{
    std::ifstream file(path);
    std::array<char, 4096> block;
    while (file && content->size() <= kMaxFileBytes) {
        file.read(block.data(), block.size());
        content->append(block.data(), static_cast<size_t>(file.gcount()));
    }
    if (content->size() > kMaxFileBytes) {
        return quote(path) + " holds more than 16 MiB.";
    }
    // A directory opens but never reaches its end.
    return file.eof() ? std::string() : "Cannot read " + quote(path) + ": " + std::strerror(errno) + ".";
}

} // namespace zulcommand
