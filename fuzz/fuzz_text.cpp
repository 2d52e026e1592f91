// Texts of any length, from a field to the wire and to JSON. The input: how long the text becomes, in
// two bytes, and what it repeats.

#include "fuzzinput.h"
#include "jsontext.h"
#include "payloadwriter.h"
#include "property.h"
#include "zulobj/jsonvalue.h"
#include "zulobj/text.h"

namespace {

bool isUTF8(std::string_view text) { return JsonRef(json_stringn(text.data(), text.size())) != nullptr; }

/// What a tag carries of @p text.
std::string sent(const std::string& text)
{
    std::vector<uint8_t> payload;
    PayloadWriter writer(&payload);
    writer.beginObject(OBJ_ACCESS);
    writer.putText(TAG_LABEL, text);
    writer.endObject();

    WObjectReader objects(payload);
    WendleObject object;
    require(objects.next(&object), "there is an object");
    WTagReader tags(object.tags);
    WTagView tag;
    require(tags.next(&tag) && tag.number == TAG_LABEL, "it has the tag of the text");
    const std::string carried(wmsg::getText(tag.value));
    require(!tags.next(&tag) && tags.status().isOk(), "it has no other tag");
    require(!objects.next(&object) && objects.status().isOk(), "there is no other object");
    return carried;
}

void checkSending(const std::string& text)
{
    const std::string carried = sent(text);
    require(text.compare(0, carried.size(), carried) == 0, "what is sent is the text's begin");
    require(carried.size() <= wmsg::kMaxTextBytes, "no text is longer than its tag says");
    // A character has three more bytes at most, and a text that is none may have one too many of them.
    require(carried.size() == text.size() || carried.size() + (isUTF8(text) ? 3 : 4) >= wmsg::kMaxTextBytes,
            "no more is cut than has to be");
    require(carried.size() == text.size() || !isUTF8(text) || isUTF8(carried), "no character is cut in two");
}

void checkField(const std::string& bytes)
{
    const std::string text = bytes.substr(0, bytes.find('\0'));
    cText field;
    require(!field.isSet() && field.get() == nullptr && field.bytes().empty(), "a new text was never set");
    const cText unset = field;
    field.set(bytes);
    require(field.isSet() && field.bytes() == text && field.get() == text, "a text ends at its first NUL");
    require(!(field == unset) && unset < field && !(field < unset),
            "a text never set differs from every other");
    cText same;
    same.set(text.c_str());
    require(same == field && !(same < field), "a text is its bytes");
    same.set(nullptr);
    require(same == unset, "a text can be unset");
}

void checkJSON(const std::string& bytes)
{
    cText field;
    field.set(bytes);
    const JsonRef json(zulobj::toJSON(zuldict::entry(TAG_LABEL), field));
    require(json_is_string(json.get()), "a text that is set is a JSON text");
    cText read;
    require(zulobj::fromJSON(zuldict::entry(TAG_LABEL), json.get(), &read).isOk(), "a text's JSON is taken");
    require(isUTF8(read.bytes()), "JSON is UTF-8");
    require(read == field || !isUTF8(field.bytes()), "a text in UTF-8 comes back");
    require(read.bytes().size() <= 3 * field.bytes().size(), "each wrong byte becomes one character");
}

/// A word among those of an enumeration, and back.
void checkName(const std::string& word)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        require(&zuldict::entry(entry.tag) == &entry, "a tag finds its row");
        uint32_t value = 0;
        if (zuldict::valueOf(entry.names, word.c_str(), &value)) {
            require(word.c_str() == std::string(zuldict::nameOf(entry.names, value)), "a name has one value");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const size_t length = input.number16() + 100;
    const std::string once = input.restText();
    std::string text = once;
    while (text.size() < length && !once.empty()) {
        text += once;
    }
    checkSending(text);
    checkField(text);
    checkJSON(once);
    checkName(once);
    return 0;
}
