#include "zulscenario/nodereader.h"

#include <algorithm>
#include <istream>
#include <streambuf>
#include <unordered_set>
#include <utility>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

namespace zulscenario {

namespace {

constexpr size_t kMaxDepth = 8;
constexpr size_t kMaxNodes = 250'000; ///< of one entry or element
/// From one node to the next. Up to the end of a flow ("{...}") the parser keeps some 200 times its bytes.
constexpr size_t kMaxDistance = 512 * 1024;

/// Ends the parser after a mistake.
struct Stop
{};

/// What is wrong with an anchor, an alias or a tag at @p offset; null if there is none.
const char* propertyMistake(const std::string& content, size_t offset)
{
    switch (offset < content.size() ? content[offset] : ' ') {
    case '&':
        return "This is an anchor; write each value where it belongs.";
    case '*':
        return "This is an alias; write the value itself.";
    case '!':
        return "This is a tag; a scenario has none.";
    default:
        return nullptr;
    }
}

/// Gives a parser the text of a file in pieces, and ends it if it takes too much before it tells a node.
class MeteredText : public std::streambuf
{
public:
    MeteredText(const std::string& content, Mistakes* mistakes) : mContent(content), mMistakes(mistakes) {}

    void toldNode(size_t offset) { mLastNode = offset; }

protected:
    int_type underflow() override
    {
        constexpr size_t kPiece = 4096;
        if (mGiven > mLastNode + kMaxDistance) {
            mMistakes->fail(mLastNode, "What follows holds more than 512 KiB up to the next value; write a "
                                       "list of steps with \"- \" in front of each.");
            throw Stop();
        }
        const size_t size = std::min(kPiece, mContent.size() - mGiven);
        char* const begin = const_cast<char*>(mContent.data()) + mGiven; // is only read
        setg(begin, begin, begin + size);
        mGiven += size;
        return size == 0 ? traits_type::eof() : traits_type::to_int_type(*begin);
    }

private:
    const std::string& mContent;
    Mistakes* const mMistakes;
    size_t mGiven = 0;
    size_t mLastNode = 0;
};

/// Makes nodes of what a parser tells.
class NodeBuilder : public YAML::EventHandler
{
public:
    NodeBuilder(const std::string& content, MeteredText* text, NodeSink* sink, Mistakes* mistakes)
        : mContent(content), mText(text), mSink(sink), mMistakes(mistakes)
    {}

    bool hasMap() const { return mHasMap; }

    void OnDocumentStart(const YAML::Mark& mark) override
    {
        if (mHasMap) {
            stop(offsetOf(mark), "A second document begins here; a file holds one.");
        }
    }

    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t) override
    {
        add(begin(mark, YamlNode::eKind::NOTHING));
    }

    void OnAlias(const YAML::Mark&, YAML::anchor_t) override {} // without anchors the parser refuses it

    void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t,
                  const std::string& value) override
    {
        YamlNode node = begin(mark, YamlNode::eKind::TEXT);
        node.isQuoted = tag == "!"; // of a quoted or a block scalar
        node.text = value;
        checkClosed(node.offset);
        add(std::move(node));
    }

    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                         YAML::EmitterStyle::value) override
    {
        open(begin(mark, YamlNode::eKind::LIST));
    }

    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t,
                    YAML::EmitterStyle::value) override
    {
        open(begin(mark, YamlNode::eKind::MAP));
        mHasMap = true;
    }

    void OnSequenceEnd() override { close(); }
    void OnMapEnd() override { close(); }

private:
    /// A list or a map whose end is not there yet.
    struct Open
    {
        YamlNode node;
        std::unordered_set<std::string> keys = {};

        bool awaitsKey() const { return node.kind == YamlNode::eKind::MAP && node.items.size() % 2 == 0; }
    };

    [[noreturn]] void stop(size_t offset, const std::string& sentence)
    {
        mMistakes->fail(offset, sentence);
        throw Stop();
    }

    size_t offsetOf(const YAML::Mark& mark) const
    {
        return std::min(static_cast<size_t>(std::max(mark.pos, 0)), mContent.size());
    }

    /// The parser takes a text whose quotation mark is not closed up to the end of the file.
    void checkClosed(size_t offset)
    {
        const char mark = offset < mContent.size() ? mContent[offset] : ' ';
        if (mark != '"' && mark != '\'') {
            return;
        }
        size_t at = offset + 1;
        while (at < mContent.size() && mContent[at] != mark) {
            at += mContent[at] == '\\' && mark == '"' ? 2 : 1;
        }
        if (at >= mContent.size()) {
            stop(offset, "This quotation mark is not closed.");
        }
    }

    YamlNode begin(const YAML::Mark& mark, YamlNode::eKind kind)
    {
        size_t offset = offsetOf(mark);
        mText->toldNode(offset);
        if (kind == YamlNode::eKind::NOTHING && offset > 0) { // is told at what comes after it
            offset = std::min(mContent.find_last_not_of(" \t\r\n", offset - 1), offset);
        }
        if (const char* mistake = propertyMistake(mContent, offset)) {
            stop(offset, mistake);
        }
        if (++mNodes > kMaxNodes) {
            stop(offset, "This value holds more than 250,000 others.");
        }
        return {.kind = kind, .line = static_cast<uint32_t>(mark.line) + 1, .offset = offset};
    }

    void open(YamlNode node)
    {
        if (mOpen.empty() && node.kind != YamlNode::eKind::MAP) {
            stop(node.offset, "A scenario is a map, such as \"scenario: NAME\" and \"steps:\".");
        }
        checkKey(node);
        if (mOpen.size() == kMaxDepth) {
            stop(node.offset, "This is nested deeper than 8 levels; a scenario has 5 at most.");
        }
        if (isElementList(mOpen.size(), node)) {
            tell([&] { mSink->entry(mOpen[0].node.items.front(), node); });
        }
        mOpen.push_back({std::move(node)});
    }

    /// True for a list in the file's map, whose elements are told one by one.
    static bool isElementList(size_t depth, const YamlNode& node)
    {
        return depth == 1 && node.kind == YamlNode::eKind::LIST;
    }

    void close()
    {
        YamlNode node = std::move(mOpen.back().node);
        mOpen.pop_back();
        if (!mOpen.empty()) {
            add(std::move(node));
        }
    }

    void checkKey(const YamlNode& node)
    {
        if (mOpen.empty() || !mOpen.back().awaitsKey()) {
            return;
        }
        if (node.kind != YamlNode::eKind::TEXT) {
            stop(node.offset, "A key is one word, such as \"at\".");
        }
        if (!mOpen.back().keys.insert(node.text).second) {
            stop(node.offset, "The key " + excerpt(node.text) + " is given twice; leave one of them out.");
        }
    }

    void add(YamlNode node)
    {
        if (mOpen.empty()) {
            stop(node.offset, "A scenario is a map, such as \"scenario: NAME\" and \"steps:\".");
        }
        checkKey(node);
        if (mOpen.size() == 1 && !mOpen[0].awaitsKey()) {
            if (!isElementList(1, node)) {
                tell([&] { mSink->entry(mOpen[0].node.items.front(), node); });
            }
            mOpen[0].node.items.clear();
        } else if (mOpen.size() == 2 && isElementList(1, mOpen[1].node)) {
            tell([&] { mSink->element(node); });
        } else {
            mOpen.back().node.items.push_back(std::move(node));
        }
    }

    template <class Tell>
    void tell(Tell call)
    {
        call();
        mNodes = 0;
        if (mMistakes->failed()) {
            throw Stop();
        }
    }

    const std::string& mContent;
    MeteredText* const mText;
    NodeSink* const mSink;
    Mistakes* const mMistakes;
    std::vector<Open> mOpen;
    size_t mNodes = 0;
    bool mHasMap = false;
};

} // namespace

void readNodes(const std::string& content, NodeSink* sink, Mistakes* mistakes)
{
    MeteredText text(content, mistakes);
    NodeBuilder builder(content, &text, sink, mistakes);
    try {
        std::istream stream(&text);
        YAML::Parser parser(stream);
        while (parser.HandleNextDocument(builder)) {
        }
        if (!builder.hasMap()) {
            mistakes->fail(0, "The file is empty; a scenario has at least \"steps:\".");
        }
    } catch (const Stop&) {
        // The mistake was told.
    } catch (const YAML::Exception& error) {
        const size_t offset = std::min(static_cast<size_t>(std::max(error.mark.pos, 0)), content.size());
        const char* property = propertyMistake(content, offset);
        mistakes->fail(offset, property != nullptr ? property : "This is not YAML: " + error.msg + ".");
    }
}

} // namespace zulscenario
