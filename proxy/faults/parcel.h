#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace proxy {

/// "Never", as a time in ns.
constexpr int64_t kNeverNs = INT64_MAX;

/// What a rule does with a message on its way out.
struct Mark
{
    uint32_t rule = 0;                   ///< its number
    int64_t value = 0;                   ///< a drawn number, a time in ns or a count, by the rule's kind
    std::optional<uint32_t> object = {}; ///< LIMIT: the type of the record that its fault tells
};

/// A message on its way out, or other bytes that pass.
struct Parcel
{
    std::span<const uint8_t> bytes = {}; ///< borrowed, or in `owned`
    std::vector<uint8_t> owned = {};
    uint64_t number = 0; ///< in the order in which they came
    uint32_t times = 1;  ///< how often it is written, one behind the other
    bool cutsAfter = false;
    std::vector<Mark> marks = {};

    Parcel() = default;
    explicit Parcel(std::span<const uint8_t> borrowed) : bytes(borrowed) {}
    Parcel(Parcel&&) = default;
    Parcel& operator=(Parcel&&) = default;

    size_t size() const { return bytes.size() * times; }

    /// The memory that it takes while it waits, about.
    size_t cost() const { return sizeof *this + bytes.size() + marks.size() * sizeof(Mark); }

    void own()
    {
        if (owned.empty()) {
            owned.assign(bytes.begin(), bytes.end());
            bytes = owned;
        }
    }

    void take(std::vector<uint8_t> other)
    {
        owned = std::move(other);
        bytes = owned;
    }

    /// The mark of rule number @p rule, or null.
    const Mark* markOf(uint32_t rule) const
    {
        for (const Mark& mark : marks) {
            if (mark.rule == rule) {
                return &mark;
            }
        }
        return nullptr;
    }
};

/// Where parcels go next.
class ParcelSink
{
public:
    virtual ~ParcelSink() = default;
    virtual void put(Parcel parcel, int64_t nowNs) = 0;
};

} // namespace proxy
