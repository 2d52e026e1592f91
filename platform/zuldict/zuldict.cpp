#include "zuldict/zuldict.h"

#include <algorithm>
#include <string_view>

namespace zuldict {

namespace {

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

constexpr TagEntry kTags[] = {
    {TAG_DEVICE_SERIAL, "deviceSerial", eWireType::NUMBER},
    {TAG_PORT_ID, "portId", eWireType::NUMBER},
    {TAG_PORT_LABEL, "portLabel", eWireType::TEXT},
    {TAG_PORT_STATUS, "portStatus", eWireType::NUMBER, kStatusNames},
    {TAG_PORT_TYPE, "portType", eWireType::NUMBER, kObjectTypeNames},
    {TAG_INPUT_STATE, "inputState", eWireType::NUMBER, kIOStateNames},
    {TAG_OUTPUT_STATE, "outputState", eWireType::NUMBER, kIOStateNames},
    {TAG_DEFAULT_STATE, "defaultState", eWireType::NUMBER, kIOStateNames},
    {TAG_GAIN, "gain", eWireType::FLOAT},
    {TAG_OFFSET, "offset", eWireType::FLOAT},
    {TAG_SAMPLE_RATE, "sampleRate", eWireType::NUMBER},
    {TAG_DISPLAY_UNIT, "displayUnit", eWireType::TEXT},
    {TAG_SAMPLED_VALUE, "sampledValue", eWireType::FLOAT},
    {TAG_LAST_SAMPLE_SEQ, "lastSampleSeq", eWireType::NUMBER},
    {TAG_MINIMUM_VALUE, "minimumValue", eWireType::FLOAT},
    {TAG_MAXIMUM_VALUE, "maximumValue", eWireType::FLOAT},
    {TAG_DEVICE_LABEL, "deviceLabel", eWireType::TEXT},
    {TAG_DEVICE_TYPE, "deviceType", eWireType::NUMBER, kDeviceTypeNames},
    {TAG_VERSION, "version", eWireType::NUMBER},
    {TAG_DISCRETE_IN_COUNT, "discreteInCount", eWireType::NUMBER},
    {TAG_DISCRETE_OUT_COUNT, "discreteOutCount", eWireType::NUMBER},
    {TAG_ANALOG_IN_COUNT, "analogInCount", eWireType::NUMBER},
    {TAG_ANALOG_OUT_COUNT, "analogOutCount", eWireType::NUMBER},
    {TAG_PORT_NUM, "portNum", eWireType::NUMBER},
    {TAG_LABEL, "label", eWireType::TEXT},
    {TAG_SCAN_CODE, "scanCode", eWireType::TEXT},
    {TAG_EVENT_LABEL, "eventLabel", eWireType::TEXT},
    {TAG_EVENT_VALUE, "eventValue", eWireType::TEXT},
    {TAG_SAMPLE, "sample", eWireType::FLOAT},
    {TAG_SEQ_NUM, "seqNum", eWireType::NUMBER},
    {TAG_CAP_ID, "capId", eWireType::NUMBER},
    {TAG_VALUE, "value", eWireType::TEXT},
};

static_assert(std::ranges::all_of(kTags, [](const TagEntry& row) { return row.tag == &row - kTags + 1; }),
              "entry() finds a tag's row by its number");

} // namespace

std::span<const TagEntry> tags() { return kTags; }

const TagEntry& entry(eTag tag) { return kTags[tag - 1]; }

Enumeration objectTypes() { return kObjectTypeNames; }

const char* nameOf(Enumeration names, uint32_t value)
{
    const auto found = std::ranges::find(names, value, &Enumerator::value);
    return found == names.end() ? nullptr : found->name;
}

bool valueOf(Enumeration names, const char* name, uint32_t* value)
{
    const auto found = std::ranges::find(names, std::string_view(name), &Enumerator::name);
    if (found == names.end()) {
        return false;
    }
    *value = found->value;
    return true;
}

} // namespace zuldict
