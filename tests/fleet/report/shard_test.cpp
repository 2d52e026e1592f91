#include "fleet/report/shard.h"

#include <gtest/gtest.h>
#include <map>

using fleet::parseShard;
using fleet::Shard;

namespace {

using Variables = std::map<std::string, std::string>;

fleet::Environment environment(const Variables& variables)
{
    return [&variables](const char* name) {
        const auto found = variables.find(name);
        return found != variables.end() ? found->second.c_str() : nullptr;
    };
}

std::optional<Shard> shardFrom(const Variables& variables)
{
    std::string mistake;
    const std::optional<Shard> shard = fleet::shardFrom(environment(variables), &mistake);
    EXPECT_EQ(mistake, "");
    return shard;
}

std::string mistakeFrom(const Variables& variables)
{
    std::string mistake;
    EXPECT_FALSE(fleet::shardFrom(environment(variables), &mistake));
    return mistake;
}

} // namespace

TEST(ShardTest, aPartIsItsNumberFromZeroAndHowManyThereAre)
{
    EXPECT_EQ(parseShard("0/1"), (Shard{0, 1}));
    EXPECT_EQ(parseShard("3/4"), (Shard{3, 4}));
    EXPECT_EQ((Shard{3, 4}).text(), "3/4");
}

TEST(ShardTest, whatNamesNoPartIsAMistake)
{
    for (const char* const text :
         {"", "/", "5/4", "4/4", "0/0", "-1/4", "0/-4", "1", "1/", "/4", "1/4/4", " 1/4", "1/ 4", "0x1/4",
          "1/0x4", "a/b", "1.0/4", "4294967295/4294967296"}) {
        EXPECT_FALSE(parseShard(text)) << text;
    }
    EXPECT_EQ(fleet::shardMistake("5/4"), "--shard is not I/N with I from 0 to N-1: \"5/4\".");
}

TEST(ShardTest, partsHaveNoGapAndNoOverlapAndDifferByOneDeviceAtMost)
{
    for (uint32_t count = 0; count < 40; ++count) {
        for (uint32_t of = 1; of < 12; ++of) {
            uint32_t next = 0;
            for (uint32_t i = 0; i < of; ++i) {
                const Shard shard{i, of};
                EXPECT_EQ(shard.first(count), next);
                EXPECT_GE(shard.size(count), count / of);
                EXPECT_LE(shard.size(count), (count + of - 1) / of);
                next += shard.size(count);
            }
            EXPECT_EQ(next, count);
        }
    }
    EXPECT_EQ((Shard{4294967294, 4294967295}).first(4294967295), 4294967294u);
    EXPECT_EQ((Shard{0, 1}).size(4294967295), 4294967295u);
}

TEST(ShardTest, eachDeviceHasTheSameRateInEveryPart)
{
    EXPECT_DOUBLE_EQ((Shard{0, 4}).rate(500.0, 10), 150.0) << "3 of 10 devices";
    EXPECT_DOUBLE_EQ((Shard{3, 4}).rate(500.0, 10), 100.0) << "2 of 10 devices";
    EXPECT_EQ((Shard{3, 4}).rate(500.0, 3), 0.0) << "no device";
    EXPECT_EQ((Shard{0, 1}).rate(500.0, 0), 0.0);
}

TEST(ShardTest, noPartRequiresMoreDevicesThanItHas)
{
    for (uint32_t count = 0; count < 30; ++count) {
        for (uint32_t required = 0; required <= count; ++required) {
            uint32_t sum = 0;
            for (uint32_t i = 0; i < 7; ++i) {
                const Shard shard{i, 7};
                EXPECT_LE(shard.require(required), shard.size(count));
                sum += shard.require(required);
            }
            EXPECT_EQ(sum, required);
        }
    }
}

TEST(ShardTest, withoutASchedulerThereIsNoPart) { EXPECT_FALSE(shardFrom({{"HOME", "/root"}})); }

TEST(ShardTest, slurmNumbersItsTasks)
{
    EXPECT_EQ(shardFrom({{"SLURM_PROCID", "2"}, {"SLURM_NTASKS", "4"}}), (Shard{2, 4}));
}

TEST(ShardTest, kubernetesNumbersItsPodsAndTheManifestSaysHowMany)
{
    EXPECT_EQ(shardFrom({{"JOB_COMPLETION_INDEX", "0"}, {"ZUL_SHARDS", "3"}}), (Shard{0, 3}));
}

TEST(ShardTest, anEnvironmentThatNamesNoPartIsAMistake)
{
    EXPECT_EQ(
        mistakeFrom({{"SLURM_PROCID", "4"}, {"SLURM_NTASKS", "4"}}),
        "SLURM_PROCID is \"4\" and SLURM_NTASKS is \"4\", which names no part of the fleet; --shard does.");
    EXPECT_EQ(mistakeFrom({{"JOB_COMPLETION_INDEX", "1"}}),
              "JOB_COMPLETION_INDEX is \"1\" and ZUL_SHARDS is not set, which names no part of the fleet; "
              "--shard does.");
    for (const Variables& variables : std::vector<Variables>{
             {{"SLURM_NTASKS", "4"}},
             {{"SLURM_PROCID", "0"}},
             {{"SLURM_PROCID", ""}, {"SLURM_NTASKS", ""}},
             {{"ZUL_SHARDS", "3"}},
             {{"JOB_COMPLETION_INDEX", "one"}, {"ZUL_SHARDS", "3"}},
             {{"JOB_COMPLETION_INDEX", "0"}, {"ZUL_SHARDS", "0"}},
         }) {
        EXPECT_NE(mistakeFrom(variables), "") << variables.begin()->first;
    }
}

TEST(ShardTest, theRunIsTheSchedulersJob)
{
    EXPECT_EQ(fleet::runFrom(environment({{"SLURM_JOB_ID", "17"}})), "17");
    EXPECT_EQ(fleet::runFrom(environment({{"ZUL_RUN_ID", "fleet-x2f"}})), "fleet-x2f");
    EXPECT_EQ(fleet::runFrom(environment({})), std::nullopt);
    EXPECT_EQ(fleet::runFrom(environment({{"ZUL_RUN_ID", ""}})), std::nullopt);
}
