// Segments as raw bytes. The input: a byte whose lowest bit asks for checksums that fit, two bytes that
// pick a bit to damage, and the bytes that come over the line.

#include "framemodel.h"
#include "fuzzinput.h"
#include "property.h"
#include "wmsg/wmsgreader.h"

namespace {

struct Outcome
{
    std::vector<WMsg> messages;
    bool broken = false;
    size_t used = 0;
};

Outcome readAll(const std::vector<uint8_t>& stream)
{
    Outcome outcome;
    WMsgReader reader;
    const uint8_t* data = stream.data();
    size_t size = stream.size();
    WMsg message;
    WMsgReader::eResult result = reader.read(&data, &size, 0, &message);
    while (result == WMsgReader::MESSAGE) {
        outcome.messages.push_back(message);
        result = reader.read(&data, &size, 0, &message);
    }
    outcome.broken = result == WMsgReader::BROKEN;
    outcome.used = stream.size() - size;
    require(outcome.broken != reader.status().isOk(), "a broken stream has a reason, and no other has one");
    require(reader.status().isOk() == (reader.status().text() == "ok"), "a reason is a text");
    require(outcome.broken || size == 0, "a reader that asks for more has used everything");
    return outcome;
}

/// The first segment is taken, refused or waited for exactly as the document says.
void checkFirstSegment(const std::vector<uint8_t>& stream, const Outcome& outcome)
{
    if (stream.size() < model::kHeader) {
        require(!outcome.broken && outcome.messages.empty(), "part of a header is no message");
        return;
    }
    const model::Header header(stream.data());
    if (header.broken() || header.segment != 0) {
        require(outcome.broken && outcome.messages.empty(), "a broken header is refused");
        require(outcome.used == model::kHeader, "a broken header is refused before its payload comes");
        return;
    }
    const size_t size = model::kHeader + header.length;
    if (stream.size() < size) {
        require(!outcome.broken && outcome.messages.empty(), "part of a segment is no message");
        return;
    }
    const bool fits = model::checksum({stream.begin(), stream.begin() + size}) == header.sum;
    require(fits || (outcome.broken && outcome.messages.empty()), "a wrong checksum is refused");
    if (fits && header.last()) {
        require(!outcome.messages.empty(), "a whole segment with the last-segment flag is a message");
        const WMsg& first = outcome.messages.front();
        require(first.type == header.type && first.seq == header.seq, "type and number are the header's");
        require(first.answer == ((header.flags & 1) != 0) && first.event == ((header.flags & 2) != 0) &&
                    first.control == header.control(),
                "the flags are the header's");
        require(first.payload == std::vector<uint8_t>(stream.begin() + model::kHeader, stream.begin() + size),
                "the payload is the segment's");
    }
}

/// What was read can be written, and reads the same again.
void checkWriting(const WMsg& message)
{
    std::vector<uint8_t> frames;
    message.appendFrames(frames);
    require(frames.size() == message.payload.size() + message.segmentCount() * model::kHeader,
            "a message takes its payload and a header for each segment");
    std::vector<uint8_t> segments;
    for (size_t i = 0; i < message.segmentCount(); ++i) {
        message.segmentMessage(i, segments);
    }
    require(segments == frames, "a message is its segments");
    const Outcome again = readAll(frames);
    require(!again.broken && again.messages.size() == 1 && again.messages.front() == message,
            "a message that is written reads the same");
}

/// One wrong bit anywhere but in the length is always noticed.
void checkDamage(std::vector<uint8_t> segment, size_t bit)
{
    const size_t at = bit / 8 % segment.size();
    if (at >= 8 && at < 12) {
        return;
    }
    segment[at] ^= static_cast<uint8_t>(1 << bit % 8);
    require(readAll(segment).broken, "a segment with one wrong bit is refused");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const bool mend = (input.number8() & 1) != 0;
    const size_t bit = input.number16();
    std::vector<uint8_t> stream = input.rest();
    if (mend) {
        model::putChecksums(&stream);
    }
    const Outcome outcome = readAll(stream);
    checkFirstSegment(stream, outcome);
    for (const WMsg& message : outcome.messages) {
        checkWriting(message);
    }
    if (outcome.messages.size() == 1 && !outcome.broken &&
        stream.size() == model::kHeader + outcome.messages.front().payload.size()) {
        checkDamage(stream, bit);
    }
    return 0;
}
