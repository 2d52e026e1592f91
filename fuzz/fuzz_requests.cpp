// What waits on either side of the link: numbered requests, queued messages and messages nobody has taken.
// The input is a list of steps; the first byte picks whose they are.

#include <algorithm>
#include <array>
#include <deque>
#include <iterator>

#include "framemodel.h"
#include "fuzzinput.h"
#include "property.h"
#include "server/commands/messagelog.h"
#include "wmsg/wpayload.h"
#include "zulobj/msgreg.h"
#include "zulobj/outqueue.h"

namespace {

/// So many steps are done for one input.
constexpr size_t kMaxSteps = 2000;

/// The client's queue against a plain list.
class Queue
{
public:
    void step(FuzzInput* input)
    {
        switch (input->number8() % 6) {
        case 0:
        case 1:
            push(entry(input), (input->number8() & 1) != 0);
            break;
        case 2:
            pop();
            break;
        case 3:
            dropOthers(input->number8() % 4);
            break;
        case 4:
            dropRequest(&mRequests[input->number8() % mRequests.size()]);
            break;
        default:
            require(mQueue.takeDropped() == mDropped, "every event that is dropped is counted");
            mDropped = 0;
        }
        require(mQueue.empty() == mExpected.empty(), "a queue knows when it is empty");
        require(mQueue.connectionBytes() == bytes(false), "a queue knows what belongs to a connection");
        require(bytes(true) <= kMaxBytes || !anyEvent(), "the events stay within their bound");
    }

    ~Queue()
    {
        while (!mExpected.empty()) {
            pop();
        }
        cOutQueue::Entry entry;
        require(!mQueue.pop(&entry), "what was taken is gone");
    }

private:
    static constexpr size_t kMaxBytes = 4000;

    cOutQueue::Entry entry(FuzzInput* input)
    {
        cOutQueue::Entry entry;
        entry.message.type = ++mNumber;
        entry.connection = input->number8() % 4;
        entry.message.payload.assign(input->number16() % 1500, mNumber);
        if (entry.connection == cOutQueue::kAnyConnection && (input->number8() & 3) == 0) {
            entry.request = &mRequests[mNumber % mRequests.size()];
        }
        return entry;
    }

    void push(const cOutQueue::Entry& entry, bool front)
    {
        if (front) {
            mQueue.pushFront(entry);
            mExpected.push_front(entry);
        } else {
            mQueue.push(entry);
            mExpected.push_back(entry);
        }
        while (bytes(true) > kMaxBytes && anyEvent()) {
            mExpected.erase(std::find_if(mExpected.begin(), mExpected.end(), isEvent));
            ++mDropped;
        }
    }

    void pop()
    {
        cOutQueue::Entry entry;
        require(mQueue.pop(&entry) == !mExpected.empty(), "a queue that is not empty has a next entry");
        if (!mExpected.empty()) {
            require(entry.message == mExpected.front().message &&
                        entry.connection == mExpected.front().connection &&
                        entry.request == mExpected.front().request,
                    "entries come in their order");
            mExpected.pop_front();
        }
    }

    void dropOthers(uint64_t connection)
    {
        mQueue.dropOthers(connection);
        const auto other = [connection](const cOutQueue::Entry& entry) {
            return entry.connection != cOutQueue::kAnyConnection && entry.connection != connection;
        };
        mExpected.erase(std::remove_if(mExpected.begin(), mExpected.end(), other), mExpected.end());
    }

    void dropRequest(const cMsgReg* request)
    {
        mQueue.dropRequest(request);
        const auto found = std::find_if(mExpected.begin(), mExpected.end(),
                                        [request](const auto& entry) { return entry.request == request; });
        if (found != mExpected.end()) {
            mExpected.erase(found);
        }
    }

    static bool isEvent(const cOutQueue::Entry& entry)
    {
        return entry.connection == cOutQueue::kAnyConnection && entry.request == nullptr;
    }

    bool anyEvent() const { return std::any_of(mExpected.begin(), mExpected.end(), isEvent); }

    /// What the entries of no connection count, or those of any.
    size_t bytes(bool ofNone) const
    {
        size_t sum = 0;
        for (const cOutQueue::Entry& entry : mExpected) {
            const bool counts = (entry.connection == cOutQueue::kAnyConnection) == ofNone;
            sum += counts ? entry.message.payload.size() + sizeof(cOutQueue::Entry) : 0;
        }
        return sum;
    }

    cOutQueue mQueue{kMaxBytes};
    std::deque<cOutQueue::Entry> mExpected;
    std::array<cMsgReg, 5> mRequests;
    uint64_t mDropped = 0;
    uint8_t mNumber = 0;
};

/// The client's outstanding requests against a plain list.
class Registry
{
public:
    void step(FuzzInput* input)
    {
        const uint8_t seq = input->number8();
        cMsgReg* const request = &mRequests[seq % mRequests.size()];
        switch (input->number8() % 4) {
        case 0:
            add(seq, request);
            break;
        case 1:
            mRegistry.giveUp(request);
            for (Entry& entry : mExpected) {
                entry.request = entry.request == request ? nullptr : entry.request;
            }
            break;
        case 2:
            failAll();
            break;
        default:
            answer(seq);
        }
        require(mRegistry.isTaken(seq) == isTaken(seq), "a number is taken until its answer has come");
        require(mRegistry.givenUp() == count(nullptr), "numbers given up are counted");
    }

private:
    struct Entry
    {
        uint8_t seq;
        cMsgReg* request;
    };

    bool isTaken(uint8_t seq) const
    {
        return std::any_of(mExpected.begin(), mExpected.end(),
                           [seq](const Entry& entry) { return entry.seq == seq; });
    }

    size_t count(const cMsgReg* request) const
    {
        return static_cast<size_t>(
            std::count_if(mExpected.begin(), mExpected.end(),
                          [request](const Entry& entry) { return entry.request == request; }));
    }

    void add(uint8_t seq, cMsgReg* request)
    {
        if (!isTaken(seq) && count(request) == 0) {
            mRegistry.add(seq, request);
            mExpected.push_back({seq, request});
        }
    }

    void answer(uint8_t seq)
    {
        std::deque<Entry> left;
        cMsgReg* request = nullptr;
        if (isTaken(seq)) {
            while (mExpected.front().seq != seq) {
                if (mExpected.front().request != nullptr) {
                    left.push_back(mExpected.front());
                }
                mExpected.pop_front();
            }
            request = mExpected.front().request;
            mExpected.pop_front();
            mExpected.insert(mExpected.begin(), left.begin(), left.end());
        }
        require(mRegistry.answered(seq) == request, "a number stands for its request");
    }

    void failAll()
    {
        mRegistry.failAll(cMsgReg::MSG_ERROR);
        for (cMsgReg& request : mRequests) {
            const bool failed = request.complete && request.status == cMsgReg::MSG_ERROR;
            require(failed == (count(&request) > 0), "every request that waits has failed, and no other");
            request = cMsgReg();
        }
        mExpected.clear();
    }

    cMsgRegistry mRegistry;
    std::deque<Entry> mExpected; ///< oldest first
    std::array<cMsgReg, 7> mRequests;
};

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
    static constexpr server::MessageLog::Limits kLimits{6, 300};

    struct Entry
    {
        uint64_t id;
        uint32_t serial;
        WMsg message;
    };

    void add(FuzzInput* input)
    {
        Entry entry{mAdded++, input->number8() % 3U, WMsg()};
        WPayloadWriter writer(&entry.message.payload);
        for (size_t objects = input->number8() % 4; objects > 0; --objects) {
            writer.beginObject(input->number8() % 3);
            writer.putText(1, "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx", input->number8() % 40);
            writer.endObject();
        }
        mLog.add(entry.serial, entry.message);
        mExpected.push_back(std::move(entry));
        while (mExpected.size() > kLimits.messages || bytes() > kLimits.payloadBytes) {
            mExpected.pop_front();
        }
        require(mLog.added() == mAdded, "every message is counted");
    }

    void take(FuzzInput* input)
    {
        server::MessageLog::Filter filter;
        const uint8_t wanted = input->number8();
        if ((wanted & 1) != 0) {
            filter.deviceSerial = (wanted >> 1) % 3;
        }
        if ((wanted & 8) != 0) {
            filter.objectType = (wanted >> 4) % 3;
        }
        const uint64_t since = input->number8() % (mAdded + 1);
        const auto found = std::find_if(mExpected.begin(), mExpected.end(), [&](const Entry& entry) {
            return entry.id >= since && (!filter.deviceSerial || *filter.deviceSerial == entry.serial) &&
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

    server::MessageLog mLog{kLimits};
    std::deque<Entry> mExpected;
    uint64_t mAdded = 0;
};

template <class Subject>
void run(FuzzInput* input)
{
    Subject subject;
    for (size_t steps = 0; !input->empty() && steps < kMaxSteps; ++steps) {
        subject.step(input);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    // 0 was the server's numbers, which the link session now gives out.
    switch (input.number8() % 4) {
    case 1:
        run<Queue>(&input);
        break;
    case 2:
        run<Registry>(&input);
        break;
    default:
        run<Log>(&input);
    }
    return 0;
}
