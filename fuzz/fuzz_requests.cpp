// The server's log of messages that no wait has taken yet. The input: a byte that is skipped, then a list of
// steps.

#include <algorithm>
#include <array>
#include <deque>
#include <iterator>

#include "framemodel.h"
#include "fuzzinput.h"
#include "payloadwriter.h"
#include "property.h"
#include "zulcommand/messagelog.h"

namespace {

/// The maximum number of steps for one input.
constexpr size_t kMaxSteps = 2000;

/// The server's memory of messages against a plain list.
class Log
{
public:
    void step(FuzzInput* input)
    {
        if ((input->number8() & 1) == 0) {
            add(input);
        } else {
            take(input);
        }
    }

private:
    static constexpr zulcommand::MessageLog::Limits kLimits{6, 300};

    struct Entry
    {
        uint64_t id;
        uint32_t serial;
        WMsg message;
        std::string peer;
    };

    void add(FuzzInput* input)
    {
        Entry entry{mAdded++, input->number8() % 3U, WMsg(), peerOf(mAdded)};
        PayloadWriter writer(&entry.message.payload);
        for (size_t objects = input->number8() % 4; objects > 0; --objects) {
            writer.beginObject(input->number8() % 3);
            writer.putText(1, std::string(input->number8() % 40, 'x'));
            writer.endObject();
        }
        mLog.add(entry.serial, entry.message, entry.peer);
        mExpected.push_back(std::move(entry));
        while (mExpected.size() > kLimits.messages || bytes() > kLimits.payloadBytes) {
            mExpected.pop_front();
        }
        require(mLog.added() == mAdded, "every message is counted");
    }

    void take(FuzzInput* input)
    {
        zulcommand::MessageLog::Filter filter;
        const uint8_t wanted = input->number8();
        if ((wanted & 1) != 0) {
            filter.deviceSerial = (wanted >> 1) % 3;
        }
        if ((wanted & 8) != 0) {
            filter.objectType = (wanted >> 4) % 3;
        }
        if ((wanted & 0x80) != 0) {
            filter.peer = peerOf(wanted >> 2);
        }
        const uint64_t since = input->number8() % (mAdded + 1);
        const auto found = std::find_if(mExpected.begin(), mExpected.end(), [&](const Entry& entry) {
            return entry.id >= since && (!filter.deviceSerial || *filter.deviceSerial == entry.serial) &&
                   (!filter.peer || *filter.peer == entry.peer) &&
                   (!filter.objectType || has(entry.message, *filter.objectType));
        });
        WMsg message;
        require(mLog.take(filter, since, &message) == (found != mExpected.end()),
                "a message that fits is found");
        if (found != mExpected.end()) {
            require(message == found->message, "the earliest message that fits is taken");
            mExpected.erase(found);
        }
    }

    /// One of three.
    static std::string peerOf(uint64_t number) { return "10.0.0." + std::to_string(number % 3) + ":40000"; }

    static bool has(const WMsg& message, uint32_t type)
    {
        for (size_t at = 0; at < message.payload.size();) {
            if (model::number(&message.payload[at], 4) == type) {
                return true;
            }
            at += 8 + model::number(&message.payload[at + 4], 4);
        }
        return false;
    }

    size_t bytes() const
    {
        size_t sum = 0;
        for (const Entry& entry : mExpected) {
            sum += entry.message.payload.size();
        }
        return sum;
    }

    zulcommand::MessageLog mLog{kLimits};
    std::deque<Entry> mExpected;
    uint64_t mAdded = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    input.number8(); // once picked one of several subjects
    Log log;
    for (size_t steps = 0; !input.empty() && steps < kMaxSteps; ++steps) {
        log.step(&input);
    }
    return 0;
}
