#pragma once

#include <memory>

#include "hostedclient.h"

/// A client with threads of its own, or one that is lent to a host.
class EitherClient
{
public:
    EitherClient(bool hosted, const cObjectClient::Settings& settings)
        : mHosted(hosted ? std::make_unique<HostedClient>(settings) : nullptr),
          mOwn(hosted ? nullptr : std::make_unique<cObjectClient>(settings))
    {}

    cObjectClient* get() const { return mHosted ? mHosted->client() : mOwn.get(); }
    bool start(int port) { return mHosted ? mHosted->start(port) : mOwn->start("127.0.0.1", port); }
    void stop() { mHosted ? mHosted->stop() : mOwn->stop(); }

private:
    std::unique_ptr<HostedClient> mHosted; ///< null where mOwn is the client
    std::unique_ptr<cObjectClient> mOwn;
};
