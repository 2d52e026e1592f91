#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace fleet {

/// The labels of a fleet's devices: a text in which {n} stands for the number of the device, {n:04} for its
/// number with four digits at least.
class LabelPattern
{
public:
    /// @p pattern is UTF-8. Nothing if what follows "{n" is no width from 01 to 010 and no brace.
    static std::optional<LabelPattern> parse(const std::string& pattern);

    /// @p text for every device, whatever it holds.
    static LabelPattern literal(const std::string& text);

    /// True if each device has a label of its own.
    bool numbered() const { return mNumbered; }

    std::string text(uint32_t number) const;

private:
    std::string mBefore; ///< all of it if it is not numbered
    std::string mAfter;
    size_t mWidth = 1;
    bool mNumbered = false;
};

} // namespace fleet
