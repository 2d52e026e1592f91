// One TCP connection of the link.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "zulobj/linksocket.h"
#include "zulobj/wakeup.h"

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

} // namespace

TEST(LinkSocketTest, ASocketThatReachedItselfSaysSo)
{
    const int fd = socketConnectedToItself();
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(cLinkSocket(fd).talksToItself());
}

TEST(LinkSocketTest, ASocketThatReachedAPeerDoesNotTalkToItself)
{
    const int listener = socket(AF_INET, SOCK_STREAM, 0);
    sLinkAddress address;
    auto* loopback = reinterpret_cast<sockaddr_in*>(&address.storage);
    loopback->sin_family = AF_INET;
    loopback->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.size = sizeof *loopback;
    ASSERT_EQ(bind(listener, generic(loopback), address.size), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    ASSERT_EQ(getsockname(listener, generic(loopback), &address.size), 0);

    const cWakeup wakeup;
    std::string problem;
    const auto connection = cLinkSocket::connectTo(address, 10000, wakeup.fd(), &problem);
    ASSERT_TRUE(connection) << problem;
    EXPECT_FALSE(connection->talksToItself());
    close(listener);
}
