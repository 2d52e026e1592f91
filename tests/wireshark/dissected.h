#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "payloadwriter.h"
#include "tcpcapture.h"
#include "tshark.h"
#include "wmsg/wmsg.h"

using Bytes = std::vector<uint8_t>;
using Words = Tshark::Words;
using Rows = std::vector<Words>;

/// A capture that a test makes up, and what tshark says of it. Every complaint of tshark's is a failure.
class DissectedTest : public testing::Test
{
protected:
    std::string path() const { return mTshark.home() + "/capture.pcapng"; }

    Rows rows(const TcpCapture& capture, const std::string& filter, const Words& names,
              const Words& options = {})
    {
        capture.save(path());
        std::string complaints;
        Rows found = mTshark.rows(path(), filter, names, options, &complaints);
        EXPECT_EQ(complaints, "");
        return found;
    }

    /// All that tshark shows of the protocol, in words.
    std::string details(const TcpCapture& capture, const Words& options = {})
    {
        capture.save(path());
        Words words{"-O", "zul"};
        words.insert(words.end(), options.begin(), options.end());
        const Tshark::Result result = mTshark.read(path(), words);
        EXPECT_EQ(result.complaints, "");
        return result.output;
    }

    Tshark mTshark{DISSECTOR};
};

/// The segments of a message, apart.
inline std::vector<Bytes> segmentsOf(const WMsg& message)
{
    std::vector<Bytes> segments;
    for (size_t segment = 0; segment < message.segmentCount(); ++segment) {
        message.segmentMessage(segment, segments.emplace_back());
    }
    return segments;
}

inline WMsg messageOf(uint8_t type, uint8_t seq, bool isAnswer = false)
{
    WMsg message;
    message.type = type;
    message.seq = seq;
    message.answer = isAnswer;
    message.event = type == 3;
    return message;
}

/// A message with one ad-hoc event, whose value is so many bytes long.
inline WMsg longMessage(uint8_t seq, size_t size)
{
    WMsg message = messageOf(3, seq);
    PayloadWriter writer(&message.payload);
    writer.beginObject(13);
    writer.putNumber(1, 1001U);
    const std::string text(size, 'x');
    writer.putText(28, text);
    writer.endObject();
    return message;
}

/// The filter that finds the frames with one of the dissector's complaints.
inline std::string complaint(const std::string& name) { return "zul.expert." + name; }
