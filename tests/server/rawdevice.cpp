#include "rawdevice.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

RawDevice::RawDevice(uint16_t port) : mFd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::connect(mFd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
}

RawDevice::~RawDevice() { disconnect(); }

void RawDevice::disconnect()
{
    if (mFd >= 0) {
        ::close(mFd);
        mFd = -1;
    }
}

std::string RawDevice::peer() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(mFd, reinterpret_cast<sockaddr*>(&address), &size);
    return "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
}

void RawDevice::send(const WMsg& message)
{
    std::vector<uint8_t> bytes;
    message.appendFrames(bytes);
    sendBytes(bytes);
}

void RawDevice::sendBytes(const std::vector<uint8_t>& bytes)
{
    size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(mFd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size <= 0) {
            return; // the server has closed the connection; the test looks at what it said
        }
        sent += static_cast<size_t>(size);
    }
}

bool RawDevice::readSome()
{
    pollfd entry{mFd, POLLIN, 0};
    if (::poll(&entry, 1, 30000) <= 0) {
        ADD_FAILURE() << "nothing comes from the server";
        return false;
    }
    uint8_t data[4096];
    const ssize_t size = ::recv(mFd, data, sizeof data, 0);
    if (size <= 0) {
        return false;
    }
    mBytes.insert(mBytes.end(), data, data + size);
    return true;
}

WMsg RawDevice::receive()
{
    for (;;) {
        const uint8_t* data = mBytes.data();
        size_t left = mBytes.size();
        WMsg message;
        const WMsgReader::eResult result = mReader.read(&data, &left, 0, &message);
        mBytes.erase(mBytes.begin(), mBytes.end() - static_cast<ptrdiff_t>(left));
        if (result == WMsgReader::MESSAGE && !message.control) {
            return message;
        }
        if (result == WMsgReader::MESSAGE) {
            ++mPings;
            continue;
        }
        if (result == WMsgReader::BROKEN || !readSome()) {
            ADD_FAILURE() << "no message comes from the server";
            return {};
        }
    }
}

void RawDevice::waitForPing()
{
    for (;;) {
        const uint8_t* data = mBytes.data();
        size_t left = mBytes.size();
        WMsg message;
        const WMsgReader::eResult result = mReader.read(&data, &left, 0, &message);
        mBytes.erase(mBytes.begin(), mBytes.end() - static_cast<ptrdiff_t>(left));
        if (result == WMsgReader::MESSAGE && message.control) {
            ++mPings;
            return;
        }
        if (result != WMsgReader::MESSAGE && !readSome()) {
            ADD_FAILURE() << "no ping comes from the server";
            return;
        }
    }
}

void RawDevice::waitForEnd()
{
    while (readSome()) {
    }
}

void RawDevice::identify(uint32_t serial)
{
    const WMsg question = receive();
    cObjectDevice device;
    device.setDeviceSerial(serial);
    answer(question, {&device});
}

void RawDevice::answer(const WMsg& request, std::initializer_list<const cObject*> objects)
{
    WMsg message = messageOf(request.type, objects);
    message.answer = true;
    message.seq = request.seq;
    send(message);
}

WMsg messageOf(uint8_t type, std::initializer_list<const cObject*> objects)
{
    cObjectList list;
    list.setMsgType(type);
    for (const cObject* object : objects) {
        list.add(object->clone());
    }
    WMsg message;
    EXPECT_TRUE(list.encode(&message).isOk());
    message.seq = 1;
    return message;
}

WMsg inputEvent(uint32_t portId)
{
    cObjectDInput input;
    input.setPortId(portId);
    return messageOf(cObjectList::kEvent, {&input});
}
