#include "zulhttp/conversation.h"

#include <algorithm>
#include <boost/beast/http/status.hpp>
#include <ctime>
#include <utility>

namespace zulhttp {

namespace {

/// What every response has. Pages take nothing from elsewhere and are shown in no frame.
constexpr const char* kSecurityHeaders =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "connect-src 'self'; worker-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "X-Content-Type-Options: nosniff\r\n";

/// The time of now as a header has it (RFC 9110, 5.6.7), whatever the locale.
std::string dateText()
{
    static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%s, %02d %s %d %02d:%02d:%02d GMT", kDays[parts.tm_wday], parts.tm_mday,
                  kMonths[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text;
}

} // namespace

Conversation::eState Conversation::state() const
{
    return mStream && !mStream->isOpen() ? eState::OVER : mState;
}

void Conversation::receive(std::string_view bytes)
{
    if (mState == eState::READING) {
        mInput += bytes;
        readRequest();
    }
}

void Conversation::readRequest()
{
    if (mInput.empty()) {
        return;
    }
    if (!mParser) {
        mParser = std::make_unique<RequestParser>();
    }
    switch (mParser->read(&mInput)) {
    case RequestParser::eResult::MORE:
        return;
    case RequestParser::eResult::WRONG:
        return refuse(mParser->refusal());
    case RequestParser::eResult::WHOLE:
        const std::unique_ptr<RequestParser> parser = std::move(mParser);
        mKeepsAlive = parser->keepsAlive();
        serve(parser->take());
    }
}

void Conversation::serve(const Request& request)
{
    mState = eState::ANSWERING;
    mIsHead = request.method == "HEAD";
    mInside = true;
    mStream =
        mSite.serve(request, [weak = weak_from_this(), answered = false](const Response& response) mutable {
            const std::shared_ptr<Conversation> self = weak.lock();
            if (self && !std::exchange(answered, true)) {
                self->respond(response);
            }
        });
    mInside = false;
    if (mStream) {
        mState = eState::STREAMING;
        mKeepsAlive = false;
        mOutput = head({.type = "text/event-stream"}) + "\r\n";
        mStream->onChange = [weak = weak_from_this()] {
            if (const std::shared_ptr<Conversation> self = weak.lock()) {
                self->onChange();
            }
        };
    }
}

void Conversation::respond(const Response& response)
{
    if (mState != eState::ANSWERING) {
        return;
    }
    mOutput = head(response);
    if (response.status != 304) {
        mOutput += "Content-Length: " + std::to_string(response.body.size()) + "\r\n";
    }
    mOutput += "\r\n" + (mIsHead ? "" : response.body);
    if (!mInside) {
        onChange();
    }
}

std::string Conversation::head(const Response& response) const
{
    const auto reason =
        boost::beast::http::obsolete_reason(boost::beast::http::int_to_status(response.status));
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " " + std::string(reason) +
                       "\r\nDate: " + dateText() + "\r\n" + kSecurityHeaders;
    const auto add = [&text](const std::string& name, const std::string& value) {
        text += name + ": " + value + "\r\n";
    };
    if (!response.type.empty()) {
        add("Content-Type", response.type);
    }
    for (const auto& [name, value] : response.headers) {
        add(name, value);
    }
    if (std::ranges::find(response.headers, "cache-control", &Headers::value_type::first) ==
        response.headers.end()) {
        add("Cache-Control", "no-store");
    }
    if (!mKeepsAlive) {
        add("Connection", "close");
    }
    return text;
}

std::vector<std::string_view> Conversation::output() const
{
    std::vector<std::string_view> pieces;
    if (mWritten < mOutput.size()) {
        pieces.push_back(std::string_view(mOutput).substr(mWritten));
    } else if (mStream && mStream->isOpen()) {
        mStream->appendOutput(&pieces);
    }
    return pieces;
}

void Conversation::written(size_t size)
{
    if (mWritten == mOutput.size()) {
        return mStream->written(size);
    }
    mWritten += size;
    if (mWritten < mOutput.size()) {
        return;
    }
    mOutput.clear();
    mWritten = 0;
    if (mState == eState::ANSWERING && mKeepsAlive) {
        mState = eState::READING;
        readRequest();
    } else if (mState == eState::ANSWERING) {
        mState = eState::OVER;
    }
}

void Conversation::timeUp()
{
    mParser ? refuse(problem(408, "The request was not whole in time.")) : close();
}

void Conversation::refuse(const Response& response)
{
    mState = eState::ANSWERING;
    mKeepsAlive = false;
    mIsHead = false;
    mInside = true;
    respond(response);
    mInside = false;
    mParser.reset(); // maybe the owner of the response
}

void Conversation::keepStream()
{
    if (mStream && mStream->isOpen() && output().empty()) {
        static const EventStream::Text comment = std::make_shared<const std::string>(":\n\n");
        mStream->send(comment);
    }
}

void Conversation::close()
{
    mState = eState::OVER;
    mOutput.clear();
    mWritten = 0;
    if (mStream) {
        mStream->onChange = [] {};
        mStream->close();
    }
}

} // namespace zulhttp
