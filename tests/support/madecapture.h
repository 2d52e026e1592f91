#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "wcapture/pcapng.h"
#include "wcapture/tcppacket.h"

/// A capture file that a test makes up.
class MadeCapture
{
public:
    static constexpr int64_t kBeginningNs = 1'700'000'000'000'000'000;

    MadeCapture(const std::string& program, const std::vector<std::string>& interfaces)
    {
        pcapng::appendSectionHeader(&mFile, {"", "", program});
        for (const std::string& name : interfaces) {
            pcapng::appendInterface(&mFile, name);
        }
    }

    /// One end of a connection and how many bytes it has sent.
    struct Line
    {
        uint32_t interface = 0;
        sEndpoint client = {};
        sEndpoint server = {};
        uint32_t fromClient = 1;
        uint32_t fromServer = 1;
    };

    /// Connections from now on have addresses of version 6.
    void useV6() { mIsV6 = true; }

    Line open(uint16_t serverPort, uint32_t interface = 0, const std::vector<std::string>& comments = {})
    {
        Line line{interface, end(1, mNextPort++, mIsV6), end(2, serverPort, mIsV6)};
        add(interface, line.client, line.server, {sTcpFields::kSyn, 0, 0}, {}, comments);
        add(interface, line.server, line.client, {sTcpFields::kSyn | sTcpFields::kAck, 0, 1}, {});
        return line;
    }

    /// A connection whose beginning was not recorded.
    static Line unopened(uint16_t serverPort) { return {0, end(1, 39999), end(2, serverPort)}; }

    void resetByClient(Line* line)
    {
        add(line->interface, line->client, line->server, {sTcpFields::kReset, line->fromClient, 0}, {});
    }

    void resetByServer(Line* line)
    {
        add(line->interface, line->server, line->client, {sTcpFields::kReset, line->fromServer, 0}, {});
    }

    void fromClient(Line* line, const std::vector<uint8_t>& bytes)
    {
        send(line->interface, line->client, line->server, &line->fromClient, line->fromServer, bytes);
    }
    void fromServer(Line* line, const std::vector<uint8_t>& bytes)
    {
        send(line->interface, line->server, line->client, &line->fromServer, line->fromClient, bytes);
    }

    /// Leaves a gap in the stream, as if the recorder had missed a packet of @p bytes bytes.
    static void skipFromClient(Line* line, uint32_t bytes) { line->fromClient += bytes; }

    void wait(int64_t ms) { mNowNs += ms * 1'000'000; }

    const std::vector<uint8_t>& file() const { return mFile; }

private:
    static sEndpoint end(uint8_t host, uint16_t port, bool isV6 = false)
    {
        sEndpoint endpoint;
        endpoint.isV6 = isV6;
        endpoint.address = {192, 0, 2, host};
        if (isV6) {
            endpoint.address = {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, host};
        }
        endpoint.port = port;
        return endpoint;
    }

    void send(uint32_t interface, const sEndpoint& from, const sEndpoint& to, uint32_t* next,
              uint32_t acknowledged, const std::vector<uint8_t>& bytes)
    {
        add(interface, from, to, {sTcpFields::kAck, *next, acknowledged}, bytes);
        *next += static_cast<uint32_t>(bytes.size());
    }

    void add(uint32_t interface, const sEndpoint& from, const sEndpoint& to, const sTcpFields& fields,
             const std::vector<uint8_t>& bytes, const std::vector<std::string>& comments = {})
    {
        std::vector<uint8_t> packet;
        appendTcpPacket(&packet, from, to, fields, bytes);
        pcapng::appendPacket(&mFile, static_cast<uint64_t>(mNowNs), pcapng::eDirection::INBOUND, packet,
                             {interface, comments});
    }

    std::vector<uint8_t> mFile;
    uint16_t mNextPort = 40000;
    int64_t mNowNs = kBeginningNs;
    bool mIsV6 = false;
};
