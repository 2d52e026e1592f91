// Waits for one device, asks it for its record and its digital inputs, and prints the answer as JSON.
// Usage: askdevice PORT    0 picks a free port. Standard error tells the port that it listens at.

#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>

#include "wmsg/wmsgreader.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/objectlist.h"

/// The connection of the first device that comes, or -1.
static int acceptDevice(int port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in here{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    auto* address = reinterpret_cast<sockaddr*>(&here);
    socklen_t size = sizeof here;
    if (::bind(listener, address, size) != 0 || ::listen(listener, 1) != 0) {
        return -1;
    }
    ::getsockname(listener, address, &size);
    std::fprintf(stderr, "Listening at port %d\n", ntohs(here.sin_port));
    return ::accept(listener, nullptr, nullptr);
}

/// Sends @p request as the first message of this side, and passes over what is no answer to it.
static bool ask(int device, const cObjectList& request, cObjectList* answer)
{
    WMsg message;
    std::vector<uint8_t> bytes;
    bool sent = request.encode(&message).isOk();
    message.seq = 1;
    message.appendFrames(bytes);
    sent = sent && ::send(device, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size());
    bytes.resize(4096);
    WMsgReader reader;
    for (ssize_t got = 1; sent && (got = ::recv(device, bytes.data(), bytes.size(), 0)) > 0;) {
        const uint8_t* next = bytes.data();
        size_t left = static_cast<size_t>(got);
        while (reader.read(&next, &left, 0, &message) == WMsgReader::MESSAGE) {
            if (message.answer && !message.control) {
                return answer->decode(message).isOk();
            }
        }
    }
    return false;
}

int main(int argc, char** argv)
{
    cObjectDevice device;
    device.setDeviceSerial(cObject::kWildcard);
    cObjectDInput inputs;
    inputs.setDeviceSerial(cObject::kWildcard);
    inputs.setPortId(cObject::kWildcard);
    cObjectList request;
    request.setMsgType(cObjectList::kRequest);
    request.addBorrowed(&device);
    request.addBorrowed(&inputs);
    cObjectList answer;
    if (!ask(acceptDevice(argc > 1 ? std::atoi(argv[1]) : 50000), request, &answer)) {
        return 1;
    }
    json_t* json = answer.getJSONObj();
    json_dumpf(json, stdout, zulobj::kDumpFlags);
    json_decref(json);
    return std::puts("") < 0 ? 1 : 0;
}
