#include "server/report/junitreport.h"

#include "server/commands/commandparser.h"
#include "zulcommand/junitxml.h"

namespace server {

using namespace zulcommand;

/// A new case begins unless the command belongs to the last one.
void JunitReport::commandBegun(const std::string& text)
{
    mCommand = text;
    const std::string name = caseName(text).value_or("");
    if (mCases.size() >= mLimits.cases) {
        return;
    }
    if (!name.empty()) {
        mGrouped = true;
        open(name);
    } else if (!mGrouped) {
        open(text);
    }
}

void JunitReport::commandDone(const Reply& reply, double seconds)
{
    mCases.back().seconds += seconds;
    if (reply.status != Reply::Status::OK) {
        judge(reply.status == Reply::Status::FAILED ? JunitCase::kFailure : JunitCase::kError,
              statusWord(reply.status), reply.error);
    }
}

void JunitReport::addLine(const std::string& line)
{
    Output* output = mCases.empty() ? &mBefore : &mCases.back().output;
    output->lines.push_back(line);
    output->bytes += line.size() + 1;
    mOutputBytes += line.size() + 1;
    while (output->bytes > mLimits.caseOutputBytes) {
        dropLine(output);
    }
    while (mOutputBytes - mBefore.bytes > mLimits.wholeOutputBytes) {
        if (mCases[mOldest].output.lines.empty()) {
            ++mOldest;
        } else {
            dropLine(&mCases[mOldest].output);
        }
    }
}

void JunitReport::dropLine(Output* output)
{
    const size_t size = output->lines.front().size() + 1;
    output->lines.pop_front();
    output->bytes -= size;
    mOutputBytes -= size;
    ++output->leftOut;
}

void JunitReport::cutOff() { judge(JunitCase::kSkipped, "", "The run ended before this command was done."); }

void JunitReport::neverBegun(const std::string& text)
{
    commandBegun(text);
    judge(JunitCase::kSkipped, "", "The run ended before this command began.");
}

void JunitReport::runFailed(const std::string& sentence)
{
    open("the run");
    mCommand.clear();
    judge(JunitCase::kError, statusWord(Reply::Status::ERROR), sentence);
}

void JunitReport::open(const std::string& name) { mCases.emplace_back().name = name; }

/// The first failure or error decides; a skipped command counts only if there is none.
void JunitReport::judge(const std::string& element, const std::string& type, const std::string& message)
{
    Case& current = mCases.back();
    if (current.element.empty() ||
        (current.element == JunitCase::kSkipped && element != JunitCase::kSkipped)) {
        current.element = element;
        current.type = type;
        current.message = message;
        current.command = mCommand;
    }
}

std::string JunitReport::textOf(const Output& output)
{
    std::string text;
    if (output.leftOut > 0) {
        text = "[" + std::to_string(output.leftOut) + " earlier lines are left out]\n";
    }
    for (const std::string& line : output.lines) {
        text += line + "\n";
    }
    return text;
}

std::string JunitReport::xml() const
{
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mBegun;
    JunitSuite suite{"zulserver", mStarted, time.count(), {}, textOf(mBefore)};
    for (const Case& one : mCases) {
        suite.cases.push_back({one.name, one.element, one.type, one.message, one.command + "\n" + one.message,
                               one.seconds, textOf(one.output)});
    }
    return junitXml(suite);
}

} // namespace server
