#pragma once

#include <chrono>
#include <ctime>
#include <map>
#include <optional>
#include <string>

namespace capture {

/// Collects the differences of two recordings for a JUnit report, which has a case for each device.
class DiffReport
{
public:
    static constexpr size_t kMaxDevices = 65536;         ///< further ones have no case
    static constexpr size_t kMaxBytes = 4 * 1024 * 1024; ///< of lines; further differences are only counted

    using Serial = std::optional<uint32_t>;

    void addDevice(const Serial& serial) { caseOf(serial); }
    void addDifference(const Serial& serial, const std::string& line);
    std::string xml() const;

private:
    struct Case
    {
        uint64_t differences = 0;
        std::string lines = {};
    };

    Case* caseOf(const Serial& serial);

    const std::time_t mStarted = std::time(nullptr);
    const std::chrono::steady_clock::time_point mBegun = std::chrono::steady_clock::now();
    std::map<Serial, Case> mCases;
    size_t mBytes = 0;
};

} // namespace capture
