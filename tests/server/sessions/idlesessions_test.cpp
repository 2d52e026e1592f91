// What a connection takes of the server's heap while nothing happens on it.

#include "heapmeter.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "hexbytes.h"
#include "server/sessions/devicesessions.h"
#include "zulconsole/console.h"
#include "zulobj/device.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

using boost::asio::ip::tcp;

namespace {

constexpr size_t kMaxBytes = 3 * 1024;
constexpr uint32_t kDevices = 100;

/// The sessions of a server, with the devices at bare descriptors, all on one thread.
class IdleSessionsTest : public testing::Test
{
protected:
    IdleSessionsTest() : mAcceptor(mIo, {boost::asio::ip::address_v4::loopback(), 0})
    {
        mDevices.reserve(10 * kDevices);
        mSessions.onChange = [] {};
        add(kDevices); // what all share is there from here on
    }

    void TearDown() override
    {
        for (const int device : mDevices) {
            ::close(device);
        }
        mIo.poll();
        ::close(mNull);
    }

    /// Connects @p count devices. The server asks each for its record.
    void add(uint32_t count)
    {
        for (uint32_t i = 0; i < count; ++i) {
            const int device = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const tcp::endpoint server = mAcceptor.local_endpoint();
            ASSERT_EQ(::connect(device, server.data(), static_cast<socklen_t>(server.size())), 0);
            mDevices.push_back(device);
            mSessions.add(mAcceptor.accept());
        }
        mIo.poll();
    }

    /// The last @p count devices say who they are.
    void identify(uint32_t count)
    {
        for (size_t i = mDevices.size() - count; i < mDevices.size(); ++i) {
            const size_t known = mSessions.counts().identified;
            send(mDevices[i], answerTo(questionAt(mDevices[i]), static_cast<uint32_t>(i + 1)));
            while (mSessions.counts().identified == known) {
                mIo.run_one();
            }
        }
    }

    /// The last @p count devices send as much as a hundred inputs are.
    void sendMuch(uint32_t count)
    {
        cObjectList inputs;
        inputs.setMsgType(cObjectList::kEvent);
        for (uint32_t port = 1; port <= 100; ++port) {
            auto* input = new cObjectDInput;
            input->setPortId(port);
            inputs.add(input);
        }
        WMsg message;
        ASSERT_TRUE(inputs.encode(&message).isOk());
        const uint64_t expected = mSessions.log().added() + count;
        for (size_t i = mDevices.size() - count; i < mDevices.size(); ++i) {
            send(mDevices[i], message);
        }
        while (mSessions.log().added() < expected) {
            mIo.run_one();
        }
    }

    static void send(int device, const WMsg& message)
    {
        const std::vector<uint8_t> bytes = framesOf(message);
        EXPECT_EQ(::send(device, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
    }

    boost::asio::io_context mIo;
    int mNull = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    zulconsole::Console mConsole{mIo, "zulserver", mNull, mNull, false};
    server::DeviceSessions mSessions{mIo, mConsole, {}};
    tcp::acceptor mAcceptor;
    std::vector<int> mDevices;

private:
    /// The sequence number of the question for the device record.
    static uint8_t questionAt(int device)
    {
        uint8_t bytes[wmsg::kMaxSegmentSize];
        EXPECT_GT(::recv(device, bytes, sizeof bytes, 0), static_cast<ssize_t>(wmsg::kHeaderSize));
        return bytes[5];
    }

    static WMsg answerTo(uint8_t question, uint32_t serial)
    {
        auto* device = new cObjectDevice;
        device->setDeviceSerial(serial);
        device->setDeviceLabel(("A device in the north-west of site " + std::to_string(serial)).c_str());
        cObjectList list;
        list.setMsgType(cObjectList::kRequest);
        list.add(device);
        WMsg message;
        EXPECT_TRUE(list.encode(&message).isOk());
        message.answer = true;
        message.seq = question;
        return message;
    }
};

} // namespace

TEST_F(IdleSessionsTest, aConnectionThatSaysNothingTakesAtMost3KiB)
{
    const HeapMeter meter;
    add(kDevices);
    EXPECT_LE(meter.now(), kDevices * kMaxBytes);
}

TEST_F(IdleSessionsTest, aDeviceThatSaidWhoItIsTakesAtMost3KiB)
{
    const HeapMeter meter;
    add(kDevices);
    identify(kDevices);
    EXPECT_LE(meter.now(), kDevices * kMaxBytes);
}

TEST_F(IdleSessionsTest, aDeviceThatSentMuchTakesNoMoreAfterwards)
{
    const HeapMeter meter;
    add(kDevices);
    identify(kDevices);
    sendMuch(kDevices);
    mSessions.forget();
    EXPECT_LE(meter.now(), kDevices * kMaxBytes);
}
