#include "zulcommand/linesplitter.h"

#include <algorithm>
#include <utility>

namespace zulcommand {

void LineSplitter::take(const char* data, size_t size, const OnLine& onLine)
{
    const char* const end = data + size;
    while (data != end) {
        const char* const lineEnd = std::find(data, end, '\n');
        const size_t room = mMaxBytes + 1 - mLine.size();
        mLine.append(data, std::min(room, static_cast<size_t>(lineEnd - data)));
        if (lineEnd == end) {
            return;
        }
        onLine(rest());
        data = lineEnd + 1;
    }
}

std::string LineSplitter::rest() { return std::exchange(mLine, {}); }

} // namespace zulcommand
