#include "capture/show/summary.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>

#include "zulobj/objectlist.h"

namespace capture {

namespace {

constexpr const char* kKindNames[] = {"get", "set", "event", "answer", "ping", "other"};

constexpr const char* kHeadings = "device      kind      to server   to device       per s   longest answer"
                                  "  unanswered   bad bytes\n";

/// @p ns as milliseconds.
std::string milliseconds(int64_t ns)
{
    std::array<char, 48> text;
    std::snprintf(text.data(), text.size(), "%.3f ms", static_cast<double>(ns) / 1e6);
    return text.data();
}

} // namespace

void Summary::Row::add(const Row& other)
{
    toServer += other.toServer;
    toDevice += other.toDevice;
    asked += other.asked;
    answered += other.answered;
    longestNs = std::max(longestNs, other.longestNs);
    damaged += other.damaged;
}

Summary::eKind Summary::kindOfType(uint8_t type, bool control)
{
    if (control) {
        return PING;
    }
    switch (type) {
    case cObjectList::kSet:
        return SET;
    case cObjectList::kRequest:
        return GET;
    case cObjectList::kEvent:
        return EVENT;
    default:
        return OTHER;
    }
}

Summary::eKind Summary::kindOf(const WMsg& message)
{
    return message.answer && !message.control ? ANSWER : kindOfType(message.type, message.control);
}

void Summary::add(const RecordedItem& item, bool counts)
{
    const uint64_t connection = item.connection->number;
    if (item.kind == RecordedItem::CLOSED) {
        mAsked.erase(mAsked.lower_bound({connection, {}, 0}), mAsked.lower_bound({connection + 1, {}, 0}));
    } else if (item.kind == RecordedItem::DAMAGED) {
        rowsOf(item.connection->deviceSerial)[OTHER].damaged += item.size;
    } else if (item.question && takeAsked(item)) {
        countAnswer(item, &rowsOf(item.connection->deviceSerial));
    }
    if (item.kind == RecordedItem::MESSAGE && counts) {
        mFirstNs = std::min(mFirstNs.value_or(item.timeNs), item.timeNs);
        mLastNs = std::max(mLastNs, item.timeNs);
        count(item, &rowsOf(item.connection->deviceSerial));
    }
}

Summary::Rows& Summary::rowsOf(const Serial& serial)
{
    const auto found = mDevices.find(serial);
    if (found == mDevices.end() && mDevices.size() >= kMaxDevices) {
        mHasOthers = true;
        return mOthers;
    }
    return mDevices[serial];
}

void Summary::count(const RecordedItem& item, Rows* rows)
{
    Row& row = (*rows)[kindOf(item.message)];
    (item.direction == eDirection::TO_SERVER ? row.toServer : row.toDevice) += 1;
    if (asks(item)) {
        ++row.asked;
        const std::tuple key(item.connection->number, item.direction, keyOf(item.message));
        if (mAsked.size() < kMaxAsked || mAsked.contains(key)) {
            mAsked[key] = item.number;
        }
    }
}

/// True if what @p answer answers was counted.
bool Summary::takeAsked(const RecordedItem& answer)
{
    const auto asked =
        mAsked.find({answer.connection->number, opposite(answer.direction), keyOf(answer.message)});
    const bool isCounted = asked != mAsked.end() && asked->second == answer.question->number;
    if (isCounted) {
        mAsked.erase(asked);
    }
    return isCounted;
}

void Summary::countAnswer(const RecordedItem& item, Rows* rows)
{
    Row& row = (*rows)[kindOfType(item.question->type, item.message.control)];
    ++row.answered;
    row.longestNs = std::max(row.longestNs, item.timeNs - item.question->timeNs);
}

void Summary::print(std::ostream& out) const
{
    out << kHeadings;
    Row all;
    for (const auto& [serial, rows] : mDevices) {
        all.add(printDevice(out, serial ? std::to_string(*serial) : "unknown", rows));
    }
    if (mHasOthers) {
        all.add(printDevice(out, "others", mOthers));
    }
    printRow(out, "all", "all", all);
}

/// Returns the sum of @p rows.
Summary::Row Summary::printDevice(std::ostream& out, const std::string& device, const Rows& rows) const
{
    Row all;
    for (size_t kind = 0; kind < NUM_KINDS; ++kind) {
        const Row& row = rows[kind];
        if (row.toServer + row.toDevice > 0) {
            printRow(out, device, kKindNames[kind], row);
        }
        all.add(row);
    }
    printRow(out, device, "all", all);
    return all;
}

void Summary::printRow(std::ostream& out, const std::string& device, const std::string& kind,
                       const Row& row) const
{
    const double seconds = static_cast<double>(mLastNs - mFirstNs.value_or(mLastNs)) / 1e9;
    const auto messages = static_cast<double>(row.toServer + row.toDevice);
    const std::string longest = row.answered > 0 ? milliseconds(row.longestNs) : "-";
    std::array<char, 256> line;
    std::snprintf(line.data(), line.size(), "%-11s %-7s %11llu %11llu %11.2f %16s %11s %11s\n",
                  device.c_str(), kind.c_str(), static_cast<unsigned long long>(row.toServer),
                  static_cast<unsigned long long>(row.toDevice), seconds > 0 ? messages / seconds : 0.0,
                  longest.c_str(), row.asked > 0 ? std::to_string(row.asked - row.answered).c_str() : "-",
                  kind == "all" ? std::to_string(row.damaged).c_str() : "-");
    out << line.data();
}

} // namespace capture
