#include "zuldict/zuldict.h"

#include <algorithm>
#include <cstring>

namespace zuldict {

namespace {

template <size_t N>
constexpr Enumeration enumeration(const Enumerator (&names)[N])
{
    return {names, N};
}

// A row a line, so that a new one changes no other.
// clang-format off
constexpr Enumerator kObjectTypeNames[] = {
    {OBJ_DEVICE, "OBJ_DEVICE"},
    {OBJ_PORT, "OBJ_PORT"},
    {OBJ_PORT_DIN, "OBJ_PORT_DIN"},
    {OBJ_PORT_DOUT, "OBJ_PORT_DOUT"},
    {OBJ_PORT_AIN, "OBJ_PORT_AIN"},
    {OBJ_EVENT, "OBJ_EVENT"},
    {OBJ_MSG_INFO, "OBJ_MSG_INFO"},
    {OBJ_SITE_CFG, "OBJ_SITE_CFG"},
    {OBJ_TREND_EVENT, "OBJ_TREND_EVENT"},
    {OBJ_ANALOG_SAMPLE, "OBJ_ANALOG_SAMPLE"},
    {OBJ_ACCESS, "OBJ_ACCESS"},
    {OBJ_PORT_AOUT, "OBJ_PORT_AOUT"},
    {OBJ_CAPABILITY, "OBJ_CAPABILITY"},
    {OBJ_ADHOC_EVENT, "OBJ_ADHOC_EVENT"},
};

constexpr Enumerator kIOStateNames[] = {
    {0, "OBJ_IO_STATE_UNKNOWN"},
    {1, "OBJ_IO_STATE_SET"},
    {2, "OBJ_IO_STATE_CLEAR"},
};

constexpr Enumerator kStatusNames[] = {
    {0, "OBJ_STATUS_ALARM_UNKNOWN"},
    {1, "OBJ_STATUS_ALARM_SET"},
    {2, "OBJ_STATUS_ALARM_CLEAR"},
    {3, "OBJ_STATUS_ALARM_WARN"},
};

constexpr Enumerator kDeviceTypeNames[] = {
    {0, "TYPE_UNKNOWN"},
    {1, "TYPE_DISCRETE_IO"},
    {2, "TYPE_AC_MONITOR"},
    {3, "TYPE_HUMID_TEMP_IN"},
    {4, "TYPE_HUMID_TEMP_IO"},
    {5, "TYPE_SNMP"},
    {6, "TYPE_MODBUS"},
    {7, "TYPE_DLMS"},
    {8, "TYPE_VEEDER_ROOT"},
    {9, "TYPE_CAMERA"},
    {10, "TYPE_GSM"},
};
// clang-format on

constexpr Enumeration kObjectTypes = enumeration(kObjectTypeNames);
constexpr Enumeration kIOStates = enumeration(kIOStateNames);
constexpr Enumeration kStatuses = enumeration(kStatusNames);
constexpr Enumeration kDeviceTypes = enumeration(kDeviceTypeNames);

constexpr TagEntry kTags[] = {
    {TAG_DEVICE_SERIAL, "deviceSerial", eWireType::NUMBER, nullptr},
    {TAG_PORT_ID, "portId", eWireType::NUMBER, nullptr},
    {TAG_PORT_LABEL, "portLabel", eWireType::TEXT, nullptr},
    {TAG_PORT_STATUS, "portStatus", eWireType::NUMBER, &kStatuses},
    {TAG_PORT_TYPE, "portType", eWireType::NUMBER, &kObjectTypes},
    {TAG_INPUT_STATE, "inputState", eWireType::NUMBER, &kIOStates},
    {TAG_OUTPUT_STATE, "outputState", eWireType::NUMBER, &kIOStates},
    {TAG_DEFAULT_STATE, "defaultState", eWireType::NUMBER, &kIOStates},
    {TAG_GAIN, "gain", eWireType::FLOAT, nullptr},
    {TAG_OFFSET, "offset", eWireType::FLOAT, nullptr},
    {TAG_SAMPLE_RATE, "sampleRate", eWireType::NUMBER, nullptr},
    {TAG_DISPLAY_UNIT, "displayUnit", eWireType::TEXT, nullptr},
    {TAG_SAMPLED_VALUE, "sampledValue", eWireType::FLOAT, nullptr},
    {TAG_LAST_SAMPLE_SEQ, "lastSampleSeq", eWireType::NUMBER, nullptr},
    {TAG_MINIMUM_VALUE, "minimumValue", eWireType::FLOAT, nullptr},
    {TAG_MAXIMUM_VALUE, "maximumValue", eWireType::FLOAT, nullptr},
    {TAG_DEVICE_LABEL, "deviceLabel", eWireType::TEXT, nullptr},
    {TAG_DEVICE_TYPE, "deviceType", eWireType::NUMBER, &kDeviceTypes},
    {TAG_VERSION, "version", eWireType::NUMBER, nullptr},
    {TAG_DISCRETE_IN_COUNT, "discreteInCount", eWireType::NUMBER, nullptr},
    {TAG_DISCRETE_OUT_COUNT, "discreteOutCount", eWireType::NUMBER, nullptr},
    {TAG_ANALOG_IN_COUNT, "analogInCount", eWireType::NUMBER, nullptr},
    {TAG_ANALOG_OUT_COUNT, "analogOutCount", eWireType::NUMBER, nullptr},
    {TAG_PORT_NUM, "portNum", eWireType::NUMBER, nullptr},
    {TAG_LABEL, "label", eWireType::TEXT, nullptr},
    {TAG_SCAN_CODE, "scanCode", eWireType::TEXT, nullptr},
    {TAG_EVENT_LABEL, "eventLabel", eWireType::TEXT, nullptr},
    {TAG_EVENT_VALUE, "eventValue", eWireType::TEXT, nullptr},
    {TAG_SAMPLE, "sample", eWireType::FLOAT, nullptr},
    {TAG_SEQ_NUM, "seqNum", eWireType::NUMBER, nullptr},
    {TAG_CAP_ID, "capId", eWireType::NUMBER, nullptr},
    {TAG_VALUE, "value", eWireType::TEXT, nullptr},
};

constexpr size_t kTagCount = sizeof kTags / sizeof kTags[0];

constexpr bool numbersRunFromOne()
{
    for (size_t i = 0; i < kTagCount; ++i) {
        if (kTags[i].tag != i + 1) {
            return false;
        }
    }
    return true;
}
static_assert(numbersRunFromOne(), "entry() finds a tag's row by its number");

} // namespace

TagTable tags() { return {kTags, kTagCount}; }

const TagEntry& entry(eTag tag) { return kTags[tag - 1]; }

const Enumeration& objectTypes() { return kObjectTypes; }

const char* nameOf(const Enumeration& names, uint32_t value)
{
    const auto* found = std::find_if(names.begin(), names.end(),
                                     [value](const Enumerator& name) { return name.value == value; });
    return found == names.end() ? nullptr : found->name;
}

bool valueOf(const Enumeration& names, const char* name, uint32_t* value)
{
    const auto* found = std::find_if(names.begin(), names.end(), [name](const Enumerator& candidate) {
        return std::strcmp(candidate.name, name) == 0;
    });
    if (found == names.end()) {
        return false;
    }
    *value = found->value;
    return true;
}

} // namespace zuldict
