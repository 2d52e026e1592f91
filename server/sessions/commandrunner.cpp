#include "server/sessions/commandrunner.h"

#include <boost/asio/post.hpp>
#include <utility>

#include "server/commands/commandparser.h"
#include "server/commands/expectation.h"
#include "zulobj/objectlist.h"

namespace server {

namespace {

const char* const kTooManyUnanswered = "The device has left 255 requests unanswered.";

/// Between an answer that is not as expected and the next question.
constexpr std::chrono::milliseconds kAskAgain(100);

Reply replyWith(const cObjectDevice& device)
{
    Reply reply;
    reply.objects.reset(json_pack("[o]", device.getJSONObj()));
    return reply;
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

/// The next command begins from the event loop, so that a thousand of them don't pile up on the stack.
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
        endWithError(mistake);
        return;
    }
    const Command& command = mRun->command;
    mRun->filter = {command.device, command.objectType, command.conditions};
    switch (command.kind) {
    case Command::Kind::EXCHANGE:
    case Command::Kind::EXPECT_ANSWER:
        armTimer();
        exchange();
        break;
    case Command::Kind::SEND:
        send();
        break;
    case Command::Kind::WAIT_EVENT:
    case Command::Kind::WAIT_DEVICE:
    case Command::Kind::WAIT_DISCONNECTED:
    case Command::Kind::EXPECT_EVENT:
    case Command::Kind::EXPECT_NO_EVENT:
        armTimer();
        monitorChanged();
        break;
    case Command::Kind::SLEEP:
        armTimer();
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
    case Command::Kind::DROP:
        drop();
        break;
    case Command::Kind::CASE:
        end(Reply());
        break;
    case Command::Kind::QUIT:
        quit();
        break;
    }
}

void CommandRunner::exchange()
{
    std::string problem;
    const DeviceSessions::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
    if (!session) {
        endWithError(problem);
        return;
    }
    WMsg message;
    if (!encode(&message)) {
        return;
    }
    const uint64_t request = session->request(std::move(message), [this, id = mRun->id](const WMsg* answer) {
        if (mRun && mRun->id == id) {
            answered(answer);
        }
    });
    if (request == 0) {
        endWithError(kTooManyUnanswered);
        return;
    }
    mRun->session = session;
    mRun->request = request;
}

void CommandRunner::answered(const WMsg* answer)
{
    if (answer == nullptr) {
        endWithError("The device disconnected before it answered.");
        return;
    }
    mRun->session.reset();
    auto list = std::make_shared<cObjectList>();
    const WStatus status = list->decode(*answer);
    if (status.isOk()) {
        takeAnswer(std::move(list));
    } else {
        endWithError("The answer was not understood: " + status.text() + ".");
    }
}

void CommandRunner::takeAnswer(std::shared_ptr<cObjectList> answer)
{
    if (mRun->command.kind == Command::Kind::EXCHANGE || hasWanted(*answer, mRun->filter)) {
        end(replyWith(*answer));
        return;
    }
    mRun->lastAnswer = std::move(answer);
    ++mRun->answers;
    wakeUp(&mAskTimer, kAskAgain, &CommandRunner::exchange);
}

void CommandRunner::send()
{
    std::string problem;
    const DeviceSessions::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
    if (!session) {
        endWithError(problem);
        return;
    }
    WMsg message;
    if (!encode(&message)) {
        return;
    }
    if (session->send(std::move(message))) {
        end(Reply());
    } else {
        endWithError(kTooManyUnanswered);
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
        endWithError("The message cannot be sent: " + status.text() + ".");
    }
    return status.isOk();
}

void CommandRunner::monitorChanged()
{
    if (!mRun) {
        return;
    }
    switch (mRun->command.kind) {
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
    default:
        break;
    }
}

void CommandRunner::lookForEvent()
{
    WMsg message;
    if (!mLog.take(mRun->filter, mRun->looked, &message)) {
        mRun->looked = mLog.added();
        return;
    }
    cObjectList list;
    const WStatus status = list.decode(message);
    if (status.isOk()) {
        end(replyWith(list));
    } else {
        endWithError("The message was not understood: " + status.text() + ".");
    }
}

void CommandRunner::lookForUnwantedEvent()
{
    const WMsg* message = mLog.find(mRun->filter, mRun->looked);
    mRun->looked = mLog.added();
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

void CommandRunner::drop()
{
    std::string problem;
    const DeviceSessions::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
    if (session) {
        session->drop();
        end(Reply());
    } else {
        endWithError(problem);
    }
}

void CommandRunner::quit()
{
    end(Reply());
    mEnded = true;
    onEnd();
}

void CommandRunner::armTimer()
{
    wakeUp(&mTimer, std::chrono::duration<double>(mRun->command.seconds), &CommandRunner::timeUp);
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
    const std::string within = " within " + secondsText(seconds) + ".";
    switch (mRun->command.kind) {
    case Command::Kind::SLEEP:
    case Command::Kind::EXPECT_NO_EVENT:
        end(Reply());
        break;
    case Command::Kind::EXPECT_EVENT:
        end(missedEvent(mRun->filter, seconds, mLog));
        break;
    case Command::Kind::EXPECT_ANSWER:
        end(missedAnswer(mRun->filter, seconds, mRun->answers, mRun->lastAnswer.get()));
        break;
    case Command::Kind::WAIT_EVENT:
        endWithTimeout("No such event came" + within);
        break;
    case Command::Kind::WAIT_DEVICE:
        endWithTimeout("No such device came" + within);
        break;
    case Command::Kind::WAIT_DISCONNECTED:
        endWithTimeout("No such connection ended" + within);
        break;
    default:
        endWithTimeout("The device did not answer" + within);
    }
}

bool CommandRunner::runTimedOut()
{
    const bool running = isRunning();
    mTimedOut = true;
    mEnded = true;
    if (running) {
        endWithTimeout("The time of the whole run is over.");
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

void CommandRunner::endWithError(const std::string& sentence)
{
    Reply reply;
    reply.status = Reply::Status::ERROR;
    reply.error = sentence;
    end(std::move(reply));
}

void CommandRunner::endWithTimeout(const std::string& sentence)
{
    Reply reply;
    reply.status = Reply::Status::TIMEOUT;
    reply.error = sentence;
    end(std::move(reply));
}

} // namespace server
