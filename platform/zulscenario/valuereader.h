#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "zuldevice/portrules.h"
#include "zulscenario/mistakes.h"
#include "zulscenario/scenario.h"
#include "zulscenario/yamlnode.h"

namespace zulscenario {

/// The ports whose values an operator sets.
inline constexpr std::initializer_list<eObjectTypes> kInputTypes = {OBJ_PORT_DIN, OBJ_PORT_AIN};

/// A key of a map with its value.
struct Entry
{
    const YamlNode& key;
    const YamlNode& value;
};

/// Reads single values of a scenario. If one is wrong it keeps the mistake, and returns any value.
class ValueReader
{
public:
    /// @p counts are those of the device; @p mistakes outlives the reader.
    ValueReader(const zuldevice::Counts& counts, Mistakes* mistakes) : mCounts(counts), mMistakes(mistakes) {}

    Mistakes& mistakes() const { return *mMistakes; }

    /// The mistake that the value is not @p what, such as "a time". Its place is that of @p word in the
    /// value.
    void failNot(const Entry& entry, const std::string& what, std::string_view word = {}) const;

    /// The mistake that the value, which was read, is not as it must be; @p must is such as "above 0".
    void failRule(const Entry& entry, const std::string& must, std::string_view word = {}) const;

    Time time(const Entry& entry) const;
    Time timeAboveZero(const Entry& entry) const;
    Every every(const Entry& entry) const;
    uint32_t whole(const Entry& entry, uint32_t min, uint32_t max) const;
    std::optional<uint32_t> repeat(const Entry& entry) const;
    bool isUp(const Entry& entry) const;
    bool isTrue(const Entry& entry) const;
    std::string text(const Entry& entry) const;
    std::string name(const Entry& entry) const;    ///< a text that is not empty
    std::string pattern(const Entry& entry) const; ///< a text whose names in braces are known
    double rate(const Entry& entry) const;         ///< a second, above 0
    Port digitalInput(const Entry& entry) const;
    Wave::eShape shape(const Entry& entry) const;
    uint32_t scanner(const Entry& entry) const;
    uint32_t adhocId(const Entry& entry) const;
    uint32_t count(const Entry& entry) const;
    uint32_t seed(const Entry& entry) const;

    Level level(const Port& port, const Entry& entry) const;
    Range range(const Port& port, const Entry& entry) const;
    Ramp::Course rampCourse(const Port& port, const Entry& entry) const;
    Wave::Course waveCourse(const Port& port, const Entry& entry) const;
    Sensor::Fault sensorFault(const Port& port, const Entry& entry) const;

    /// A mistake if the device has no such port, which @p name names.
    void checkPort(const Port& port, const YamlNode& name) const;

private:
    const zuldevice::Counts mCounts;
    Mistakes* const mMistakes;
};

} // namespace zulscenario
