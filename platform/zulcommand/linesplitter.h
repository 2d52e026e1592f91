#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace zulcommand {

/// Cuts a stream of bytes into lines.
class LineSplitter
{
public:
    using OnLine = std::function<void(const std::string& line)>;

    /// A line longer than @p maxBytes is cut after one byte more, so that the receiver sees that it is too
    /// long.
    explicit LineSplitter(size_t maxBytes) : mMaxBytes(maxBytes) {}

    /// Passes each line that @p data ends to @p onLine, without its end.
    void take(const char* data, size_t size, const OnLine& onLine);

    /// The bytes after the last line end, which are a line if they are the last. None are left then.
    std::string rest();

private:
    const size_t mMaxBytes;
    std::string mLine;
};

} // namespace zulcommand
