#include "server/report/junitreport.h"

#include <algorithm>
#include <array>
#include <unistd.h>

#include "server/commands/commandparser.h"
#include "server/report/xmltext.h"

namespace server {

using namespace zulcommand;

namespace {

constexpr const char* kSuite = "zulserver";
constexpr const char* kFailure = "failure";
constexpr const char* kError = "error";
constexpr const char* kSkipped = "skipped";

std::string attribute(const char* name, const std::string& value)
{
    return std::string(" ") + name + "=\"" + xmlAttribute(value) + "\"";
}

std::string attribute(const char* name, size_t value) { return attribute(name, std::to_string(value)); }

/// ISO 8601 in UTC; the schema permits no zone.
std::string timestamp(std::time_t time)
{
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text;
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)};
}

std::string hostName()
{
    std::array<char, 256> name = {};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

} // namespace

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
        judge(reply.status == Reply::Status::FAILED ? kFailure : kError, statusWord(reply.status),
              reply.error);
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

void JunitReport::cutOff() { judge(kSkipped, "", "The run ended before this command was done."); }

void JunitReport::neverBegun(const std::string& text)
{
    commandBegun(text);
    judge(kSkipped, "", "The run ended before this command began.");
}

void JunitReport::runFailed(const std::string& sentence)
{
    open("the run");
    mCommand.clear();
    judge(kError, statusWord(Reply::Status::ERROR), sentence);
}

void JunitReport::open(const std::string& name) { mCases.emplace_back().name = name; }

/// The first failure or error decides; a skipped command counts only if there is none.
void JunitReport::judge(const std::string& element, const std::string& type, const std::string& message)
{
    Case& current = mCases.back();
    if (current.element.empty() || (current.element == kSkipped && element != kSkipped)) {
        current.element = element;
        current.type = type;
        current.message = message;
        current.command = mCommand;
    }
}

std::string JunitReport::outputXml(const Output& output)
{
    if (output.lines.empty() && output.leftOut == 0) {
        return {};
    }
    std::string xml = "<system-out>";
    if (output.leftOut > 0) {
        xml += "[" + std::to_string(output.leftOut) + " earlier lines are left out]\n";
    }
    for (const std::string& line : output.lines) {
        xml += xmlText(line) + "\n";
    }
    return xml + "</system-out>\n";
}

std::string JunitReport::caseXml(const Case& one)
{
    std::string xml = "<testcase" + attribute("classname", kSuite) + attribute("name", one.name) +
                      attribute("time", std::to_string(one.seconds)) + ">\n";
    if (one.element == kSkipped) {
        xml += "<skipped" + attribute("message", one.message) + "/>\n";
    } else if (!one.element.empty()) {
        xml += "<" + one.element + attribute("message", one.message) + attribute("type", one.type) + ">" +
               xmlText(one.command) + "\n" + xmlText(one.message) + "</" + one.element + ">\n";
    }
    return xml + outputXml(one.output) + "</testcase>\n";
}

std::string JunitReport::xml() const
{
    const auto count = [this](const char* element) {
        return static_cast<size_t>(std::ranges::count(mCases, element, &Case::element));
    };
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mBegun;
    const std::string attributes =
        attribute("name", kSuite) + attribute("tests", mCases.size()) +
        attribute("failures", count(kFailure)) + attribute("errors", count(kError)) +
        attribute("skipped", count(kSkipped)) + attribute("time", std::to_string(time.count()));
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + attributes +
                      ">\n<testsuite" + attributes + attribute("timestamp", timestamp(mStarted)) +
                      attribute("hostname", hostName()) + ">\n";
    for (const Case& one : mCases) {
        xml += caseXml(one);
    }
    return xml + outputXml(mBefore) + "</testsuite>\n</testsuites>\n";
}

} // namespace server
