#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "wcapture/tcpstreams.h"

/// Tells which streams of a recording are one connection: a zulproxy records each on its two sides.
///
/// Of such a connection counts what came in: from the device on one side, from the server on the other.
class cStreamPairs
{
public:
    /// A stream, as a part of its connection.
    struct sPart
    {
        uint64_t connection = 0;                     ///< from 1, in the order in which they begin
        std::optional<uint64_t> named = {};          ///< the number that the zulproxy gave it
        std::optional<cTcpStreams::eSide> only = {}; ///< the side whose bytes count, unless both do
        bool isFirst = true;                         ///< the connection begins with it
        bool reachesServer = true;                   ///< it is the one to the server, or there is only one

        bool counts(cTcpStreams::eSide side) const { return only.value_or(side) == side; }
    };

    /// True if @p program, as a capture file tells it, is one whose recordings hold connections between a
    /// device and its server, and nothing else.
    static bool isOwn(const std::string& program);

    /// The next streams are recorded by @p program on the interface @p interface.
    void setRecorder(const std::string& program, const std::string& interface);

    /// Null if its connection is unknown.
    const sPart* opened(const sStream& stream, const std::vector<std::string>& comments);

    /// Null if its connection is unknown.
    const sPart* find(const sStream& stream) const;

    /// Returns the connection if @p stream was the last open one of it.
    std::optional<uint64_t> closed(const sStream& stream);

private:
    const sPart* add(const sStream& stream, const sPart& part);

    bool mIsPaired = false;
    bool mIsServer = false; ///< the present stream is from the proxy's side of the server
    uint64_t mLast = 0;
    std::map<uint64_t, sPart> mParts;    ///< by the number of the stream
    std::map<uint64_t, uint64_t> mNamed; ///< connections by the number that a zulproxy gave them
    std::map<uint64_t, size_t> mOpen;    ///< open streams by connection
};
