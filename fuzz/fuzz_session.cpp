// The server's session with one device, over a pair of sockets and by a clock that the input moves. The
// input: a byte that picks the limits, and a list of steps; see step() for their codes.

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <map>
#include <sys/socket.h>

#include "devicepeer.h"
#include "fuzzinput.h"
#include "property.h"
#include "reassemblymodel.h"
#include "server/sessions/devicesession.h"
#include "zulobj/objectlist.h"

namespace {

/// The time that cLinkClock tells in this program.
std::chrono::milliseconds now(0);

} // namespace

cLinkClock::time_point cLinkClock::now() { return time_point(::now); }

namespace {

/// How late a session may notice the time, as it looks once in a while.
constexpr int kTickMs = 2100;

/// So much is done for one input, that it ends soon.
constexpr size_t kMaxSteps = 200;
constexpr int64_t kMaxMs = 150 * 1000;
constexpr size_t kLargestToSend = 500 * 1000;
constexpr size_t kMaxToSend = 1024 * 1024;

/// What the session takes from the line at once.
constexpr size_t kReadBytes = 16384;

bool begins(const std::string& text, const char* with) { return text.rfind(with, 0) == 0; }

std::vector<uint8_t> deviceRecord()
{
    cObjectDevice device;
    device.setDeviceSerial(1001);
    device.setDeviceLabel("Lab");
    std::vector<uint8_t> payload(device.encodedSize());
    device.encode(payload.data());
    return payload;
}

/// A session, its device, and what is known of both.
class Room : private server::DeviceSession::Listener
{
public:
    explicit Room(const server::LinkSettings& settings) : mSettings(settings)
    {
        int ends[2] = {-1, -1};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends) == 0,
                "there is a pair of sockets");
        mPeer = std::make_unique<DevicePeer>(ends[0]);
        boost::asio::ip::tcp::socket socket(mIo, boost::asio::ip::tcp::v4(), ends[1]);
        mSession = std::make_shared<server::DeviceSession>(
            std::move(socket), mSettings, static_cast<server::DeviceSession::Listener*>(this), &mNumbers, 1);
        mSession->start();
        settle();
    }

    ~Room() override
    {
        // What is still outstanding at the end of a session that is thrown away is not told.
        mEnded = true;
        mSession.reset();
        poll();
    }

    bool over() const { return mClosed || now.count() - mBegunMs > kMaxMs; }

    void step(FuzzInput* input)
    {
        switch (input->number8() % 14) {
        case 0:
            pass(input->number16());
            break;
        case 1:
            say(message(input, false));
            break;
        case 2:
            answerDevice();
            break;
        case 3:
            answerSome(input);
            break;
        case 4:
            say(message(input, true));
            break;
        case 5:
            ping(input->number8());
            break;
        case 6:
            append(input->bytes(input->number8()));
            break;
        case 7:
            ask(input->number8(), input->number16(), input->number8());
            break;
        case 8:
            send(input->number8(), input->number16());
            break;
        case 9:
            giveUp(input->number8());
            break;
        case 10:
            hold(!mHoldAsked);
            break;
        case 11:
            mReads = !mReads;
            mAlwaysRead = false;
            break;
        case 12:
            mFlow = input->number16();
            break;
        default:
            mPeer->close();
        }
        settle();
    }

private:
    // What the device does.

    static WMsg message(FuzzInput* input, bool answer)
    {
        WMsg message;
        message.type = input->number8();
        message.seq = input->number8();
        message.answer = answer;
        message.event = !answer && message.type == cObjectList::kEvent;
        message.payload.assign(input->number16() % 5000, 0);
        return message;
    }

    void say(const WMsg& message)
    {
        std::vector<uint8_t> frames;
        message.appendFrames(frames);
        append(frames);
    }

    /// Queues bytes to be written as far as the flow lets them.
    void append(const std::vector<uint8_t>& bytes)
    {
        mUnwritten.insert(mUnwritten.end(), bytes.begin(), bytes.end());
    }

    void ping(uint8_t flags)
    {
        WMsg ping = WMsg::ping((flags & 1) != 0);
        ping.type = flags >> 4;
        say(ping);
    }

    void answerDevice()
    {
        if (!mPeer->messages.empty()) {
            answer(deviceRecord());
        }
    }

    void answerSome(FuzzInput* input)
    {
        if (!mPeer->messages.empty()) {
            const size_t skipped = input->number8() % mPeer->messages.size();
            std::rotate(mPeer->messages.begin(), mPeer->messages.begin() + skipped, mPeer->messages.end());
            answer(input->bytes(input->number8()));
        }
    }

    void answer(const std::vector<uint8_t>& payload)
    {
        WMsg answer = mPeer->messages.front();
        mPeer->messages.pop_front();
        answer.answer = true;
        answer.payload = payload;
        say(answer);
    }

    // What the server does.

    static WMsg outgoing(uint8_t type, size_t size, size_t times)
    {
        WMsg message;
        message.type = type;
        message.payload.assign(std::min(size * times, kLargestToSend), 0x11);
        return message;
    }

    void send(uint8_t type, size_t size)
    {
        mToldToSend += size;
        mSession->send(outgoing(type, size, 1));
    }

    void ask(uint8_t type, size_t size, size_t times)
    {
        if (mClosed || mToldToSend > kMaxToSend ||
            std::count_if(mAsked.begin(), mAsked.end(), isOpen) >= 250) {
            return;
        }
        const size_t index = mAsked.size();
        mAsked.push_back({});
        mToldToSend += std::min(size * times, kLargestToSend);
        const uint64_t request = mSession->request(outgoing(type, size, times), [this,
                                                                                 index](const WMsg* answer) {
            Asked& asked = mAsked[index];
            require(!mEnded, "nobody is told after the end");
            require(asked.open && !asked.givenUp,
                    "a request comes to one end, and none where it was given up");
            require(answer != nullptr || mClosed, "only the end of a session leaves a request unanswered");
            require(answer == nullptr || answer->answer, "only an answer comes to a request");
            asked.open = false;
        });
        require(request != 0, "so few requests as one input makes are never turned away");
        mAsked[index].request = request;
    }

    void giveUp(uint8_t which)
    {
        if (mAsked.empty()) {
            return;
        }
        Asked& asked = mAsked[which % mAsked.size()];
        if (isOpen(asked)) {
            asked.givenUp = true;
            mSession->giveUp(asked.request);
        }
    }

    void hold(bool held)
    {
        mHoldAsked = held;
        if (!held) {
            mHeardMs = mHeld ? now.count() : mHeardMs;
            mHeld = false;
            mSession->resumeReading();
        }
    }

    // What the session says.

    void sessionIdentified(server::DeviceSession& session) override
    {
        require(!mIdentified && !mClosed, "a device says once who it is");
        require(session.device().has_value(), "a device that has said who it is is known");
        mIdentified = true;
    }

    void sessionMessage(server::DeviceSession&, WMsg&& message) override
    {
        require(mIdentified && !mClosed, "no message comes before the device has said who it is, or after");
        mDelivered.push_back(std::move(message));
    }

    void sessionClosed(server::DeviceSession&, const std::string& reason) override
    {
        require(!mClosed, "a session ends once");
        mClosed = true;
        mReason = reason;
    }

    bool readingPaused() const override { return mHoldAsked; }
    void sessionReport(const server::DeviceSession&, const std::string&) override { check(); }
    void sessionDebug(const server::DeviceSession&, const std::string&) override { check(); }
    void check() const { require(!mClosed, "nothing is said of a session that has ended"); }

    // What has to come of it.

    void pass(int ms)
    {
        while (ms > 0 && !mClosed) {
            const int some = std::min(ms, 1000);
            ms -= some;
            now += std::chrono::milliseconds(some);
            mHeldMs += mHeld ? some : 0;
            mHeardMs = mHeld ? now.count() : mHeardMs;
            lookAtClock();
            settle();
        }
    }

    /// Lets everything happen that can happen now, and looks at it.
    void settle()
    {
        arrive();
        poll();
        size_t written = writeSome();
        while (written > 0 || (mReads && mPeer->read())) {
            arrive();
            poll();
            written = mFlow == 0 ? writeSome() : 0;
        }
        checkDelivery();
        checkPings();
        checkEnd();
    }

    /// A timer that is due earlier than any other has the loop look at the clock.
    void lookAtClock()
    {
        LinkTimer look(mIo, LinkTimer::time_point::min());
        look.async_wait([](const boost::system::error_code&) {});
        poll();
    }

    void poll()
    {
        mIo.restart();
        mIo.poll();
    }

    size_t writeSome()
    {
        const size_t most = mFlow == 0 ? mUnwritten.size() : std::min<size_t>(mFlow, mUnwritten.size());
        const size_t written = mPeer->write(mUnwritten.data(), most);
        mInFlight.insert(mInFlight.end(), mUnwritten.begin(), mUnwritten.begin() + written);
        mUnwritten.erase(mUnwritten.begin(), mUnwritten.begin() + written);
        return written;
    }

    /// The model takes what the session is about to read.
    void arrive()
    {
        while (!mInFlight.empty() && !mHeld && !mClosed) {
            const size_t size = std::min(kReadBytes, mInFlight.size());
            mModel.feed(mInFlight.data(), size, now.count() - mHeldMs);
            mInFlight.erase(mInFlight.begin(), mInFlight.begin() + size);
            mHeardMs = now.count();
            mPings = 0;
            mHeld = mHoldAsked;
        }
        for (; !mModel.messages.empty(); mModel.messages.pop_front()) {
            expect(std::move(mModel.messages.front()));
        }
    }

    void expect(WMsg&& message)
    {
        if (message.control) {
            mPingAnswersDue += !message.answer && message.type == wmsg::kControlPing ? 1 : 0;
        } else if (!message.answer) {
            mBytesBeforeDevice += mIdentified ? 0 : message.payload.size() + mSettings.heldMessageOverhead;
            mExpected.push_back(std::move(message));
        }
    }

    void checkDelivery()
    {
        for (; !mDelivered.empty(); mDelivered.pop_front()) {
            require(!mExpected.empty() && mExpected.front() == mDelivered.front(),
                    "messages come as they were sent, in their order");
            mExpected.pop_front();
        }
        require(mClosed || !mIdentified || mExpected.empty(), "every message comes");
    }

    void checkPings()
    {
        mPings += mPeer->takePings();
        const size_t answers = mPeer->takePingAnswers();
        require(answers <= mPingAnswersDue, "only a ping is answered as one");
        mPingAnswersDue -= answers;
        if (mClosed || !mAlwaysRead || !mPeer->isOpen()) {
            return;
        }
        require(mPingAnswersDue == 0, "every ping is answered");
        require(mPings <= 1, "a silent device is asked once");
        require(mPings == 1 || now.count() - mHeardMs < mSettings.link.pingAfterMs + kTickMs,
                "a silent device is asked for a sign of life");
    }

    void checkEnd()
    {
        const int64_t silentMs = now.count() - mHeardMs;
        const int64_t ageMs = now.count() - mBegunMs;
        if (!mClosed) {
            require(!mModel.broken(), "a device that breaks the rules is let go");
            require(mPeer->isOpen() || mHeld || mHoldAsked, "a device that goes is let go");
            require(silentMs < mSettings.link.giveUpAfterMs + kTickMs, "a silent device is let go");
            require(mHeld || !mModel.overdue(now.count() - mHeldMs - kTickMs), "a slow message ends it");
            require(mIdentified || ageMs < mSettings.identifyMs,
                    "a device that never says who it is is let go");
            require(mIdentified || mBytesBeforeDevice <= mSettings.heldBytes, "not too much is kept");
            return;
        }
        if (begins(mReason, "it sent broken bytes")) {
            require(mModel.broken(), "sound bytes are never called broken");
        } else if (mReason == "a message takes too long to arrive") {
            require(mModel.overdue(now.count() - mHeldMs), "only a slow message takes too long");
        } else if (mReason == "it is silent") {
            require(silentMs >= mSettings.link.giveUpAfterMs, "only a silent device is silent");
        } else if (mReason == "it does not read what is sent to it") {
            require(!mAlwaysRead || mToldToSend > mSettings.link.queueBytes / 2,
                    "a device that reads is not blamed");
        } else if (mReason == "it does not say which device it is") {
            require(!mIdentified, "a device that said who it is is known");
        } else if (begins(mReason, "it sends too much")) {
            require(!mIdentified && mBytesBeforeDevice > mSettings.heldBytes, "some messages may come early");
        } else {
            require(!mPeer->isOpen(), "a connection is closed for a reason");
        }
        require(std::none_of(mAsked.begin(), mAsked.end(), isOpen), "every request comes to an end");
    }

    struct Asked
    {
        uint64_t request = 0;
        bool open = true;
        bool givenUp = false;
    };

    static bool isOpen(const Asked& asked) { return asked.open && !asked.givenUp; }

    const server::LinkSettings mSettings;
    boost::asio::io_context mIo;
    std::unique_ptr<DevicePeer> mPeer;
    LinkNumbers mNumbers;
    std::shared_ptr<server::DeviceSession> mSession;
    bool mEnded = false;

    // The device's end.
    std::vector<uint8_t> mUnwritten;
    std::vector<uint8_t> mInFlight;
    size_t mFlow = 0; ///< bytes written at a time; 0 for all
    bool mReads = true;
    bool mAlwaysRead = true;
    size_t mPings = 0; ///< since the session last read
    size_t mPingAnswersDue = 0;

    // The server's end.
    bool mHoldAsked = false;
    bool mHeld = false;
    int64_t mHeldMs = 0; ///< how long altogether
    std::vector<Asked> mAsked;
    size_t mToldToSend = 0;
    bool mIdentified = false;
    std::deque<WMsg> mDelivered;
    bool mClosed = false;
    std::string mReason;

    // What is known.
    ReassemblyModel mModel;
    std::deque<WMsg> mExpected;
    size_t mBytesBeforeDevice = 0;
    const int64_t mBegunMs = now.count();
    int64_t mHeardMs = now.count();
};

/// The usual settings, or small ones that a short input reaches.
server::LinkSettings settingsFor(uint8_t choice)
{
    server::LinkSettings settings;
    if ((choice & 1) != 0) {
        settings.link.queueBytes = 8192;
        settings.heldBytes = 4096;
    }
    return settings;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    Room room(settingsFor(input.number8()));
    for (size_t steps = 0; !input.empty() && !room.over() && steps < kMaxSteps; ++steps) {
        room.step(&input);
    }
    return 0;
}
