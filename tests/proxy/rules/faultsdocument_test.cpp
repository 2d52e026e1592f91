// Compares docs/faults.md with the rules and with docs/protocol.md.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "proxy/rules/ruleparser.h"

namespace proxy {

namespace {

std::string contentOf(const char* path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> linesOfDocument()
{
    std::istringstream document(contentOf(FAULTS_DOCUMENT));
    std::vector<std::string> lines;
    for (std::string line; std::getline(document, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// In one line, with the texts of links alone.
std::string plain(const std::string& text)
{
    const std::string unlinked = std::regex_replace(text, std::regex(R"(\[([^\]]*)\]\([^)]*\))"), "$1");
    return std::regex_replace(unlinked, std::regex(R"(\s+)"), " ");
}

/// The address of a heading: "First answer" is "first-answer".
std::string anchorOf(const std::string& heading)
{
    std::string anchor;
    for (const char letter : heading) {
        const bool kept = std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '-';
        anchor += letter == ' ' ? "-" : kept ? std::string(1, static_cast<char>(std::tolower(letter))) : "";
    }
    return anchor;
}

std::set<std::string> anchorsIn(const std::string& text)
{
    std::set<std::string> anchors;
    const std::regex heading(R"((?:^|\n)#+ ([^\n]+))");
    for (std::sregex_iterator at(text.begin(), text.end(), heading); at != std::sregex_iterator(); ++at) {
        anchors.insert(anchorOf((*at)[1]));
    }
    return anchors;
}

/// The rows of tables that begin with a kind or an alias, by its name.
std::vector<std::pair<std::string, std::string>> kindRows()
{
    std::vector<std::pair<std::string, std::string>> rows;
    const std::regex row(R"(\| `([a-z_-]+)[^`]*` \|.*)");
    std::smatch match;
    for (const std::string& line : linesOfDocument()) {
        Rule unused;
        if (std::regex_match(line, match, row) &&
            parseRule(match[1], &unused) != "There is no kind \"" + match[1].str() + "\".") {
            rows.emplace_back(match[1], line);
        }
    }
    return rows;
}

} // namespace

TEST(FaultsDocumentTest, hasARowForEveryKind)
{
    std::set<std::string> documented;
    for (const auto& [name, row] : kindRows()) {
        documented.insert(name);
    }
    for (int kind = 0; kind <= static_cast<int>(eFault::NAN_FLOATS); ++kind) {
        EXPECT_TRUE(documented.contains(nameOf(static_cast<eFault>(kind))))
            << nameOf(static_cast<eFault>(kind));
    }
    for (const char* alias : {"latency", "bandwidth", "slicer", "reset_peer", "limit_data"}) {
        EXPECT_TRUE(documented.contains(alias)) << alias;
    }
}

TEST(FaultsDocumentTest, everyKindSaysWhatIsRightByASentenceOfTheProtocol)
{
    const std::regex link(R"(\]\(#)");
    for (const auto& [name, row] : kindRows()) {
        const auto columns = std::count(row.begin(), row.end(), '|') - 1;
        if (columns == 4) {
            EXPECT_TRUE(std::regex_search(row, link)) << row;
        }
    }
}

TEST(FaultsDocumentTest, quotesTheProtocolAsItIs)
{
    const std::string protocol = plain(contentOf(PROTOCOL_DOCUMENT));
    std::string quoted;
    size_t quotes = 0;
    for (const std::string& line : linesOfDocument()) {
        if (line.starts_with("> ")) {
            quoted += (quoted.empty() ? "" : " ") + line.substr(2);
        } else if (!quoted.empty()) {
            EXPECT_NE(protocol.find(plain(quoted)), std::string::npos) << quoted;
            quoted.clear();
            ++quotes;
        }
    }
    EXPECT_GT(quotes, 20U);
}

TEST(FaultsDocumentTest, itsLinksLeadSomewhere)
{
    const std::string document = contentOf(FAULTS_DOCUMENT);
    const std::set<std::string> own = anchorsIn(document);
    const std::set<std::string> protocol = anchorsIn(contentOf(PROTOCOL_DOCUMENT));
    const std::regex link(R"(\]\((protocol\.md)?#([^)]+)\))");
    for (std::sregex_iterator at(document.begin(), document.end(), link); at != std::sregex_iterator();
         ++at) {
        EXPECT_TRUE(((*at)[1].matched ? protocol : own).contains((*at)[2])) << (*at)[2];
    }
}

TEST(FaultsDocumentTest, itsRulesAreGood)
{
    bool inRules = false;
    std::string rules;
    for (const std::string& line : linesOfDocument()) {
        if (line.starts_with("```")) {
            inRules = line == "```rules";
        } else if (inRules) {
            rules += line + "\n";
        }
    }
    const std::string document = contentOf(FAULTS_DOCUMENT);
    const std::regex option("--rule '([^']+)'");
    for (std::sregex_iterator at(document.begin(), document.end(), option); at != std::sregex_iterator();
         ++at) {
        rules += (*at)[1].str() + "\n";
    }
    std::vector<Rule> read;
    EXPECT_EQ(parseRules(rules, "faults.md", &read), "");
    EXPECT_GT(read.size(), 10U);
}

} // namespace proxy
