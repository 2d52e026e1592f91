#include "proxy/rules/faultsyntax.h"

#include <algorithm>
#include <bit>
#include <string_view>

#include "proxy/rules/rulewords.h"
#include "zulcommand/condition.h"

namespace proxy {

using namespace zulcommand;

namespace {

constexpr uint32_t kMaxPiece = 65536;        ///< of slice and join, in bytes
constexpr uint32_t kMaxEmptySegments = 1000; ///< a message has 1,024 at most

/// @p value of the field @p name, which has to be there.
template <class Value>
Value needed(CommandWords* words, const char* name, const std::optional<Value>& value)
{
    if (!value) {
        words->failWithout(name); // or it is wrong, which is told first
    }
    return value.value_or(Value());
}

uint32_t needNumber(CommandWords* words, const char* name, uint32_t min, uint32_t max = kMaxNumber)
{
    return needed(words, name, words->number(name, min, max));
}

template <const char* Name>
void readMs(CommandWords* words, Rule* rule)
{
    rule->ns = needed(words, Name, readMilliseconds(words, Name));
}

template <const char* Name>
void readDelay(CommandWords* words, Rule* rule)
{
    readMs<Name>(words, rule);
    rule->jitterNs = readMilliseconds(words, "jitter").value_or(0);
    if (!words->failed() && rule->jitterNs > rule->ns) {
        words->fail(std::string("jitter is larger than ") + Name + ".");
    }
}

template <const char* Name, uint32_t Min, uint32_t Max>
void readCount(CommandWords* words, Rule* rule)
{
    rule->min = needNumber(words, Name, Min, Max);
}

void readNothing(CommandWords*, Rule*) {}

void readStall(CommandWords* words, Rule* rule)
{
    rule->ns = needed(words, "for", readSeconds(words, "for", false));
}

void readResetPeer(CommandWords* words, Rule* rule)
{
    rule->afterNs = needed(words, "timeout", readMilliseconds(words, "timeout"));
}

void readBandwidth(CommandWords* words, Rule* rule)
{
    constexpr uint32_t kKiB = 1024;
    rule->min = needNumber(words, "rate", 1, kMaxNumber / kKiB) * kKiB;
}

void readSlice(CommandWords* words, Rule* rule)
{
    const std::optional<std::string> bytes = words->text("bytes");
    const std::string text = needed(words, "bytes", bytes);
    const size_t dash = text.find('-');
    const auto min = parseNumber(text.substr(0, dash), 1, kMaxPiece);
    const auto max = dash == std::string::npos ? min : parseNumber(text.substr(dash + 1), 1, kMaxPiece);
    if (bytes && (!min || !max || *min > *max)) {
        words->fail(
            "bytes is neither N nor A-B, from 1 to 65536 and with A no larger than B: " + quote(text) + ".");
    }
    rule->min = min.value_or(1);
    rule->max = max.value_or(1);
    rule->ns = readMilliseconds(words, "gap").value_or(0);
}

void readSlicer(CommandWords* words, Rule* rule)
{
    const uint32_t size = needNumber(words, "average_size", 1, kMaxPiece);
    const uint32_t variation = words->number("size_variation", 0, kMaxPiece).value_or(0);
    rule->min = size - variation;
    rule->max = size + variation;
    rule->ns = readMicroseconds(words, "delay").value_or(0);
    if (!words->failed() && variation >= size) {
        words->fail("size_variation is not smaller than average_size.");
    } else if (rule->max > kMaxPiece) {
        words->fail("average_size and size_variation are more than 65536 together.");
    }
}

/// A float that is NaN, infinite or a decimal number.
uint32_t readFloat(CommandWords* words, const zuldict::TagEntry& field, const FieldValue& value)
{
    const std::optional<float> real = parseAnyFloat(value.written == "null" ? "nan" : value.text);
    if (!real) {
        words->fail(std::string(field.name) +
                    " is neither a decimal number that a float can hold nor nan, inf, -inf or null: " +
                    quote(value.text) + ".");
    }
    return std::bit_cast<uint32_t>(real.value_or(0.0F));
}

void readChange(CommandWords* words, Rule* rule)
{
    for (const zuldict::TagEntry& entry : zuldict::tags()) {
        const std::optional<FieldValue> value =
            rule->change.field == nullptr ? words->field(entry.name) : std::nullopt;
        if (!value) {
            continue;
        }
        FieldChange& change = rule->change;
        change.field = &entry;
        if (entry.wireType == zuldict::eWireType::NUMBER) {
            change.bits = readNumber(entry, value->text, words).value_or(0);
        } else if (entry.wireType == zuldict::eWireType::FLOAT) {
            change.bits = readFloat(words, entry, *value);
        } else {
            change.absent = value->written == "null";
            change.text = change.absent ? "" : value->text;
        }
    }
}

void readFieldName(CommandWords* words, Rule* rule)
{
    const std::string name = words->word();
    const auto found = std::ranges::find(zuldict::tags(), std::string_view(name), &zuldict::TagEntry::name);
    if (found != zuldict::tags().end()) {
        rule->change.field = &*found;
    } else if (!name.empty()) {
        words->fail("There is no field " + quote(name) + ".");
    }
}

constexpr char kMs[] = "ms";
constexpr char kBytes[] = "bytes";
constexpr char kBits[] = "bits";
constexpr char kUntil[] = "until";
constexpr char kN[] = "n";
constexpr char kLatency[] = "latency";
constexpr char kTimeout[] = "timeout";
constexpr char kSlowClose[] = "delay";

using S = FaultSyntax;
constexpr unsigned kBeforeServer = S::kCounts | S::kWindow;
constexpr unsigned kBothSides = S::kDevice | S::kDirectionOfCount | S::kCounts | S::kWindow;
constexpr unsigned kOneSide = S::kDevice | S::kDirection | S::kCounts | S::kWindow;
constexpr unsigned kAll = kOneSide | S::kMessages;

constexpr FaultSyntax kSyntax[] = {
    {"refuse", eFault::REFUSE, kBeforeServer, readNothing},
    {"accept-late", eFault::ACCEPT_LATE, kBeforeServer, readMs<kMs>},
    {"cut", eFault::CUT, kBothSides, readNothing},
    {"reset", eFault::RESET, kBothSides, readNothing},
    {"half-close", eFault::HALF_CLOSE, kOneSide, readNothing},
    {"silence", eFault::SILENCE, kOneSide, readNothing},
    {"stall", eFault::STALL, kOneSide & ~S::kFor, readStall},
    {"delay", eFault::DELAY, kAll, readDelay<kMs>},
    {"rate", eFault::RATE, kAll, readCount<kBytes, 1, kMaxNumber>},
    {"slice", eFault::SLICE, kAll, readSlice},
    {"corrupt", eFault::CORRUPT, kAll, readCount<kBits, 1, kMaxNumber>},
    {"join", eFault::JOIN, kAll, readCount<kBytes, 1, kMaxPiece>},
    {"limit", eFault::LIMIT, kAll, readCount<kBytes, 0, kMaxNumber>},
    {"lose", eFault::LOSE, kAll, readNothing},
    {"duplicate", eFault::DUPLICATE, kAll, readNothing},
    {"late", eFault::LATE, kAll, readMs<kMs>},
    {"swap", eFault::SWAP, kAll, readNothing},
    {"hold", eFault::HOLD, kAll, readCount<kUntil, 1, kMaxNumber>},
    {"truncate", eFault::TRUNCATE, kAll, readNothing},
    {"wrong-checksum", eFault::WRONG_CHECKSUM, kAll, readNothing},
    {"wrong-number", eFault::WRONG_NUMBER, kAll, readNothing},
    {"wrong-type", eFault::WRONG_TYPE, kAll, readNothing},
    {"unknown-flag", eFault::UNKNOWN_FLAG, kAll, readNothing},
    {"too-long", eFault::TOO_LONG, kAll, readNothing},
    {"empty-segments", eFault::EMPTY_SEGMENTS, kAll, readCount<kN, 1, kMaxEmptySegments>},
    {"never-last", eFault::NEVER_LAST, kAll, readNothing},
    {"field", eFault::FIELD, kAll, readChange},
    {"wrong-serial", eFault::WRONG_SERIAL, kAll, readNothing},
    {"unknown-object", eFault::UNKNOWN_OBJECT, kAll, readNothing},
    {"unknown-tag", eFault::UNKNOWN_TAG, kAll, readNothing},
    {"drop-tag", eFault::DROP_TAG, kAll, readFieldName},
    {"wrong-length", eFault::WRONG_LENGTH, kAll, readFieldName},
    {"drop-record", eFault::DROP_RECORD, kAll, readNothing},
    {"double-record", eFault::DOUBLE_RECORD, kAll, readNothing},
    {"nan", eFault::NAN_FLOATS, kAll, readNothing},
    // As toxiproxy names them.
    {"latency", eFault::DELAY, kAll, readDelay<kLatency>},
    {"bandwidth", eFault::RATE, kAll, readBandwidth},
    {"slicer", eFault::SLICE, kAll, readSlicer},
    {"timeout", eFault::TIMEOUT, kOneSide & ~S::kFor, readMs<kTimeout>},
    {"reset_peer", eFault::RESET, kBothSides & ~S::kAfter, readResetPeer},
    {"limit_data", eFault::LIMIT, kAll, readCount<kBytes, 0, kMaxNumber>},
    {"slow_close", eFault::SLOW_CLOSE, kOneSide & ~S::kCounts, readMs<kSlowClose>},
};

} // namespace

const FaultSyntax* findSyntax(const std::string& name)
{
    const auto* found = std::ranges::find(kSyntax, std::string_view(name), &FaultSyntax::name);
    return found == std::end(kSyntax) ? nullptr : found;
}

} // namespace proxy
