#pragma once

#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <vector>

/// A socket address of either family.
struct sLinkAddress
{
    sockaddr_storage storage{};
    socklen_t size = 0;
};

/// The addresses that @p host stands for, with @p port: a numeric one and "localhost" at once, another name
/// through c-ares, which unlike the C library can be told to stop. None when there are none, after @p
/// timeoutMs, or as soon as the descriptor @p wakeFd is readable.
std::vector<sLinkAddress> resolveAddress(const std::string& host, uint16_t port, int timeoutMs, int wakeFd);
