#include "server/sessions/commandrunner.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "server/commands/commandparser.h"
#include "server/commands/expectation.h"
#include "zulobj/objectlist.h"

namespace server {

namespace {

const char* const kTooManyUnanswered = "The device has left 255 requests unanswered.";

/// The pause between an answer that is not as expected and the next request.
constexpr std::chrono::milliseconds kAskAgainPause(100);

/// True for a command that waits for something other than an answer.
bool isWait(Command::Kind kind)
{
    switch (kind) {
    case Command::Kind::WAIT_EVENT:
    case Command::Kind::WAIT_DEVICE:
    case Command::Kind::WAIT_DISCONNECTED:
    case Command::Kind::EXPECT_EVENT:
    case Command::Kind::EXPECT_NO_EVENT:
        return true;
    default:
        return false;
    }
}

Reply replyWith(const cObjectDevice& device)
{
    return {.objects = JsonPtr(json_pack("[o]", device.getJSONObj()))};
}

} // namespace

CommandRunner::CommandRunner(boost::asio::io_context& io, Console& console, DeviceSessions& monitor,
                             MessageLog& log)
    : mIo(io), mConsole(console), mMonitor(monitor), mLog(log), mTimer(io), mAskTimer(io)
{}

void CommandRunner::submit(const std::string& line)
{
    std::string text = trimmed(line);
    if (!isSkipped(text)) {
        mQueue.push_back(std::move(text));
        startNext();
    }
}

void CommandRunner::endOfCommands()
{
    mNoMore = true;
    startNext();
}

/// The event loop starts the next command, so that a thousand of them do not nest.
void CommandRunner::startNext()
{
    if (mStarting || mRun || mEnded) {
        return;
    }
    mStarting = true;
    boost::asio::post(mIo, [this] {
        mStarting = false;
        if (mEnded) {
            return;
        }
        if (!mQueue.empty()) {
            begin();
        } else if (mNoMore) {
            mEnded = true;
            onEnd();
        }
    });
}

void CommandRunner::begin()
{
    mRun = Run();
    mRun->id = ++mRuns;
    mRun->begun = Clock::now();
    mRun->text = std::move(mQueue.front());
    const bool wasFull = full();
    mQueue.pop_front();
    if (wasFull && !full()) {
        onSpaceAvailable();
    }
    if (mWatcher != nullptr) {
        mWatcher->commandBegun(mRun->text);
    }
    const std::string mistake = parseCommand(mRun->text, &mRun->command);
    if (!mistake.empty()) {
        fail(mistake);
        return;
    }
    const Command& command = mRun->command;
    mRun->filter = {command.device, command.objectType, command.conditions};
    wakeUp(&mTimer, std::chrono::duration<double>(command.seconds), &CommandRunner::timeUp);
    execute(command.kind);
}

void CommandRunner::execute(Command::Kind kind)
{
    switch (kind) {
    case Command::Kind::EXCHANGE:
    case Command::Kind::EXPECT_ANSWER:
        exchange();
        break;
    case Command::Kind::SEND:
        send();
        break;
    case Command::Kind::DROP:
        drop();
        break;
    case Command::Kind::HELP:
        mConsole.text(commandHelp());
        end(Reply());
        break;
    case Command::Kind::FORGET:
        mLog.clear();
        mMonitor.forgetEnded();
        end(Reply());
        break;
    case Command::Kind::CASE:
        end(Reply());
        break;
    case Command::Kind::QUIT:
        end(Reply());
        mEnded = true;
        onEnd();
        break;
    case Command::Kind::WAIT_EVENT:
    case Command::Kind::EXPECT_EVENT:
        lookForEvent();
        break;
    case Command::Kind::EXPECT_NO_EVENT:
        lookForUnwantedEvent();
        break;
    case Command::Kind::WAIT_DEVICE:
        lookForDevice();
        break;
    case Command::Kind::WAIT_DISCONNECTED:
        lookForEnded();
        break;
    case Command::Kind::SLEEP:
        break;
    }
}

/// The device that the running command means. If there is none, the command ends in an error.
DeviceSessions::SessionPtr CommandRunner::pickDevice()
{
    std::string problem;
    DeviceSessions::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
    if (!session) {
        fail(problem);
    }
    return session;
}

void CommandRunner::exchange()
{
    const DeviceSessions::SessionPtr session = pickDevice();
    WMsg message;
    if (!session || !encode(&message)) {
        return;
    }
    const uint64_t request = session->request(std::move(message), [this, id = mRun->id](const WMsg* answer) {
        if (mRun && mRun->id == id) {
            answered(answer);
        }
    });
    if (request == 0) {
        fail(kTooManyUnanswered);
        return;
    }
    mRun->session = session;
    mRun->request = request;
}

void CommandRunner::answered(const WMsg* answer)
{
    if (answer == nullptr) {
        fail("The device disconnected before it answered.");
        return;
    }
    mRun->session.reset();
    cObjectList list;
    const WStatus status = list.decode(*answer);
    const Command& command = mRun->command;
    if (!status.isOk()) {
        fail("The answer was not understood: " + status.text() + ".");
    } else if (command.kind == Command::Kind::EXCHANGE ||
               hasObject(*answer, *command.objectType, command.conditions)) {
        end(replyWith(list));
    } else {
        mRun->lastAnswer = replyWith(list);
        ++mRun->answers;
        wakeUp(&mAskTimer, kAskAgainPause, &CommandRunner::exchange);
    }
}

void CommandRunner::send()
{
    const DeviceSessions::SessionPtr session = pickDevice();
    WMsg message;
    if (!session || !encode(&message)) {
        return;
    }
    if (session->send(std::move(message))) {
        end(Reply());
    } else {
        fail(kTooManyUnanswered);
    }
}

void CommandRunner::drop()
{
    if (const DeviceSessions::SessionPtr session = pickDevice()) {
        session->drop();
        end(Reply());
    }
}

/// False when the command has been answered with an error.
bool CommandRunner::encode(WMsg* message)
{
    const Command& command = mRun->command;
    if (command.objectSerial) {
        message->type = command.msgType;
        WPayloadWriter writer(&message->payload);
        writer.beginObject(command.object->getType());
        writer.putNumber(TAG_DEVICE_SERIAL, *command.objectSerial);
        writer.endObject();
        return true;
    }
    cObjectList list;
    list.setMsgType(command.msgType);
    if (command.object) {
        list.addBorrowed(command.object.get());
    }
    const WStatus status = list.encode(message);
    if (!status.isOk()) {
        fail("The message cannot be sent: " + status.text() + ".");
    }
    return status.isOk();
}

void CommandRunner::monitorChanged()
{
    if (mRun && isWait(mRun->command.kind)) {
        execute(mRun->command.kind);
    }
}

void CommandRunner::lookForEvent()
{
    WMsg message;
    if (!mLog.take(mRun->filter, mRun->scannedUpTo, &message)) {
        mRun->scannedUpTo = mLog.added();
        return;
    }
    cObjectList list;
    const WStatus status = list.decode(message);
    if (status.isOk()) {
        end(replyWith(list));
    } else {
        fail("The message was not understood: " + status.text() + ".");
    }
}

void CommandRunner::lookForUnwantedEvent()
{
    const WMsg* message = mLog.find(mRun->filter, mRun->scannedUpTo);
    mRun->scannedUpTo = mLog.added();
    cObjectList list;
    if (message != nullptr && list.decode(*message).isOk()) {
        end(unwantedEvent(mRun->filter, &list));
    }
}

void CommandRunner::lookForDevice()
{
    const DeviceSessions::SessionPtr session = mMonitor.first(mRun->command.device);
    if (session) {
        end(replyWith(*session->device()));
    }
}

void CommandRunner::lookForEnded()
{
    const std::optional<DeviceSessions::Ended> ended = mMonitor.takeEnded(mRun->command.device);
    if (ended) {
        end(*ended ? replyWith(**ended) : Reply());
    }
}

/// Calls @p then for the running command, unless that ends before.
void CommandRunner::wakeUp(boost::asio::steady_timer* timer, std::chrono::duration<double> after,
                           void (CommandRunner::*then)())
{
    timer->expires_after(std::chrono::duration_cast<Clock::duration>(after));
    timer->async_wait([this, id = mRun->id, then](const boost::system::error_code& error) {
        // A cancelled wait may have been on its way already.
        if (!error && mRun && mRun->id == id) {
            (this->*then)();
        }
    });
}

void CommandRunner::timeUp()
{
    const double seconds = mRun->command.seconds;
    const auto timedOut = [this, seconds](const char* what) {
        fail(what + (" within " + secondsText(seconds)) + ".", Reply::Status::TIMEOUT);
    };
    switch (mRun->command.kind) {
    case Command::Kind::SLEEP:
    case Command::Kind::EXPECT_NO_EVENT:
        end(Reply());
        break;
    case Command::Kind::EXPECT_EVENT:
        end(missedEvent(mRun->filter, seconds, mLog));
        break;
    case Command::Kind::EXPECT_ANSWER:
        end(missedAnswer(mRun->filter, seconds, mRun->answers, std::move(mRun->lastAnswer)));
        break;
    case Command::Kind::WAIT_EVENT:
        timedOut("No such event came");
        break;
    case Command::Kind::WAIT_DEVICE:
        timedOut("No such device came");
        break;
    case Command::Kind::WAIT_DISCONNECTED:
        timedOut("No such connection ended");
        break;
    default:
        timedOut("The device did not answer");
    }
}

bool CommandRunner::runTimedOut()
{
    const bool running = isRunning();
    mTimedOut = true;
    mEnded = true;
    if (running) {
        fail("The time of the whole run is over.", Reply::Status::TIMEOUT);
    }
    return running;
}

void CommandRunner::end(Reply reply)
{
    mTimer.cancel();
    mAskTimer.cancel();
    if (const std::shared_ptr<DeviceSession> session = mRun->session.lock()) {
        session->giveUp(mRun->request);
    }
    const Reply::Status status = reply.status;
    mTimedOut = mTimedOut || status == Reply::Status::TIMEOUT;
    mFailed = mFailed || status == Reply::Status::ERROR;
    mExpectationFailed = mExpectationFailed || status == Reply::Status::FAILED;
    const std::string error = reply.error;
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    mConsole.line(replyLine(mRun->text, time.count(), std::move(reply)));
    if (mWatcher != nullptr) {
        mWatcher->commandDone(status, error, time.count());
    }
    mRun.reset();
    startNext();
}

void CommandRunner::fail(const std::string& sentence, Reply::Status status)
{
    end({.status = status, .error = sentence});
}

} // namespace server
