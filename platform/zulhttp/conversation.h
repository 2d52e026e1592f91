#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zulhttp/requestparser.h"
#include "zulhttp/site.h"

namespace zulhttp {

/// The server's end of one connection, without socket or clock: bytes in, bytes out.
///
/// Requests are answered one after the other: the next one is read when the answer is written.
class Conversation : public std::enable_shared_from_this<Conversation>
{
public:
    enum class eState
    {
        READING,   ///< a request
        ANSWERING, ///< the answer is made or written
        STREAMING,
        OVER ///< close when the output is written
    };

    /// @p site outlives it.
    explicit Conversation(Site& site) : mSite(site) {}

    /// Called when there is output or the state has changed, but not from within a call.
    std::function<void()> onChange = [] {};

    eState state() const;

    /// Takes what the client has sent. While ANSWERING read no more.
    void receive(std::string_view bytes);

    /// What to write next, valid until the next call.
    std::vector<std::string_view> output() const;

    /// The first @p size bytes of the output have been written.
    void written(size_t size);

    /// The time for a request is over.
    void timeUp();

    /// Answers with @p response whatever the client sends, and ends.
    void refuse(const Response& response);

    /// Sends a comment over a stream that has nothing to write.
    void keepStream();

    /// The connection is closed.
    void close();

private:
    void readRequest();
    void serve(const Request& request);
    void respond(const Response& response);
    std::string head(const Response& response) const;

    Site& mSite;
    eState mState = eState::READING;
    bool mInside = false; ///< a handler is running
    bool mKeepsAlive = false;
    bool mIsHead = false;
    std::string mInput;
    std::unique_ptr<RequestParser> mParser; ///< null between requests
    std::string mOutput;
    size_t mWritten = 0; ///< of mOutput
    std::shared_ptr<EventStream> mStream;
};

} // namespace zulhttp
