#include "server/sessions/deviceround.h"

#include "zulcommand/expectation.h"

namespace server {

using namespace zulcommand;

DeviceRound::~DeviceRound()
{
    for (const auto& [device, request] : mAsked) {
        if (const std::shared_ptr<DeviceSession> session = device.lock()) {
            session->giveUp(request);
        }
    }
}

void DeviceRound::ask(const std::vector<std::shared_ptr<DeviceSession>>& devices, const WMsg& message,
                      const AnswerHandler& onAnswer)
{
    mAsked.reserve(devices.size());
    for (const std::shared_ptr<DeviceSession>& session : devices) {
        // The session holds the handler, so it is there when that is called.
        const uint64_t request = session->request(
            message, [onAnswer, asked = session.get()](const WMsg* answer) { onAnswer(*asked, answer); });
        mAsked.emplace_back(session, request);
        mErrors += request == 0 ? 1 : 0;
    }
}

Reply DeviceRound::reply(double seconds) const
{
    const auto integer = [](size_t number) { return static_cast<json_int_t>(number); };
    const JsonPtr tally(json_pack("{s:I, s:I, s:I, s:I}", "asked", integer(mAsked.size()), "answered",
                                  integer(mAnswered), "timeout", integer(missing()), "error",
                                  integer(mErrors)));
    Reply reply{.error = problem(seconds), .members = JsonPtr(json_pack("{s:O}", "tally", tally.get()))};
    if (!reply.error.empty()) {
        reply.status = isOver() ? Reply::Status::FAILED : Reply::Status::TIMEOUT;
    }
    return reply;
}

/// A sentence, or an empty text if all have answered.
std::string DeviceRound::problem(double seconds) const
{
    std::string text;
    if (missing() > 0) {
        text = std::to_string(missing()) + " did not answer within " + secondsText(seconds);
    }
    if (mErrors > 0) {
        text += (text.empty() ? "" : " and ") + std::to_string(mErrors) + " ended in an error";
    }
    const std::string all = std::to_string(mAsked.size()) + (mAsked.size() == 1 ? " device" : " devices");
    return text.empty() ? text : "Of " + all + " " + text + ".";
}

} // namespace server
