#include "server/sessions/commandrunner.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

#include "server/io/jsonline.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/expectation.h"

namespace server {

using namespace zulcommand;

namespace {

const char* const kTooManyUnanswered = "The device has left 255 requests unanswered.";

/// The pause between an answer that is not as expected and the next request.
constexpr std::chrono::milliseconds kAskAgainPause(100);

Reply replyWithDevice(const cObjectDevice& device)
{
    return {.objects = JsonPtr(json_pack("[o]", device.getJSONObj()))};
}

} // namespace

CommandRunner::CommandRunner(boost::asio::io_context& io, zulconsole::Console& console,
                             DeviceSessions& sessions)
    : mIo(io), mConsole(console), mSessions(sessions), mTimer(io), mAskTimer(io)
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
    const bool wasFull = full();
    mRun.emplace(++mRuns, std::move(mQueue.front()));
    mQueue.pop_front();
    if (wasFull && !full()) {
        onSpaceAvailable();
    }
    onBegin(mRun->text);
    const std::string mistake = parseCommand(mRun->text, &mRun->command);
    if (!mistake.empty()) {
        fail(mistake);
        return;
    }
    wakeUp(&mTimer, std::chrono::duration<double>(mRun->command.seconds), &CommandRunner::timeUp);
    execute();
}

void CommandRunner::execute()
{
    switch (mRun->command.kind) {
    case Command::Kind::EXCHANGE:
        return mRun->command.everyDevice ? askAll() : exchange();
    case Command::Kind::EXPECT_ANSWER:
        return exchange();
    case Command::Kind::SEND:
        return send();
    case Command::Kind::DROP:
        if (const DeviceSessions::SessionPtr session = pickDevice()) {
            session->drop();
            end({});
        }
        return;
    case Command::Kind::DEVICES:
        return end(counts());
    case Command::Kind::HELP:
        mConsole.text(commandHelp());
        return end({.members = JsonPtr(json_pack("{s:o}", "text", textOf(commandHelp())))});
    case Command::Kind::FORGET:
        mSessions.forget();
        return end({});
    case Command::Kind::CASE:
        return end({});
    case Command::Kind::QUIT:
        end({});
        mEnded = true;
        return onEnd();
    default:
        return sessionsChanged();
    }
}

void CommandRunner::sessionsChanged()
{
    if (!mRun) {
        return;
    }
    switch (mRun->command.kind) {
    case Command::Kind::WAIT_EVENT:
    case Command::Kind::EXPECT_EVENT:
        return lookForEvent();
    case Command::Kind::EXPECT_NO_EVENT:
        return lookForUnwantedEvent();
    case Command::Kind::WAIT_DEVICE:
        if (const auto found = mSessions.matching(mRun->command.filter, 1); !found.empty()) {
            end(replyWithDevice(*found.front()->device()));
        }
        return;
    case Command::Kind::WAIT_DISCONNECTED:
        return lookForEnd();
    default:
        return;
    }
}

void CommandRunner::lookForEnd()
{
    if (const auto ended = mSessions.takeEnded(mRun->command.filter, mRun->endedUpTo)) {
        end(ended->device ? replyWithDevice(*ended->device) : Reply());
    } else {
        mRun->endedUpTo = mSessions.ended();
    }
}

Reply CommandRunner::counts()
{
    const DeviceSessions::Counts counts = mSessions.counts();
    return {.members = JsonPtr(
                json_pack("{s:I, s:I, s:f, s:f}", "connected", static_cast<json_int_t>(counts.connected),
                          "identified", static_cast<json_int_t>(counts.identified), "connectsPerSecond",
                          counts.connectsPerSecond, "messagesPerSecond", counts.messagesPerSecond))};
}

/// The only device that the running command can mean. If there is none, the command ends in an error.
DeviceSessions::SessionPtr CommandRunner::pickDevice()
{
    const MessageLog::Filter& filter = mRun->command.filter;
    const std::vector<DeviceSessions::SessionPtr> found = mSessions.matching(filter, 2);
    if (found.size() == 1) {
        return found.front();
    }
    const std::string which =
        (filter.deviceSerial ? " with the serial " + std::to_string(*filter.deviceSerial) : "") +
        (filter.peer ? " at " + *filter.peer : "");
    if (found.empty()) {
        fail("No device" + which + " is connected.");
    } else {
        fail("Several devices" + which + " are connected" +
             (which.empty() ? ": pick one with device=SERIAL." : "."));
    }
    return nullptr;
}

void CommandRunner::exchange()
{
    const DeviceSessions::SessionPtr session = pickDevice();
    if (!session) {
        return;
    }
    mRun->request = session->request(mRun->command.message, [this, id = mRun->id](const WMsg* answer) {
        if (mRun && mRun->id == id) {
            answered(answer);
        }
    });
    if (mRun->request == 0) {
        fail(kTooManyUnanswered);
    } else {
        mRun->session = session;
    }
}

void CommandRunner::answered(const WMsg* answer)
{
    mRun->session.reset();
    if (answer == nullptr) {
        fail("The device disconnected before it answered.");
        return;
    }
    Reply reply = replyWith(*answer);
    const MessageLog::Filter& filter = mRun->command.filter;
    if (reply.status != Reply::Status::OK || mRun->command.kind == Command::Kind::EXCHANGE ||
        hasObject(*answer, *filter.objectType, filter.conditions)) {
        end(reply);
    } else {
        mRun->lastAnswer = std::move(reply);
        ++mRun->answers;
        wakeUp(&mAskTimer, kAskAgainPause, &CommandRunner::exchange);
    }
}

void CommandRunner::askAll()
{
    const std::vector<DeviceSessions::SessionPtr> devices = mSessions.matching({});
    if (devices.empty()) {
        return fail("No device is connected.");
    }
    mRun->round.ask(devices, mRun->command.message,
                    [this, id = mRun->id](const DeviceSession& session, const WMsg* answer) {
                        if (mRun && mRun->id == id) {
                            answeredOne(session, answer);
                        }
                    });
    endRoundIfOver();
}

/// Counts the answer of one of all devices, and prints it.
void CommandRunner::answeredOne(const DeviceSession& session, const WMsg* answer)
{
    cObjectList list;
    const bool understood = answer != nullptr && list.decode(*answer).isOk();
    mRun->round.count(understood);
    if (understood && mConsole.shows("answer")) {
        mConsole.line(answerLine(session.peer(), session.device()->getDeviceSerial(), list));
    }
    endRoundIfOver();
}

void CommandRunner::endRoundIfOver()
{
    if (mRun->round.isOver()) {
        end(mRun->round.reply(mRun->command.seconds));
    }
}

void CommandRunner::send()
{
    const DeviceSessions::SessionPtr session = pickDevice();
    if (session && session->send(mRun->command.message)) {
        end({});
    } else if (session) {
        fail(kTooManyUnanswered);
    }
}

void CommandRunner::lookForEvent()
{
    if (const auto reply = mRun->search.takeEvent(mRun->command.filter, &mSessions.log())) {
        end(*reply);
    }
}

void CommandRunner::lookForUnwantedEvent()
{
    if (const auto reply = mRun->search.findUnwanted(mRun->command.filter, mSessions.log())) {
        end(*reply);
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
    const MessageLog::Filter& filter = mRun->command.filter;
    const double seconds = mRun->command.seconds;
    const auto timedOut = [this](const char* what) {
        fail(what + (" within " + secondsText(mRun->command.seconds)) + ".", Reply::Status::TIMEOUT);
    };
    switch (mRun->command.kind) {
    case Command::Kind::SLEEP:
    case Command::Kind::EXPECT_NO_EVENT:
        return end({});
    case Command::Kind::EXPECT_EVENT:
        return end(missedEvent(filter, seconds, mSessions.log(), messageLine));
    case Command::Kind::EXPECT_ANSWER:
        return end(missedAnswer(filter, seconds, mRun->answers, std::move(mRun->lastAnswer)));
    case Command::Kind::WAIT_EVENT:
        return timedOut("No such event came");
    case Command::Kind::WAIT_DEVICE:
        return timedOut("No such device came");
    case Command::Kind::WAIT_DISCONNECTED:
        return timedOut("No such connection ended");
    default:
        return mRun->command.everyDevice ? end(mRun->round.reply(seconds))
                                         : timedOut("The device did not answer");
    }
}

bool CommandRunner::runTimedOut()
{
    const bool running = isRunning();
    mWorst = std::max(mWorst, Reply::Status::TIMEOUT);
    mEnded = true;
    if (running) {
        fail("The time of the whole run is over.", Reply::Status::TIMEOUT);
    }
    return running;
}

void CommandRunner::end(const Reply& reply)
{
    mTimer.cancel();
    mAskTimer.cancel();
    if (const std::shared_ptr<DeviceSession> session = mRun->session.lock()) {
        session->giveUp(mRun->request);
    }
    mWorst = std::max(mWorst, reply.status);
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    mConsole.line(replyLine(mRun->text, time.count(), reply));
    onReply(reply, time.count());
    mRun.reset();
    startNext();
}

void CommandRunner::fail(const std::string& sentence, Reply::Status status)
{
    Reply reply{.status = status, .error = sentence};
    if (mRun->command.everyDevice) {
        reply.members = mRun->round.reply(mRun->command.seconds).members;
    }
    end(reply);
}

} // namespace server
