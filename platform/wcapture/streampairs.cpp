#include "wcapture/streampairs.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace {

constexpr std::string_view kOwnPrograms[] = {"zulbench ", "zulserver ", "zulfleet ", "zulproxy ",
                                             "zulcapture "};

// What a zulproxy writes: the interface of its connections to the server, and the comment on a first packet.
constexpr std::string_view kProxy = "zulproxy ";
constexpr std::string_view kServerInterface = "server";
constexpr std::string_view kConnection = "connection ";

/// The connection that the comments on a first packet name.
std::optional<uint64_t> connectionNamed(const std::vector<std::string>& comments)
{
    for (const std::string& comment : comments) {
        uint32_t number = 0;
        const char* const end = comment.data() + comment.size();
        if (comment.starts_with(kConnection) &&
            std::from_chars(comment.data() + kConnection.size(), end, number).ptr == end && number > 0) {
            return number;
        }
    }
    return {};
}

} // namespace

bool cStreamPairs::isOwn(const std::string& program)
{
    return std::ranges::any_of(kOwnPrograms,
                               [&program](std::string_view own) { return program.starts_with(own); });
}

void cStreamPairs::setRecorder(const std::string& program, const std::string& interface)
{
    mIsPaired = program.starts_with(kProxy);
    mIsServer = mIsPaired && interface == kServerInterface;
}

const cStreamPairs::sPart* cStreamPairs::opened(const sStream& stream,
                                                const std::vector<std::string>& comments)
{
    const std::optional<uint64_t> named = mIsPaired ? connectionNamed(comments) : std::nullopt;
    if (!mIsServer) {
        const uint64_t connection = ++mLast;
        if (named) {
            mNamed[*named] = connection;
        }
        const auto only = mIsPaired ? std::optional(cTcpStreams::CLIENT) : std::nullopt;
        return add(stream, {connection, named, only, true, !mIsPaired});
    }
    const auto device = named ? mNamed.find(*named) : mNamed.end();
    return device == mNamed.end() ? nullptr
                                  : add(stream, {device->second, named, cTcpStreams::SERVER, false, true});
}

const cStreamPairs::sPart* cStreamPairs::add(const sStream& stream, const sPart& part)
{
    ++mOpen[part.connection];
    return &(mParts[stream.number] = part);
}

const cStreamPairs::sPart* cStreamPairs::find(const sStream& stream) const
{
    const auto found = mParts.find(stream.number);
    return found == mParts.end() ? nullptr : &found->second;
}

std::optional<uint64_t> cStreamPairs::closed(const sStream& stream)
{
    const auto found = mParts.find(stream.number);
    if (found == mParts.end()) {
        return {};
    }
    const sPart part = found->second;
    mParts.erase(found);
    if (--mOpen.at(part.connection) > 0) {
        return {};
    }
    mOpen.erase(part.connection);
    if (const auto named = part.named ? mNamed.find(*part.named) : mNamed.end();
        named != mNamed.end() && named->second == part.connection) {
        mNamed.erase(named);
    }
    return part.connection;
}
