// The examples that this reader and the schema have in common.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "zulscenario/scenarioreader.h"

namespace {

using namespace zulscenario;

constexpr zuldevice::Counts kExampleCounts{4, 4, 2, 2, 2};

const std::string kTree = SOURCE_TREE;
const std::string kFolder = kTree + "/tests/platform/zulscenario/examples";

std::vector<std::string> scenariosIn(const std::string& folder)
{
    std::vector<std::string> paths;
    for (const auto& file : std::filesystem::directory_iterator(folder)) {
        if (file.path().extension() == ".yaml") {
            paths.push_back(file.path());
        }
    }
    std::ranges::sort(paths);
    return paths;
}

std::string textOf(const std::string& path)
{
    std::string text;
    EXPECT_EQ(zulcommand::readTextFile(path, &text), "");
    return text;
}

/// A line of the list of mistakes.
struct Listed
{
    std::string name;
    std::string place; ///< "LINE:COLUMN", or "-" if it is that of the library
    std::string refusedBy;
    std::string sentence;
};

std::vector<Listed> listedMistakes()
{
    std::vector<Listed> all;
    std::istringstream lines(textOf(kFolder + "/bad/mistakes.txt"));
    for (std::string line; std::getline(lines, line);) {
        Listed one;
        std::istringstream words(line);
        if (!line.starts_with('#') && words >> one.name >> one.place >> one.refusedBy) {
            std::getline(words >> std::ws, one.sentence);
            all.push_back(one);
        }
    }
    return all;
}

TEST(ScenarioExamplesTest, EachGoodOneIsRead)
{
    const std::vector<std::string> paths = scenariosIn(kFolder + "/good");
    EXPECT_GT(paths.size(), 10U);
    for (const std::string& path : paths) {
        Scenario scenario;
        EXPECT_EQ(readScenario(path, kExampleCounts, &scenario), "");
        EXPECT_FALSE(scenario.steps.empty()) << path;
    }
}

TEST(ScenarioExamplesTest, EachBadOneHasItsMistakeAtTheWrongWord)
{
    for (const Listed& listed : listedMistakes()) {
        const std::string path = kFolder + "/bad/" + listed.name + ".yaml";
        Scenario scenario{.name = "untouched"};
        const std::string mistake = readScenario(path, kExampleCounts, &scenario);
        std::string expected = path + ":" + listed.place + ": " + listed.sentence;
        if (const size_t folder = expected.find("FOLDER"); folder != std::string::npos) {
            expected.replace(folder, std::string("FOLDER").size(), kFolder + "/bad");
        }
        EXPECT_TRUE(mistake == expected || (listed.place == "-" && mistake.starts_with(path + ":")))
            << mistake << '\n'
            << expected;
        EXPECT_EQ(mistake.find('\n'), std::string::npos) << path;
        EXPECT_TRUE(mistake.ends_with('.')) << path;
        EXPECT_EQ(scenario.name, "untouched") << path;
    }
}

TEST(ScenarioExamplesTest, EachBadOneIsListed)
{
    std::vector<std::string> listed;
    for (const Listed& one : listedMistakes()) {
        listed.push_back(kFolder + "/bad/" + one.name + ".yaml");
    }
    std::ranges::sort(listed);
    EXPECT_EQ(scenariosIn(kFolder + "/bad"), listed);
}

/// The ports of the device that the command line in the head of @p scenario starts.
zuldevice::Counts countsOf(const std::string& scenario)
{
    zuldevice::Counts counts;
    std::map<std::string, uint32_t*> options = {{"--din", &counts.digitalInputs},
                                                {"--dout", &counts.digitalOutputs},
                                                {"--ain", &counts.analogInputs},
                                                {"--aout", &counts.analogOutputs},
                                                {"--scanners", &counts.scanners}};
    std::istringstream words(scenario);
    for (std::string word; words >> word;) {
        if (const auto option = options.find(word); option != options.end()) {
            words >> *option->second;
        }
    }
    return counts;
}

TEST(ScenarioExamplesTest, EachPublishedOneIsReadForTheDeviceInItsHead)
{
    const std::vector<std::string> paths = scenariosIn(kTree + "/examples/scenarios");
    EXPECT_EQ(paths.size(), 10U);
    for (const std::string& path : paths) {
        Scenario scenario;
        EXPECT_EQ(readScenario(path, countsOf(textOf(path)), &scenario), "");
    }
}

TEST(ScenarioExamplesTest, EachScenarioOfTheManualIsRead)
{
    const std::string begin = "```yaml\n";
    const std::string manual = textOf(kTree + "/docs/scenarios.md");
    size_t found = 0;
    for (size_t at = manual.find(begin); at != std::string::npos; at = manual.find(begin, at)) {
        at += begin.size();
        const std::string text = manual.substr(at, manual.find("```", at) - at);
        if (text.starts_with('#')) {
            continue; // only a comment
        }
        ++found;
        Scenario scenario;
        const auto read = [&](const std::string&, std::string* content) {
            *content = text;
            return std::string();
        };
        EXPECT_EQ(readScenario("manual.yaml", kExampleCounts, &scenario, read), "") << text;
    }
    EXPECT_GE(found, 2U);
}

} // namespace
