// A device's client against a server that does anything, over the loopback address: once with the threads of
// its own, once lent to a host. The input is a list of steps; see step() for their codes.

#include <arpa/inet.h>
#include <cerrno>
#include <deque>
#include <memory>
#include <mutex>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "eitherclient.h"
#include "fuzzinput.h"
#include "property.h"
#include "reassemblymodel.h"
#include "recordmodel.h"
#include "zulobj/adhoc.h"
#include "zulobj/objclient.h"

namespace {

/// The maximum number of steps for one input.
constexpr size_t kMaxSteps = 60;

/// A wait that takes longer has failed.
constexpr int kPatienceMs = 20000;

/// True once there is something to read at @p fd; false if nothing comes.
bool readable(int fd)
{
    pollfd wait{fd, POLLIN, 0};
    int ready = ::poll(&wait, 1, kPatienceMs);
    while (ready < 0 && errno == EINTR) {
        ready = ::poll(&wait, 1, kPatienceMs); // libFuzzer's own alarm
    }
    return ready == 1;
}

/// Listens at a free port for all inputs.
class Listening
{
public:
    Listening() : mFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        require(::bind(mFd, reinterpret_cast<sockaddr*>(&address), size) == 0 && ::listen(mFd, 16) == 0 &&
                    ::getsockname(mFd, reinterpret_cast<sockaddr*>(&address), &size) == 0,
                "there is a port to listen at");
        mPort = ntohs(address.sin_port);
    }

    ~Listening() { ::close(mFd); }
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

    int port() const { return mPort; }

    int accept() const
    {
        require(readable(mFd), "a client connects, and connects again");
        return ::accept4(mFd, nullptr, nullptr, SOCK_CLOEXEC);
    }

private:
    int mFd;
    int mPort = 0;
};

/// What a message is known by when it is delivered.
struct Label
{
    uint8_t type;
    uint8_t seq;
    size_t objects;

    bool operator==(const Label& other) const
    {
        return type == other.type && seq == other.seq && objects == other.objects;
    }
};

/// Notes what is delivered and answers what is to be answered.
class Device : public cObjectListener
{
public:
    explicit Device(cObjectClient* client) : mClient(client) {}

    void handleObjectAction(cObjectList* msg) override
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mDelivered.push_back({msg->getMsgType(), msg->getMsgSeq(), msg->size()});
        }
        if (msg->getMsgType() <= cObjectList::kRequest) {
            cObjectList answer;
            answer.setMsgType(msg->getMsgType());
            mClient->send(&answer);
        }
    }

    std::deque<Label> takeDelivered()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return std::move(mDelivered);
    }

private:
    cObjectClient* mClient;
    std::mutex mMutex;
    std::deque<Label> mDelivered;
};

cObjectClient::Settings hastySettings()
{
    cObjectClient::Settings settings;
    settings.firstPauseMs = 1;
    settings.longestPauseMs = 3;
    return settings;
}

/// A client and the server that it talks to.
class Link
{
public:
    Link(const Listening& listening, bool hosted) : mListening(listening), mClient(hosted, hastySettings())
    {
        mClient.get()->addListener(&mDevice);
        require(mClient.start(listening.port()), "a client connects");
        connected();
    }

    ~Link()
    {
        mClient.stop();
        ::close(mFd);
    }

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    void step(FuzzInput* input)
    {
        switch (input->number8() % 6) {
        case 0:
            say(message(input));
            break;
        case 1:
            say(WMsg::ping((input->number8() & 1) != 0));
            break;
        case 2:
            send(input->bytes(input->number8()));
            break;
        case 3:
            sendEvent();
            break;
        case 4:
            leave();
            break;
        default:
            mPiece = input->number8();
        }
        if (mModel->broken()) {
            waitForEnd();
            connected();
        }
    }

    /// Asks for a last answer, before which everything else has been delivered.
    void finish()
    {
        if (mModel->inMessage()) {
            leave();
        }
        WMsg last;
        last.type = cObjectList::kRequest;
        last.seq = 77;
        say(last);
        while (!mAnswersDue.empty() || mPingsDue > 0 || (mConnections == 1 && mEvents < mEventsSent)) {
            require(receive(), "a client answers as long as it is connected");
        }
        require(mDevice.takeDelivered() == mExpected, "every message is delivered once, in its order");
    }

private:
    static WMsg message(FuzzInput* input)
    {
        WMsg message;
        const uint8_t flags = input->number8();
        message.type = flags >> 2;
        message.answer = (flags & 1) != 0;
        message.event = (flags & 2) != 0;
        message.seq = input->number8();
        message.payload = input->bytes(input->number8());
        return message;
    }

    void say(const WMsg& message)
    {
        std::vector<uint8_t> frames;
        message.appendFrames(frames);
        send(frames);
    }

    void send(const std::vector<uint8_t>& bytes)
    {
        const size_t piece = mPiece == 0 ? std::max<size_t>(bytes.size(), 1) : mPiece;
        for (size_t at = 0; at < bytes.size() && !mModel->broken(); at += piece) {
            const size_t size = std::min(piece, bytes.size() - at);
            require(::send(mFd, bytes.data() + at, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size),
                    "a client that was told nothing wrong stays");
            mModel->feed(bytes.data() + at, size, 0);
        }
        for (; !mModel->messages.empty(); mModel->messages.pop_front()) {
            expect(mModel->messages.front());
        }
    }

    void expect(const WMsg& message)
    {
        const model::Payload payload(message.payload);
        if (message.control) {
            mPingsDue += !message.answer && message.type == wmsg::kControlPing ? 1 : 0;
        } else if (!message.answer && payload.readable()) {
            mExpected.push_back({message.type, message.seq, payload.objects().size()});
            if (message.type <= cObjectList::kRequest) {
                mAnswersDue.push_back(mExpected.back());
            }
        }
    }

    void sendEvent()
    {
        cObjectAdhocEvent event;
        event.setEventLabel("Smoke");
        cObjectList list;
        list.setMsgType(cObjectList::kEvent);
        list.addBorrowed(&event);
        mClient.get()->send(&list);
        ++mEventsSent;
    }

    /// The server goes, politely: it reads what is still coming.
    void leave()
    {
        ::shutdown(mFd, SHUT_WR);
        waitForEnd();
        connected();
    }

    void waitForEnd()
    {
        while (receive()) {
        }
        ::close(mFd);
    }

    void connected()
    {
        mFd = mListening.accept();
        ++mConnections;
        mReader = std::make_unique<WMsgReader>();
        mModel = std::make_unique<ReassemblyModel>();
        mAnswersDue.clear();
        mPingsDue = 0;
    }

    /// Waits for bytes from the client and looks at them; false at the end of the connection.
    bool receive()
    {
        require(readable(mFd), "a client says what is due, and leaves a bad server");
        uint8_t buffer[8192];
        const ssize_t count = ::recv(mFd, buffer, sizeof buffer, 0);
        const uint8_t* data = buffer;
        size_t left = count < 0 ? 0 : static_cast<size_t>(count);
        WMsg message;
        WMsgReader::eResult result = WMsgReader::MESSAGE;
        while ((result = mReader->read(&data, &left, 0, &message)) == WMsgReader::MESSAGE) {
            take(message);
        }
        require(result == WMsgReader::MORE, "what a client sends is sound");
        return count > 0;
    }

    void take(const WMsg& message)
    {
        if (message.control) {
            require(message.answer && mPingsDue > 0, "a client sends the pings that are due");
            --mPingsDue;
        } else if (message.answer) {
            require(!mAnswersDue.empty(), "what was not asked on this connection is not answered on it");
            require(message.type == mAnswersDue.front().type && message.seq == mAnswersDue.front().seq,
                    "answers come in order, with the numbers of what they answer");
            mAnswersDue.pop_front();
        } else {
            require(message.type == cObjectList::kEvent && message.event, "a client reports its events");
            ++mEvents;
            require(mEvents <= mEventsSent, "no event is sent twice");
            const auto step = static_cast<uint8_t>(message.seq - mEventSeq);
            require(step == 1 || (mConnections > 1 && step > 0), "events come in order and are numbered");
            mEventSeq = message.seq;
        }
    }

    const Listening& mListening;
    EitherClient mClient;
    Device mDevice{mClient.get()};
    int mFd = -1;
    int mConnections = 0;
    size_t mPiece = 0;

    // The connection's.
    std::unique_ptr<WMsgReader> mReader;
    std::unique_ptr<ReassemblyModel> mModel;
    std::deque<Label> mAnswersDue;
    size_t mPingsDue = 0;

    std::deque<Label> mExpected;
    size_t mEventsSent = 0;
    size_t mEvents = 0;
    uint8_t mEventSeq = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Listening listening;
    for (const bool hosted : {false, true}) {
        FuzzInput input(data, size);
        Link link(listening, hosted);
        for (size_t steps = 0; !input.empty() && steps < kMaxSteps; ++steps) {
            link.step(&input);
        }
        link.finish();
    }
    return 0;
}
