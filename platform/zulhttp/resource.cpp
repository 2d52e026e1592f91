#include "zulhttp/resource.h"

#include <boost/beast/zlib/inflate_stream.hpp>

namespace zulhttp {

namespace {

/// What is before and behind the compressed bytes: RFC 1952, 2.3, without optional fields.
constexpr size_t kGzipHeader = 10;
constexpr size_t kGzipTrailer = 8;

/// True if the client says that it takes gzip.
bool takesGzip(std::string_view accepted)
{
    const size_t at = accepted.find("gzip");
    return at != std::string_view::npos && !accepted.substr(at + 4).starts_with(";q=0");
}

std::string decompressed(std::span<const unsigned char> gzip)
{
    namespace zlib = boost::beast::zlib;
    const auto size = gzip.last(4); // little endian
    std::string text(size[0] | size[1] << 8U | size[2] << 16U | size_t{size[3]} << 24U, '\0');
    zlib::z_params params{};
    params.next_in = gzip.data() + kGzipHeader;
    params.avail_in = gzip.size() - kGzipHeader - kGzipTrailer;
    params.next_out = text.data();
    params.avail_out = text.size();
    boost::beast::error_code end;
    zlib::inflate_stream().write(params, zlib::Flush::finish, end);
    return text;
}

} // namespace

Response resourceResponse(const Resource& resource, const Request& request)
{
    Response response{.type = resource.type,
                      .headers = {{"etag", std::string("W/") + resource.etag},
                                  {"cache-control", "no-cache"},
                                  {"vary", "accept-encoding"}}};
    if (request.header("if-none-match").find(resource.etag) != std::string_view::npos) {
        response.status = 304;
        response.type.clear();
    } else if (takesGzip(request.header("accept-encoding"))) {
        response.headers.emplace_back("content-encoding", "gzip");
        response.body.assign(resource.gzip.begin(), resource.gzip.end());
    } else {
        response.body = decompressed(resource.gzip);
    }
    return response;
}

} // namespace zulhttp
