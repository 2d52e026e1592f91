#include "fleet/control/controlrunner.h"

#include <algorithm>
#include <iostream>

#include "fleet/control/steereddevice.h"
#include "zulcommand/controlactions.h"
#include "zulcommand/controllines.h"

namespace fleet {

using namespace zulcommand;
using Kind = sControlCommand::Kind;

namespace {

/// A command that waits checks its condition at this interval.
constexpr auto kLookEvery = std::chrono::milliseconds(10);

bool actsOnDevices(Kind kind)
{
    constexpr Kind kOthers[] = {Kind::FORGET,   Kind::SLEEP, Kind::HELP,         Kind::QUIT,
                                Kind::SCENARIO, Kind::LOAD,  Kind::EXPECT_EVENT, Kind::EXPECT_NO_EVENT};
    return std::ranges::find(kOthers, kind) == std::end(kOthers);
}

/// What a fleet does not do; null if it does.
const char* refusal(const sControlCommand& command)
{
    switch (command.kind) {
    case Kind::LOAD:
        return "A fleet takes no other devices.";
    case Kind::SCRIPT:
    case Kind::WAIT_SCRIPTS:
        return "A fleet runs no scripts.";
    case Kind::CONNECT:
        return command.server ? "A fleet has one server: the command takes no HOST:PORT." : nullptr;
    default:
        return nullptr;
    }
}

} // namespace

void ControlRunner::begin(std::string text)
{
    mRun.emplace(std::move(text));
    std::string mistake = parseFleetCommand(mRun->text, &mRun->command);
    if (const char* no = mistake.empty() ? refusal(mRun->command) : nullptr) {
        mistake = no;
    }
    if (mistake.empty() && actsOnDevices(mRun->command.kind)) {
        mistake = findDevices();
    }
    if (mistake.empty()) {
        execute();
    } else {
        end(error(mistake));
    }
}

ControlRunner::Reply ControlRunner::error(const std::string& sentence)
{
    return {.status = sentence.empty() ? Reply::Status::OK : Reply::Status::ERROR, .error = sentence};
}

/// Returns one sentence if the command names no device.
std::string ControlRunner::findDevices()
{
    const sControlCommand& command = mRun->command;
    const auto& all = mFleet.devices();
    if (command.filter.deviceSerial) {
        Device* device = mFleet.device(*command.filter.deviceSerial);
        mRun->devices = {device};
        return device == nullptr ? "There is no device " + std::to_string(*command.filter.deviceSerial) + '.'
                                 : "";
    }
    if (!command.everyDevice && all.size() != 1 && command.kind != Kind::GET_SCENARIO) {
        return "The command needs the field \"device\": SERIAL or *.";
    }
    std::ranges::transform(all, std::back_inserter(mRun->devices), [](auto& device) { return device.get(); });
    return "";
}

void ControlRunner::execute()
{
    const sControlCommand& command = mRun->command;
    switch (command.kind) {
    case Kind::GET:
        return end(get());
    case Kind::GET_LINK:
        return end(getLink());
    case Kind::GET_SCENARIO:
        return end({.members = JsonPtr(json_pack("{s:o}", "scenario",
                                                 mFleet.scenarioReport(mRun->devices).member().release()))});
    case Kind::SCENARIO:
        return end(error(playScenario()));
    case Kind::SET_DIGITAL:
    case Kind::SET_ANALOG:
    case Kind::SCAN:
    case Kind::ADHOC:
    case Kind::WIRE:
    case Kind::UNWIRE:
        return end(actOnEach([&](Device& device, json_t*) {
            SteeredDevice steered(mFleet, device);
            return controlactions::act(command, steered);
        }));
    case Kind::CONNECT:
        std::ranges::for_each(mRun->devices, [this](Device* device) { mFleet.connect(*device); });
        return wait();
    case Kind::DISCONNECT:
        std::ranges::for_each(mRun->devices, [this](Device* device) { mFleet.disconnect(*device); });
        return end({});
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
        return wait();
    }
}

/// On every device. Returns the first mistake in the file.
std::string ControlRunner::playScenario()
{
    Scenarios::Timetables timetables;
    std::string mistake = readScenarios(mRun->command.texts, mFleet.counts(), &timetables);
    if (mistake.empty()) {
        mFleet.play(timetables);
    }
    return mistake;
}

/// The reply for one device; for all of them, how many could do it.
ControlRunner::Reply ControlRunner::actOnEach(const std::function<std::string(Device&, json_t*)>& act) const
{
    Reply reply;
    size_t errors = 0;
    for (Device* device : mRun->devices) {
        const std::string mistake = act(*device, reply.objects.get());
        errors += mistake.empty() ? 0 : 1;
        reply.error = reply.error.empty() ? mistake : reply.error;
    }
    reply.status = errors == 0 ? Reply::Status::OK : Reply::Status::ERROR;
    if (mRun->command.everyDevice) {
        const auto count = [](size_t number) { return static_cast<json_int_t>(number); };
        reply.members = JsonPtr(
            json_pack("{s:{s:I, s:I, s:I, s:I}}", "tally", "asked", count(mRun->devices.size()), "answered",
                      count(mRun->devices.size() - errors), "timeout", count(0), "error", count(errors)));
        if (json_array_size(reply.objects.get()) > kMaxObjects) {
            reply.objects.reset(json_array());
        }
    }
    return reply;
}

ControlRunner::Reply ControlRunner::get() const
{
    return actOnEach([this](Device& device, json_t* objects) {
        // One more shows that there are too many.
        const JsonPtr dropped(json_array());
        json_t* const taken = json_array_size(objects) > kMaxObjects ? dropped.get() : objects;
        return controlactions::get(mRun->command, SteeredDevice(mFleet, device), taken);
    });
}

ControlRunner::Reply ControlRunner::getLink() const
{
    if (!mRun->command.everyDevice) {
        return {
            .members = JsonPtr(json_pack(
                "{s:o}", "link", controllines::linkMember(mRun->devices.front()->linkState()).release()))};
    }
    std::array<json_int_t, 3> states{};
    for (const Device* device : mRun->devices) {
        ++states[device->linkState().state];
    }
    return {.members = JsonPtr(json_pack("{s:{s:I, s:I, s:I}}", "links", "up", states[sLinkState::UP], "down",
                                         states[sLinkState::DOWN], "off", states[sLinkState::OFF]))};
}

bool ControlRunner::isExpected(Device& device) const
{
    const JsonPtr objects(json_array());
    if (!controlactions::get(mRun->command, SteeredDevice(mFleet, device), objects.get()).empty()) {
        return true; // the reply says why
    }
    size_t index = 0;
    json_t* object = nullptr;
    json_array_foreach(objects.get(), index, object)
    {
        if (allHold(mRun->command.filter.conditions, object)) {
            return true;
        }
    }
    return false;
}

std::optional<ControlRunner::Reply> ControlRunner::expectGet()
{
    if (std::ranges::all_of(mRun->devices, [this](Device* device) { return isExpected(*device); })) {
        return get();
    }
    mRun->lastAnswer = get();
    ++mRun->answers;
    return std::nullopt;
}

/// The reply if what the command waits for is there.
std::optional<ControlRunner::Reply> ControlRunner::look()
{
    const MessageLog::Filter& filter = mRun->command.filter;
    const auto replyIf = [](bool holds) { return holds ? std::make_optional<Reply>() : std::nullopt; };
    const auto isUp = [](const Device* device) { return device->phase() == Device::ePhase::UP; };
    switch (mRun->command.kind) {
    case Kind::EXPECT_GET:
        return expectGet();
    case Kind::EXPECT_EVENT:
        return mRun->search.takeEvent(filter, &mLog);
    case Kind::EXPECT_NO_EVENT:
        return mRun->search.findUnwanted(filter, mLog);
    case Kind::CONNECT:
    case Kind::WAIT_LINK_UP:
        return replyIf(std::ranges::all_of(mRun->devices, isUp));
    case Kind::WAIT_LINK_DOWN:
        return replyIf(std::ranges::none_of(mRun->devices, isUp));
    default: // a sleep
        return std::nullopt;
    }
}

/// The reply when the time is up.
ControlRunner::Reply ControlRunner::missed()
{
    const auto& command = mRun->command;
    const std::string within = " within " + secondsText(command.seconds) + ".";
    switch (command.kind) {
    case Kind::EXPECT_GET:
        return missedAnswer(command.filter, command.seconds, mRun->answers, std::move(mRun->lastAnswer));
    case Kind::EXPECT_EVENT:
        return missedEvent(command.filter, command.seconds, mLog, controllines::setMessageLine);
    case Kind::CONNECT:
        return {.status = Reply::Status::FAILED, .error = "The link did not come up" + within};
    case Kind::WAIT_LINK_UP:
        return {.status = Reply::Status::TIMEOUT, .error = "The link did not come up" + within};
    case Kind::WAIT_LINK_DOWN:
        return {.status = Reply::Status::TIMEOUT, .error = "The link did not go down" + within};
    default: // a sleep, or an event that was not to come
        return {};
    }
}

void ControlRunner::wait()
{
    if (const std::optional<Reply> reply = look()) {
        return end(*reply);
    }
    const auto over = mRun->begun + std::chrono::duration<double>(mRun->command.seconds);
    if (Clock::now() >= over) {
        return end(missed());
    }
    mTimer.expires_after(kLookEvery);
    mTimer.async_wait([this](const boost::system::error_code& aborted) {
        if (!aborted) {
            wait();
            if (!mRun) {
                onReady();
            }
        }
    });
}

void ControlRunner::end(const Reply& reply)
{
    const std::chrono::duration<double> time = Clock::now() - mRun->begun;
    onReply(replyLine(mRun->text, time.count(), reply));
    mRun.reset();
}

} // namespace fleet
