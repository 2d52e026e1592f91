// The examples that this reader and the schema have in common.

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "zulscenario/scenarioreader.h"

namespace {

using namespace zulscenario;

constexpr zuldevice::Counts kExampleCounts{4, 4, 2, 2, 2};

const std::string kFolder = SCENARIO_EXAMPLES;

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
    std::string place; ///< "LINE:COLUMN"
    std::string refusedBy;
    std::string sentence; ///< empty if it is that of the library
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
        EXPECT_EQ(listed.sentence.empty() ? mistake.substr(0, expected.size()) : mistake, expected);
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

} // namespace
