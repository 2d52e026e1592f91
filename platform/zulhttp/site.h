#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zulhttp/eventstream.h"
#include "zulhttp/message.h"
#include "zulhttp/resource.h"

namespace zulhttp {

/// What a program serves: finds the function for a request, and refuses requests from other sites.
class Site
{
public:
    static constexpr size_t kMaxStreams = 64;

    /// Called once, at once or later.
    using Respond = std::function<void(Response)>;

    using GetHandler = std::function<Response(const Request&)>;
    using PostHandler = std::function<void(const Request&, Respond)>;
    using StreamHandler = std::function<void(const Request&, const std::shared_ptr<EventStream>&)>;

    /// May be asked by the names of this machine's loopback addresses and by @p remoteNames.
    explicit Site(std::vector<std::string> remoteNames = {}) : mRemoteNames(std::move(remoteNames)) {}

    // A path that ends in '/', beside "/" itself, stands for everything below it.

    void get(const std::string& path, GetHandler handler) { mPages[path].get = std::move(handler); }
    void post(const std::string& path, PostHandler handler) { mPages[path].post = std::move(handler); }
    void stream(const std::string& path, StreamHandler handler) { mPages[path].stream = std::move(handler); }

    /// @p resources live as long as the program.
    void add(std::span<const Resource> resources);

    /// Gives the answer to @p respond or, if the request opens a stream, returns that.
    std::shared_ptr<EventStream> serve(const Request& request, const Respond& respond);

private:
    struct Page
    {
        GetHandler get = nullptr;
        PostHandler post = nullptr;
        StreamHandler stream = nullptr;

        std::string methods() const;
    };

    /// Why @p request is refused whatever it asks for; the status is 200 if it is not.
    Response refusal(const Request& request) const;
    bool isOurName(std::string_view host) const;
    const Page* find(const std::string& path) const;
    std::shared_ptr<EventStream> openStream();
    std::shared_ptr<EventStream> serveStream(const Page& page, const Request& request,
                                             const Respond& respond);

    const std::vector<std::string> mRemoteNames;
    std::map<std::string, Page> mPages;
    std::vector<std::weak_ptr<EventStream>> mStreams;
};

} // namespace zulhttp
