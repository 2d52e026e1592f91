#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "proxy/faults/messagefacts.h"
#include "proxy/rules/rule.h"

namespace proxy {

/// Finds, for all rules at once, those that may choose a message; the ones that it leaves out do not.
///
/// Each rule has a bit, of 32, so that rules far apart may share one. For each thing that a message or a
/// record may have there is a mask of the rules that it suits; things may share a mask as well. What a rule
/// does not ask for suits it.
class RuleSieve
{
public:
    using Mask = uint32_t;

    RuleSieve() = default;

    /// The rules are borrowed, in their order.
    explicit RuleSieve(std::vector<const Rule*> rules);

    /// Looks among those of @p rules.
    Mask find(MessageFacts* message, Mask rules = ~Mask{0}) const;

    static Mask bitOf(size_t number) { return Mask{1} << number % kBits; }

    /// Calls @p action with the number of each rule in @p mask, from 0, in their order.
    template <class Action>
    void forEach(Mask mask, Action action) const
    {
        for (size_t first = 0; first < mRules.size(); first += kBits) {
            for (Mask left = mask; left != 0; left &= left - 1) {
                const size_t number = first + static_cast<size_t>(std::countr_zero(left));
                if (number < mRules.size()) {
                    action(number);
                }
            }
        }
    }

private:
    static constexpr size_t kBits = 32;

    /// Masks by a number; numbers that are far apart share one.
    template <size_t Size>
    class Masks
    {
    public:
        static constexpr size_t size() { return Size; }
        Mask& operator[](uint32_t number) { return mMasks[number % Size]; }
        Mask operator[](uint32_t number) const { return mMasks[number % Size]; }

        /// @p number suits the rules of @p mask; all numbers do if there is none.
        void add(std::optional<uint32_t> number, Mask mask)
        {
            if (number) {
                (*this)[*number] |= mask;
                return;
            }
            for (Mask& each : mMasks) {
                each |= mask;
            }
        }

    private:
        std::array<Mask, Size> mMasks{};
    };

    /// The rules that tags suit.
    struct Suited
    {
        Mask tags;  ///< by the tag that they need
        Mask ports; ///< by the port that they need
    };

    void add(const Rule& rule, Mask mask);
    void addFlags(const Rule& rule, Mask mask);
    void addTags(const Rule& rule, Mask mask);
    Mask findInRecords(std::span<const uint8_t> payload, Mask wanted) const;
    Suited suitedBy(std::span<const uint8_t> tags) const;
    void skipAlike(WendleObject record, Mask mask, bool readsTags, WObjectReader* reader) const;
    Mask confirmed(WendleObject record, Mask mask) const;

    std::vector<const Rule*> mRules;
    Masks<8> mByFlags;
    Masks<32> mByMessageType;
    Masks<32> mByObject;
    Masks<128> mByPort;
    Masks<32> mByTag;
    Mask mWithoutRecord = 0; ///< ask for no record
    Mask mWithoutPort = 0;   ///< ask for no port
    Mask mWithoutTag = 0;    ///< ask for no tag that their kind could act on
};

} // namespace proxy
