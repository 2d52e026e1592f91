#include "wlog/wlog.h"

#include <cstdio>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "zulobj/dinput.h"
#include "zulobj/recordfactory.h"

namespace {

/// Standard error and standard output while it lives.
struct Captured
{
    Captured()
    {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
    }
    void take()
    {
        standardError = testing::internal::GetCapturedStderr();
        standardOutput = testing::internal::GetCapturedStdout();
    }
    std::string standardError;
    std::string standardOutput;
};

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

class FormattingLog : public cWlog
{
public:
    FormattingLog() : cWlog("test.format") {}
    std::string format(const char* text) { return logText("%s|%d", text, 5); }
    std::string formatted(const std::string& text) { return logText("%s", text.c_str()); }
};

/// A log configuration of the given lines in a file that goes with it.
class ConfigFile
{
public:
    explicit ConfigFile(const std::string& lines)
    {
        char name[] = "/tmp/wlog_testXXXXXX";
        close(mkstemp(name));
        mName = name;
        std::ofstream(mName) << lines;
    }
    ~ConfigFile() { std::remove(mName.c_str()); }
    const char* name() const { return mName.c_str(); }

private:
    std::string mName;
};

TEST(WlogTest, PrioritiesHaveTheirValues)
{
    EXPECT_EQ(cWlog::EMERG, 0);
    EXPECT_EQ(cWlog::FATAL, 0);
    EXPECT_EQ(cWlog::ALERT, 100);
    EXPECT_EQ(cWlog::CRIT, 200);
    EXPECT_EQ(cWlog::ERROR, 300);
    EXPECT_EQ(cWlog::WARN, 400);
    EXPECT_EQ(cWlog::NOTICE, 500);
    EXPECT_EQ(cWlog::INFO, 600);
    EXPECT_EQ(cWlog::DEBUG, 700);
    EXPECT_EQ(cWlog::NOTSET, 800);
}

TEST(WlogTest, WritesToStandardErrorFromItsLevelUp)
{
    Captured output;
    cWlog::init(cWlog::INFO);
    const cWlog log("test.level");
    log.fatal("a fatal line");
    log.error("an error line");
    log.warn("a warning line");
    log.info("an info line");
    log.debug("a debug line");
    EXPECT_FALSE(log.debugEnabled());
    output.take();
    for (const char* line : {"FATAL test.level: a fatal line\n", "ERROR test.level: an error line\n",
                             "WARN test.level: a warning line\n", "INFO test.level: an info line\n"}) {
        EXPECT_TRUE(contains(output.standardError, line)) << line << "in\n" << output.standardError;
    }
    EXPECT_FALSE(contains(output.standardError, "debug line"));
    EXPECT_EQ(output.standardOutput, "");
}

TEST(WlogTest, SecondInitChangesTheLevelAndAddsNoOutput)
{
    Captured output;
    cWlog::init(cWlog::INFO);
    cWlog::init(cWlog::DEBUG);
    const cWlog log("test.again");
    EXPECT_TRUE(log.debugEnabled());
    log.debug("said once");
    output.take();
    const size_t found = output.standardError.find("said once");
    ASSERT_NE(found, std::string::npos);
    EXPECT_EQ(output.standardError.find("said once", found + 1), std::string::npos);
}

TEST(WlogTest, LineIsNoFormat)
{
    Captured output;
    cWlog::init(cWlog::INFO);
    cWlog("test.percent").info("100%s %n of it");
    output.take();
    EXPECT_TRUE(contains(output.standardError, "100%s %n of it"));
}

TEST(WlogTest, CategoryCanBeChanged)
{
    Captured output;
    cWlog::init(cWlog::INFO);
    cWlog log("test.before");
    log.setLogName("test.after");
    log.info("here");
    output.take();
    EXPECT_TRUE(contains(output.standardError, "test.after: here"));
}

TEST(WlogTest, FormatsIntoItsBuffer)
{
    FormattingLog log;
    EXPECT_EQ(log.format("a"), "a|5");
    EXPECT_EQ(log.formatted(std::string(5000, 'x')), std::string(1023, 'x')) << "cut to the buffer";
}

TEST(WlogTest, TakesAConfigurationFile)
{
    const ConfigFile written("");
    const ConfigFile file("log4cpp.rootCategory=WARN, out\n"
                          "log4cpp.appender.out=FileAppender\n"
                          "log4cpp.appender.out.fileName=" +
                          std::string(written.name()) +
                          "\n"
                          "log4cpp.appender.out.layout=BasicLayout\n");
    cWlog::init(cWlog::DEBUG);
    ASSERT_EQ(cWlog::init(file.name()), "");
    const cWlog log("test.file");
    EXPECT_FALSE(log.debugEnabled());
    log.warn("into the file");
    std::ifstream lines(written.name());
    std::string line;
    std::getline(lines, line);
    EXPECT_TRUE(contains(line, "test.file : into the file")) << line;
}

TEST(WlogTest, LoggingStaysWhereAConfigurationFileIsNotTaken)
{
    const ConfigFile unknownLevel("log4cpp.rootCategory=LOUD, nowhere\n");
    const ConfigFile unknownAppender("log4cpp.rootCategory=WARN, out\nlog4cpp.appender.out=Toaster\n");
    for (const char* name : {"/nonexistent/log.properties", unknownLevel.name(), unknownAppender.name()}) {
        SCOPED_TRACE(name);
        Captured output;
        cWlog::init(cWlog::INFO);
        EXPECT_TRUE(contains(cWlog::init(name), name)) << "the sentence names the file";
        cWlog("test.stays").info("still here");
        output.take();
        EXPECT_TRUE(contains(output.standardError, "still here"));
    }
}

/// A configuration that log4cpp would take and then write nothing, or somewhere else.
struct SilentConfig
{
    const char* name;
    const char* lines;
    const char* reason;
};

class SilentConfigTest : public testing::TestWithParam<SilentConfig>
{};

TEST_P(SilentConfigTest, IsNotTakenAndSaysWhy)
{
    const ConfigFile file(GetParam().lines);
    Captured output;
    cWlog::init(cWlog::INFO);
    EXPECT_EQ(cWlog::init(file.name()), std::string("The log configuration ") + file.name() +
                                            " was not taken: " + GetParam().reason + ".");
    cWlog("test.stays").info("still here");
    cWlog("test.stays").debug("as before");
    output.take();
    EXPECT_TRUE(contains(output.standardError, "still here"));
    EXPECT_FALSE(contains(output.standardError, "as before"));
    EXPECT_EQ(output.standardOutput, "");
}

INSTANTIATE_TEST_SUITE_P(
    All, SilentConfigTest,
    testing::Values(SilentConfig{"MissingDirectory",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.appender.out=FileAppender\n"
                                 "log4cpp.appender.out.fileName=/nonexistent/device.log\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n",
                                 "the file of appender 'out' cannot be written"},
                    SilentConfig{"MissingDirectoryOfARollingFile",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.appender.out=RollingFileAppender\n"
                                 "log4cpp.appender.out.fileName=/nonexistent/device.log\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n",
                                 "the file of appender 'out' cannot be written"},
                    SilentConfig{"MissingDirectoryOfACategory",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.category.zulobj=DEBUG, link\n"
                                 "log4cpp.appender.out=ConsoleAppender\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n"
                                 "log4cpp.appender.link=FileAppender\n"
                                 "log4cpp.appender.link.fileName=/nonexistent/link.log\n"
                                 "log4cpp.appender.link.layout=BasicLayout\n",
                                 "the file of appender 'link' cannot be written"},
                    SilentConfig{"NoFileName",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.appender.out=FileAppender\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n",
                                 "appender.out.fileName is missing"},
                    SilentConfig{"EmptyFileName",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.appender.out=FileAppender\n"
                                 "log4cpp.appender.out.fileName=\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n",
                                 "appender.out.fileName is missing"},
                    SilentConfig{"UnknownAppender", "log4cpp.rootCategory=DEBUG, nowhere\n",
                                 "Appender 'nowhere' not found for category 'rootCategory'"},
                    SilentConfig{"UnknownAppenderType",
                                 "log4cpp.rootCategory=DEBUG, out\n"
                                 "log4cpp.appender.out=Toaster\n",
                                 "Appender 'out' has unknown type 'Toaster'"},
                    SilentConfig{"RootWithoutAppender", "log4cpp.rootCategory=DEBUG\n",
                                 "rootCategory names no appender"},
                    SilentConfig{"MisspelledCategory",
                                 "log4cpp.rootCategory=DEBUG, out # the usual\n"
                                 "log4cpp.categry.zulobj=DEBUG\n"
                                 "log4cpp.appender.out=ConsoleAppender\n"
                                 "log4cpp.appender.out.layout=BasicLayout\n",
                                 "nothing is known by the name 'categry.zulobj'"},
                    SilentConfig{"ALineWithoutEquals", "log everything\n",
                                 "nothing is known by the name 'log everything'"},
                    SilentConfig{"Empty", "# nothing\n\n", "Unable to find category: rootCategory"}),
    [](const testing::TestParamInfo<SilentConfig>& config) { return config.param.name; });

TEST(WlogTest, KeyIsPrintedToTheLog)
{
    Captured output;
    cWlog::init(cWlog::INFO);
    cObjectDInput input;
    input.setDeviceSerial(1001);
    input.setPortId(3);
    input.printKey();
    zulobj::createRecord(static_cast<eObjectTypes>(99))->printKey();
    output.take();
    EXPECT_TRUE(contains(output.standardError, "zulobj: OBJ_PORT_DIN deviceSerial=1001 portId=3\n"));
    EXPECT_TRUE(contains(output.standardError, "zulobj: 99\n"));
    EXPECT_EQ(output.standardOutput, "");
}

} // namespace
