// One TCP connection of the link.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "linkpeer.h"
#include "zullink/linkclock.h"
#include "zullink/linksocket.h"
#include "zullink/wakeup.h"

namespace {

sockaddr* generic(sockaddr_in* address) { return reinterpret_cast<sockaddr*>(address); }

/// A socket that is connected to the port that it stands on itself; -1 where that fails.
int socketConnectedToItself()
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    const bool connected = bind(fd, generic(&address), size) == 0 &&
                           getsockname(fd, generic(&address), &size) == 0 &&
                           connect(fd, generic(&address), size) == 0;
    return connected ? fd : -1;
}

sLinkAddress loopbackAddress(int port)
{
    sLinkAddress address;
    auto* loopback = reinterpret_cast<sockaddr_in*>(&address.storage);
    loopback->sin_family = AF_INET;
    loopback->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    loopback->sin_port = htons(static_cast<uint16_t>(port));
    address.size = sizeof *loopback;
    return address;
}

} // namespace

TEST(LinkSocketTest, ASocketThatReachedItselfSaysSo)
{
    const cLinkSocket socket(socketConnectedToItself());
    ASSERT_GE(socket.fd(), 0);
    EXPECT_TRUE(cLinkSocket::isSelfConnected(socket.fd()));
}

TEST(LinkSocketTest, ASocketThatReachedAPeerDoesNotTalkToItself)
{
    LinkPeer peer;
    const cWakeup wakeup;
    std::shared_ptr<cLinkSocket> connection;
    const WStatus status =
        cLinkSocket::connectTo({loopbackAddress(peer.port())}, 10000, wakeup.fd(), &connection);
    ASSERT_TRUE(connection) << status.text();
    EXPECT_FALSE(cLinkSocket::isSelfConnected(connection->fd()));
}

TEST(LinkSocketTest, AnAddressThatDoesNotAnswerLeavesTimeForTheNext)
{
    const FullPort silent;
    LinkPeer good;
    const cWakeup wakeup;
    std::shared_ptr<cLinkSocket> connection;
    constexpr int kTimeoutMs = 1000;
    const int64_t begun = linkNowMs();
    const WStatus status = cLinkSocket::connectTo(
        {loopbackAddress(silent.port()), loopbackAddress(good.port())}, kTimeoutMs, wakeup.fd(), &connection);
    EXPECT_TRUE(connection) << status.text();
    EXPECT_GE(linkNowMs() - begun, kTimeoutMs / 2) << "the first address had its share";
}

TEST(LinkSocketTest, AnAddressThatRefusesLeavesItsTimeToTheNext)
{
    const ClosedPort closed;
    LinkPeer good;
    const cWakeup wakeup;
    std::shared_ptr<cLinkSocket> connection;
    const WStatus reached = cLinkSocket::connectTo(
        {loopbackAddress(closed.port()), loopbackAddress(closed.port()), loopbackAddress(good.port())}, 10000,
        wakeup.fd(), &connection);
    EXPECT_TRUE(connection) << reached.text();
    const WStatus refused =
        cLinkSocket::connectTo({loopbackAddress(closed.port())}, 10000, wakeup.fd(), &connection);
    EXPECT_STREQ(refused.problem(), "Connection refused");
}

TEST(LinkSocketTest, AWakeUpEndsTheAttemptsAtAllAddresses)
{
    const FullPort silent;
    LinkPeer good;
    cWakeup wakeup;
    wakeup.wake();
    std::shared_ptr<cLinkSocket> connection;
    EXPECT_FALSE(cLinkSocket::connectTo({loopbackAddress(silent.port()), loopbackAddress(good.port())},
                                        600000, wakeup.fd(), &connection)
                     .isOk());
    EXPECT_FALSE(connection);
}
