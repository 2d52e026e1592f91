// Waits for one device, asks it who it is and how its digital inputs are, and prints both as JSON.
// Usage: askdevice PORT    0 picks a free port. Standard error tells the port that it listens at.

#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/time.h>

#include "wmsg/wmsgreader.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/objectlist.h"

namespace {

/// The connection of the first device that comes, or -1.
int acceptDevice(int port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in here{};
    socklen_t size = sizeof here;
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    here.sin_port = ::htons(static_cast<uint16_t>(port));
    auto* address = reinterpret_cast<sockaddr*>(&here);
    if (::bind(listener, address, size) != 0 || ::listen(listener, 1) != 0 ||
        ::getsockname(listener, address, &size) != 0) {
        return -1;
    }
    std::fprintf(stderr, "Listening at port %d\n", ::ntohs(here.sin_port));
    const int device = ::accept(listener, nullptr, nullptr);
    const timeval longest{10, 0}; // for one answer
    ::setsockopt(device, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    return device;
}

/// One device at the other end of a connection.
class Device
{
public:
    explicit Device(int connection) : mConnection(connection) {}

    /// Asks for @p what, which stays the caller's. False when no good answer came.
    bool request(cObject* what, cObjectList* answer)
    {
        cObjectList question;
        question.setMsgType(cObjectList::kRequest);
        question.addBorrowed(what);
        WMsg message;
        if (!question.encode(&message).isOk()) {
            return false;
        }
        message.seq = ++mLastNumber;
        return send(message) && receiveAnswer(&message) && answer->decode(message).isOk();
    }

private:
    bool send(const WMsg& message) const
    {
        std::vector<uint8_t> bytes;
        message.appendFrames(bytes);
        return ::send(mConnection, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }

    /// Takes messages until the answer to the last request is among them. Events are passed over.
    bool receiveAnswer(WMsg* message)
    {
        for (;;) {
            const WMsgReader::eResult result = mReader.read(&mNext, &mLeft, 0, message);
            if (result == WMsgReader::BROKEN || (result == WMsgReader::MORE && !receiveBytes())) {
                return false;
            }
            if (result == WMsgReader::MESSAGE && message->control && !message->answer) {
                send(WMsg::ping(true));
            } else if (result == WMsgReader::MESSAGE && message->answer && !message->control &&
                       message->seq == mLastNumber) {
                return true;
            }
        }
    }

    bool receiveBytes()
    {
        const ssize_t got = ::recv(mConnection, mBytes.data(), mBytes.size(), 0);
        mNext = mBytes.data();
        mLeft = got > 0 ? static_cast<size_t>(got) : 0;
        return got > 0;
    }

    int mConnection;
    uint8_t mLastNumber = 0;
    WMsgReader mReader;
    std::array<uint8_t, 4096> mBytes{};
    const uint8_t* mNext = nullptr;
    size_t mLeft = 0;
};

void print(const cObjectList& list)
{
    json_t* json = list.getJSONObj();
    json_dumpf(json, stdout, zulobj::kDumpFlags);
    std::putchar('\n');
    json_decref(json);
}

} // namespace

int main(int argc, char** argv)
{
    Device device(acceptDevice(argc > 1 ? std::atoi(argv[1]) : 50000));

    cObjectDevice who;
    who.setDeviceSerial(cObject::kWildcard);
    cObjectList answer;
    if (!device.request(&who, &answer)) {
        return 1;
    }
    print(answer);

    const auto* record = dynamic_cast<const cObjectDevice*>(answer.first());
    cObjectDInput inputs;
    inputs.setDeviceSerial(record != nullptr ? record->getDeviceSerial() : cObject::kWildcard);
    inputs.setPortId(cObject::kWildcard);
    if (!device.request(&inputs, &answer)) {
        return 1;
    }
    print(answer);
    return 0;
}
