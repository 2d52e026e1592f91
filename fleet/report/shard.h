#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace fleet {

/// The part of a fleet that one process plays.
struct Shard
{
    uint32_t index = 0; ///< below of
    uint32_t of = 1;

    // The devices of the part, of @p count in the whole fleet. Two parts differ by one device at most, so a
    // part has none if there are fewer devices than parts.

    /// The number of its first device, from 0.
    uint32_t first(uint32_t count) const;
    uint32_t size(uint32_t count) const;

    /// The part's share of the @p whole fleet's rate: each device has the same.
    double rate(double whole, uint32_t count) const;

    /// The part's share of the devices that must be in: the shares of all parts are @p whole, and none is
    /// more than size().
    uint32_t require(uint32_t whole) const { return size(whole); }

    /// "1/4".
    std::string text() const;

    bool operator==(const Shard&) const = default;
};

/// Reads "I/N", I from 0; nothing if it is no part.
std::optional<Shard> parseShard(const std::string& text);

/// The sentence that @p text is no part.
std::string shardMistake(const std::string& text);

/// What a program finds in its environment: the value of a name, or null. std::getenv is one.
using Environment = std::function<const char*(const char* name)>;

/// The part that a scheduler gave to this process: by SLURM_PROCID and SLURM_NTASKS, or by
/// JOB_COMPLETION_INDEX and ZUL_SHARDS. Nothing if there is no scheduler, and if what it says names no part;
/// then *@p mistake is the sentence about it.
std::optional<Shard> shardFrom(const Environment& environment, std::string* mistake);

/// The scheduler's name of the run: SLURM_JOB_ID or else ZUL_RUN_ID. Nothing if neither is set.
std::optional<std::string> runFrom(const Environment& environment);

} // namespace fleet
