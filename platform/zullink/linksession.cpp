#include "zullink/linksession.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

/// Answers to pings that are written at once, so that other messages get their turn.
constexpr size_t kMaxPingsAtOnce = 256;

/// An output buffer that is larger is not kept once it is written, so that idle connections hold little.
constexpr size_t kMaxKeptBytes = 256;

/// The number of the ping that asks whether everything was read. Others have 0.
constexpr uint8_t kFinishPing = 1;

constexpr char kNotReading[] = "it does not read what is sent to it";

} // namespace

uint8_t LinkNumbers::next(const std::bitset<256>& own)
{
    for (int i = 0; i < 256; ++i) {
        if (mOutstanding[++mCurrMsgSeq] == 0) {
            return mCurrMsgSeq;
        }
    }
    do {
        ++mCurrMsgSeq;
    } while (own[mCurrMsgSeq]);
    return mCurrMsgSeq;
}

void LinkSession::connected(int64_t nowMs)
{
    ++mConnection;
    mConnected = true;
    mProblem.clear();
    mReader = WMsgReader();
    mHasReceived = false;
    mReading = true;
    mPausedMs = 0;
    mLastReceivedMs = nowMs;
    mPinged = false;
}

std::vector<LinkSession::AnswerHandler> LinkSession::drop(bool keepsMessages)
{
    mConnected = false;
    if (keepsMessages && !mPartialSend.empty()) {
        count(mPartialSend.front(), true);
        mQueue.splice(mQueue.begin(), mPartialSend);
        trim();
    }
    mPartialSend.clear();
    mOutput = {};
    mMessageInOutput = false;
    mWritten = 0;
    mPings = {};
    mPingDue = false;
    mFinish = eFinish::NOT_ASKED;

    std::vector<AnswerHandler> ended;
    for (Entry& entry : std::exchange(mOutstanding, {})) {
        release(entry.message.seq);
        ended.push_back(std::move(entry.handler));
    }
    for (Entry& entry : std::exchange(mQueue, {})) {
        if (keepsMessages && entry.kind != eKind::ANSWER) {
            mQueue.push_back(std::move(entry));
        } else {
            count(entry, false);
            ended.push_back(std::move(entry.handler));
        }
    }
    std::erase(ended, nullptr);
    return ended;
}

void LinkSession::abandon(const std::string& reason)
{
    if (mProblem.empty()) {
        mProblem = reason;
    }
}

bool LinkSession::read(std::span<const uint8_t>* bytes, int64_t nowMs, Received* received)
{
    if (!isSound() || bytes->empty()) {
        return false;
    }
    mLastReceivedMs = nowMs;
    mPinged = false;
    const uint8_t* data = bytes->data();
    size_t size = bytes->size();
    WMsg& message = received->message;
    WMsgReader::eResult result = WMsgReader::MORE;
    while ((result = mReader.read(&data, &size, nowMs - mPausedMs, &message)) == WMsgReader::MESSAGE) {
        mHasReceived = true;
        if (!message.control) {
            *bytes = {data, size};
            received->token = {mConnection, message.seq};
            received->handler = message.answer ? takeHandler(message.seq) : nullptr;
            return true;
        }
        if (message.type == wmsg::kControlPing) {
            readPing(message);
        }
    }
    *bytes = {};
    if (result == WMsgReader::BROKEN) {
        abandon(mSettings.brokenBytes + mReader.status().text());
    }
    return false;
}

void LinkSession::readPing(const WMsg& ping)
{
    if (ping.answer && ping.seq == kFinishPing && mFinish == eFinish::PINGED) {
        mFinish = eFinish::READ;
    } else if (!ping.answer && mPings.size() < kMaxPings) {
        mPings.push_back(ping.seq);
    }
}

void LinkSession::setReading(bool reading, int64_t nowMs)
{
    if (reading == mReading) {
        return;
    }
    mReading = reading;
    if (reading) {
        mPausedMs += nowMs - mPausedSinceMs;
        mLastReceivedMs = nowMs;
    } else {
        mPausedSinceMs = nowMs;
    }
}

/// Frees @p seq and takes its handler. Answers come in the order of the requests, so no earlier request will
/// be answered any more: frees the numbers of earlier requests without a handler.
LinkSession::AnswerHandler LinkSession::takeHandler(uint8_t seq)
{
    const auto answered = std::find_if(mOutstanding.begin(), mOutstanding.end(),
                                       [seq](const Entry& entry) { return entry.message.seq == seq; });
    if (answered == mOutstanding.end()) {
        ++mUnmatched;
        return nullptr;
    }
    AnswerHandler handler = std::exchange(answered->handler, nullptr);
    if (handler == nullptr) {
        ++mUnmatched;
    }
    const auto end = std::next(answered);
    for (auto entry = mOutstanding.begin(); entry != end;) {
        if (entry->handler == nullptr) {
            release(entry->message.seq);
            entry = mOutstanding.erase(entry);
        } else {
            ++entry;
        }
    }
    return handler;
}

void LinkSession::release(uint8_t seq)
{
    mTaken.reset(seq);
    mNumbers->release(seq);
}

void LinkSession::send(WMsg message)
{
    if (mConnected || mSettings.keepsMessages) {
        push({.message = std::move(message)});
    }
}

void LinkSession::answer(const ReplyToken& token, WMsg message)
{
    if (isSound() && token.connection == mConnection) {
        message.answer = true;
        message.seq = token.seq;
        push({.message = std::move(message), .kind = eKind::ANSWER, .numbered = true});
    }
}

uint64_t LinkSession::request(WMsg message, AnswerHandler handler)
{
    const auto queued = static_cast<size_t>(std::ranges::count(mQueue, eKind::REQUEST, &Entry::kind));
    if (mOutstanding.size() + queued >= kMaxOutstanding || (!mConnected && !mSettings.keepsMessages)) {
        return 0;
    }
    push({.message = std::move(message),
          .kind = eKind::REQUEST,
          .request = ++mLastRequest,
          .handler = std::move(handler)});
    return mLastRequest;
}

void LinkSession::giveUp(uint64_t request)
{
    if (request == 0) {
        return;
    }
    const auto outstanding = std::ranges::find(mOutstanding, request, &Entry::request);
    const auto queued = std::ranges::find(mQueue, request, &Entry::request);
    if (outstanding != mOutstanding.end()) {
        outstanding->handler = nullptr;
    } else if (queued != mQueue.end()) {
        count(*queued, false);
        mQueue.erase(queued);
    }
}

void LinkSession::count(const Entry& entry, bool added)
{
    const size_t cost = entry.message.payload.size() + sizeof(Entry);
    size_t& bytes = entry.kind == eKind::ANSWER ? mAnswerBytes : mQueueBytes;
    bytes = added ? bytes + cost : bytes - cost;
}

void LinkSession::push(Entry entry)
{
    if (!isSound() || isWriting() || !mQueue.empty()) {
        // It waits, so that the room left over by encoding would add up.
        entry.message.payload.shrink_to_fit();
    }
    count(entry, true);
    mQueue.push_back(std::move(entry));
    trim();
}

/// Keeps what this side originates within its bound.
void LinkSession::trim()
{
    if (!mSettings.keepsMessages && mQueueBytes + mOutput.size() - mWritten > mSettings.queueBytes) {
        abandon(kNotReading);
    }
    while (mSettings.keepsMessages && mQueueBytes > mSettings.queueBytes) {
        const auto oldest = std::ranges::find(mQueue, eKind::EVENT, &Entry::kind);
        if (oldest == mQueue.end()) {
            return;
        }
        count(*oldest, false);
        mQueue.erase(oldest);
        ++(mConnected ? mDropped.whileUp : mDropped.whileDown);
        ++mDroppedEvents;
    }
}

uint64_t LinkSession::waitingEvents() const
{
    return static_cast<uint64_t>(std::ranges::count(mQueue, eKind::EVENT, &Entry::kind)) +
           mPartialSend.size();
}

std::span<const uint8_t> LinkSession::output(int64_t nowMs)
{
    if (!isSound() || mFinish == eFinish::FINISHED) {
        return {};
    }
    if (!isWriting()) {
        fillOutput();
        mLastWrittenMs = nowMs;
    }
    return std::span<const uint8_t>(mOutput).subspan(mWritten);
}

void LinkSession::written(size_t size, int64_t nowMs)
{
    mWritten += size;
    mLastWrittenMs = nowMs;
    if (isWriting()) {
        return;
    }
    mWrittenMessages += std::exchange(mMessageInOutput, false) ? 1 : 0;
    mPartialSend.clear();
    mOutput.clear();
    if (mOutput.capacity() > kMaxKeptBytes) {
        mOutput = {};
    }
    mWritten = 0;
}

void LinkSession::fillOutput()
{
    if (std::exchange(mPingDue, false)) {
        WMsg::ping(false).appendFrames(mOutput);
    }
    fillPings();
    if (mQueue.empty()) {
        if (mFinish == eFinish::PING_DUE) {
            WMsg ping = WMsg::ping(false);
            ping.seq = kFinishPing;
            ping.appendFrames(mOutput);
            mFinish = eFinish::PINGED;
        }
        return;
    }
    Entry& entry = mQueue.front();
    count(entry, false);
    if (!std::exchange(entry.numbered, true)) {
        entry.message.seq = mNumbers->next(mTaken);
    }
    entry.message.appendFrames(mOutput);
    mMessageInOutput = true;
    if (entry.kind == eKind::REQUEST) {
        mTaken.set(entry.message.seq);
        mNumbers->acquire(entry.message.seq);
        entry.message.payload = {};
        mOutstanding.splice(mOutstanding.end(), mQueue, mQueue.begin());
    } else if (entry.kind == eKind::EVENT) {
        mPartialSend.splice(mPartialSend.end(), mQueue, mQueue.begin());
    } else {
        mQueue.pop_front();
    }
}

/// Appends answers to pings.
void LinkSession::fillPings()
{
    const size_t answered = std::min(mPings.size(), kMaxPingsAtOnce);
    for (size_t i = 0; i < answered; ++i) {
        WMsg answer = WMsg::ping(true);
        answer.seq = mPings[i];
        answer.appendFrames(mOutput);
    }
    mPings.erase(mPings.begin(), mPings.begin() + static_cast<std::ptrdiff_t>(answered));
    if (mPings.empty()) {
        mPings = {};
    }
}

bool LinkSession::finish(int64_t nowMs)
{
    if (isSound() && mFinish == eFinish::NOT_ASKED) {
        mFinish = eFinish::PING_DUE;
        mFinishMs = nowMs;
    } else if (mFinish == eFinish::READ && mQueue.empty() && !isWriting()) {
        mFinish = eFinish::FINISHED;
    }
    return mFinish == eFinish::FINISHED;
}

int64_t LinkSession::deadline() const
{
    if (!isSound()) {
        return kNever;
    }
    int64_t next = mFinish == eFinish::NOT_ASKED ? kNever : mFinishMs + mSettings.giveUpAfterMs;
    if (mReading) {
        const int64_t overdue = mReader.deadline();
        next = std::min({next, mLastReceivedMs + (mPinged ? mSettings.giveUpAfterMs : mSettings.pingAfterMs),
                         overdue == kNever ? kNever : overdue + mPausedMs});
    }
    return isWriting() ? std::min(next, mLastWrittenMs + mSettings.giveUpAfterMs) : next;
}

void LinkSession::checkTimes(int64_t nowMs)
{
    const int64_t idleMs = mReading ? nowMs - mLastReceivedMs : 0;
    if (!isSound()) {
        return;
    }
    if (!mPinged && idleMs >= mSettings.pingAfterMs) {
        mPinged = true;
        mPingDue = true;
    } else if (mPinged && idleMs >= mSettings.giveUpAfterMs) {
        abandon(mSettings.silent);
    }
    if (mReading && mReader.overdue(nowMs - mPausedMs)) {
        abandon("a message takes too long to arrive");
    }
    if (isWriting() && nowMs - mLastWrittenMs >= mSettings.giveUpAfterMs) {
        abandon(kNotReading);
    }
    if (mFinish != eFinish::NOT_ASKED && nowMs - mFinishMs >= mSettings.giveUpAfterMs) {
        abandon("it does not end the connection");
    }
}
