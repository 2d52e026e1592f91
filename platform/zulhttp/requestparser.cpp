#include "zulhttp/requestparser.h"

#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

namespace zulhttp {

namespace http = boost::beast::http;

struct RequestParser::Parser : http::request_parser<http::string_body>
{};

RequestParser::RequestParser() : mParser(std::make_unique<Parser>())
{
    mParser->header_limit(kMaxHeader);
    mParser->body_limit(kMaxBody);
    mParser->eager(true);
}

RequestParser::~RequestParser() = default;

RequestParser::eResult RequestParser::refuse(unsigned status, const std::string& sentence)
{
    mRefusal = problem(status, sentence);
    return eResult::WRONG;
}

RequestParser::eResult RequestParser::read(std::string* bytes)
{
    boost::beast::error_code error;
    for (size_t used = 1; used > 0 && !mParser->is_done() && !bytes->empty() && !error;) {
        used = mParser->put(boost::asio::const_buffer(bytes->data(), bytes->size()), error);
        bytes->erase(0, used);
    }
    if (error == http::error::header_limit) {
        return refuse(431, "The header is larger than 16 KiB.");
    }
    if (error == http::error::body_limit) {
        return refuse(413, "The body is larger than 16 KiB.");
    }
    if ((error && error != http::error::need_more) || bytes->size() > kMaxHeader + kMaxBody) {
        return refuse(400, "This is no request of HTTP/1.1.");
    }
    if (mParser->is_done()) {
        return eResult::WHOLE;
    }
    const bool waits = mParser->is_header_done() && mParser->get().count(http::field::expect) > 0;
    return waits ? refuse(417, "Nothing can be expected.") : eResult::MORE;
}

bool RequestParser::keepsAlive() const { return mParser->keep_alive() && mParser->get().version() == 11; }

Request RequestParser::take()
{
    auto& message = mParser->get();
    Request request;
    request.method = std::string(message.method_string());
    const std::string target(message.target());
    const size_t mark = std::min(target.find('?'), target.size());
    request.path = decoded(std::string_view(target).substr(0, mark)).value_or("");
    request.query = target.substr(std::min(mark + 1, target.size()));
    for (const auto& field : message) {
        request.headers.emplace_back(lowerCase({field.name_string().data(), field.name_string().size()}),
                                     std::string(field.value()));
    }
    request.body = std::move(message.body());
    return request;
}

} // namespace zulhttp
