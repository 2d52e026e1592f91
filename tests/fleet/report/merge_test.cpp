#include "fleet/report/merge.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

#include "report/samplereport.h"

using fleet::FleetReport;
using fleet::NamedReport;

namespace {

FleetReport part(uint32_t index, uint32_t of)
{
    FleetReport report = sampleReport();
    report.shard = fleet::Shard{index, of};
    return report;
}

std::vector<NamedReport> parts(uint32_t of)
{
    std::vector<NamedReport> all;
    for (uint32_t i = 0; i < of; ++i) {
        all.push_back({std::string(1, static_cast<char>('A' + i)), part(i, of)});
    }
    return all;
}

FleetReport merged(const std::vector<NamedReport>& parts)
{
    std::string mistake;
    const std::optional<FleetReport> report = fleet::mergeReports(parts, &mistake);
    EXPECT_TRUE(report) << mistake;
    return report.value_or(FleetReport());
}

std::string mistakeOf(const std::vector<NamedReport>& parts)
{
    std::string mistake;
    EXPECT_FALSE(fleet::mergeReports(parts, &mistake));
    return mistake;
}

/// Reports of parts in a folder that is gone at the end.
class Files
{
public:
    explicit Files(const std::vector<NamedReport>& parts)
        : mFolder(testing::TempDir() + "merge" + std::to_string(::getpid()) + "/")
    {
        std::filesystem::create_directory(mFolder);
        for (const NamedReport& part : parts) {
            mPaths.push_back(mFolder + part.name);
            EXPECT_TRUE(fleet::writeReport(part.report, mPaths.back()).isOk());
        }
    }
    ~Files() { std::filesystem::remove_all(mFolder); }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;

    const std::string& folder() const { return mFolder; }
    const std::vector<std::string>& paths() const { return mPaths; }

private:
    std::string mFolder;
    std::vector<std::string> mPaths;
};

} // namespace

TEST(MergeTest, countsAndRatesAreSums)
{
    const FleetReport all = merged(parts(3));
    EXPECT_EQ(all.devices.asked, 3000u);
    EXPECT_EQ(all.devices.in, 2970u);
    EXPECT_EQ(all.devices.lost, 6u);
    EXPECT_EQ(all.connects.planned, 1500.0);
    EXPECT_EQ(all.connects.reached, 1441.5);
    EXPECT_EQ(all.events().planned, 303u);
    EXPECT_EQ(all.events().late, 18u);
    EXPECT_EQ(all.kinds[0].sent, 180u);
}

TEST(MergeTest, devicesRefusedForOneReasonAreAddedUp)
{
    std::vector<NamedReport> two = parts(2);
    two[1].report.devices.refused = {{"no answer", 2}, {"no route", 1}};
    const std::map<std::string, uint64_t> expected = {
        {"connection refused", 7}, {"no answer", 5}, {"no route", 1}};
    EXPECT_EQ(merged(two).devices.refused, expected);
}

TEST(MergeTest, allAreInWhenTheLastPartIs)
{
    std::vector<NamedReport> two = parts(2);
    two[0].report.secondsUntilAllIn = 9.0;
    EXPECT_EQ(merged(two).secondsUntilAllIn, 9.0);
    two[1].report.secondsUntilAllIn.reset();
    EXPECT_EQ(merged(two).secondsUntilAllIn, std::nullopt);
}

TEST(MergeTest, percentilesAreThoseOfAllTimes)
{
    std::vector<NamedReport> two = parts(2);
    fleet::Histogram all;
    for (uint64_t value = 0; value < 10000; ++value) {
        two[value < 9950 ? 0 : 1].report.latencies.answer.record(value);
        all.record(value);
    }
    const fleet::Histogram& answer = merged(two).latencies.answer;
    EXPECT_EQ(answer.count(), 10000u);
    EXPECT_EQ(answer.percentile(99), all.percentile(99));
    EXPECT_EQ(answer.percentile(99.9), all.percentile(99.9));
    EXPECT_EQ(answer.max(), 9999u);
}

TEST(MergeTest, theMergedReportIsOfNoShardAndOfTheSameRun)
{
    const FleetReport all = merged(parts(2));
    EXPECT_EQ(all.shard, std::nullopt);
    EXPECT_EQ(all.run, "night");
    EXPECT_EQ(all.seed, 4294967295u);
    EXPECT_EQ(all.version, "1.2.3");
}

TEST(MergeTest, eachKernelIsNamedOnce)
{
    std::vector<NamedReport> three = parts(3);
    three[1].report.kernel = "Linux 5.10";
    EXPECT_EQ(merged(three).kernel, "Linux 5.10, Linux 6.1");
}

TEST(MergeTest, costsAreMeansByWhatTheyAreMeasuredOn)
{
    std::vector<NamedReport> two = parts(2);
    two[0].report.devices.asked = 3000;
    two[0].report.bytesPerDevice = 6000.0;
    two[1].report.bytesPerDevice = 7000.0;
    two[0].report.events(fleet::eEventKind::DIN) = {970, 970, 0, 0, 0, 0};
    two[0].report.secondsPer1000Events = 0.01;
    two[1].report.secondsPer1000Events = 0.02;
    EXPECT_DOUBLE_EQ(merged(two).bytesPerDevice.value(), 6250.0);
    EXPECT_DOUBLE_EQ(merged(two).secondsPer1000Events.value(), (0.01 * 1000 + 0.02 * 90) / 1090);
    two[0].report.secondsPer1000Events.reset();
    EXPECT_DOUBLE_EQ(merged(two).secondsPer1000Events.value(), 0.02);
}

TEST(MergeTest, theLowestLimitsCount)
{
    std::vector<NamedReport> two = parts(2);
    two[1].report.limits = {1024, 50000};
    EXPECT_EQ(merged(two).limits.descriptors, 1024u);
    EXPECT_EQ(merged(two).limits.ports, 28000u);
}

TEST(MergeTest, anOutageIsThatOfAllParts)
{
    std::vector<NamedReport> two = parts(2);
    two[0].report.outages = {
        {"storm", 60.0, 1000, 12.5, 200}, {"flap", 60.0, 5, 1.0, 5}, {"flap", 60.0, 7, 2.0, 7}};
    two[1].report.outages = {{"flap", 60.0, 5, 3.0, 4},
                             {"flap", 60.0, 7, {}, 2},
                             {"storm", 60.0, 999, 11.5, 150},
                             {"flap", 65.0, 5, 1.0, 5}};
    EXPECT_NE(
        fleet::reportText(merged(two))
            .find(R"("outages":[)"
                  R"({"kind":"flap","at":60.0,"devices":10,"secondsUntilBack":3.0,"mostConnects":9},)"
                  R"({"kind":"flap","at":60.0,"devices":14,"secondsUntilBack":null,"mostConnects":9},)"
                  R"({"kind":"storm","at":60.0,"devices":1999,"secondsUntilBack":12.5,"mostConnects":350},)"
                  R"({"kind":"flap","at":65.0,"devices":5,"secondsUntilBack":1.0,"mostConnects":5}])"),
        std::string::npos)
        << fleet::reportText(merged(two));
}

TEST(MergeTest, theOrderOfTheReportsDoesNotMatter)
{
    std::vector<NamedReport> three = parts(3);
    three[0].report.devices.in = 1;
    const std::string text = fleet::reportText(merged(three));
    std::swap(three[0], three[2]);
    EXPECT_EQ(fleet::reportText(merged(three)), text);
}

TEST(MergeTest, otherRunsOtherSeedsAndOtherFleetsAreMistakes)
{
    std::vector<NamedReport> two = parts(2);
    two[1].report.run = "day";
    EXPECT_EQ(mistakeOf(two), R"("B" and "A" are of different runs: run "day" and run "night".)");
    two[1].report.run.reset();
    EXPECT_EQ(mistakeOf(two), R"("B" and "A" are of different runs: no run and run "night".)");

    two = parts(2);
    two[1].report.seed = 7;
    EXPECT_EQ(mistakeOf(two), R"("B" and "A" are of different seeds: 7 and 4294967295.)");

    two = parts(2);
    two[1].report.shard = fleet::Shard{1, 3};
    EXPECT_EQ(mistakeOf(two), R"("B" and "A" are of different fleets: shard 1/3 and shard 0/2.)");
}

TEST(MergeTest, aShardTwiceIsAMistake)
{
    std::vector<NamedReport> two = parts(2);
    two[1].report.shard = fleet::Shard{0, 2};
    EXPECT_EQ(mistakeOf(two), R"("B" and "A" are both of shard 0/2.)");
}

TEST(MergeTest, aShardThatIsMissingIsAMistake)
{
    EXPECT_EQ(mistakeOf({{"A", part(0, 2)}}), "The report of one shard is missing: 1/2.");
    EXPECT_EQ(mistakeOf({{"A", part(1, 4)}}), "The reports of 3 shards are missing: 0/4, 2/4, 3/4.");
    EXPECT_EQ(mistakeOf({{"A", part(0, 4294967295)}}).substr(0, 44),
              "The reports of 4294967294 shards are missing");
    EXPECT_EQ(mistakeOf({}), "--merge needs the reports of all shards of a run.");
}

TEST(MergeTest, theReportOfAWholeFleetIsAMistake)
{
    FleetReport whole = sampleReport();
    whole.shard.reset();
    EXPECT_EQ(mistakeOf({{"A", whole}}), R"("A" is the report of a whole fleet, not of a shard.)");
}

TEST(MergeTest, filesMakeATableAndAReport)
{
    const Files files(parts(2));
    const std::string path = files.folder() + "all.json";
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(fleet::runMerge(files.paths(), path, out, err), 0);
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(out.str().substr(0, 65), "zulfleet 1.2.3 on Linux 6.1, seed 4294967295, run night\n\ndevices ");
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), fleet::reportText(merged(parts(2))) + "\n");
}

TEST(MergeTest, aFileThatIsNoReportEndsItWithOneSentence)
{
    const Files files(parts(1));
    const std::string bad = files.folder() + "bad";
    const auto errorWith = [&](const std::string& content) {
        std::ofstream(bad) << content;
        std::ostringstream out;
        std::ostringstream err;
        EXPECT_EQ(fleet::runMerge({files.paths()[0], bad}, {}, out, err), 1);
        EXPECT_EQ(out.str(), "");
        return err.str();
    };
    const std::string name = "zulfleet: \"" + bad + "\"";
    EXPECT_EQ(errorWith("{}"), name + " is no report of zulfleet: \"version\" is missing or wrong.\n");
    EXPECT_EQ(errorWith("{").substr(0, name.size() + 15), name + " is no report: ");
    EXPECT_EQ(errorWith("").substr(0, name.size() + 15), name + " is no report: ");
}

TEST(MergeTest, filesThatCannotBeReadOrWrittenEndItWithOneSentence)
{
    const Files files(parts(1));
    const std::string missing = files.folder() + "missing/all.json";
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(fleet::runMerge(files.paths(), missing, out, err), 1);
    EXPECT_EQ(fleet::runMerge({missing}, {}, out, err), 1);
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(err.str(), "zulfleet: Cannot write \"" + missing + "\": No such file or directory.\n" +
                             "zulfleet: Cannot read \"" + missing + "\": No such file or directory.\n");
}
