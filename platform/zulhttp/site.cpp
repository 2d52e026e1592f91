#include "zulhttp/site.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>

namespace zulhttp {

namespace {

/// The name in "NAME" or "NAME:PORT", an IPv6 address without its brackets; empty if @p host is neither.
std::string_view nameOf(std::string_view host)
{
    const bool bracketed = host.starts_with('[');
    const size_t end = std::min(bracketed ? host.find(']') : host.find(':'), host.size());
    const std::string_view rest = host.substr(std::min(end + (bracketed ? 1 : 0), host.size()));
    const bool isPort = rest.starts_with(':') && rest.size() <= 6 &&
                        rest.find_first_not_of("0123456789", 1) == std::string_view::npos;
    if ((bracketed && end == host.size()) || !(rest.empty() || isPort)) {
        return {};
    }
    return host.substr(bracketed ? 1 : 0, end - (bracketed ? 1 : 0));
}

/// True if the browser says that another site makes this request, and not for a link to here.
bool isFromElsewhere(const Request& request)
{
    const std::string_view site = request.header("sec-fetch-site");
    const bool isLink = request.header("sec-fetch-mode") == "navigate" &&
                        request.header("sec-fetch-dest") == "document" && request.method != "POST";
    return (site == "cross-site" || site == "same-site") && !isLink;
}

} // namespace

std::string Site::Page::methods() const
{
    const std::string read = get || stream ? "GET, HEAD" : "";
    return read + (!read.empty() && post ? ", " : "") + (post ? "POST" : "");
}

void Site::add(std::span<const Resource> resources)
{
    for (const Resource& resource : resources) {
        get(resource.path,
            [&resource](const Request& request) { return resourceResponse(resource, request); });
    }
}

bool Site::isOurName(std::string_view host) const
{
    const std::string_view name = nameOf(host);
    const auto isName = [name = lowerCase(name)](const std::string& ours) { return name == lowerCase(ours); };
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(std::string(name), error);
    return (!error && address.is_loopback()) || isName("localhost") ||
           std::ranges::any_of(mRemoteNames, isName);
}

Response Site::refusal(const Request& request) const
{
    const auto isHost = [](const auto& header) { return header.first == "host"; };
    if (!request.path.starts_with('/') || std::ranges::count_if(request.headers, isHost) != 1) {
        return problem(400, "The request has no path or not one host.");
    }
    const std::string host = lowerCase(request.header("host"));
    if (!isOurName(host)) {
        return problem(421, "This program is not known by this name; --http-remote gives it names.");
    }
    const std::string origin = lowerCase(request.header("origin"));
    const bool isOurs = origin.empty() || origin == "http://" + host || origin == "https://" + host;
    return isOurs && !isFromElsewhere(request) ? Response{}
                                               : problem(403, "Pages from elsewhere may not ask.");
}

const Site::Page* Site::find(const std::string& path) const
{
    if (const auto found = mPages.find(path); found != mPages.end()) {
        return &found->second;
    }
    for (size_t slash = path.rfind('/'); slash > 0; slash = path.rfind('/', slash - 1)) {
        if (const auto found = mPages.find(path.substr(0, slash + 1)); found != mPages.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

std::shared_ptr<EventStream> Site::openStream()
{
    std::erase_if(mStreams, [](const std::weak_ptr<EventStream>& weak) {
        const std::shared_ptr<EventStream> stream = weak.lock();
        return !stream || !stream->isOpen();
    });
    if (mStreams.size() == kMaxStreams) {
        return nullptr;
    }
    auto stream = std::make_shared<EventStream>();
    mStreams.push_back(stream);
    return stream;
}

std::shared_ptr<EventStream> Site::serve(const Request& request, const Respond& respond)
{
    if (Response refused = refusal(request); refused.status != 200) {
        respond(std::move(refused));
        return nullptr;
    }
    const Page* page = find(request.path);
    const bool isRead = request.method == "GET" || request.method == "HEAD";
    if (page == nullptr) {
        respond(problem(404, "There is nothing at this path."));
    } else if (isRead && page->get) {
        respond(page->get(request));
    } else if (isRead && page->stream) {
        return serveStream(*page, request, respond);
    } else if (request.method == "POST" && page->post) {
        page->post(request, respond);
    } else {
        Response response = problem(405, "This path is for " + page->methods() + ".");
        response.headers.emplace_back("allow", page->methods());
        respond(std::move(response));
    }
    return nullptr;
}

std::shared_ptr<EventStream> Site::serveStream(const Page& page, const Request& request,
                                               const Respond& respond)
{
    if (request.method == "HEAD") {
        respond({.type = "text/event-stream"});
        return nullptr;
    }
    std::shared_ptr<EventStream> stream = openStream();
    stream ? page.stream(request, stream) : respond(problem(503, "Too many streams are open."));
    return stream;
}

} // namespace zulhttp
