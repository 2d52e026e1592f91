#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zulscenario/valuereader.h"

namespace zulscenario {

/// Hands out the values of one map by their keys.
///
/// A key that is neither one of the known words nor a port of the device is a mistake.
class MapReader
{
public:
    using Words = std::vector<std::string_view>;
    using PortTypes = std::initializer_list<eObjectTypes>;

    /// @p values outlives this. @p ports are the kinds of ports that may be keys.
    MapReader(const ValueReader& values, const Entry& entry, const Words& words, PortTypes ports = {});

    /// Null if there is no such key.
    const Entry* find(std::string_view word) const;

    /// The value of the key @p word, read by @p read; without it @p otherwise.
    template <class Value>
    Value optional(std::string_view word, Value (ValueReader::*read)(const Entry&) const,
                   Value otherwise) const
    {
        const Entry* entry = find(word);
        return entry == nullptr ? otherwise : (mValues.*read)(*entry);
    }

    /// The same for a key that has to be there.
    template <class Value>
    Value required(std::string_view word, Value (ValueReader::*read)(const Entry&) const) const
    {
        if (const Entry* entry = find(word)) {
            return (mValues.*read)(*entry);
        }
        failWithout(std::string(word));
        return {};
    }

    /// What @p read makes of each key that is a port, of which there is at least one.
    template <class Value>
    std::vector<Value> ports(Value (ValueReader::*read)(const Port&, const Entry&) const) const
    {
        std::vector<Value> values;
        for (const PortEntry& entry : mPorts) {
            values.push_back((mValues.*read)(entry.port, entry.entry));
        }
        if (values.empty()) {
            failWithout(mExample);
        }
        return values;
    }

private:
    struct PortEntry
    {
        Port port;
        Entry entry;
    };

    void add(const Entry& entry, const Words& words, PortTypes ports);
    void failWithout(const std::string& word) const;

    const ValueReader& mValues;
    const Entry mMap;
    std::vector<Entry> mEntries; ///< of known words
    std::vector<PortEntry> mPorts;
    const std::string mExample; ///< of a key
};

} // namespace zulscenario
