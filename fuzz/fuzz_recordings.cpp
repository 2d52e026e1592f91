// Recordings as zulcapture reads them. The input: a byte whose lowest bit says whether the two sides of a
// proxy are one connection, then a capture file.

#include <map>
#include <sstream>

#include "capture/diff/comparison.h"
#include "capture/show/messageline.h"
#include "capture/show/summary.h"
#include "fuzzinput.h"
#include "heldmemory.h"
#include "property.h"

namespace {

using namespace capture;

/// Far more than a small recording needs.
constexpr size_t kMaxMemory = 64 * 1024 * 1024;

void open(const std::string& file, Recording* recording)
{
    recording->onProblem = [](const std::string& sentence) {
        require(sentence.ends_with('.'), "a problem is a sentence");
    };
    recording->read(std::make_unique<std::istringstream>(file), "recording");
}

/// What was told of a connection.
struct Told
{
    uint64_t messages = 0;
    uint64_t bytes = 0; ///< that were recorded
    uint64_t known = 0; ///< those of messages and damaged ones
    bool isClosed = false;
};

uint64_t travelled(const WMsg& message) { return message.payload.size() + wmsg::kHeaderSize; }

void check(const RecordedItem& item, Told* told)
{
    require(!told->isClosed, "nothing comes behind the end of a connection");
    switch (item.kind) {
    case RecordedItem::BYTES:
        told->bytes += item.bytes.size();
        break;
    case RecordedItem::MESSAGE:
        told->known += travelled(item.message);
        require(item.number == ++told->messages, "messages are counted");
        require(!item.question || item.question->number < item.number, "a question comes before its answer");
        require(messageLine(item).starts_with("{\"event\":\"message\","), "a message is a line");
        break;
    case RecordedItem::DAMAGED:
        told->known += item.size;
        break;
    case RecordedItem::CLOSED:
        told->isClosed = true;
        break;
    default:
        break;
    }
    require(told->known <= told->bytes, "nothing comes that is not in the file");
}

void readAll(const std::string& file, const Recording::Settings& settings)
{
    const size_t before = heldMemory();
    Recording recording(settings);
    open(file, &recording);
    Summary summary;
    std::map<uint64_t, Told> connections;
    for (RecordedItem item; recording.next(&item);) {
        const bool isNew = connections.try_emplace(item.connection->number).second;
        require(isNew == (item.kind == RecordedItem::OPENED), "a connection is opened once, before all else");
        check(item, &connections[item.connection->number]);
        summary.add(item, true);
        require(heldMemory() < before + kMaxMemory, "memory is bounded");
    }
    for (const auto& [number, told] : connections) {
        require(told.isClosed, "every connection is closed");
    }
    std::ostringstream table;
    summary.print(table);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    Recording::Settings settings;
    settings.pairs = (input.number8() & 1) != 0;
    settings.withBytes = true;
    const std::string file = input.restText();
    readAll(file, settings);

    Comparison comparison({}, settings);
    open(file, &comparison.a().recording);
    open(file, &comparison.b().recording);
    comparison.onDifference = [](const Comparison::Difference&) {
        require(false, "a recording does not differ from itself");
    };
    comparison.run();
    return 0;
}
