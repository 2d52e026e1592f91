#include "fleet/app/options.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>

#include "fleet/devices/steadytime.h"

using namespace fleet;

namespace {

using Variables = std::map<std::string, std::string>;

ParsedOptions parse(std::vector<const char*> arguments, const Variables& variables = {})
{
    arguments.insert(arguments.begin(), "zulfleet");
    return parseOptions(static_cast<int>(arguments.size()), arguments.data(), "version",
                        [&](const char* name) {
                            const auto found = variables.find(name);
                            return found == variables.end() ? nullptr : found->second.c_str();
                        });
}

/// With a server and ten devices.
ParsedOptions parseFleet(std::vector<const char*> arguments, const Variables& variables = {})
{
    arguments.insert(arguments.begin(), {"--server", "127.0.0.1:50000", "--count", "10"});
    return parse(std::move(arguments), variables);
}

/// The sentence about a mistake, without the program's name.
std::string mistakeOf(const ParsedOptions& parsed)
{
    EXPECT_EQ(parsed.exitStatus, parsed.options ? 0 : 1);
    return parsed.error.empty() ? "" : parsed.error.substr(std::string("zulfleet: ").size());
}

} // namespace

TEST(FleetOptionsTest, aServerAndACountAreEnough)
{
    const auto options = parseFleet({}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->server.host, "127.0.0.1");
    EXPECT_EQ(options->server.port, 50000);
    EXPECT_EQ(options->fleet.count, 10U);
    EXPECT_EQ(options->fleet.serialStart, 1U);
    EXPECT_EQ(options->fleet.label.text(3), "SITE 3");
    EXPECT_EQ(options->fleet.eventRate, 0.0);
    EXPECT_FALSE(options->fleet.duration);
    EXPECT_FALSE(options->isPart);
}

TEST(FleetOptionsTest, everyOptionIsTaken)
{
    const auto options = parseFleet({"--din",
                                     "4",
                                     "--dout",
                                     "3",
                                     "--ain",
                                     "2",
                                     "--aout",
                                     "1",
                                     "--scanners",
                                     "5",
                                     "--device-version",
                                     "9",
                                     "--serial-start",
                                     "1001",
                                     "--label",
                                     "PUMP {n:03}",
                                     "--time-scale",
                                     "60",
                                     "--scenario",
                                     "a.yaml",
                                     "--scenario",
                                     "b.yaml",
                                     "--until-done",
                                     "--junit",
                                     "r.xml",
                                     "--check",
                                     "--seed",
                                     "77",
                                     "--connect-rate",
                                     "500",
                                     "--bind",
                                     "127.0.0.2,127.0.0.4-127.0.0.6",
                                     "--events",
                                     "12.5",
                                     "--mix",
                                     "din=1",
                                     "--sample-every",
                                     "5",
                                     "--outage",
                                     "storm@60s:10s",
                                     "--outage",
                                     "flap:1%:5s:reset",
                                     "--duration",
                                     "2m",
                                     "--progress",
                                     "500ms",
                                     "--control",
                                     "/tmp/x",
                                     "--require",
                                     "9",
                                     "--report",
                                     "r.json",
                                     "--run-id",
                                     "night",
                                     "--shard",
                                     "1/3"})
                             .options;
    ASSERT_TRUE(options);
    const FleetSettings& fleet = options->fleet;
    EXPECT_EQ(fleet.counts.digitalInputs, 4U);
    EXPECT_EQ(fleet.counts.digitalOutputs, 3U);
    EXPECT_EQ(fleet.counts.analogInputs, 2U);
    EXPECT_EQ(fleet.counts.analogOutputs, 1U);
    EXPECT_EQ(fleet.counts.scanners, 5U);
    EXPECT_EQ(fleet.version, 9U);
    EXPECT_EQ(fleet.serialStart, 1001U);
    EXPECT_EQ(fleet.label.text(7), "PUMP 007");
    EXPECT_EQ(fleet.seed, 77U);
    EXPECT_EQ(fleet.timeScale, 60.0);
    EXPECT_EQ(options->scenarios, (std::vector<std::string>{"a.yaml", "b.yaml"}));
    EXPECT_TRUE(fleet.untilDone);
    EXPECT_EQ(options->junit, "r.xml");
    EXPECT_TRUE(options->check);
    EXPECT_EQ(fleet.connectRate, 500.0);
    EXPECT_EQ(options->bind, (std::vector<std::string>{"127.0.0.2", "127.0.0.4", "127.0.0.5", "127.0.0.6"}));
    EXPECT_EQ(fleet.eventRate, 12.5);
    EXPECT_EQ(fleet.sampleEvery, 5 * kSecond);
    EXPECT_EQ(fleet.outages.size(), 2U);
    EXPECT_EQ(fleet.duration, 120 * kSecond);
    EXPECT_EQ(options->progressSeconds, 0.5);
    EXPECT_EQ(options->control, "/tmp/x");
    EXPECT_EQ(options->require, 9U);
    EXPECT_EQ(options->report, "r.json");
    EXPECT_EQ(options->runId, "night");
    EXPECT_TRUE(options->isPart);
    EXPECT_EQ(fleet.shard, (Shard{1, 3}));
}

TEST(FleetOptionsTest, aFleetNeedsAServerAndACount)
{
    EXPECT_EQ(mistakeOf(parse({"--count", "1"})), "--server is needed: where the devices connect to.\n");
    EXPECT_EQ(mistakeOf(parse({"--server", "x:1"})), "--count is needed: the number of devices.\n");
}

TEST(FleetOptionsTest, wrongValuesAreMistakes)
{
    struct Row
    {
        std::vector<const char*> arguments;
        const char* mistake;
    };
    const Row rows[] = {
        {{"--serial-start", "4294967286"},
         "--serial-start and --count give serial numbers beyond 4294967294, the last one."},
        {{"--serial-start", "4294967295"},
         "--serial-start and --count give serial numbers beyond 4294967294, the last one."},
        {{"--serial-start", "4294967296"},
         "--serial-start: '4294967296' is not a whole number from 0 to 4294967295"},
        {{"--din", "x"}, "--din: 'x' is not a whole number from 0 to 100000"},
        {{"--din", "60000", "--dout", "60000"},
         "--din, --dout, --ain, --aout and --scanners: more than 100000 in all."},
        {{"--label", "SITE"}, "--label needs {n}, the number of the device, if there are several: \"SITE\"."},
        {{"--label", "{n:4}"}, "--label has something else than {n} or {n:04} behind a brace: \"{n:4}\"."},
        {{"--connect-rate", "0"}, "--connect-rate is not a number above 0 and up to 1000000: \"0\"."},
        {{"--events", "-1"}, "--events is not a number above 0 and up to 1000000: \"-1\"."},
        {{"--mix", "din=0"}, "--mix does not add up to anything: \"din=0\"."},
        {{"--mix", "din=1"}, "--mix has \"din\", but the devices have no digital input."},
        {{"--bind", "here"}, "--bind has neither an address nor ADDRESS-ADDRESS, of up to 65536: \"here\"."},
        {{"--bind", "127.0.0.2-127.0.0.1"},
         "--bind has neither an address nor ADDRESS-ADDRESS, of up to 65536: \"127.0.0.2-127.0.0.1\"."},
        {{"--sample-every", "0"}, "--sample-every is not a time from 1ms to 86400s: \"0\"."},
        {{"--time-scale", "0.09"}, "--time-scale: '0.09' is not a number from 0.1 to 10000"},
        {{"--time-scale", "nan"}, "--time-scale: 'nan' is not a number from 0.1 to 10000"},
        {{"--duration", "1h"}, "--duration is not a time from 1ms to 86400s: \"1h\"."},
        {{"--progress", "x"}, "--progress is not a time from 1ms to 86400s: \"x\"."},
        {{"--outage", "rain"},
         "--outage is none of storm@TIME:TIME, rolling:SHARE%/TIME and flap:SHARE%:TIME, with :reset or "
         "without: "
         "\"rain\"."},
        {{"--require", "11"}, "--require is more than --count: \"11\"."},
        {{"--shard", "1/2"}, "--seed is needed: the parts of a fleet share one."},
        {{"--shard", "0/11", "--seed", "1"}, "--count is less than the number of parts: 10 and 11."},
        {{"--device", "/nowhere/x.dev"}, "the device file \"/nowhere/x.dev\" could not be opened."},
        {{"--device", "/"}, "the device file \"/\" could not be opened."},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(mistakeOf(parseFleet(row.arguments)), std::string(row.mistake) + "\n");
    }
    EXPECT_EQ(mistakeOf(parse({"--server", "127.0.0.1:1", "--count", "0"})),
              "--count is not a whole number from 1 to 10000000: \"0\".\n");
    EXPECT_EQ(mistakeOf(parse({"--server", "127.0.0.1:1", "--count", "10000001"})),
              "--count is not a whole number from 1 to 10000000: \"10000001\".\n");
    EXPECT_EQ(mistakeOf(parse({"--server", "127.0.0.1", "--count", "1"})),
              "--server is not HOST:PORT, with a port from 1 to 65535: \"127.0.0.1\".\n");
    EXPECT_EQ(mistakeOf(parseFleet({"--seed", "1", "--shard", "5/4"})), shardMistake("5/4") + "\n");
}

TEST(FleetOptionsTest, oneDeviceNeedsNoNumberInItsLabel)
{
    const auto options = parse({"--server", "127.0.0.1:1", "--count", "1", "--label", "SITE"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->fleet.label.text(0), "SITE");
}

TEST(FleetOptionsTest, aDeviceFileDescribesEveryDevice)
{
    const std::string path = testing::TempDir() + "fleet_options_test.dev";
    std::ofstream(path) << "a: 4\nb: 3\nc: 2\nd: 1\ne: 5\nf: TYPE_DISCRETE_IO\ng: 6\nh: 1001\ni: Panel 7\n";
    const auto options = parseFleet({"--device", path.c_str(), "--ain", "8"}).options;
    std::remove(path.c_str());
    ASSERT_TRUE(options);
    EXPECT_EQ(options->fleet.counts.digitalInputs, 4U);
    EXPECT_EQ(options->fleet.counts.analogInputs, 8U);
    EXPECT_EQ(options->fleet.version, 6U);
    EXPECT_EQ(options->fleet.serialStart, 1U);
    EXPECT_EQ(options->fleet.label.text(3), "Panel7");
}

TEST(FleetOptionsTest, aSchedulerGivesThePart)
{
    const auto options =
        parseFleet({"--seed", "1"}, {{"SLURM_PROCID", "2"}, {"SLURM_NTASKS", "4"}, {"SLURM_JOB_ID", "77"}})
            .options;
    ASSERT_TRUE(options);
    EXPECT_TRUE(options->isPart);
    EXPECT_EQ(options->fleet.shard, (Shard{2, 4}));
    EXPECT_EQ(options->runId, "77");
}

TEST(FleetOptionsTest, mergingNeedsNoFleet)
{
    const auto options = parse({"--merge", "a.json", "b.json", "--report", "all.json"}).options;
    ASSERT_TRUE(options);
    EXPECT_EQ(options->merge, (std::vector<std::string>{"a.json", "b.json"}));
    EXPECT_EQ(options->report, "all.json");
}
