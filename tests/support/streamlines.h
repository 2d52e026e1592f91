#pragma once

#include <string>
#include <vector>

#include "wcapture/tcpstreams.h"

/// Writes down what it is told, a line each; "1c" is the client of the first stream.
class StreamLines : public cTcpStreams::cListener
{
public:
    std::vector<std::string> lines;
    std::vector<sStream> streams;
    size_t receivedBytes = 0;
    bool writesBytes = true;
    bool writesTimes = true;

    void opened(const sStream& stream, const std::vector<std::string>& comments, int64_t timeNs) override
    {
        streams.push_back(stream);
        std::string line = "opened " + std::to_string(stream.number);
        for (const std::string& comment : comments) {
            line += " \"" + comment + '"';
        }
        add(line, timeNs);
    }
    void received(const sStream& stream, cTcpStreams::eSide from, std::span<const uint8_t> bytes,
                  int64_t timeNs) override
    {
        receivedBytes += bytes.size();
        if (writesBytes) {
            add(name(stream, from) + ' ' + std::string(bytes.begin(), bytes.end()), timeNs);
        }
    }
    void lost(const sStream& stream, cTcpStreams::eSide from, uint64_t bytes, int64_t timeNs) override
    {
        add(name(stream, from) + " lost " + std::to_string(bytes), timeNs);
    }
    void ended(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override
    {
        add(name(stream, from) + " ended", timeNs);
    }
    void wasReset(const sStream& stream, cTcpStreams::eSide from, int64_t timeNs) override
    {
        add(name(stream, from) + " reset", timeNs);
    }
    void closed(const sStream& stream, int64_t timeNs) override
    {
        add("closed " + std::to_string(stream.number), timeNs);
    }
    void remark(const std::string& sentence) override { lines.push_back(sentence); }

private:
    static std::string name(const sStream& stream, cTcpStreams::eSide from)
    {
        return std::to_string(stream.number) + (from == cTcpStreams::CLIENT ? "c" : "s");
    }
    void add(const std::string& line, int64_t timeNs)
    {
        lines.push_back(writesTimes ? std::to_string(timeNs) + ": " + line : line);
    }
};
