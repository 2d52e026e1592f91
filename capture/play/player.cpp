#include "capture/play/player.h"

#include <algorithm>
#include <boost/asio/steady_timer.hpp>
#include <utility>

#include "capture/diff/differenceline.h"
#include "zulcommand/jsontext.h"

namespace capture {

using zulcommand::JsonPtr;

namespace {

constexpr size_t kMaxStepBytes = 4096;

int64_t nowNs()
{
    using namespace std::chrono;
    return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

Player::Player(boost::asio::io_context* io, const Settings& settings, const Recording::Settings& recording)
    : mIo(*io), mSettings(settings), mRecordingSettings(recording), mPace(settings.pace), mComparer({})
{
    mRecordingSettings.withBytes = true;
}

void Player::stepBy(int fd)
{
    mInput = std::make_unique<zulconsole::LineInput>(mIo, fd, kMaxStepBytes);
    mInput->onLine = [this](const std::string&) { ++mSteps; };
    mInput->onError = [this](const std::string& reason) {
        onProblem("Cannot read the input: " + reason + '.');
    };
    mInput->onEnd = [this] {
        --mSteps; // what is behind the last line end is none
        mInputEnded = true;
    };
    mInput->start();
}

std::string Player::run(const std::string& path)
{
    std::string failure;
    for (uint32_t round = 0; round < mSettings.rounds && failure.empty() && !isEnded(); ++round) {
        mPace.begin();
        failure = playOnce(path);
        for (auto& [number, played] : mPlayed) {
            played.live->close();
        }
        mPlayed.clear();
    }
    return failure;
}

std::string Player::playOnce(const std::string& path)
{
    Recording recording(mRecordingSettings);
    recording.onProblem = onProblem;
    if (std::string failure = recording.open(path); !failure.empty()) {
        return failure;
    }
    mComparison = std::make_unique<Comparison>(MessageComparer::Tags{}, mRecordingSettings);
    mComparison->onDifference = [this](const Comparison::Difference& difference) {
        ++mTotals.differences;
        onDifference(differenceLine(difference, mComparer, mComparison->a().beginNs.value_or(0),
                                    mComparison->b().beginNs.value_or(0)));
    };
    std::string failure;
    for (RecordedItem item; failure.empty() && !isEnded() && recording.next(&item);) {
        failure = play(item);
    }
    mComparison->end();
    return failure.empty() ? recording.failure() : failure;
}

std::string Player::play(const RecordedItem& item)
{
    if (item.kind == RecordedItem::OPENED) {
        return open(item);
    }
    const auto found = mPlayed.find(item.connection->number);
    if (found == mPlayed.end()) {
        return "";
    }
    Played* const played = &found->second;
    if (item.kind == RecordedItem::CLOSED) {
        finish(item, played);
        played->live->close();
        mPlayed.erase(found);
    } else if (item.direction == mSettings.direction) {
        playOwn(item, played);
    } else if (item.kind == RecordedItem::MESSAGE && !item.message.control) {
        expect(item, played);
    }
    return "";
}

std::string Player::open(const RecordedItem& item)
{
    if (mSettings.direction == eDirection::TO_SERVER) {
        waitUntil(mPace.due(item.timeNs));
    }
    std::string failure;
    std::optional<Socket> socket = onConnect(&failure);
    if (!socket) {
        return failure;
    }
    const auto due = mPace.due(item.timeNs);
    mPace.delay(std::max(Pace::Clock::now() - due, Pace::Clock::duration(0)));
    ++mTotals.connections;
    Played* const played = &mPlayed[item.connection->number];
    played->live = std::make_shared<LiveConnection>(std::move(*socket));
    played->live->onMessage = [this, played, connection = item.connection](WMsg&& message) {
        heard(connection, played, std::move(message));
    };
    played->live->onDamaged = [this, connection = item.connection](uint64_t bytes) {
        tell("damaged", *connection, "bytes", bytes);
    };
    played->live->start();
    return "";
}

/// Plays what the played side did.
void Player::playOwn(const RecordedItem& item, Played* played)
{
    switch (item.kind) {
    case RecordedItem::BYTES:
        played->unsent.insert(played->unsent.end(), item.bytes.begin(), item.bytes.end());
        break;
    case RecordedItem::MESSAGE:
        sendMessage(item, played);
        break;
    case RecordedItem::DAMAGED:
        waitUntil(mPace.due(item.timeNs));
        send(item, item.end, played);
        break;
    case RecordedItem::ENDED:
        finish(item, played);
        played->live->endSending();
        break;
    case RecordedItem::RESET:
        finish(item, played);
        played->live->reset();
        break;
    default:
        break;
    }
}

void Player::sendMessage(const RecordedItem& item, Played* played)
{
    if (mPace.kind() == Pace::eKind::STEP) {
        waitFor([this] { return mSteps > 0 || mInputEnded; });
        if (isEnded()) {
            return;
        }
        --mSteps;
    }
    auto due = mPace.due(item.timeNs);
    waitUntil(due);
    if (mIsToldToEnd) {
        return;
    }
    const uint64_t before = played->liveMessages;
    if (mSettings.waitsForPeer) {
        awaitPeer(played);
    }
    awaitQuestion(item, played);
    if (played->liveMessages != before) {
        due = std::max(due, Pace::Clock::now()); // it had to wait for the other side
    }
    send(item, item.end, played);
    ++mTotals.messages;
    if (mPace.kind() == Pace::eKind::TIMED) {
        const auto late = std::max(Pace::Clock::now() - due, Pace::Clock::duration(0));
        mTotals.lateness.record(
            static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(late).count()));
    }
}

/// An answer waits until its question was asked.
void Player::awaitQuestion(const RecordedItem& item, Played* played)
{
    if (!item.question) {
        return;
    }
    const uint64_t number = item.question->number;
    const auto isAsked = [=] { return played->numbers.isAsked(number) || played->live->isOver(); };
    if (!waitFor(isAsked, Pace::Clock::now() + mSettings.patience)) {
        played->numbers.giveUp(number);
    }
    const std::optional<uint8_t> seq = played->numbers.take(number);
    if (seq) {
        renumberAnswer(&played->unsent, item.message.seq, *seq);
    }
}

/// Sends the recorded bytes up to @p end.
void Player::send(const RecordedItem& item, uint64_t end, Played* played)
{
    const size_t size = std::min<uint64_t>(end - std::min(end, played->sent), played->unsent.size());
    if (size > 0 && played->live->isOver() && !std::exchange(played->isCut, true)) {
        tell("closed", *item.connection, "unsent", size);
    }
    played->live->send(std::span(played->unsent).first(size));
    played->unsent.erase(played->unsent.begin(), played->unsent.begin() + static_cast<std::ptrdiff_t>(size));
    played->sent += size;
    mTotals.bytes += size;
    waitFor([played] { return played->live->isSent(); });
}

/// The played side sends no more.
void Player::finish(const RecordedItem& item, Played* played)
{
    waitUntil(mPace.due(item.timeNs));
    if (mIsToldToEnd) {
        return;
    }
    send(item, played->sent + played->unsent.size(), played);
    awaitPeer(played);
}

/// The other side said this in the recording.
void Player::expect(const RecordedItem& item, Played* played)
{
    ++played->recordedMessages;
    if (asks(item)) {
        played->numbers.addRecorded(item.number, item.message);
    }
    mComparison->add(&mComparison->a(), item);
}

/// The other side says @p message now.
void Player::heard(const std::shared_ptr<const Connection>& connection, Played* played, WMsg message)
{
    if (message.control) {
        return;
    }
    ++played->liveMessages;
    RecordedItem item;
    item.kind = RecordedItem::MESSAGE;
    item.direction = opposite(mSettings.direction);
    item.connection = connection;
    item.timeNs = nowNs();
    item.message = std::move(message);
    if (asks(item)) {
        played->numbers.addLive(item.message);
    }
    mComparison->add(&mComparison->b(), std::move(item));
}

/// Tells a difference that is not one of messages.
void Player::tell(const char* kind, const Connection& connection, const char* member, uint64_t value)
{
    ++mTotals.differences;
    const JsonPtr line(
        json_pack("{s:s, s:s, s:o, s:I}", "event", "difference", "kind", kind, "deviceSerial",
                  connection.deviceSerial ? json_integer(*connection.deviceSerial) : json_null(), member,
                  static_cast<json_int_t>(value)));
    onDifference(zulcommand::dumped(line));
}

/// Waits until the other side has said as much as it had in the recording.
void Player::awaitPeer(Played* played)
{
    const auto isSaid = [played] {
        return played->liveMessages >= played->recordedMessages || played->live->isOver();
    };
    if (!waitFor(isSaid, Pace::Clock::now() + mSettings.patience)) {
        played->recordedMessages = played->liveMessages;
    }
}

void Player::waitUntil(Pace::Clock::time_point time)
{
    waitFor([] { return false; }, time);
}

/// Serves the connections meanwhile. Returns false if it was not done @p until this time.
bool Player::waitFor(const std::function<bool()>& isDone, std::optional<Pace::Clock::time_point> until)
{
    mIo.restart();
    const auto isOver = std::make_shared<bool>(false); // the handler may be called later than this ends
    boost::asio::steady_timer timer(mIo);
    if (until) {
        timer.expires_at(*until);
        timer.async_wait([isOver](const boost::system::error_code&) { *isOver = true; });
    }
    while (!isDone() && !*isOver && !mIsToldToEnd && mIo.run_one() > 0) {
    }
    return isDone();
}

} // namespace capture
