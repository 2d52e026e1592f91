#include "fleet/report/shard.h"

#include <algorithm>
#include <array>

#include "zulcommand/commandwords.h"

namespace fleet {

using zulcommand::parseNumber;
using zulcommand::quote;

namespace {

/// The variables by which a scheduler numbers the processes of a job.
struct Numbering
{
    const char* index;
    const char* of;
};

constexpr std::array<Numbering, 2> kNumberings = {{
    {"SLURM_PROCID", "SLURM_NTASKS"},
    {"JOB_COMPLETION_INDEX", "ZUL_SHARDS"},
}};

std::optional<Shard> shardOf(const std::string& index, const std::string& of)
{
    // Schedulers write decimal numbers only, and so do people.
    const bool decimal = (index + of).find_first_not_of("0123456789") == std::string::npos;
    const std::optional<uint32_t> number = parseNumber(index);
    const std::optional<uint32_t> count = parseNumber(of, 1);
    return decimal && number && count && *number < *count ? std::optional<Shard>({*number, *count})
                                                          : std::nullopt;
}

std::string settingText(const char* name, const char* value)
{
    return std::string(name) + (value ? " is " + quote(value) : " is not set");
}

} // namespace

uint32_t Shard::first(uint32_t count) const { return index * (count / of) + std::min(index, count % of); }

uint32_t Shard::size(uint32_t count) const { return count / of + (index < count % of ? 1 : 0); }

double Shard::rate(double whole, uint32_t count) const
{
    return count > 0 ? whole * size(count) / count : 0.0;
}

std::string Shard::text() const { return std::to_string(index) + "/" + std::to_string(of); }

std::optional<Shard> parseShard(const std::string& text)
{
    const size_t slash = text.find('/');
    return slash == std::string::npos ? std::nullopt : shardOf(text.substr(0, slash), text.substr(slash + 1));
}

std::string shardMistake(const std::string& text)
{
    return "--shard is not I/N with I from 0 to N-1: " + quote(text) + ".";
}

std::optional<Shard> shardFrom(const Environment& environment, std::string* mistake)
{
    for (const Numbering& names : kNumberings) {
        const char* const index = environment(names.index);
        const char* const of = environment(names.of);
        if (!index && !of) {
            continue;
        }
        const std::optional<Shard> shard = index && of ? shardOf(index, of) : std::nullopt;
        if (!shard) {
            *mistake = settingText(names.index, index) + " and " + settingText(names.of, of) +
                       ", which names no part of the fleet; --shard does.";
        }
        return shard;
    }
    return {};
}

std::optional<std::string> runFrom(const Environment& environment)
{
    for (const char* const name : {"SLURM_JOB_ID", "ZUL_RUN_ID"}) {
        const char* const run = environment(name);
        if (run && *run) {
            return run;
        }
    }
    return {};
}

} // namespace fleet
