#pragma once

#include <jansson.h>

#include "wmsg/wstatus.h"
#include "zuldict/zuldict.h"
#include "zulobj/text.h"

// The forms that single fields take in JSON. The ...toJSON functions return a new reference.
namespace zulobj {

/// An enumerator's name if @p entry has one for the value, else the number.
json_t* toJSON(const zuldict::TagEntry& entry, uint32_t value);

/// NaN and infinity are null.
json_t* toJSON(const zuldict::TagEntry& entry, float value);

/// A text never set is null. Bytes that are not UTF-8 become U+FFFD, as JSON has no place for them.
json_t* toJSON(const zuldict::TagEntry& entry, const cText& text);

// An error names the field by @p entry and leaves the value as it was.

/// Takes a number, or an enumerator's name.
WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, uint32_t* value);

/// Null is read as NaN.
WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, float* value);

/// Null makes it a text never set.
WStatus fromJSON(const zuldict::TagEntry& entry, json_t* json, cText* text);

/// The type of an object, which is not a tag on the wire: the object's header holds it.
extern const zuldict::TagEntry kTypeEntry;

/// The flags for json_dumps() with which a float reads back as the same float, on one line.
constexpr size_t kDumpFlags = JSON_COMPACT | JSON_REAL_PRECISION(9);

} // namespace zulobj
