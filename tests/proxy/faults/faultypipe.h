#pragma once

#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "proxy/faults/faultyconnection.h"
#include "proxy/rules/ruleparser.h"

namespace proxy {

using Bytes = std::vector<uint8_t>;

constexpr int64_t kMs = 1'000'000;
constexpr int64_t kSecond = 1000 * kMs;
constexpr eDirection kToServer = eDirection::TO_SERVER;
constexpr eDirection kToDevice = eDirection::TO_DEVICE;

/// The rules of a proxy and what its connections share.
struct FaultyProxy
{
    RuleSet rules = {};
    DeviceCounts devices = {};
    uint64_t seed = 1;
    int64_t startedNs = 0;

    /// Returns the rule's number. Rules that are added before the first connection have no @p nowNs.
    uint32_t add(const std::string& text, int64_t nowNs = ActiveRule::kFromTheBeginning)
    {
        Rule rule;
        EXPECT_EQ(parseRule(text, &rule), "") << text;
        return rules.add(rule, nowNs)->number;
    }
};

/// A connection through a proxy whose receivers take every piece at once, by a clock that the test moves.
class FaultyPipe : private FaultyConnection::Owner
{
public:
    explicit FaultyPipe(FaultyProxy* proxy, uint64_t number = 1, int64_t nowNs = 0)
        : mNowNs(nowNs),
          mConnection({proxy->rules, proxy->devices, proxy->seed, proxy->startedNs}, number, this)
    {
        mConnection.begin(nowNs);
        if (mConnection.acceptance() == FaultyConnection::eAcceptance::CONNECT) {
            mConnection.reached(nowNs);
            drain();
        }
    }

    FaultyConnection& connection() { return mConnection; }
    int64_t nowNs() const { return mNowNs; }

    /// The bytes are in memory of their own, which ends with the call, as the buffer of a driver does.
    void send(eDirection direction, const Bytes& bytes)
    {
        Bytes buffer = bytes;
        mConnection.received(direction, buffer, mNowNs);
        drain();
        for (const eDirection each : kDirections) {
            mConnection.keepOutput(each);
        }
        std::fill(buffer.begin(), buffer.end(), uint8_t(0xEE));
    }

    void sendInPieces(eDirection direction, const Bytes& bytes, size_t size)
    {
        for (size_t at = 0; at < bytes.size(); at += size) {
            const size_t end = std::min(bytes.size(), at + size);
            send(direction, Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                  bytes.begin() + static_cast<std::ptrdiff_t>(end)));
        }
    }

    void finish(eDirection direction)
    {
        mConnection.ended(direction, mNowNs);
        drain();
    }

    void command(eFault kind)
    {
        mConnection.command(kind, mNowNs);
        drain();
    }

    /// Call after rules have come or gone.
    void followRules()
    {
        mConnection.advance(mNowNs);
        drain();
    }

    /// Moves the clock, and calls the connection at each of its deadlines.
    void pass(int64_t ns)
    {
        const int64_t until = mNowNs + ns;
        while (mNowNs < until) {
            mNowNs = std::min(until, std::max(mConnection.deadline(), mNowNs + 1));
            mConnection.advance(mNowNs);
            drain();
        }
    }

    /// What has come out since the last call.
    Bytes take(eDirection direction)
    {
        Bytes all;
        for (const Bytes& piece : takePieces(direction)) {
            all.insert(all.end(), piece.begin(), piece.end());
        }
        return all;
    }

    /// The same, write by write.
    std::vector<Bytes> takePieces(eDirection direction) { return std::exchange(out(direction), {}); }

    /// Stops taking what is written, or goes on.
    void setReading(bool reads)
    {
        mReads = reads;
        drain();
    }

    std::vector<Fault> faults;
    std::vector<eDirection> foreign;

private:
    void faultDone(const Fault& fault) override { faults.push_back(fault); }
    void foreignBytes(eDirection direction) override { foreign.push_back(direction); }

    std::vector<Bytes>& out(eDirection direction) { return mOut[static_cast<size_t>(direction)]; }

    void drain()
    {
        for (const eDirection direction : kDirections) {
            while (mReads && !mConnection.output(direction).empty()) {
                const std::span<const uint8_t> piece = mConnection.output(direction);
                out(direction).emplace_back(piece.begin(), piece.end());
                mConnection.written(direction, piece.size(), mNowNs);
            }
        }
    }

    int64_t mNowNs;
    bool mReads = true;
    std::vector<Bytes> mOut[2];
    FaultyConnection mConnection;
};

/// Tests of one pipe at a time.
class FaultyPipeTest : public testing::Test
{
protected:
    /// A new proxy with @p rules, and a pipe through it.
    FaultyPipe& start(const std::vector<std::string>& rules)
    {
        mPipe.reset();
        mProxy = std::make_unique<FaultyProxy>();
        for (const std::string& rule : rules) {
            mProxy->add(rule);
        }
        mPipe = std::make_unique<FaultyPipe>(mProxy.get());
        return *mPipe;
    }

    FaultyProxy& proxy() { return *mProxy; }
    FaultyPipe& pipe() { return *mPipe; }

    void clearRules()
    {
        mProxy->rules.clear();
        mPipe->followRules();
    }

private:
    std::unique_ptr<FaultyProxy> mProxy;
    std::unique_ptr<FaultyPipe> mPipe;
};

} // namespace proxy
