#pragma once

#include <span>

#include "zulhttp/message.h"

namespace zulhttp {

/// A file that is compiled into the program; zul_resources() of cmake/ makes these.
struct Resource
{
    const char* path; ///< begins with '/'
    const char* type; ///< for the header Content-Type
    const char* etag; ///< with its quotation marks; of the uncompressed bytes
    std::span<const unsigned char> gzip;
};

/// The response to a GET of @p resource, compressed if @p request allows that.
Response resourceResponse(const Resource& resource, const Request& request);

} // namespace zulhttp
