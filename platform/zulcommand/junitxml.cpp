#include "zulcommand/junitxml.h"

#include <algorithm>
#include <array>
#include <unistd.h>

#include "zulcommand/xmltext.h"

namespace zulcommand {

namespace {

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

std::string outputXml(const std::string& output)
{
    return output.empty() ? "" : "<system-out>" + xmlText(output) + "</system-out>\n";
}

std::string caseXml(const JunitSuite& suite, const JunitCase& one)
{
    std::string xml = "<testcase" + attribute("classname", suite.name) + attribute("name", one.name) +
                      attribute("time", std::to_string(one.seconds)) + ">\n";
    if (one.element == JunitCase::kSkipped) {
        xml += "<skipped" + attribute("message", one.message) + "/>\n";
    } else if (!one.element.empty()) {
        xml += "<" + one.element + attribute("message", one.message) + attribute("type", one.type) + ">" +
               xmlText(one.detail) + "</" + one.element + ">\n";
    }
    return xml + outputXml(one.output) + "</testcase>\n";
}

} // namespace

std::string junitXml(const JunitSuite& suite)
{
    const auto count = [&suite](const char* element) {
        return static_cast<size_t>(std::ranges::count(suite.cases, element, &JunitCase::element));
    };
    const std::string attributes =
        attribute("name", suite.name) + attribute("tests", suite.cases.size()) +
        attribute("failures", count(JunitCase::kFailure)) + attribute("errors", count(JunitCase::kError)) +
        attribute("skipped", count(JunitCase::kSkipped)) + attribute("time", std::to_string(suite.seconds));
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites" + attributes +
                      ">\n<testsuite" + attributes + attribute("timestamp", timestamp(suite.started)) +
                      attribute("hostname", hostName()) + ">\n";
    for (const JunitCase& one : suite.cases) {
        xml += caseXml(suite, one);
    }
    return xml + outputXml(suite.output) + "</testsuite>\n</testsuites>\n";
}

} // namespace zulcommand
