// One end of a link and its peer, by a clock that the input moves and without a socket. The input: a byte
// that picks the limits, and a list of steps; see step() for their codes.

#include <algorithm>
#include <deque>
#include <memory>
#include <vector>

#include "fuzzinput.h"
#include "property.h"
#include "reassemblymodel.h"
#include "zullink/linksession.h"

namespace {

/// The maximum number of steps for one input.
constexpr size_t kMaxSteps = 500;

LinkSession::Settings settingsFor(uint8_t choice)
{
    LinkSession::Settings settings;
    settings.keepsMessages = (choice & 1) == 0;
    settings.queueBytes = (choice & 2) == 0 ? 1024 * 1024 : 4096;
    settings.answerBytes = 4096;
    return settings;
}

class Link
{
public:
    explicit Link(const LinkSession::Settings& settings) : mSettings(settings), mSession(settings, &mNumbers)
    {
        connect();
    }

    ~Link()
    {
        disconnect();
        end(mSession.clear());
        require(mWaiting == 0, "every request comes to one end");
    }

    void step(FuzzInput* input)
    {
        switch (input->number8() % 10) {
        case 0:
            pass(input->number16());
            break;
        case 1:
            feed(framesOf(message(input)));
            break;
        case 2:
            feed(input->bytes(input->number8()));
            break;
        case 3:
            mSession.send(event(input->number16() % 3000));
            break;
        case 4:
            request(input->number8());
            break;
        case 5:
            answer(input->number8());
            break;
        case 6:
            take(input->number16());
            break;
        case 7:
            mSession.setReading(mPaused, mNowMs);
            mPausedMs += mPaused ? mNowMs - mPausedSinceMs : 0;
            mPausedSinceMs = mNowMs;
            mPaused = !mPaused;
            break;
        case 8:
            giveUp(input->number8());
            break;
        default:
            disconnect();
            connect();
        }
        check();
    }

private:
    static std::vector<uint8_t> framesOf(const WMsg& message)
    {
        std::vector<uint8_t> frames;
        message.appendFrames(frames);
        return frames;
    }

    static WMsg message(FuzzInput* input)
    {
        WMsg message;
        const uint8_t flags = input->number8();
        message.control = (flags & 4) != 0;
        message.answer = (flags & 1) != 0;
        message.event = (flags & 2) != 0;
        message.type = message.control ? flags >> 6 : flags >> 4;
        message.seq = input->number8();
        message.payload.resize(message.control ? 0 : input->number16() % 5000);
        return message;
    }

    static WMsg event(size_t size)
    {
        WMsg message;
        message.type = 3;
        message.event = true;
        message.payload.resize(size);
        return message;
    }

    void connect()
    {
        mSession.connected(mNowMs);
        mModel = std::make_unique<ReassemblyModel>();
        mReader = WMsgReader();
        mTokens.clear();
        mPings.clear();
        mPaused = false;
        mPausedMs = 0;
    }

    void disconnect()
    {
        end(mSession.disconnected());
        mAsked.clear();
    }

    static void end(const std::vector<LinkSession::AnswerHandler>& handlers)
    {
        for (const LinkSession::AnswerHandler& handler : handlers) {
            handler(nullptr);
        }
    }

    void pass(int64_t ms)
    {
        for (const int64_t until = mNowMs + ms; mNowMs < until;) {
            mNowMs = std::min(until, std::max(mSession.deadline(), mNowMs + 1));
            mSession.checkTimes(mNowMs);
        }
    }

    /// The session has to give what a model makes of the same bytes.
    void feed(const std::vector<uint8_t>& bytes)
    {
        if (mPaused || !mSession.problem().empty()) {
            return;
        }
        mModel->feed(bytes.data(), bytes.size(), mNowMs - mPausedMs);
        std::span<const uint8_t> left(bytes);
        LinkSession::Received received;
        while (mSession.read(&left, mNowMs, &received)) {
            skipControl();
            require(!mModel->messages.empty() && mModel->messages.front() == received.message,
                    "messages come as they were sent, in their order");
            mModel->messages.pop_front();
            if (received.handler) {
                require(received.message.answer, "only an answer has a request");
                received.handler(&received.message);
            } else if (!received.message.answer) {
                mTokens.push_back(received.token);
            }
        }
        skipControl();
        require(mModel->messages.empty(), "every message comes");
        require(mModel->broken() == !mSession.problem().empty(), "broken bytes, and only they, are refused");
    }

    void skipControl()
    {
        for (; !mModel->messages.empty() && mModel->messages.front().control; mModel->messages.pop_front()) {
            const WMsg& ping = mModel->messages.front();
            if (!ping.answer && ping.type == wmsg::kControlPing) {
                mPings.push_back(ping.seq);
            }
        }
    }

    void request(uint8_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            const auto ended = std::make_shared<bool>(false);
            const uint64_t id = mSession.request(event(10), [this, ended](const WMsg*) {
                require(!*ended, "a request comes to one end");
                *ended = true;
                --mWaiting;
            });
            mWaiting += id != 0 ? 1 : 0;
            if (id != 0) {
                mAsked.push_back({id, ended});
            }
        }
    }

    void giveUp(uint8_t which)
    {
        if (mAsked.empty()) {
            return;
        }
        Asked& asked = mAsked[which % mAsked.size()];
        mSession.giveUp(asked.id);
        mWaiting -= *asked.ended ? 0 : 1;
        *asked.ended = true;
    }

    void answer(uint8_t size)
    {
        if (!mTokens.empty() && !mSession.backlogExceeded()) {
            mSession.answer(mTokens.front(), event(size));
            mTokens.pop_front();
        }
    }

    /// The peer reads @p size bytes, which have to be sound.
    void take(size_t size)
    {
        for (std::span<const uint8_t> bytes = mSession.output(mNowMs); size > 0 && !bytes.empty();
             bytes = mSession.output(mNowMs)) {
            const size_t taken = std::min(size, bytes.size());
            const uint8_t* data = bytes.data();
            size_t left = taken;
            WMsg message;
            WMsgReader::eResult result = WMsgReader::MORE;
            while ((result = mReader.read(&data, &left, 0, &message)) == WMsgReader::MESSAGE) {
                checkSent(message);
            }
            require(result == WMsgReader::MORE, "what a session writes is sound");
            mSession.written(taken, mNowMs);
            size -= taken;
        }
    }

    void checkSent(const WMsg& message)
    {
        if (message.control && message.answer) {
            require(!mPings.empty() && message.seq == mPings.front(), "a ping is answered with its number");
            mPings.pop_front();
        }
    }

    void check()
    {
        const bool given = !mSession.problem().empty();
        require(!given || mSession.output(mNowMs).empty(), "nothing is written after the end");
        require(given == (mSession.deadline() == LinkSession::kNever) || mPaused, "a session has a deadline");
        require(mSettings.keepsMessages || mSession.takeDropped().whileUp == 0,
                "only kept messages are dropped");
    }

    struct Asked
    {
        uint64_t id;
        std::shared_ptr<bool> ended;
    };

    const LinkSession::Settings mSettings;
    LinkNumbers mNumbers;
    int mWaiting = 0; ///< requests without an end; outlives the session, which ends them
    LinkSession mSession;
    int64_t mNowMs = 0;
    bool mPaused = false;
    int64_t mPausedSinceMs = 0;
    int64_t mPausedMs = 0;
    std::unique_ptr<ReassemblyModel> mModel;
    WMsgReader mReader;
    std::deque<LinkSession::ReplyToken> mTokens;
    std::deque<uint8_t> mPings;
    std::vector<Asked> mAsked;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    Link link(settingsFor(input.number8()));
    for (size_t steps = 0; !input.empty() && steps < kMaxSteps; ++steps) {
        link.step(&input);
    }
    return 0;
}
