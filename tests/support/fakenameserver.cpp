#include "fakenameserver.h"

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "failingcalls.h"

namespace {

/// The answer to @p question (RFC 1035): one address if one of the old kind is asked for, else none.
std::vector<uint8_t> answerTo(const std::vector<uint8_t>& question)
{
    std::vector<uint8_t> answer(question.begin(), question.begin() + 12);
    size_t end = 12;
    while (question.at(end) != 0) {
        end += question[end] + 1U;
    }
    end += 5; // the end of the name, the type and the class
    const bool wanted = question.at(end - 3) == 1;
    answer.insert(answer.end(), question.begin() + 12, question.begin() + static_cast<std::ptrdiff_t>(end));
    answer[2] = 0x81;
    answer[3] = 0x80;
    answer[7] = wanted ? 1 : 0;
    answer[9] = 0;
    answer[11] = 0;
    if (wanted) {
        const uint8_t record[] = {0xC0, 12, 0, 1, 0, 1, 0, 0, 0, 60, 0, 4, 127, 0, 0, 1};
        answer.insert(answer.end(), record, record + sizeof record);
    }
    return answer;
}

} // namespace

FakeNameServer::FakeNameServer() : mFd(-1)
{
    const FailingCalls::Exempt exempt;
    mFd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(mFd, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(mFd, reinterpret_cast<sockaddr*>(&address), &size);
    FailingCalls::redirectNameServers(ntohs(address.sin_port));
    mThread = std::thread(&FakeNameServer::answerQuestions, this);
}

FakeNameServer::~FakeNameServer()
{
    const FailingCalls::Exempt exempt;
    mOver = true;
    mThread.join();
    FailingCalls::redirectNameServers(0);
    close(mFd);
}

void FakeNameServer::answerQuestions()
{
    const FailingCalls::Exempt exempt;
    while (!mOver) {
        pollfd wait{mFd, POLLIN, 0};
        if (poll(&wait, 1, 20) <= 0) {
            continue;
        }
        std::vector<uint8_t> question(512);
        sockaddr_in from{};
        socklen_t size = sizeof from;
        const ssize_t count =
            recvfrom(mFd, question.data(), question.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
        if (count > 16) {
            const std::vector<uint8_t> answer = answerTo(question);
            sendto(mFd, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&from), size);
        }
    }
}
