#pragma once

#include <memory>
#include <string>

#include "zulhttp/message.h"

namespace zulhttp {

/// Reads one request from bytes, whatever their pieces, with Boost.Beast.
class RequestParser
{
public:
    static constexpr size_t kMaxHeader = 16 * 1024;
    static constexpr size_t kMaxBody = 16 * 1024;

    RequestParser();
    ~RequestParser();

    enum class eResult
    {
        MORE,  ///< bytes are missing
        WHOLE, ///< take the request
        WRONG  ///< answer with refusal() and read no more
    };

    /// Reads from @p *bytes and removes what was used; give what is left again, with more behind it.
    eResult read(std::string* bytes);

    const Response& refusal() const { return mRefusal; }

    /// True if the client may send another request over the connection.
    bool keepsAlive() const;

    Request take();

private:
    struct Parser;

    eResult refuse(unsigned status, const std::string& sentence);

    std::unique_ptr<Parser> mParser;
    Response mRefusal;
};

} // namespace zulhttp
