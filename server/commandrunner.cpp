#include "server/commandrunner.h"

#include <asio/post.hpp>
#include <sstream>
#include <utility>

#include "server/commandparser.h"
#include "zulobj/objectlist.h"

namespace server {

namespace {

const char* const kTooManyUnanswered = "The device has left 255 requests unanswered.";

std::string secondsText(double seconds)
{
    std::ostringstream text;
    text << seconds << (seconds == 1.0 ? " second" : " seconds");
    return text.str();
}

Reply replyWith(const cObjectList& list)
{
    Reply reply;
    reply.msgType = list.getMsgType();
    reply.objects = objectsOf(list);
    return reply;
}

} // namespace

CommandRunner::CommandRunner(asio::io_context& io, Console& console, Monitor& monitor, MessageLog& log)
    : mIo(io), mConsole(console), mMonitor(monitor), mLog(log), mTimer(io)
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
    asio::post(mIo, [this] {
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
        onRoom();
    }
    const std::string mistake = parseCommand(mRun->text, &mRun->command);
    if (!mistake.empty()) {
        endWithError(mistake);
        return;
    }
    switch (mRun->command.kind) {
    case Command::Kind::EXCHANGE:
        exchange();
        break;
    case Command::Kind::SEND:
        send();
        break;
    case Command::Kind::WAIT_EVENT:
    case Command::Kind::WAIT_DEVICE:
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
    case Command::Kind::QUIT:
        quit();
        break;
    }
}

void CommandRunner::exchange()
{
    std::string problem;
    const Monitor::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
    if (!session) {
        endWithError(problem);
        return;
    }
    WMsg message;
    if (!encode(&message)) {
        return;
    }
    const std::optional<uint8_t> seq =
        session->request(std::move(message), [this, id = mRun->id](const WMsg* answer) {
            if (mRun && mRun->id == id) {
                answered(answer);
            }
        });
    if (!seq) {
        endWithError(kTooManyUnanswered);
        return;
    }
    mRun->session = session;
    mRun->seq = *seq;
    armTimer();
}

void CommandRunner::answered(const WMsg* answer)
{
    if (answer == nullptr) {
        endWithError("The device disconnected before it answered.");
        return;
    }
    cObjectList list;
    const WStatus status = list.decode(*answer);
    if (!status.isOk()) {
        endWithError("The answer was not understood: " + status.text() + ".");
        return;
    }
    end(replyWith(list));
}

void CommandRunner::send()
{
    std::string problem;
    const Monitor::SessionPtr session = mMonitor.pick(mRun->command.device, &problem);
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
    cObjectList list;
    list.setMsgType(mRun->command.msgType);
    if (mRun->command.object) {
        list.addBorrowed(mRun->command.object.get());
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
    if (mRun->command.kind == Command::Kind::WAIT_EVENT) {
        lookForEvent();
    } else if (mRun->command.kind == Command::Kind::WAIT_DEVICE) {
        lookForDevice();
    }
}

void CommandRunner::lookForEvent()
{
    WMsg message;
    const MessageLog::Filter filter{mRun->command.device, mRun->command.objectType};
    if (!mLog.take(filter, mRun->looked, &message)) {
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

void CommandRunner::lookForDevice()
{
    const Monitor::SessionPtr session = mMonitor.first(mRun->command.device);
    if (session) {
        Reply reply;
        reply.objects.reset(json_pack("[o]", session->device()->getJSONObj()));
        end(std::move(reply));
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
    const std::chrono::duration<double> time(mRun->command.seconds);
    mTimer.expires_after(std::chrono::duration_cast<Clock::duration>(time));
    mTimer.async_wait([this, id = mRun->id](const asio::error_code& error) {
        // A cancelled wait may have been on its way already.
        if (!error && mRun && mRun->id == id) {
            timeUp();
        }
    });
}

void CommandRunner::timeUp()
{
    const std::string within = " within " + secondsText(mRun->command.seconds) + ".";
    switch (mRun->command.kind) {
    case Command::Kind::SLEEP:
        end(Reply());
        break;
    case Command::Kind::WAIT_EVENT:
        endWithTimeout("No such event came" + within);
        break;
    case Command::Kind::WAIT_DEVICE:
        endWithTimeout("No such device came" + within);
        break;
    default:
        endWithTimeout("The device did not answer" + within);
    }
}

void CommandRunner::runTimedOut()
{
    mTimedOut = true;
    if (mRun) {
        endWithTimeout("The time of the whole run is over.");
    }
    mEnded = true;
}

void CommandRunner::end(Reply reply)
{
    mTimer.cancel();
    mTimedOut = mTimedOut || reply.status == Reply::Status::TIMEOUT;
    mFailed = mFailed || reply.status == Reply::Status::ERROR;
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    mConsole.line(replyLine(mRun->text, time.count(), std::move(reply)));
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
    if (const std::shared_ptr<DeviceSession> session = mRun->session.lock()) {
        session->giveUp(mRun->seq);
    }
    Reply reply;
    reply.status = Reply::Status::TIMEOUT;
    reply.error = sentence;
    end(std::move(reply));
}

} // namespace server
