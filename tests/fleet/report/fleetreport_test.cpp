#include "fleet/report/fleetreport.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "fleet/report/reporttable.h"
#include "report/samplereport.h"

using fleet::FleetReport;

namespace {

/// Reads the sample with the text @p part replaced. Returns the mistake.
std::string mistakeWith(const std::string& part, const std::string& instead)
{
    std::string text = fleet::reportText(sampleReport());
    const size_t found = text.find(part);
    EXPECT_NE(found, std::string::npos) << part;
    text.replace(found, part.size(), instead);
    const zulcommand::JsonPtr json(json_loads(text.c_str(), 0, nullptr));
    EXPECT_TRUE(json) << text;
    std::string mistake;
    EXPECT_FALSE(fleet::fromJson(json.get(), &mistake));
    return mistake;
}

/// A folder that is gone at the end.
class Folder
{
public:
    Folder() : mPath(testing::TempDir() + "fleetreport" + std::to_string(::getpid()))
    {
        std::filesystem::create_directory(mPath);
    }
    ~Folder() { std::filesystem::remove_all(mPath); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return mPath + "/" + name; }
    bool isEmpty() const { return std::filesystem::is_empty(mPath); }

private:
    std::string mPath;
};

} // namespace

TEST(FleetReportTest, theJsonHasEveryKey)
{
    EXPECT_EQ(
        fleet::reportText(sampleReport()),
        R"({"version":"1.2.3","kernel":"Linux 6.1","seed":4294967295,"shard":"1/4","run":"night",)"
        R"("devices":{"asked":1000,"in":990,"refused":{"connection refused":7,"no answer":3},"lost":2},)"
        R"("connects":{"planned":500.0,"reached":480.5},"secondsUntilAllIn":4.25,)"
        R"("events":{"planned":101,"sent":90,"late":6,"leftOut":5,"dropped":3,"waiting":3,"kinds":{)"
        R"("din":{"planned":70,"sent":60,"late":5,"leftOut":4,"dropped":3,"waiting":3},)"
        R"("ain":{"planned":20,"sent":20,"late":1,"leftOut":0,"dropped":0,"waiting":0},)"
        R"("scan":{"planned":5,"sent":4,"late":0,"leftOut":1,"dropped":0,"waiting":0},)"
        R"("adhoc":{"planned":6,"sent":6,"late":0,"leftOut":0,"dropped":0,"waiting":0}}},)"
        R"("latencies":{)"
        R"("connect":{"count":1,"p50":0.0005,"p90":0.0005,"p99":0.0005,"p999":0.0005,"max":0.0005,)"
        R"("histogram":[[0.000501,1]]},)"
        R"("identified":{"count":1,"p50":0.0015,"p90":0.0015,"p99":0.0015,"p999":0.0015,"max":0.0015,)"
        R"("histogram":[[0.001503,1]]},)"
        R"("event":{"count":2,"p50":7e-5,"p90":9e-5,"p99":9e-5,"p999":9e-5,"max":9e-5,)"
        R"("histogram":[[7e-5,1],[9e-5,1]]},)"
        R"("answer":{"count":0,"p50":null,"p90":null,"p99":null,"p999":null,"max":null,"histogram":[]}},)"
        R"("outages":[)"
        R"({"kind":"storm","at":60.0,"devices":1000,"secondsUntilBack":12.5,"mostConnects":200},)"
        R"({"kind":"flap","at":65.0,"devices":10,"secondsUntilBack":null,"mostConnects":10}],)"
        R"("memory":{"bytesPerDevice":7000.0},"cpu":{"secondsPer1000Events":0.015},)"
        R"("limits":{"descriptors":20000,"ports":28000}})");
}

TEST(FleetReportTest, theJsonReadsBack)
{
    for (const FleetReport& report : {sampleReport(), FleetReport()}) {
        std::string mistake;
        const zulcommand::JsonPtr json(json_loads(fleet::reportText(report).c_str(), 0, nullptr));
        const std::optional<FleetReport> read = fleet::fromJson(json.get(), &mistake);
        ASSERT_TRUE(read) << mistake;
        EXPECT_EQ(fleet::reportText(*read), fleet::reportText(report));
    }
}

TEST(FleetReportTest, whatWasNotMeasuredIsNull)
{
    const std::string text = fleet::reportText(FleetReport());
    for (const char* const member :
         {R"("shard":null)", R"("run":null)", R"("planned":null)", R"("secondsUntilAllIn":null)",
          R"("bytesPerDevice":null)", R"("secondsPer1000Events":null)"}) {
        EXPECT_NE(text.find(member), std::string::npos) << member;
    }
}

TEST(FleetReportTest, aMistakeNamesTheMember)
{
    EXPECT_EQ(mistakeWith("\"version\"", "\"aversion\""), "\"version\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"in\":990", "\"in\":-1"), "\"devices.in\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"in\":990", "\"in\":9e2"), "\"devices.in\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"in\":990", "\"in\":2000000000000"), "\"devices.in\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"no answer\":3", "\"no answer\":null"),
              "\"devices.refused\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"seed\":4294967295", "\"seed\":4294967296"), "\"seed\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"1/4\"", "\"4/4\""), "\"shard\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"night\"", "7"), "\"run\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"planned\":500.0", "\"planned\":-1"), "\"connects.planned\" is missing or wrong");
    EXPECT_EQ(mistakeWith("4.25", "\"soon\""), "\"secondsUntilAllIn\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"scan\"", "\"scans\""), "\"events.kinds.scan.planned\" is missing or wrong");
    EXPECT_EQ(mistakeWith("[0.000501,1]", "[0.000501,2]"), "\"latencies.connect\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"at\":65.0", "\"at\":null"), "\"outages[1].at\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"outages\":[", "\"outages\":[7,"), "\"outages[0].kind\" is missing or wrong");
    EXPECT_EQ(mistakeWith("\"memory\":{", "\"memory\":7,\"m\":{"),
              "\"memory.bytesPerDevice\" is missing or wrong");
}

TEST(FleetReportTest, membersThatContradictEachOtherAreAMistake)
{
    EXPECT_EQ(mistakeWith("\"in\":990", "\"in\":1001"), "\"devices\" has more in than asked");
    EXPECT_EQ(mistakeWith("\"planned\":101", "\"planned\":102"), "\"events\" is not the sum of its kinds");
    EXPECT_EQ(mistakeWith("\"sent\":60", "\"sent\":61"), "a kind of \"events\" does not add up");
    EXPECT_EQ(mistakeWith("\"late\":5", "\"late\":61"), "a kind of \"events\" does not add up");
}

TEST(FleetReportTest, whatIsNoObjectIsNoReport)
{
    std::string mistake;
    EXPECT_FALSE(fleet::fromJson(nullptr, &mistake));
    const zulcommand::JsonPtr list(json_array());
    EXPECT_FALSE(fleet::fromJson(list.get(), &mistake));
    EXPECT_EQ(mistake, "\"version\" is missing or wrong");
}

TEST(FleetReportTest, theFileHasTheJsonInOneLine)
{
    const Folder folder;
    ASSERT_TRUE(fleet::writeReport(sampleReport(), folder.path("report.json")).isOk());
    std::stringstream text;
    text << std::ifstream(folder.path("report.json")).rdbuf();
    EXPECT_EQ(text.str(), fleet::reportText(sampleReport()) + "\n");
}

TEST(FleetReportTest, aFileThatCannotBeWrittenIsToldBefore)
{
    const Folder folder;
    EXPECT_TRUE(fleet::checkReport(folder.path("report.json")).isOk());
    EXPECT_TRUE(folder.isEmpty()) << "looking changes nothing";
    const std::string path = folder.path("missing/report.json");
    const WStatus status = fleet::checkReport(path);
    EXPECT_EQ(fleet::writeMistake(path, status), "Cannot write \"" + path + "\": No such file or directory.");
    EXPECT_FALSE(fleet::writeReport(sampleReport(), path).isOk());
}

TEST(FleetReportTest, theTableIsForPeople)
{
    EXPECT_EQ(fleet::reportTable(sampleReport()),
              R"(zulfleet 1.2.3 on Linux 6.1, seed 4294967295, run night, shard 1/4

devices           asked         in    refused       lost
                   1000        990         10          2
  refused 7: connection refused
  refused 3: no answer

connects      planned/s  reached/s     all in
                    500        480     4.25 s

events          planned       sent       late   left out    dropped    waiting
  din                70         60          5          4          3          3
  ain                20         20          1          0          0          0
  scan                5          4          0          1          0          0
  adhoc               6          6          0          0          0          0
  all               101         90          6          5          3          3

latencies         count        p50        p90        p99      p99.9        max
  connect             1    0.50 ms    0.50 ms    0.50 ms    0.50 ms    0.50 ms
  identified          1    1.50 ms    1.50 ms    1.50 ms    1.50 ms    1.50 ms
  event               2    0.07 ms    0.09 ms    0.09 ms    0.09 ms    0.09 ms
  answer              0          -          -          -          -          -

outages              at    devices back after connects/s
  storm          60.0 s       1000     12.5 s        200
  flap           65.0 s         10          -         10

costs         bytes/dev  s/1000 ev
                   7000     0.0150
)");
}
