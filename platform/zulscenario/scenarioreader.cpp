#include "zulscenario/scenarioreader.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "zulscenario/mapreader.h"
#include "zulscenario/nodereader.h"
#include "zulscenario/stepreader.h"
#include "zulscenario/tablereader.h"

namespace zulscenario {

namespace {

constexpr size_t kMaxTableBytes = 16 * 1024 * 1024; ///< of all tables of a scenario

void removeByteOrderMark(std::string* content)
{
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    content->erase(0, content->starts_with(kMark) ? kMark.size() : 0);
}

/// The tables of a scenario, each read once.
class Tables
{
public:
    Tables(const std::string& scenario, const zuldevice::Counts& counts, const ReadFile& readFile)
        : mFolder(std::filesystem::path(scenario).parent_path()), mCounts(counts), mReadFile(readFile)
    {}

    /// Null and a mistake if there is no such table.
    std::shared_ptr<const Table> get(const Entry& file, Mistakes* mistakes)
    {
        const std::string path = (mFolder / file.value.text).lexically_normal().string();
        std::shared_ptr<const Table>& table = mTables[path];
        if (table == nullptr) {
            table = read(path, file, mistakes);
        }
        return table;
    }

private:
    std::shared_ptr<const Table> read(const std::string& path, const Entry& file, Mistakes* mistakes)
    {
        std::string content;
        std::string sentence = mReadFile(path, &content);
        mBytes += content.size();
        if (sentence.empty() && mBytes > kMaxTableBytes) {
            sentence = "The tables of this scenario hold more than 16 MiB.";
        }
        if (!sentence.empty()) {
            mistakes->fail(file.value.offset, sentence);
            return nullptr;
        }
        removeByteOrderMark(&content);
        Mistakes ofTable(path, content);
        checkText(content, &ofTable);
        Table table = readTable(content, ValueReader(mCounts, &ofTable));
        mistakes->failElsewhere(ofTable.text());
        return ofTable.failed() ? nullptr : std::make_shared<const Table>(std::move(table));
    }

    const std::filesystem::path mFolder;
    const zuldevice::Counts mCounts;
    const ReadFile& mReadFile;
    std::map<std::string, std::shared_ptr<const Table>> mTables;
    size_t mBytes = 0;
};

/// Makes a scenario of the entries of its file.
class ScenarioReader : public NodeSink
{
public:
    ScenarioReader(const ValueReader& values, FindTable findTable)
        : mValues(values), mFindTable(std::move(findTable))
    {}

    void element(const YamlNode& value) override
    {
        mScenario.steps.push_back(readStep(value, mValues, mFindTable));
    }

    void entry(const YamlNode& key, const YamlNode& value) override
    {
        const Entry entry{key, value};
        if (key.text == "scenario") {
            mScenario.name = mValues.name(entry);
        } else if (key.text == "seed") {
            mScenario.seed = mValues.seed(entry);
        } else if (key.text == "spread") {
            mScenario.spread = mValues.time(entry);
        } else if (key.text == "start") {
            mScenario.start = MapReader(mValues, entry, {}, kInputTypes).ports(&ValueReader::level);
        } else if (key.text == "repeat") {
            mScenario.repeat = mValues.repeat(entry);
            mRepeatOffset = key.offset;
            mTimesOffset = value.offset;
        } else if (key.text == "steps") {
            mStepsOffset = value.offset;
            if (value.kind != YamlNode::eKind::LIST) {
                mValues.failNot(entry, "a list of steps");
            }
        } else {
            mValues.mistakes().fail(key.offset, "There is no key " + excerpt(key.text) +
                                                    " here; there are scenario, seed, spread, start, steps, "
                                                    "repeat.");
        }
    }

    /// The scenario, when its file has been read.
    Scenario take()
    {
        if (mScenario.steps.empty()) {
            mValues.mistakes().fail(
                mStepsOffset, "The scenario has no step; it needs the key \"steps\" with a list of them.");
        }
        const auto endless = std::ranges::find_if(mScenario.steps, isEndless);
        if (mRepeatOffset && endless != mScenario.steps.end()) {
            mValues.mistakes().fail(*mRepeatOffset, "repeat is not possible: the step in line " +
                                                        std::to_string(endless->line) +
                                                        " never ends. Give it an end, or leave repeat out.");
        }
        if (!mScenario.repeat && !mValues.mistakes().failed() &&
            std::ranges::none_of(mScenario.steps, takesTime)) {
            mValues.mistakes().fail(mTimesOffset, "repeat must be a number, or a step must come after 0 s.");
        }
        return std::move(mScenario);
    }

private:
    const ValueReader& mValues;
    const FindTable mFindTable;
    Scenario mScenario;
    size_t mStepsOffset = 0;
    std::optional<size_t> mRepeatOffset;
    size_t mTimesOffset = 0; ///< of the value of repeat
};

} // namespace

std::string readScenario(const std::string& path, const zuldevice::Counts& counts, Scenario* scenario,
                         const ReadFile& readFile)
{
    std::string content;
    const std::string unreadable = readFile(path, &content);
    removeByteOrderMark(&content);
    Mistakes mistakes(path, content);
    if (!unreadable.empty()) {
        mistakes.fail(0, unreadable);
        return mistakes.text();
    }
    checkText(content, &mistakes);
    Tables tables(path, counts, readFile);
    const ValueReader values(counts, &mistakes);
    ScenarioReader reader(values, [&](const Entry& file) { return tables.get(file, &mistakes); });
    if (!mistakes.failed()) {
        readNodes(content, &reader, &mistakes);
    }
    Scenario read = reader.take();
    if (!mistakes.failed()) {
        read.name = read.name.empty() ? std::filesystem::path(path).stem().string() : read.name;
        *scenario = std::move(read);
    }
    return mistakes.text();
}

} // namespace zulscenario
