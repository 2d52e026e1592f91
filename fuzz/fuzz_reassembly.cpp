// Messages in pieces of any size at any time. The input is a list of steps: bytes that come, time that
// passes and how the bytes are cut; see step() for their codes.

#include "fuzzinput.h"
#include "heldmemory.h"
#include "property.h"
#include "reassemblymodel.h"

namespace {

/// So much comes at most for one input: more than a message of the largest permitted size, in segments.
constexpr size_t kMaxBytes = 1400 * 1024;

/// The same for most inputs, that they end soon.
constexpr size_t kFewBytes = 64 * 1024;

/// Added to the size of each piece, so that an input of many small pieces ends as soon.
constexpr size_t kPieceCost = 256;

/// What the reader may hold beside the bytes received.
constexpr size_t kSlack = 4096;

class Line
{
public:
    explicit Line(size_t mostBytes) : mMostBytes(mostBytes) {}

    void step(FuzzInput* input)
    {
        switch (input->number8() % 9) {
        case 0:
            deliver(input->bytes(input->number8()));
            break;
        case 1:
            sequel(input->number16() % 2100, input->number8(), false);
            break;
        case 2:
            sequel(input->number16() % 2100, input->number8(), true);
            break;
        case 3:
            run(input->number16() % 1100, input->number16() % 2100);
            break;
        case 4:
            segment(0x0C | (input->number8() & 0x03), 0, 0, 0);
            break;
        case 5:
            oddSegment(input);
            break;
        case 6:
            mNowMs += input->number16();
            require(mModel.broken() || mReader.overdue(mNowMs) == mModel.overdue(mNowMs),
                    "the reader knows when a message takes too long");
            break;
        case 7:
            mPiece = input->number16();
            break;
        default:
            mFlags = input->number8() & 0x03;
            mType = input->number8();
            mSeq = input->number8();
        }
    }

    bool full() const { return mSpent > mMostBytes; }

private:
    /// @p count segments of the same message, none of them the last.
    void run(size_t count, size_t length)
    {
        for (size_t i = 0; i < count && !full() && !mModel.broken(); ++i) {
            sequel(length, static_cast<uint8_t>(i), false);
        }
    }

    void sequel(size_t length, uint8_t fill, bool last)
    {
        segment(mFlags | (last ? 0x08 : 0x00), mNext, length, fill);
        mNext = last ? 0 : mNext + 1;
    }

    void oddSegment(FuzzInput* input)
    {
        mType = input->number8();
        const uint8_t flags = input->number8();
        const uint16_t number = input->number16();
        segment(flags, number, input->number16(), 0x55);
    }

    void segment(uint8_t flags, size_t number, size_t length, uint8_t fill)
    {
        const uint8_t control = flags & 0x04;
        std::vector<uint8_t> bytes(model::kHeader + length, fill);
        const uint8_t header[] = {0x5A,
                                  0x57,
                                  1,
                                  flags,
                                  control != 0 ? uint8_t(0) : mType,
                                  control != 0 ? uint8_t(0) : mSeq,
                                  static_cast<uint8_t>(number >> 8),
                                  static_cast<uint8_t>(number),
                                  0,
                                  0,
                                  static_cast<uint8_t>(length >> 8),
                                  static_cast<uint8_t>(length)};
        std::copy(std::begin(header), std::end(header), bytes.begin());
        model::putChecksum(bytes.data(), bytes.size());
        deliver(bytes);
    }

    void deliver(const std::vector<uint8_t>& bytes)
    {
        const size_t piece = mPiece == 0 ? bytes.size() : mPiece;
        for (size_t at = 0; at < bytes.size() && !full(); at += piece) {
            mSpent += kPieceCost + std::min(piece, bytes.size() - at);
            deliverPiece(bytes.data() + at, std::min(piece, bytes.size() - at));
        }
    }

    void deliverPiece(const uint8_t* data, size_t size)
    {
        const bool wasBroken = mModel.broken();
        mModel.feed(data, size, mNowMs);
        const size_t before = heldMemory();
        WMsgReader::eResult result = WMsgReader::MESSAGE;
        while (result == WMsgReader::MESSAGE) {
            WMsg message;
            const size_t offered = size;
            result = mReader.read(&data, &size, mNowMs, &message);
            require(!wasBroken || (result == WMsgReader::BROKEN && size == offered),
                    "nothing is read after a broken byte");
            if (result == WMsgReader::MESSAGE) {
                checkMessage(message);
            }
        }
        mHeld += heldMemory() - before;
        require(mModel.messages.empty(), "every message is delivered as soon as it is complete");
        require((result == WMsgReader::BROKEN) == mModel.broken(), "a stream is refused by the rules alone");
        require(mReader.status().isOk() == !mModel.broken(), "a refusal has a reason");
        require(result == WMsgReader::BROKEN || size == 0, "a reader that asks for more has used everything");
        checkMemory();
    }

    void checkMessage(const WMsg& message)
    {
        // What the model hands over is freed here and was not the reader's.
        const size_t before = heldMemory();
        require(!mModel.messages.empty() && mModel.messages.front() == message,
                "a message is what its segments hold");
        mModel.messages.pop_front();
        mHeld += before - heldMemory();
        require(message.payload.size() <= model::kMaxMessageBytes, "no message is larger than permitted");
    }

    void checkMemory() const
    {
        const size_t held = static_cast<ptrdiff_t>(mHeld) > 0 ? mHeld : 0;
        // A message that has outgrown the small room has the room of the largest one.
        require(held <= 2 * mModel.pendingBytes() + kSlack ||
                    2 * mModel.pendingBytes() > WMsgReader::kMaxDoubled,
                "memory grows with the bytes received");
        require(held <= model::kMaxMessageBytes + kSlack, "memory never goes beyond one message");
        require(!mModel.broken() || held <= kSlack, "a refused stream holds nothing");
    }

    const size_t mMostBytes;
    WMsgReader mReader;
    ReassemblyModel mModel;
    int64_t mNowMs = 0;
    size_t mPiece = 0;
    size_t mSpent = 0; ///< what came so far, and what its pieces count
    size_t mHeld = 0;  ///< what the reader took from the heap and has not given back
    size_t mNext = 0;
    uint8_t mFlags = 0;
    uint8_t mType = 0;
    uint8_t mSeq = 0;
};

static_assert(wmsg::kMaxMessageBytes == model::kMaxMessageBytes);
static_assert(wmsg::kMaxSegments == model::kMaxSegments);
static_assert(wmsg::kMaxAgeMs == model::kMaxAgeMs);

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    Line line((input.number8() & 2) != 0 ? kMaxBytes : kFewBytes);
    while (!input.empty() && !line.full()) {
        line.step(&input);
    }
    return 0;
}
