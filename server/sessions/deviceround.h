#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "server/sessions/devicesession.h"
#include "zulcommand/reply.h"

namespace server {

/// Asks many devices at the same time and counts how they answer.
class DeviceRound
{
public:
    DeviceRound() = default;

    /// Stops waiting for the answers that have not come.
    ~DeviceRound();
    DeviceRound(const DeviceRound&) = delete;
    DeviceRound& operator=(const DeviceRound&) = delete;

    /// Gets the answer of a device, or null if the device disconnected before.
    using AnswerHandler = std::function<void(const DeviceSession&, const WMsg*)>;

    /// Sends @p message to all of @p devices. Call once. A device that leaves too many requests unanswered
    /// is not asked and counts as an error.
    void ask(const std::vector<std::shared_ptr<DeviceSession>>& devices, const WMsg& message,
             const AnswerHandler& onAnswer);

    /// A device has answered or, if not @p understood, has ended in an error.
    void count(bool understood) { ++(understood ? mAnswered : mErrors); }

    /// True if no answer is missing.
    bool isOver() const { return missing() == 0; }

    /// The reply with the tally. It is ok only if all have answered; otherwise a timeout if an answer is
    /// missing after @p seconds, and else failed.
    zulcommand::Reply reply(double seconds) const;

private:
    size_t missing() const { return mAsked.size() - mAnswered - mErrors; }
    std::string problem(double seconds) const;

    /// The devices, each with the number for giveUp().
    std::vector<std::pair<std::weak_ptr<DeviceSession>, uint64_t>> mAsked;
    size_t mAnswered = 0;
    size_t mErrors = 0;
};

} // namespace server
