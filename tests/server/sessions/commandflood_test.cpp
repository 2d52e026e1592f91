#include <gtest/gtest.h>
#include <string>
#include <thread>

#include "localserver.h"

TEST(CommandFloodTest, everyCommandIsAnsweredInItsOrder)
{
    LocalServer server;
    const size_t commands = 3 * server::CommandRunner::kMaxWaiting;
    std::thread typing([&] {
        for (size_t i = 0; i < commands; ++i) {
            server.type("sleep 0." + std::string(9, '0') + std::to_string(i));
        }
    });
    for (size_t i = 0; i < commands; ++i) {
        const std::string command = member(server.lines().next("reply"), "command");
        ASSERT_EQ(command, "sleep 0." + std::string(9, '0') + std::to_string(i));
    }
    typing.join();
}
