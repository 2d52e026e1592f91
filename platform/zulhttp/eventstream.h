#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zulhttp {

/// The server-sent events that wait for one client.
///
/// The program sends and the connection takes; the program may keep it after the connection has ended.
class EventStream
{
public:
    /// A client that leaves more bytes than this unread is dropped.
    static constexpr size_t kMaxWaiting = 512 * 1024;

    /// Whole events, each with the empty line at its end. Streams share one copy.
    using Text = std::shared_ptr<const std::string>;

    /// No effect once the stream is closed.
    void send(Text text);

    /// What waits is not sent any more.
    void close();

    bool isOpen() const { return mOpen; }

    /// Called by send() and close().
    std::function<void()> onChange = [] {};

    /// Appends what to write next to @p *pieces, valid until written().
    void appendOutput(std::vector<std::string_view>* pieces) const;

    /// The first @p size bytes of the output have been written.
    void written(size_t size);

private:
    std::deque<Text> mWaiting;
    size_t mWaitingBytes = 0; ///< of all
    size_t mWritten = 0;      ///< of the first one
    bool mOpen = true;
};

} // namespace zulhttp
