#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>

#include "capture/sessions/recordeditem.h"
#include "zulobj/asample.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace capture {

/// Makes a scenario from what the operator of one device did in a recording.
class OperatorScenario
{
public:
    /// What the readers of scenarios take.
    static constexpr size_t kMaxBytes = 16 * 1024 * 1024;

    explicit OperatorScenario(uint32_t serial) : mSerial(serial) {}

    /// Returns false if the scenario has become too long.
    bool add(const RecordedItem& item);

    size_t steps() const { return mSteps; }

    /// Events that no step makes: a state that an input already had, or a value that a slider has not.
    uint64_t leftOut() const { return mLeftOut; }

    void print(std::ostream& out) const;

private:
    /// The samples of one input that its rate sends.
    struct Rate
    {
        uint32_t last = 0; ///< number of the latest one
        int64_t timeNs = 0;
        int64_t periodNs = 0;
    };

    void addEvent(const cObject& record);
    void addInput(const cObjectDInput& input);
    void addSample(const cObjectAnalogSample& sample);
    bool isOfRate(const cObjectAnalogSample& sample);
    void addStep(const std::string& action);

    const uint32_t mSerial;
    cObjectList mList;
    std::optional<int64_t> mFirstNs; ///< of the device's first message
    int64_t mNowNs = 0;              ///< of the present message
    std::map<uint32_t, bool> mStart; ///< of digital inputs: whether they were high
    std::map<uint32_t, bool> mInputs;
    std::map<uint32_t, Rate> mRates;
    std::string mText;
    size_t mSteps = 0;
    uint64_t mLeftOut = 0;
};

} // namespace capture
