#pragma once

// The dictionary: every object type and every tag, with its number, wire type and name, in one place.
// Numbers never change: one that goes out of use stays in its table as a comment and is not used again.

#include <cstdint>
#include <span>

/// What an object is. Any 32-bit code may arrive; these are the known ones.
enum eObjectTypes : uint32_t
{
    OBJ_DEVICE = 0,
    OBJ_PORT = 1,
    OBJ_PORT_DIN = 2,
    OBJ_PORT_DOUT = 3,
    OBJ_PORT_AIN = 4,
    OBJ_EVENT = 5,
    OBJ_MSG_INFO = 6,
    OBJ_SITE_CFG = 7,
    OBJ_TREND_EVENT = 8,
    OBJ_ANALOG_SAMPLE = 9,
    OBJ_ACCESS = 10,
    OBJ_PORT_AOUT = 11,
    OBJ_CAPABILITY = 12,
    OBJ_ADHOC_EVENT = 13,
    OBJ_NUM_OBJECT_TYPES ///< how many there are; not a type
};

/// A field of a record, by its number on the wire.
enum eTag : uint16_t
{
    TAG_DEVICE_SERIAL = 1,
    TAG_PORT_ID = 2,
    TAG_PORT_LABEL = 3,
    TAG_PORT_STATUS = 4,
    TAG_PORT_TYPE = 5,
    TAG_INPUT_STATE = 6,
    TAG_OUTPUT_STATE = 7,
    TAG_DEFAULT_STATE = 8,
    TAG_GAIN = 9,
    TAG_OFFSET = 10,
    TAG_SAMPLE_RATE = 11,
    TAG_DISPLAY_UNIT = 12,
    TAG_SAMPLED_VALUE = 13,
    TAG_LAST_SAMPLE_SEQ = 14,
    TAG_MINIMUM_VALUE = 15,
    TAG_MAXIMUM_VALUE = 16,
    TAG_DEVICE_LABEL = 17,
    TAG_DEVICE_TYPE = 18,
    TAG_VERSION = 19,
    TAG_DISCRETE_IN_COUNT = 20,
    TAG_DISCRETE_OUT_COUNT = 21,
    TAG_ANALOG_IN_COUNT = 22,
    TAG_ANALOG_OUT_COUNT = 23,
    TAG_PORT_NUM = 24,
    TAG_LABEL = 25,
    TAG_SCAN_CODE = 26,
    TAG_EVENT_LABEL = 27,
    TAG_EVENT_VALUE = 28,
    TAG_SAMPLE = 29,
    TAG_SEQ_NUM = 30,
    TAG_CAP_ID = 31,
    TAG_VALUE = 32,
};

namespace zuldict {

enum class eWireType
{
    NUMBER, ///< unsigned, 32 bits
    FLOAT,  ///< IEEE 754, 32 bits
    TEXT    ///< bytes in UTF-8 without a NUL; a text never set has no tag at all
};

/// A value of an enumeration and the name it goes by in JSON.
struct Enumerator
{
    uint32_t value;
    const char* name;
};

using Enumeration = std::span<const Enumerator>;

/// One row of the dictionary of tags.
struct TagEntry
{
    eTag tag;
    const char* name; ///< also the key in JSON
    eWireType wireType;
    Enumeration names = {}; ///< of a number that is an enumerator
};

/// All tags in the order of their numbers, which run from 1 without a gap.
std::span<const TagEntry> tags();

/// The row of a known tag.
const TagEntry& entry(eTag tag);

/// All object types by name.
Enumeration objectTypes();

/// Null if @p value has no name.
const char* nameOf(Enumeration names, uint32_t value);

/// False, with @p *value unchanged, if @p name is not among @p names.
bool valueOf(Enumeration names, const char* name, uint32_t* value);

} // namespace zuldict
