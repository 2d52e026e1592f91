// Puts the tables of the dictionary into the dissector, so that the two cannot differ.

#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "wmsg/wmsg.h"
#include "wmsg/wmsgreader.h"
#include "wmsg/wpayload.h"
#include "zuldict/zuldict.h"
#include "zulobj/objectlist.h"
#include "zulobj/recordfactory.h"

namespace {

/// The line of the template that the tables replace.
constexpr const char* kPlace = "-- @TABLES@";

/// No field of a fresh record has it.
constexpr json_int_t kMark = 4242;

using JsonPtr = std::unique_ptr<json_t, void (*)(json_t*)>;

JsonPtr owned(json_t* json)
{
    return {json, [](json_t* held) { json_decref(held); }};
}

/// Names in the dictionary are plain words, so this quotes them for Lua.
std::string quoted(const char* name) { return '"' + std::string(name) + '"'; }

void writeConstant(std::ostream& out, const char* name, uint64_t value)
{
    out << "    " << name << " = " << value << ",\n";
}

void writeConstants(std::ostream& out)
{
    writeConstant(out, "magic", wmsg::kMagic);
    writeConstant(out, "version", wmsg::kVersion);
    writeConstant(out, "flagAnswer", wmsg::kFlagAnswer);
    writeConstant(out, "flagEvent", wmsg::kFlagEvent);
    writeConstant(out, "flagControl", wmsg::kFlagControl);
    writeConstant(out, "flagLastSegment", wmsg::kFlagLastSegment);
    writeConstant(out, "flagsKnown", wmsg::kFlagsKnown);
    writeConstant(out, "controlPing", wmsg::kControlPing);
    writeConstant(out, "headerSize", wmsg::kHeaderSize);
    writeConstant(out, "objectHeaderSize", wmsg::kObjectHeaderSize);
    writeConstant(out, "tagHeaderSize", wmsg::kTagHeaderSize);
    writeConstant(out, "maxSegmentPayload", wmsg::kMaxSegmentPayload);
    writeConstant(out, "maxMessageBytes", wmsg::kMaxMessageBytes);
    writeConstant(out, "maxSegments", wmsg::kMaxSegments);
    writeConstant(out, "maxAgeMs", static_cast<uint64_t>(wmsg::kMaxAgeMs));
    writeConstant(out, "wildcard", cObject::kWildcard);
    writeConstant(out, "rateUnchanged", cObject::kRateUnchanged);
}

void writeNames(std::ostream& out, zuldict::Enumeration names)
{
    out << "{";
    for (const zuldict::Enumerator& name : names) {
        out << " [" << name.value << "] = " << quoted(name.name) << ",";
    }
    out << " }";
}

void writeMessageTypes(std::ostream& out)
{
    out << "    messageTypes = { [" << unsigned{cObjectList::kSet} << "] = \"set\", ["
        << unsigned{cObjectList::kRequest} << "] = \"request\", [" << unsigned{cObjectList::kEvent}
        << "] = \"event\" },\n"
        << "    answeredTypes = { [" << unsigned{cObjectList::kSet} << "] = true, ["
        << unsigned{cObjectList::kRequest} << "] = true },\n";
}

void writeTags(std::ostream& out)
{
    const char* const wireTypes[] = {"number", "float", "text"};
    out << "    tags = {\n";
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        out << "        [" << entry.tag << "] = { name = " << quoted(entry.name)
            << ", wire = " << quoted(wireTypes[static_cast<int>(entry.wireType)]);
        if (!entry.names.empty()) {
            out << ", names = ";
            writeNames(out, entry.names);
        }
        out << " },\n";
    }
    out << "    },\n";
}

const zuldict::TagEntry* entryNamed(const std::string& name)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        if (name == entry.name) {
            return &entry;
        }
    }
    return nullptr;
}

/// The tags of the record's fields in their order. A JSON form has every field, a text never set included.
std::vector<const zuldict::TagEntry*> fieldsOf(const cObject& record)
{
    std::vector<const zuldict::TagEntry*> found;
    const JsonPtr json = owned(record.getJSONObj());
    const char* name = nullptr;
    json_t* value = nullptr;
    json_object_foreach(json.get(), name, value)
    {
        if (const zuldict::TagEntry* entry = entryNamed(name)) {
            found.push_back(entry);
        }
    }
    return found;
}

/// True where the copy of the record's key takes the field along.
bool isKey(uint32_t type, const zuldict::TagEntry& field)
{
    if (field.wireType != zuldict::eWireType::NUMBER) {
        return false;
    }
    const auto record = zulobj::createRecord(static_cast<eObjectTypes>(type));
    const JsonPtr marked = owned(json_pack("{s:I}", field.name, kMark));
    if (!record->parse(marked.get()).isOk()) {
        return false;
    }
    const std::unique_ptr<cObject> key(record->cloneKey());
    const JsonPtr kept = owned(key->getJSONObj());
    return json_integer_value(json_object_get(kept.get(), field.name)) == kMark;
}

void writeRecord(std::ostream& out, uint32_t type, const std::vector<const zuldict::TagEntry*>& fields)
{
    out << "        [" << type << "] = {";
    for (const zuldict::TagEntry* field : fields) {
        out << " [" << field->tag << "] = " << quoted(isKey(type, *field) ? "key" : "field") << ",";
    }
    out << " },\n";
}

void writeRecords(std::ostream& out)
{
    out << "    records = {\n";
    for (const zuldict::Enumerator& type : zuldict::objectTypes()) {
        const auto fields = fieldsOf(*zulobj::createRecord(static_cast<eObjectTypes>(type.value)));
        if (!fields.empty()) {
            writeRecord(out, type.value, fields);
        }
    }
    out << "    },\n";
}

std::string tables()
{
    std::ostringstream out;
    out << "local dict = {\n";
    writeConstants(out);
    writeMessageTypes(out);
    out << "    objectTypes = ";
    writeNames(out, zuldict::objectTypes());
    out << ",\n";
    writeTags(out);
    writeRecords(out);
    out << "}\n";
    return out.str();
}

int fail(const std::string& reason)
{
    std::cerr << "zultables: " << reason << '\n';
    return 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        return fail("usage: zultables TEMPLATE OUTPUT");
    }
    std::ifstream in(argv[1]);
    std::ostringstream result;
    bool isPlaced = false;
    for (std::string line; std::getline(in, line);) {
        isPlaced = isPlaced || line == kPlace;
        result << (line == kPlace ? tables() : line + '\n');
    }
    if (!isPlaced) {
        return fail(std::string("no line '") + kPlace + "' in " + argv[1]);
    }
    std::ofstream out(argv[2]);
    out << result.str() << std::flush;
    return out ? 0 : fail(std::string("cannot write ") + argv[2]);
}
