#include "capture/diff/diffreport.h"

#include "zulcommand/junitxml.h"

namespace capture {

using namespace zulcommand;

namespace {

std::string nameOfCase(const DiffReport::Serial& serial)
{
    return serial ? "device " + std::to_string(*serial) : "unknown device";
}

} // namespace

/// Null if there are too many.
DiffReport::Case* DiffReport::caseOf(const Serial& serial)
{
    const auto found = mCases.find(serial);
    if (found != mCases.end()) {
        return &found->second;
    }
    return mCases.size() < kMaxDevices ? &mCases[serial] : nullptr;
}

void DiffReport::addDifference(const Serial& serial, const std::string& line)
{
    if (Case* const one = caseOf(serial)) {
        ++one->differences;
        if (mBytes + line.size() < kMaxBytes) {
            mBytes += line.size() + 1;
            one->lines += line + '\n';
        }
    }
}

std::string DiffReport::xml() const
{
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - mBegun;
    JunitSuite suite{"zulcapture diff", mStarted, time.count()};
    for (const auto& [serial, one] : mCases) {
        JunitCase& entry = suite.cases.emplace_back(JunitCase{nameOfCase(serial)});
        if (one.differences > 0) {
            entry.element = JunitCase::kFailure;
            entry.type = "difference";
            entry.message =
                std::to_string(one.differences) + (one.differences == 1 ? " difference." : " differences.");
            entry.detail = one.lines.empty() ? entry.message : one.lines;
        }
    }
    return junitXml(suite);
}

} // namespace capture
