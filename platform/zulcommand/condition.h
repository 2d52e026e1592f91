#pragma once

#include <cstdint>
#include <jansson.h>
#include <optional>
#include <string>
#include <vector>

#include "zulcommand/commandwords.h"
#include "zuldict/zuldict.h"

namespace zulcommand {

/// Reads the value of a number, decimal, hexadecimal or the name of an enumerator. A wrong one is a mistake
/// in
/// @p *words.
std::optional<uint32_t> readNumber(const zuldict::TagEntry& field, const std::string& text,
                                   CommandWords* words);

/// What one field of an object should be.
class Condition
{
public:
    /// Reads what @p field should be; a wrong @p value is a mistake in @p *words.
    ///
    /// A number is decimal, hexadecimal or the name of an enumerator. A float is a decimal number, which is
    /// compared as a float, or N~T for all from N-T to N+T, both rounded to floats. "null" without quotation
    /// marks stands for what is null in JSON: a text never set, NaN and infinity.
    Condition(const zuldict::TagEntry& field, const FieldValue& value, CommandWords* words);

    /// Compares @p object, in the form of getJSONObj().
    bool holds(const json_t* object) const;

    /// The field's name.
    const char* name() const { return mField->name; }

    bool isNumber() const { return mField->wireType == zuldict::eWireType::NUMBER; }

    /// NAME=VALUE as it was written.
    const std::string& text() const { return mText; }

private:
    void readFloat(const std::string& text, CommandWords* words);

    const zuldict::TagEntry* mField;
    std::string mText;
    bool mNull;
    double mMin = 0.0; ///< of a number or a float
    double mMax = 0.0;
    std::string mWanted; ///< of a text
};

using Conditions = std::vector<Condition>;

/// True when all of @p conditions hold for @p object in the form of getJSONObj().
bool allHold(const Conditions& conditions, const json_t* object);

} // namespace zulcommand
