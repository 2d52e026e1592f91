#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "wcapture/pcapng.h"
#include "wcapture/tcppacket.h"

/// A capture file that a test makes up packet by packet.
class TcpCapture
{
public:
    using Bytes = std::vector<uint8_t>;

    /// One TCP connection between a device and its server.
    class Link
    {
    public:
        /// Sends one packet each, a millisecond after the one before.
        void toServer(const Bytes& bytes) { send(mDevice, mServer, &mFromDevice, mFromServer, bytes); }
        void toDevice(const Bytes& bytes) { send(mServer, mDevice, &mFromServer, mFromDevice, bytes); }

        /// Packets of @p size bytes at most.
        void toServerInPieces(const Bytes& bytes, size_t size)
        {
            for (size_t at = 0; at < bytes.size(); at += size) {
                const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at);
                const size_t end = std::min(size, bytes.size() - at);
                toServer(Bytes(begin, begin + static_cast<std::ptrdiff_t>(end)));
            }
        }

    private:
        friend class TcpCapture;
        Link(TcpCapture* capture, uint16_t devicePort, uint16_t serverPort) : mCapture(capture)
        {
            mDevice.address = {192, 0, 2, 1};
            mDevice.port = devicePort;
            mServer.address = {192, 0, 2, 2};
            mServer.port = serverPort;
            sTcpFields syn;
            syn.flags = sTcpFields::kSyn;
            mCapture->add(mDevice, mServer, syn, {});
            sTcpFields answer;
            answer.flags = sTcpFields::kSyn | sTcpFields::kAck;
            answer.acknowledged = 1;
            mCapture->add(mServer, mDevice, answer, {});
        }

        void send(const sEndpoint& from, const sEndpoint& to, uint32_t* next, uint32_t acknowledged,
                  const Bytes& bytes)
        {
            sTcpFields fields;
            fields.flags = sTcpFields::kAck;
            fields.sequence = *next;
            fields.acknowledged = acknowledged;
            mCapture->add(from, to, fields, bytes);
            *next += static_cast<uint32_t>(bytes.size());
        }

        TcpCapture* mCapture;
        sEndpoint mDevice;
        sEndpoint mServer;
        uint32_t mFromDevice = 1;
        uint32_t mFromServer = 1;
    };

    TcpCapture()
    {
        pcapng::appendSectionHeader(&mFile, {"", "", "test"});
        pcapng::appendInterface(&mFile, "test");
    }

    Link link(uint16_t serverPort = 50000) { return {this, mNextPort++, serverPort}; }

    void wait(uint64_t ms) { mTimeNs += ms * 1000000; }

    /// Keeps at most @p size bytes of every packet that follows.
    void cutAt(size_t size) { mMost = size; }

    void save(const std::string& path) const
    {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(mFile.data()), static_cast<std::streamsize>(mFile.size()));
    }

private:
    void add(const sEndpoint& from, const sEndpoint& to, const sTcpFields& fields, const Bytes& bytes)
    {
        Bytes packet;
        appendTcpPacket(&packet, from, to, fields, bytes);
        const size_t size = packet.size();
        packet.resize(std::min(size, mMost));
        wait(1);
        const size_t begin = mFile.size();
        pcapng::appendPacket(&mFile, mTimeNs, pcapng::eDirection::INBOUND, packet);
        // The length on the wire stands behind the one here.
        for (size_t byte = 0; byte < 4; ++byte) {
            mFile[begin + 24 + byte] = static_cast<uint8_t>(size >> (8 * byte));
        }
    }

    Bytes mFile;
    uint16_t mNextPort = 40000;
    uint64_t mTimeNs = 1700000000ULL * 1000000000;
    size_t mMost = SIZE_MAX;
};
