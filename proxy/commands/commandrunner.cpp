#include "proxy/commands/commandrunner.h"

#include <algorithm>
#include <utility>

#include "proxy/faults/faultline.h"
#include "zulcommand/expectation.h"

namespace proxy {

using namespace zulcommand;
using Kind = Command::Kind;

namespace {

Reply errorReply(const std::string& sentence) { return {.status = Reply::Status::ERROR, .error = sentence}; }

/// A reply with the member @p name, which takes @p value over.
Reply replyWithMember(const char* name, json_t* value)
{
    return {.members = JsonPtr(json_pack("{s:o}", name, value))};
}

std::string othersText(size_t number)
{
    return std::to_string(number) + (number == 1 ? " other came instead." : " others came instead.");
}

json_t* count(uint64_t number) { return json_integer(static_cast<json_int_t>(number)); }

} // namespace

CommandRunner::CommandRunner(boost::asio::io_context& io, ProxyControl& proxy, FaultLog& faults)
    : mProxy(proxy), mFaults(faults), mTimer(io)
{
    mFaults.listen(this);
}

CommandRunner::~CommandRunner() { mFaults.ignore(this); }

void CommandRunner::begin(std::string text)
{
    mRun.emplace(std::move(text));
    const std::string mistake = parseCommand(mRun->text, &mRun->command);
    if (mistake.empty()) {
        execute();
    } else {
        end(errorReply(mistake));
    }
}

void CommandRunner::execute()
{
    switch (mRun->command.kind) {
    case Kind::RULE_ADD:
        return end(addRule());
    case Kind::RULE_LIST:
        return end(listRules());
    case Kind::RULE_CLEAR:
        return end(clearRules());
    case Kind::CONNECTIONS:
        return end(replyWithMember("connections", mProxy.connections().release()));
    case Kind::CONNECTION_FAULT:
        return end(act());
    case Kind::FORGET:
        mFaults.clear();
        return end({});
    case Kind::HELP:
        onHelp(commandHelp());
        return end(replyWithMember("text", textOf(commandHelp())));
    case Kind::QUIT:
        end({});
        dropWaiting();
        return onQuit();
    case Kind::EXPECT_FAULT:
    case Kind::SLEEP:
        return look();
    }
}

CommandRunner::Reply CommandRunner::addRule()
{
    if (mProxy.rules().size() >= RuleSet::kMaxRules) {
        return errorReply("There are " + std::to_string(RuleSet::kMaxRules) +
                          " rules, and no room for more.");
    }
    return replyWithMember("rule", count(mProxy.addRule(std::move(mRun->command.rule))));
}

CommandRunner::Reply CommandRunner::listRules() const
{
    JsonPtr list(json_array());
    for (const RulePtr& rule : mProxy.rules()) {
        json_array_append_new(list.get(), json_pack("{s:o, s:o, s:o, s:o}", "rule", count(rule->number),
                                                    "text", textOf(rule->rule.text), "matched",
                                                    count(rule->matched), "injected", count(rule->injected)));
    }
    return replyWithMember("rules", list.release());
}

CommandRunner::Reply CommandRunner::clearRules()
{
    const std::optional<uint32_t> number = mRun->command.number;
    if (!number) {
        mProxy.clearRules();
    } else if (!mProxy.clearRule(*number)) {
        return errorReply("There is no rule " + std::to_string(*number) + ".");
    }
    return {};
}

CommandRunner::Reply CommandRunner::act()
{
    const Command& command = mRun->command;
    const size_t hit = mProxy.command(command.fault, command.deviceSerial);
    if (hit == 0 && command.deviceSerial) {
        return errorReply("There is no connection of device " + std::to_string(*command.deviceSerial) + ".");
    }
    return replyWithMember("connections", count(hit));
}

/// The reply if the fault that was expected did not come: it has the latest faults instead.
CommandRunner::Reply CommandRunner::missed() const
{
    const Command& command = mRun->command;
    const auto& all = mFaults.all();
    Reply reply{.status = Reply::Status::FAILED,
                .error = "No such fault " + quote(nameOf(command.wanted.kind)) + " came within " +
                         secondsText(command.seconds) +
                         (all.empty() ? "; nothing else came." : "; " + othersText(all.size())),
                .received = JsonPtr(json_array())};
    for (size_t i = all.size() - std::min(all.size(), kMaxInstead); i < all.size(); ++i) {
        json_array_append_new(reply.received.get(), faultLine(all[i].fault).release());
    }
    return reply;
}

void CommandRunner::look()
{
    const Command& command = mRun->command;
    const bool expects = command.kind == Kind::EXPECT_FAULT;
    if (expects) {
        if (const std::optional<Fault> fault = mFaults.take(command.wanted, &mRun->scannedUpTo)) {
            return end(replyWithMember("fault", faultLine(*fault).release()));
        }
    }
    const auto over = mRun->begun + std::chrono::duration_cast<Clock::duration>(
                                        std::chrono::duration<double>(command.seconds));
    if (Clock::now() < over) {
        return wakeUp(over);
    }
    end(expects ? missed() : Reply());
}

void CommandRunner::faultAdded()
{
    if (mRun && mRun->command.kind == Kind::EXPECT_FAULT && !mLooking) {
        mLooking = true;
        wakeUp(Clock::now());
    }
}

/// Has the event loop look at @p when, and not before.
void CommandRunner::wakeUp(Clock::time_point when)
{
    mTimer.expires_at(when);
    mTimer.async_wait([this, number = ++mWait, alive = std::weak_ptr(mAlive)](const auto&) {
        if (alive.expired() || number != mWait) {
            return;
        }
        mLooking = false;
        look();
        if (!mRun) {
            onReady();
        }
    });
}

void CommandRunner::end(const Reply& reply)
{
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    onReply(replyLine(mRun->text, time.count(), reply));
    mRun.reset();
    ++mWait;
    mLooking = false;
}

} // namespace proxy
