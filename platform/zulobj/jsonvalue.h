#ifndef ZULOBJ_JSONVALUE_H
#define ZULOBJ_JSONVALUE_H

#include <jansson.h>
#include <string>

#include "wmsg/wstatus.h"
#include "zuldict/zuldict.h"
#include "zulobj/text.h"

// The forms that single fields take in JSON. The ...ToJSON functions return a new reference.
namespace zulobj {

/// An enumerator's name where @p entry has one for the value, else the number.
json_t* numberToJSON(const zuldict::TagEntry& entry, uint32_t value);
WStatus numberFromJSON(const zuldict::TagEntry& entry, json_t* json, uint32_t* value);

/// NaN and infinity are null, and null is read as NaN.
json_t* floatToJSON(float value);
WStatus floatFromJSON(const zuldict::TagEntry& entry, json_t* json, float* value);

/// A text never set is null. Bytes that are not UTF-8 become U+FFFD, as JSON has no place for them.
json_t* textToJSON(const cText& text);
WStatus textFromJSON(const zuldict::TagEntry& entry, json_t* json, cText* text);

/// The type of an object: its name, or its number where it has none.
json_t* typeToJSON(uint32_t type);
WStatus typeFromJSON(json_t* json, uint32_t* type);

/// The flags for json_dumps() with which a float reads back as the same float, on one line.
constexpr size_t kDumpFlags = JSON_COMPACT | JSON_REAL_PRECISION(9);

} // namespace zulobj

#endif
