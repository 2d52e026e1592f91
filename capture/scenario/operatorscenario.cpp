#include "capture/scenario/operatorscenario.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "zulcommand/commandwords.h"
#include "zulcommand/jsontext.h"
#include "zulobj/access.h"
#include "zulobj/adhoc.h"

namespace capture {

namespace {

constexpr uint32_t kMaxAdhocId = 99;
constexpr uint32_t kLastSeqNum = 255; ///< the next sample has 0, like one that is no periodic one

const char* stateText(bool high) { return high ? "high" : "low"; }

/// @p ns as a time of a scenario.
std::string timeText(int64_t ns)
{
    constexpr int64_t kUsPerSecond = 1'000'000;
    const int64_t us = ns / 1000;
    std::array<char, 48> text;
    std::snprintf(text.data(), text.size(), "%lld.%06llds", static_cast<long long>(us / kUsPerSecond),
                  static_cast<long long>(us % kUsPerSecond));
    return text.data();
}

/// @p text as a text of a scenario, null as an empty one. Nothing if it cannot be one.
std::optional<std::string> quoted(const char* text)
{
    std::string doubled;
    for (const char* at = text == nullptr ? "" : text; *at != '\0'; ++at) {
        doubled += *at == '{' ? "{{" : std::string(1, *at);
    }
    if (!zulcommand::lineMistake(doubled, "The text").empty()) {
        return std::nullopt;
    }
    return zulcommand::dumped(zulcommand::JsonPtr(zulcommand::textOf(doubled)));
}

/// The action of a step; empty if no step does it.
std::string scanText(const cObjectAccess& access)
{
    const std::optional<std::string> code = quoted(access.getScanCode());
    return code ? "scan: {scanner: " + std::to_string(access.getPortNum()) + ", code: " + *code + '}' : "";
}

std::string adhocText(const cObjectAdhocEvent& event)
{
    const std::optional<std::string> label = quoted(event.getEventLabel());
    const std::optional<std::string> value = quoted(event.getEventValue());
    const bool isId = event.getPortId() >= 1 && event.getPortId() <= kMaxAdhocId;
    return isId && label && value ? "adhoc: {id: " + std::to_string(event.getPortId()) +
                                        ", label: " + *label + ", value: " + *value + '}'
                                  : "";
}

} // namespace

bool OperatorScenario::add(const RecordedItem& item)
{
    if (item.kind != RecordedItem::MESSAGE || item.connection->deviceSerial != mSerial) {
        return true;
    }
    mFirstNs = mFirstNs.value_or(item.timeNs);
    mNowNs = std::max(mNowNs, item.timeNs);
    const WMsg& message = item.message;
    if (item.direction == eDirection::TO_SERVER && !message.control && !message.answer &&
        message.type == cObjectList::kEvent && mList.decode(message).isOk()) {
        for (const cObject* record = mList.first(); record != nullptr; record = mList.next()) {
            addEvent(*record);
        }
    }
    return mText.size() <= kMaxBytes;
}

void OperatorScenario::addEvent(const cObject& record)
{
    switch (record.getType()) {
    case OBJ_PORT_DIN:
        return addInput(static_cast<const cObjectDInput&>(record));
    case OBJ_ANALOG_SAMPLE:
        return addSample(static_cast<const cObjectAnalogSample&>(record));
    case OBJ_ACCESS:
        return addStep(scanText(static_cast<const cObjectAccess&>(record)));
    case OBJ_ADHOC_EVENT:
        return addStep(adhocText(static_cast<const cObjectAdhocEvent&>(record)));
    default:
        return addStep("");
    }
}

void OperatorScenario::addInput(const cObjectDInput& input)
{
    const uint32_t port = input.getPortId();
    const bool isHigh = input.getInputState() == cObject::OBJ_IO_STATE_SET;
    const bool isKnown = isHigh || input.getInputState() == cObject::OBJ_IO_STATE_CLEAR;
    const bool wasHigh = mStart.try_emplace(port, !isHigh).first->second;
    bool& state = mInputs.try_emplace(port, wasHigh).first->second;
    const bool changes = isKnown && state != isHigh;
    state = isHigh;
    addStep(changes ? "set: {din " + std::to_string(port) + ": " + stateText(isHigh) + '}' : "");
}

void OperatorScenario::addSample(const cObjectAnalogSample& sample)
{
    if (isOfRate(sample)) {
        return;
    }
    const float value = sample.getSample();
    const bool isSliders = value >= 0.0F && value <= 100.0F && value == std::floor(value);
    addStep(isSliders ? "set: {ain " + std::to_string(sample.getPortNum()) + ": " +
                            std::to_string(std::lround(value)) + '}'
                      : "");
}

/// A sample with the number 0 is one of the rate if it comes after the last number, when the next one is due.
bool OperatorScenario::isOfRate(const cObjectAnalogSample& sample)
{
    Rate& rate = mRates[sample.getPortNum()];
    const int64_t sinceNs = mNowNs - rate.timeNs;
    const bool isDue = rate.last == kLastSeqNum && std::abs(sinceNs - rate.periodNs) <= rate.periodNs / 20;
    if (sample.getSeqNum() == 0 && !isDue) {
        return false;
    }
    rate = {sample.getSeqNum(), mNowNs, sinceNs};
    return true;
}

/// @p action is empty if there is none.
void OperatorScenario::addStep(const std::string& action)
{
    if (action.empty()) {
        ++mLeftOut;
        return;
    }
    ++mSteps;
    mText += "  - at: " + timeText(mNowNs - *mFirstNs) + "\n    " + action + '\n';
}

void OperatorScenario::print(std::ostream& out) const
{
    out << "scenario: Device " << mSerial << '\n' << (mStart.empty() ? "" : "start:\n");
    for (const auto& [port, isHigh] : mStart) {
        out << "  din " << port << ": " << stateText(isHigh) << '\n';
    }
    out << "steps:\n" << mText << std::flush;
}

} // namespace capture
