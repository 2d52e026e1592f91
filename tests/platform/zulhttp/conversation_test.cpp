// One connection without a socket: requests and their answers as bytes.

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "zulhttp/conversation.h"

namespace httptest {

std::span<const zulhttp::Resource> resources();

namespace {

using zulhttp::Conversation;
using zulhttp::EventStream;
using zulhttp::Request;
using zulhttp::Response;
using eState = Conversation::eState;

/// Everything that waits to be written.
std::string taken(Conversation& conversation)
{
    std::string text;
    for (auto pieces = conversation.output(); !pieces.empty(); pieces = conversation.output()) {
        text += pieces.front();
        conversation.written(pieces.front().size());
    }
    return text;
}

int statusOf(const std::string& answer) { return answer.size() < 12 ? 0 : std::stoi(answer.substr(9, 3)); }

std::string bodyOf(const std::string& answer) { return answer.substr(answer.find("\r\n\r\n") + 4); }

/// A request with the header Host, and @p headers, each with its line end.
std::string request(const std::string& line, const std::string& headers = "Host: localhost:8080\r\n",
                    const std::string& body = "")
{
    return line + " HTTP/1.1\r\n" + headers +
           (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" + body;
}

} // namespace

class ConversationTest : public testing::Test
{
protected:
    ConversationTest()
    {
        mSite.get("/echo", [](const Request& asked) {
            return Response{.body = asked.parameter("text").value_or("nothing")};
        });
        mSite.get("/below/", [](const Request& asked) { return Response{.body = asked.path}; });
        mSite.post("/post", [](const Request& asked, const zulhttp::Site::Respond& respond) {
            respond({.body = asked.body});
        });
        mSite.post("/later",
                   [this](const Request&, zulhttp::Site::Respond respond) { mRespond = std::move(respond); });
        mSite.stream("/events", [this](const Request& asked, const std::shared_ptr<EventStream>& stream) {
            mStream = stream;
            mLastEvent = asked.header("last-event-id");
        });
        mSite.add(resources());
    }

    std::shared_ptr<Conversation> open() { return std::make_shared<Conversation>(mSite); }

    /// The answer to @p bytes on a connection of their own.
    std::string answerTo(const std::string& bytes)
    {
        const auto conversation = open();
        conversation->receive(bytes);
        return taken(*conversation);
    }

    zulhttp::Site mSite{{"watch.example"}};
    zulhttp::Site::Respond mRespond;
    std::shared_ptr<EventStream> mStream;
    std::string mLastEvent;
};

TEST_F(ConversationTest, aGetIsAnsweredAndTheConnectionStays)
{
    const auto conversation = open();
    conversation->receive(request("GET /echo?a=1&text=a%20b&c"));
    const std::string answer = taken(*conversation);
    EXPECT_EQ(statusOf(answer), 200);
    EXPECT_EQ(bodyOf(answer), "a b");
    EXPECT_EQ(conversation->state(), eState::READING);
}

TEST_F(ConversationTest, everyAnswerHasTheSecurityHeaders)
{
    for (const char* line : {"GET /echo", "GET /nothing", "PUT /echo", "GET /hello.txt", "broken"}) {
        const std::string answer = answerTo(request(line));
        EXPECT_NE(answer.find("Content-Security-Policy: default-src 'none';"), std::string::npos) << answer;
        EXPECT_NE(answer.find("base-uri 'none'; form-action 'none'; frame-ancestors 'none'"),
                  std::string::npos);
        EXPECT_NE(answer.find("X-Content-Type-Options: nosniff\r\n"), std::string::npos);
        EXPECT_NE(answer.find("Referrer-Policy: no-referrer\r\n"), std::string::npos);
        EXPECT_NE(answer.find("Cross-Origin-Resource-Policy: same-origin\r\n"), std::string::npos);
        EXPECT_EQ(answer.find("unsafe"), std::string::npos);
        EXPECT_EQ(answer.find("Access-Control"), std::string::npos);
    }
}

TEST_F(ConversationTest, badRequestsHaveTheirStatus)
{
    const std::string host = "Host: localhost\r\n";
    const std::vector<std::pair<std::string, int>> rows{
        {request("GET /nothing"), 404},
        {request("DELETE /echo"), 405},
        {request("MADEUP /echo"), 405},
        {request("POST /echo", host, "x"), 405},
        {request("GET /post"), 405},
        {request("GE(T /echo"), 400},
        {request("GET echo"), 400},
        {request("OPTIONS *"), 400},
        {request("GET http://localhost/echo"), 400},
        {request("GET /%zz"), 400},
        {request("GET /%00"), 400},
        {request("GET /%4"), 400},
        {request("GET /echo", ""), 400},
        {request("GET /echo", host + host), 400},
        {request("GET /echo", "Host localhost\r\n"), 400},
        {"GET /echo HTTP/9.1\r\n" + host + "\r\n", 400},
        {"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03 TLS\r\n\r\n", 400},
        {request("GET /echo", host + "Large: " + std::string(16 * 1024, 'x') + "\r\n"), 431},
        {request("GET /" + std::string(17 * 1024, 'x'), host), 431},
        {request("POST /post", host, std::string(16 * 1024 + 1, 'x')), 413},
        {request("POST /post", host + "Content-Length: 1\r\nContent-Length: 2\r\n"), 400},
        {request("POST /post", host + "Content-Length: -1\r\n"), 400},
        {request("POST /post", host + "Expect: 100-continue\r\nContent-Length: 1\r\n"), 417},
    };
    for (const auto& [bytes, status] : rows) {
        EXPECT_EQ(statusOf(answerTo(bytes)), status) << bytes.substr(0, 100);
    }
}

TEST_F(ConversationTest, aWrongMethodIsToldWhichAreAllowed)
{
    EXPECT_NE(answerTo(request("PUT /echo")).find("allow: GET, HEAD\r\n"), std::string::npos);
    EXPECT_NE(answerTo(request("GET /post")).find("allow: POST\r\n"), std::string::npos);
}

TEST_F(ConversationTest, theLargestHeaderAndBodyAreTaken)
{
    const std::string body(16 * 1024, 'x');
    const std::string header = "Host: localhost\r\nLarge: " + std::string(16'000, 'x') + "\r\n";
    EXPECT_EQ(bodyOf(answerTo(request("POST /post", header, body))), body);
}

TEST_F(ConversationTest, theHostHasToBeOurs)
{
    for (const char* host : {"localhost", "LOCALHOST:1", "127.0.0.1:80", "127.9.9.9", "[::1]:8080", "[::1]",
                             "watch.example", "Watch.Example:8080"}) {
        EXPECT_EQ(statusOf(answerTo(request("GET /echo", std::string("Host: ") + host + "\r\n"))), 200)
            << host;
    }
    for (const char* host :
         {"evil.example", "localhost.evil.example", "127.0.0.1.evil.example", "10.0.0.1", "[::2]", "[::1",
          "localhost:port", "localhost:123456", "", "localhost@evil.example", "::1"}) {
        EXPECT_EQ(statusOf(answerTo(request("GET /echo", std::string("Host: ") + host + "\r\n"))), 421)
            << host;
    }
}

TEST_F(ConversationTest, aPageFromElsewhereCanNeitherReadNorCommand)
{
    const auto statusWith = [this](const std::string& line, const std::string& headers) {
        return statusOf(answerTo(request(line, "Host: localhost:8080\r\n" + headers)));
    };
    EXPECT_EQ(statusWith("POST /post", "Origin: http://localhost:8080\r\n"), 200);
    for (const char* origin :
         {"http://evil.example", "null", "http://localhost", "http://localhost:3000", "localhost:8080"}) {
        const std::string header = std::string("Origin: ") + origin + "\r\n";
        EXPECT_EQ(statusWith("POST /post", header), 403) << origin;
        EXPECT_EQ(statusWith("GET /echo", header), 403) << origin;
        EXPECT_EQ(statusWith("OPTIONS /post", header), 403) << origin;
        EXPECT_EQ(statusWith("GET /events", header), 403) << origin;
    }
    EXPECT_EQ(statusWith("GET /echo", "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: no-cors\r\n"), 403);
    EXPECT_EQ(statusWith("GET /echo", "Sec-Fetch-Site: same-site\r\nSec-Fetch-Mode: cors\r\n"), 403);
    EXPECT_EQ(statusWith("GET /echo", "Sec-Fetch-Site: same-origin\r\nSec-Fetch-Mode: cors\r\n"), 200);
    const std::string link = "Sec-Fetch-Site: cross-site\r\nSec-Fetch-Mode: navigate\r\nSec-Fetch-Dest: ";
    EXPECT_EQ(statusWith("GET /echo", link + "document\r\n"), 200);
    EXPECT_EQ(statusWith("GET /echo", link + "iframe\r\n"), 403);
    EXPECT_EQ(statusWith("POST /post", link + "document\r\n"), 403);
}

TEST_F(ConversationTest, everyCutPointOfARequestReadsTheSame)
{
    const std::string bytes =
        request("POST /post", "Host: localhost\r\nOrigin: http://localhost\r\n", "a body");
    for (size_t cut = 1; cut < bytes.size(); ++cut) {
        const auto conversation = open();
        conversation->receive(bytes.substr(0, cut));
        EXPECT_EQ(taken(*conversation), "") << cut;
        conversation->receive(bytes.substr(cut));
        EXPECT_EQ(bodyOf(taken(*conversation)), "a body") << cut;
    }
}

TEST_F(ConversationTest, pipelinedRequestsAreAnsweredInTheirOrder)
{
    const auto conversation = open();
    conversation->receive(request("GET /echo?text=1") + request("GET /nothing") +
                          request("GET /echo?text=3"));
    const std::string answers = taken(*conversation);
    const size_t second = answers.find("HTTP/1.1 404");
    EXPECT_LT(answers.find("\r\n\r\n1HTTP/1.1 404"), second);
    EXPECT_EQ(answers.substr(answers.size() - 5), "\r\n\r\n3");
}

TEST_F(ConversationTest, aRequestBehindAnUnansweredOneWaits)
{
    const auto conversation = open();
    conversation->receive(request("POST /later", "Host: localhost\r\n", "x") + request("GET /echo?text=2"));
    EXPECT_EQ(taken(*conversation), "");
    bool told = false;
    conversation->onChange = [&told] { told = true; };
    mRespond({.body = "1"});
    mRespond({.body = "again"});
    EXPECT_TRUE(told);
    const std::string answers = taken(*conversation);
    EXPECT_NE(answers.find("\r\n\r\n1HTTP/1.1 200"), std::string::npos);
    EXPECT_EQ(answers.back(), '2');
}

TEST_F(ConversationTest, anAnswerForAClosedConnectionIsDropped)
{
    auto conversation = open();
    conversation->receive(request("POST /later", "Host: localhost\r\n", "x"));
    conversation->close();
    mRespond({.body = "1"});
    EXPECT_EQ(taken(*conversation), "");
    conversation.reset();
    mRespond({.body = "2"});
}

TEST_F(ConversationTest, aHeadIsAGetWithoutABody)
{
    const std::string answer = answerTo(request("HEAD /echo?text=four"));
    EXPECT_NE(answer.find("Content-Length: 4\r\n"), std::string::npos);
    EXPECT_EQ(bodyOf(answer), "");
    EXPECT_EQ(statusOf(answerTo(request("HEAD /events"))), 200);
    EXPECT_EQ(mStream, nullptr);
}

TEST_F(ConversationTest, anOldClientOrOneThatAsksForItIsClosed)
{
    for (const std::string bytes : {"GET /echo HTTP/1.0\r\nHost: localhost\r\nConnection: keep-alive\r\n\r\n",
                                    "GET /echo HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n"}) {
        const auto conversation = open();
        conversation->receive(bytes);
        EXPECT_NE(taken(*conversation).find("Connection: close\r\n"), std::string::npos);
        EXPECT_EQ(conversation->state(), eState::OVER);
    }
}

TEST_F(ConversationTest, aPathMayStandForAllBelow)
{
    EXPECT_EQ(bodyOf(answerTo(request("GET /below/a/b"))), "/below/a/b");
    EXPECT_EQ(statusOf(answerTo(request("GET /below"))), 404);
}

TEST_F(ConversationTest, aResourceIsSentCompressedAndOnlyOnce)
{
    const std::string host = "Host: localhost\r\n";
    const std::string compressed =
        answerTo(request("GET /hello.txt", host + "Accept-Encoding: gzip, br\r\n"));
    EXPECT_NE(compressed.find("content-encoding: gzip\r\n"), std::string::npos);
    EXPECT_EQ(bodyOf(compressed).substr(0, 2), "\x1f\x8b");
    const std::string plain = answerTo(request("GET /hello.txt", host + "Accept-Encoding: identity\r\n"));
    EXPECT_EQ(bodyOf(plain), "Hello from the program. Hello again, hello again, hello again.\n");
    EXPECT_EQ(statusOf(answerTo(request("GET /hello.txt", host + "Accept-Encoding: gzip;q=0\r\n"))), 200);
    const size_t at = plain.find("etag: ") + 6;
    const std::string etag = plain.substr(at, plain.find('\r', at) - at);
    const std::string unchanged =
        answerTo(request("GET /hello.txt", host + "If-None-Match: " + etag + "\r\n"));
    EXPECT_EQ(statusOf(unchanged), 304);
    EXPECT_EQ(bodyOf(unchanged), "");
}

TEST_F(ConversationTest, aStreamCarriesWhatIsSentToIt)
{
    const auto conversation = open();
    conversation->receive(request("GET /events", "Host: localhost\r\nLast-Event-ID: 17\r\n"));
    EXPECT_EQ(mLastEvent, "17");
    EXPECT_NE(taken(*conversation).find("Content-Type: text/event-stream\r\n"), std::string::npos);
    mStream->send(std::make_shared<const std::string>("data: 1\n\n"));
    mStream->send(std::make_shared<const std::string>("data: 2\n\n"));
    EXPECT_EQ(taken(*conversation), "data: 1\n\ndata: 2\n\n");
    conversation->keepStream();
    EXPECT_EQ(taken(*conversation), ":\n\n");
    EXPECT_EQ(conversation->state(), eState::STREAMING);
    conversation->close();
    EXPECT_FALSE(mStream->isOpen());
}

TEST_F(ConversationTest, aClientThatDoesNotReadItsStreamIsDropped)
{
    const auto conversation = open();
    conversation->receive(request("GET /events"));
    const auto text = std::make_shared<const std::string>(std::string(1024, 'x'));
    for (size_t sent = 0; sent < EventStream::kMaxWaiting; sent += text->size()) {
        mStream->send(text);
    }
    EXPECT_EQ(conversation->state(), eState::STREAMING);
    mStream->send(text);
    EXPECT_EQ(conversation->state(), eState::OVER);
    EXPECT_FALSE(mStream->isOpen());
}

TEST_F(ConversationTest, theSixtyFifthStreamIsRefused)
{
    std::vector<std::shared_ptr<Conversation>> all;
    for (size_t i = 0; i < zulhttp::Site::kMaxStreams; ++i) {
        all.push_back(open());
        all.back()->receive(request("GET /events"));
        EXPECT_EQ(all.back()->state(), eState::STREAMING);
    }
    EXPECT_EQ(statusOf(answerTo(request("GET /events"))), 503);
    all.front()->close();
    EXPECT_EQ(statusOf(answerTo(request("GET /events"))), 200);
}

TEST_F(ConversationTest, aRequestThatIsNotWholeInTimeIsTold)
{
    const auto conversation = open();
    conversation->receive("GET /ec");
    conversation->timeUp();
    EXPECT_EQ(statusOf(taken(*conversation)), 408);
    EXPECT_EQ(conversation->state(), eState::OVER);
    const auto silent = open();
    silent->timeUp();
    EXPECT_EQ(taken(*silent), "");
    EXPECT_EQ(silent->state(), eState::OVER);
}

} // namespace httptest
