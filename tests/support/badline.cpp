#include "badline.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <fcntl.h>
#include <future>
#include <stdexcept>

#include "proxy/rules/ruleparser.h"

using boost::asio::ip::tcp;

namespace {

tcp::endpoint loopback(uint16_t port) { return {boost::asio::ip::address_v4::loopback(), port}; }

} // namespace

uint64_t BadLine::Counts::of(proxy::eFault kind) const
{
    const auto found = faults.find(kind);
    return found == faults.end() ? 0 : found->second;
}

BadLine::BadLine(uint16_t serverPort, const Rules& rules, uint64_t seed)
    : mServerPort(serverPort), mSeed(seed), mReserved(mIo)
{
    mReserved.open(tcp::v4());
    mReserved.set_option(tcp::acceptor::reuse_address(true));
    // A program that a test starts must not keep it.
    ::fcntl(mReserved.native_handle(), F_SETFD, FD_CLOEXEC);
    mReserved.bind(loopback(0));
    mPort = mReserved.local_endpoint().port();
    open();
    addRules(rules);
    mThread = std::thread([this] {
        const auto work = boost::asio::make_work_guard(mIo);
        mIo.run();
    });
}

BadLine::~BadLine()
{
    mIo.stop();
    mThread.join();
}

void BadLine::open()
{
    mProxy = std::make_unique<proxy::Proxy>(
        mIo, proxy::Proxy::Settings{.seed = mSeed, .servers = {loopback(mServerPort)}});
    mProxy->onFault = [this](const proxy::Fault& fault) { ++mCounts.faults[fault.kind]; };
    if (mProxy->open("127.0.0.1", mPort).empty()) {
        mProxy->start();
    } else {
        mPort = 0;
    }
}

void BadLine::addRules(const Rules& rules)
{
    for (const std::string& text : rules) {
        proxy::Rule rule;
        if (const std::string mistake = proxy::parseRule(text, &rule); !mistake.empty()) {
            throw std::invalid_argument(mistake);
        }
        mProxy->addRule(rule);
    }
}

void BadLine::setRules(const Rules& rules)
{
    runOnThread([&] {
        mProxy->clearRules();
        addRules(rules);
    });
}

void BadLine::command(proxy::eFault kind)
{
    runOnThread([&] { mProxy->command(kind, {}); });
}

void BadLine::goDown(proxy::eFault kind)
{
    runOnThread([&] {
        mProxy->command(kind, {});
        mCounts.connections += mProxy->accepted();
        mProxy.reset();
    });
}

void BadLine::comeBack()
{
    runOnThread([this] { open(); });
}

BadLine::Counts BadLine::counts()
{
    Counts counts;
    runOnThread([&] {
        counts = mCounts;
        counts.connections += mProxy ? mProxy->accepted() : 0;
    });
    return counts;
}

void BadLine::runOnThread(const std::function<void()>& action)
{
    std::promise<void> done;
    boost::asio::post(mIo, [&] {
        action();
        done.set_value();
    });
    done.get_future().wait();
}
