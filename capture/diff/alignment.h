#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace capture {

/// Where two sequences are the same, and where one has something that the other has not.
enum class eStep : uint8_t
{
    BOTH,
    ONLY_A,
    ONLY_B
};

/// More elements that are not in both are not looked for at once.
constexpr size_t kMaxEdits = 512;

/// Aligns the beginnings of two sequences, with as few steps of one side as there can be (E. Myers, "An O(ND)
/// Difference Algorithm and Its Variations", 1986). @p isWhole: up to the end of both. Else more may follow:
/// up to where one ends. After kMaxEdits it ends as far as it has come.
std::vector<eStep> align(std::span<const uint64_t> a, std::span<const uint64_t> b, bool isWhole);

} // namespace capture
