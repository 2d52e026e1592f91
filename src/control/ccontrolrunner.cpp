#include "ccontrolrunner.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <iostream>

#include "ccontrolled.h"
#include "cdevice.h"
#include "scriptevent.h"
#include "zulcommand/controlactions.h"
#include "zulcommand/controllines.h"

using namespace zulcommand;

namespace {

using Kind = sControlCommand::Kind;

/// How long a script may take to begin, in seconds.
constexpr double kScriptSeconds = 10.0;

QString pathOf(const std::string& text) { return QFileInfo(QString::fromStdString(text)).absoluteFilePath(); }

std::string unreadable(const char* kind, const std::string& path)
{
    return std::string("The ") + kind + " file " + quote(path) + " could not be opened.";
}

} // namespace

cControlRunner::cControlRunner(cControlled* controlled) : mControlled(controlled)
{
    mTimer.setSingleShot(true);
    mTimer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&mTimer, &QTimer::timeout, [this] { timeUp(); });
}

void cControlRunner::begin(std::string text)
{
    mRun.emplace(std::move(text));
    mBeginning = true;
    const std::string mistake = parseControlCommand(mRun->text, &mRun->command);
    if (mistake.empty()) {
        execute();
    } else {
        endWith(mistake);
    }
    mBeginning = false;
    if (mRun) {
        const double seconds = mRun->command.kind == Kind::SCRIPT ? kScriptSeconds : mRun->command.seconds;
        mTimer.start(static_cast<int>(std::ceil(seconds * 1000.0)));
    }
}

void cControlRunner::execute()
{
    cDevice& device = *mControlled->device();
    const sControlCommand& command = mRun->command;
    switch (command.kind) {
    case Kind::GET:
        return end(get());
    case Kind::GET_LINK:
        return end({.members = JsonPtr(
                        json_pack("{s:o}", "link", controllines::linkMember(device.linkState()).release()))});
    case Kind::GET_SCENARIO:
        return end(
            {.members = JsonPtr(json_pack("{s:o}", "scenario", mControlled->scenarioMember().release()))});
    case Kind::SET_DIGITAL:
    case Kind::SET_ANALOG:
    case Kind::SCAN:
    case Kind::ADHOC:
    case Kind::WIRE:
    case Kind::UNWIRE:
        return endWith(controlactions::act(command, device));
    case Kind::CONNECT:
        return connect();
    case Kind::DISCONNECT:
        device.disconnectLink();
        return end({});
    case Kind::LOAD:
        return endWith(QFileInfo(pathOf(command.texts[0])).isFile() &&
                               mControlled->replaceDevice(pathOf(command.texts[0]))
                           ? ""
                           : unreadable("device", command.texts[0]));
    case Kind::SCRIPT:
        return startScript();
    case Kind::SCENARIO:
        return endWith(mControlled->playScenario(command.texts[0]));
    case Kind::FORGET:
        mLog.clear();
        return end({});
    case Kind::HELP:
        std::cerr << controlHelp() << std::flush;
        return end({.members = JsonPtr(json_pack("{s:o}", "text", textOf(controlHelp())))});
    case Kind::QUIT:
        end({});
        dropWaiting();
        return onQuit();
    default: // what waits
        return look();
    }
}

void cControlRunner::look()
{
    switch (mRun->command.kind) {
    case Kind::EXPECT_GET:
        return expectGet();
    case Kind::EXPECT_EVENT:
    case Kind::EXPECT_NO_EVENT:
        return lookForEvent();
    case Kind::CONNECT:
    case Kind::WAIT_LINK_UP:
    case Kind::WAIT_LINK_DOWN:
        return checkLink();
    case Kind::WAIT_SCRIPTS:
        return mControlled->runningScripts() == 0 ? end({}) : void();
    default:
        return;
    }
}

void cControlRunner::update()
{
    // A command that begins looks by itself.
    if (mRun && !mBeginning) {
        look();
    }
}

cControlRunner::Reply cControlRunner::get() const
{
    Reply reply;
    reply.error = controlactions::get(mRun->command, *mControlled->device(), reply.objects.get());
    reply.status = reply.error.empty() ? Reply::Status::OK : Reply::Status::ERROR;
    return reply;
}

void cControlRunner::expectGet()
{
    Reply reply = get();
    const json_t* objects = reply.objects.get();
    size_t index = 0;
    json_t* object = nullptr;
    bool holds = reply.status != Reply::Status::OK; // then the reply says why
    json_array_foreach(objects, index, object)
    {
        holds = holds || allHold(mRun->command.filter.conditions, object);
    }
    if (holds) {
        end(reply);
    } else {
        mRun->lastAnswer = std::move(reply);
        ++mRun->answers;
    }
}

void cControlRunner::lookForEvent()
{
    const MessageLog::Filter& filter = mRun->command.filter;
    const auto reply = mRun->command.kind == Kind::EXPECT_EVENT ? mRun->search.takeEvent(filter, &mLog)
                                                                : mRun->search.findUnwanted(filter, mLog);
    if (reply) {
        end(*reply);
    }
}

void cControlRunner::checkLink()
{
    const bool isUp = mControlled->device()->linkState().state == sLinkState::UP;
    if (isUp != (mRun->command.kind == Kind::WAIT_LINK_DOWN)) {
        end({});
    }
}

void cControlRunner::connect()
{
    const auto& server = mRun->command.server;
    const sLinkState state = mControlled->device()->linkState();
    const bool stays = state.state == sLinkState::UP && (!server || toText(*server) == state.server);
    if (stays || mControlled->connectTo(server)) {
        checkLink();
    } else {
        endWith("No server is known: the command needs HOST:PORT.");
    }
}

void cControlRunner::startScript()
{
    const std::vector<std::string>& texts = mRun->command.texts;
    QStringList arguments;
    std::for_each(texts.begin() + 1, texts.end(),
                  [&](const std::string& text) { arguments.append(QString::fromStdString(text)); });
    const std::optional<uint64_t> number = mControlled->runScript(pathOf(texts[0]), arguments);
    if (!number) {
        endWith(unreadable("script", texts[0]));
    } else if (*number == 0) {
        endWith("The system refuses a thread for the script.");
    } else {
        mRun->script = *number;
    }
}

void cControlRunner::setReceived(WMsg message)
{
    mLog.add(0, std::move(message));
    update();
}

void cControlRunner::scriptChanged(const sScriptEvent& event)
{
    if (!mRun || mBeginning || mRun->command.kind != Kind::SCRIPT || mRun->script != event.script) {
        update();
    } else if (event.state == sScriptEvent::STARTED) {
        end({});
    } else {
        const std::string place = event.line > 0 ? "Line " + std::to_string(event.line) + ": " : "";
        const std::string error = event.error.toStdString();
        end({.status = Reply::Status::FAILED,
             .error = place + (error.empty() ? "The script was stopped before it began." : error),
             .members = JsonPtr(event.line > 0 ? json_pack("{s:i}", "line", event.line) : nullptr)});
    }
}

void cControlRunner::timeUp()
{
    const MessageLog::Filter& filter = mRun->command.filter;
    const double seconds = mRun->command.seconds;
    const auto failed = [](Reply::Status status, const std::string& sentence) {
        return Reply{.status = status, .error = sentence};
    };
    const std::string within = " within " + secondsText(seconds) + ".";
    switch (mRun->command.kind) {
    case Kind::EXPECT_GET:
        return end(missedAnswer(filter, seconds, mRun->answers, std::move(mRun->lastAnswer)));
    case Kind::EXPECT_EVENT:
        return end(missedEvent(filter, seconds, mLog, controllines::setMessageLine));
    case Kind::CONNECT:
        return end(failed(Reply::Status::FAILED, "The link did not come up" + within));
    case Kind::WAIT_LINK_UP:
        return end(failed(Reply::Status::TIMEOUT, "The link did not come up" + within));
    case Kind::WAIT_LINK_DOWN:
        return end(failed(Reply::Status::TIMEOUT, "The link did not go down" + within));
    case Kind::WAIT_SCRIPTS:
        return end(failed(Reply::Status::TIMEOUT, "The scripts did not end" + within));
    case Kind::SCRIPT:
        return end(failed(Reply::Status::TIMEOUT,
                          "The script did not begin within " + secondsText(kScriptSeconds) + "."));
    default: // a sleep, or an event that was not to come
        return end({});
    }
}

void cControlRunner::endWith(const std::string& error)
{
    end({.status = error.empty() ? Reply::Status::OK : Reply::Status::ERROR, .error = error});
}

void cControlRunner::end(const Reply& reply)
{
    mTimer.stop();
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    onReply(replyLine(mRun->text, time.count(), reply));
    mRun.reset();
    if (!mBeginning) {
        onReady();
    }
}
