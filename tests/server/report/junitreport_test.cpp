#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "junitfile.h"
#include "server/report/junitreport.h"

using server::JunitReport;
using zulcommand::Reply;

namespace {

void run(JunitReport* report, const std::string& command, Reply::Status status = Reply::Status::OK,
         const std::string& error = {})
{
    report->commandBegun(command);
    report->addLine("line of " + command);
    report->commandDone({.status = status, .error = error}, 0.25);
}

void write(const JunitReport& report, const JunitFile& file) { std::ofstream(file.path()) << report.xml(); }

} // namespace

TEST(JunitReportTest, aRunInWhichNothingHappenedIsAReportToo)
{
    const JunitFile file;
    write(JunitReport(), file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 0);
}

TEST(JunitReportTest, aCommandIsACase)
{
    JunitReport report;
    report.addLine("listening");
    run(&report, "get din");
    run(&report, "expect event", Reply::Status::FAILED, "No event came.");
    run(&report, "foo", Reply::Status::ERROR, "There is no command \"foo\".");
    run(&report, "wait event", Reply::Status::TIMEOUT, "No such event came.");
    report.addLine("after that");
    report.commandBegun("sleep 9");
    report.cutOff();
    report.neverBegun("quit");
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 6);
    EXPECT_EQ(file.number("count(//testcase[@name=\"get din\"]/*)"), 1) << "its output";
    EXPECT_EQ(file.text("string(//testcase[@name=\"get din\"]/@time)"), "0.250000");
    EXPECT_EQ(file.text("string(//testcase[@name=\"get din\"]/system-out)"), "line of get din");
    EXPECT_EQ(file.message("expect event", "failure"), "No event came.");
    EXPECT_EQ(file.text("string(//failure)"), "expect event\nNo event came.");
    EXPECT_EQ(file.text("string(//failure/@type)"), "failed");
    EXPECT_EQ(file.message("foo", "error"), "There is no command \"foo\".");
    EXPECT_EQ(file.message("wait event", "error"), "No such event came.");
    EXPECT_EQ(file.text("string(//testcase[@name=\"wait event\"]/system-out)"),
              "line of wait event\nafter that");
    EXPECT_EQ(file.message("sleep 9", "skipped"), "The run ended before this command was done.");
    EXPECT_EQ(file.message("quit", "skipped"), "The run ended before this command began.");
    EXPECT_EQ(file.text("string(//testsuite/system-out)"), "listening");
}

TEST(JunitReportTest, commandsBehindANameAreOneCase)
{
    JunitReport report;
    run(&report, "wait device");
    run(&report, "case first");
    run(&report, "sleep 0");
    run(&report, "sleep 1");
    run(&report, "case second");
    run(&report, "expect event", Reply::Status::FAILED, "The first reason.");
    run(&report, "foo", Reply::Status::ERROR, "The second reason.");
    run(&report, "case third");
    report.neverBegun("sleep 0");
    report.neverBegun("case fourth");
    report.neverBegun("sleep 0");
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 5);
    EXPECT_EQ(file.text("string(//testcase[@name=\"first\"]/@time)"), "0.750000");
    EXPECT_EQ(file.message("second", "failure"), "The first reason.");
    EXPECT_EQ(file.message("second", "error"), "(none)");
    EXPECT_EQ(file.message("third", "skipped"), "The run ended before this command began.");
    EXPECT_EQ(file.message("fourth", "skipped"), "The run ended before this command began.");
}

TEST(JunitReportTest, theRunItselfMayFail)
{
    JunitReport report;
    run(&report, "case one");
    report.runFailed("The time of the whole run is over.");
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.message("the run", "error"), "The time of the whole run is over.");
    EXPECT_EQ(file.number("count(//testcase[@name=\"one\"]/*)"), 1);
}

TEST(JunitReportTest, anyBytesMakeASoundReport)
{
    JunitReport report;
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte += static_cast<char>(byte);
    }
    run(&report, "expect ]]> <\"&'>" + everyByte, Reply::Status::FAILED, "<!-- " + everyByte);
    run(&report, "case " + everyByte, Reply::Status::ERROR, everyByte);
    report.addLine(everyByte + "]]>");
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 2);
}

TEST(JunitReportTest, theLatestLinesOfACaseAreKept)
{
    JunitReport report({100, 30, 1000});
    report.commandBegun("wait event");
    for (int i = 1; i <= 9; ++i) {
        report.addLine("message 000" + std::to_string(i)); // 13 bytes with its end
    }
    report.commandDone({}, 1);
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.text("string(//testcase/system-out)"),
              "[7 earlier lines are left out]\nmessage 0008\nmessage 0009");
}

TEST(JunitReportTest, theLatestLinesOfAllCasesAreKept)
{
    JunitReport report({100, 1000, 40});
    report.addLine("listening");
    for (int i = 1; i <= 5; ++i) {
        run(&report, "sleep " + std::to_string(i)); // a line of 16 bytes with its end
    }
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.text("string(//testcase[3]/system-out)"), "[1 earlier lines are left out]");
    EXPECT_EQ(file.text("string(//testcase[4]/system-out)"), "line of sleep 4");
    EXPECT_EQ(file.text("string(//testcase[5]/system-out)"), "line of sleep 5");
    EXPECT_EQ(file.text("string(//testsuite/system-out)"), "listening");
}

TEST(JunitReportTest, aLineBeyondTheLimitIsLeftOut)
{
    JunitReport report({100, 30, 1000});
    report.commandBegun("get din");
    report.addLine(std::string(50, 'x'));
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.text("string(//testcase/system-out)"), "[1 earlier lines are left out]");
}

TEST(JunitReportTest, commandsBeyondTheLimitCountToTheLastCase)
{
    JunitReport report({3, 1000, 1000});
    for (int i = 1; i <= 5; ++i) {
        run(&report, "sleep " + std::to_string(i));
    }
    run(&report, "case more");
    run(&report, "expect event", Reply::Status::FAILED, "No event came.");
    const JunitFile file;
    write(report, file);
    EXPECT_EQ(file.mistakes(), "");
    EXPECT_EQ(file.number("count(//testcase)"), 3);
    EXPECT_EQ(file.message("sleep 3", "failure"), "No event came.");
}
