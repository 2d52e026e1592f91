#include "fleet/report/fleetreport.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "wfile/atomicfile.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/jsontext.h"

namespace fleet {

using zulcommand::JsonPtr;
using zulcommand::quote;

namespace {

// The members of each structure, in their order. A visitor writes them or reads them; what it reads is
// checked once all is read.

template <class Visitor, class Counts>
void visitCounts(Visitor& visitor, Counts& counts)
{
    visitor.member("planned", counts.planned);
    visitor.member("sent", counts.sent);
    visitor.member("late", counts.late);
    visitor.member("leftOut", counts.leftOut);
    visitor.member("dropped", counts.dropped);
    visitor.member("waiting", counts.waiting);
}

template <class Visitor, class Report>
void visitEvents(Visitor& visitor, EventCounts& all, Report& report)
{
    visitCounts(visitor, all);
    visitor.object("kinds", [&report](Visitor& kinds) {
        for (size_t i = 0; i < kEventKinds.size(); ++i) {
            kinds.object(kEventKinds[i], [&](Visitor& kind) { visitCounts(kind, report.kinds[i]); });
        }
    });
}

template <class Visitor, class AnyOutage>
void visitOutage(Visitor& visitor, AnyOutage& outage)
{
    visitor.member("kind", outage.kind);
    visitor.member("at", outage.at);
    visitor.member("devices", outage.devices);
    visitor.member("secondsUntilBack", outage.secondsUntilBack);
    visitor.member("mostConnects", outage.mostConnects);
}

/// @p all are the events of all kinds.
template <class Visitor, class Report>
void visitReport(Visitor& visitor, EventCounts& all, Report& report)
{
    visitor.member("version", report.version);
    visitor.member("kernel", report.kernel);
    visitor.member("seed", report.seed);
    visitor.member("shard", report.shard);
    visitor.member("run", report.run);
    visitor.object("devices", [&report](Visitor& devices) {
        devices.member("asked", report.devices.asked);
        devices.member("in", report.devices.in);
        devices.member("refused", report.devices.refused);
        devices.member("lost", report.devices.lost);
    });
    visitor.object("connects", [&report](Visitor& connects) {
        connects.member("planned", report.connects.planned);
        connects.member("reached", report.connects.reached);
    });
    visitor.member("secondsUntilAllIn", report.secondsUntilAllIn);
    visitor.object("events", [&](Visitor& events) { visitEvents(events, all, report); });
    visitor.object("latencies", [&report](Visitor& latencies) {
        latencies.member("connect", report.latencies.connect);
        latencies.member("identified", report.latencies.identified);
        latencies.member("event", report.latencies.event);
        latencies.member("answer", report.latencies.answer);
    });
    visitor.array("outages", report.outages,
                  [](Visitor& outages, auto& outage) { visitOutage(outages, outage); });
    visitor.object("memory",
                   [&report](Visitor& memory) { memory.member("bytesPerDevice", report.bytesPerDevice); });
    visitor.object(
        "cpu", [&report](Visitor& cpu) { cpu.member("secondsPer1000Events", report.secondsPer1000Events); });
    visitor.object("limits", [&report](Visitor& limits) {
        limits.member("descriptors", report.limits.descriptors);
        limits.member("ports", report.limits.ports);
    });
}

/// Writes the members of one object.
class Writer
{
public:
    explicit Writer(json_t* object) : mObject(object) {}

    template <class Value>
    void member(const char* name, const Value& value)
    {
        json_object_set_new(mObject, name, json(value));
    }

    template <class Members>
    void object(const char* name, const Members& members)
    {
        json_t* const inner = json_object();
        json_object_set_new(mObject, name, inner);
        Writer writer(inner);
        members(writer);
    }

    template <class Items, class Members>
    void array(const char* name, const Items& items, const Members& members)
    {
        json_t* const list = json_array();
        json_object_set_new(mObject, name, list);
        for (const auto& item : items) {
            json_t* const inner = json_object();
            json_array_append_new(list, inner);
            Writer writer(inner);
            members(writer, item);
        }
    }

private:
    static json_t* json(uint64_t value) { return json_integer(static_cast<json_int_t>(value)); }
    static json_t* json(uint32_t value) { return json_integer(value); }
    static json_t* json(double value) { return json_real(value); }
    static json_t* json(const std::string& value) { return zulcommand::textOf(value); }
    static json_t* json(const Shard& value) { return json(value.text()); }
    static json_t* json(const Histogram& value) { return value.toJson().release(); }

    static json_t* json(const std::map<std::string, uint64_t>& counts)
    {
        json_t* const object = json_object();
        for (const auto& [name, count] : counts) {
            json_object_set_new(object, name.c_str(), json(count));
        }
        return object;
    }

    template <class Value>
    static json_t* json(const std::optional<Value>& value)
    {
        return value ? json(*value) : json_null();
    }

    json_t* mObject;
};

/// Reads the members of one object and keeps the first mistake in them.
class Reader
{
public:
    Reader(const json_t* object, std::string place, std::string* mistake)
        : mObject(object), mPlace(std::move(place)), mMistake(mistake)
    {}

    template <class Value>
    void member(const char* name, Value& value)
    {
        // A null is a member, too.
        const json_t* const json = json_object_get(mObject, name);
        if (!json || !read(json, &value)) {
            fail(name);
        }
    }

    template <class Members>
    void object(const char* name, const Members& members)
    {
        Reader reader(json_object_get(mObject, name), mPlace + name + ".", mMistake);
        members(reader);
    }

    template <class Items, class Members>
    void array(const char* name, Items& items, const Members& members)
    {
        const json_t* const list = json_object_get(mObject, name);
        if (!json_is_array(list)) {
            fail(name);
        }
        for (size_t i = 0; i < json_array_size(list); ++i) {
            Reader reader(json_array_get(list, i), mPlace + name + "[" + std::to_string(i) + "].", mMistake);
            members(reader, items.emplace_back());
        }
    }

private:
    static bool read(const json_t* json, uint64_t* value)
    {
        const json_int_t number = json_integer_value(json);
        *value = static_cast<uint64_t>(number);
        return json_is_integer(json) && number >= 0 && number <= Histogram::kMaxRead;
    }

    static bool read(const json_t* json, uint32_t* value)
    {
        const json_int_t number = json_integer_value(json);
        *value = static_cast<uint32_t>(number);
        return json_is_integer(json) && number >= 0 && number <= std::numeric_limits<uint32_t>::max();
    }

    static bool read(const json_t* json, double* value)
    {
        *value = json_number_value(json);
        return json_is_number(json) && *value >= 0.0 && *value <= static_cast<double>(Histogram::kMaxRead);
    }

    static bool read(const json_t* json, std::string* value)
    {
        const char* const text = json_string_value(json);
        *value = text ? text : "";
        return text != nullptr;
    }

    static bool read(const json_t* json, Shard* value)
    {
        std::string text;
        const std::optional<Shard> shard = read(json, &text) ? parseShard(text) : std::nullopt;
        *value = shard.value_or(Shard());
        return shard.has_value();
    }

    static bool read(const json_t* json, Histogram* value)
    {
        std::optional<Histogram> histogram = Histogram::fromJson(json);
        const bool isOne = histogram.has_value();
        *value = std::move(histogram).value_or(Histogram());
        return isOne;
    }

    static bool read(const json_t* json, std::map<std::string, uint64_t>* counts)
    {
        const char* name = nullptr;
        json_t* count = nullptr;
        bool allRead = json_is_object(json);
        json_object_foreach(const_cast<json_t*>(json), name, count)
        {
            allRead = read(count, &(*counts)[name]) && allRead;
        }
        return allRead;
    }

    template <class Value>
    static bool read(const json_t* json, std::optional<Value>* value)
    {
        return json_is_null(json) || read(json, &value->emplace());
    }

    void fail(const char* name)
    {
        if (mMistake->empty()) {
            *mMistake = quote(mPlace + name) + " is missing or wrong";
        }
    }

    const json_t* mObject; ///< may be null
    std::string mPlace;    ///< the names that lead to the object, each with what separates it
    std::string* mMistake;
};

bool addsUp(const EventCounts& counts)
{
    return counts.planned == counts.sent + counts.leftOut + counts.dropped + counts.waiting &&
           counts.late <= counts.sent;
}

/// All members hold for themselves; these have to fit together.
std::string contradiction(const FleetReport& report, const EventCounts& all)
{
    for (const EventCounts& counts : report.kinds) {
        if (!addsUp(counts)) {
            return "a kind of \"events\" does not add up";
        }
    }
    if (!(all == report.events())) {
        return "\"events\" is not the sum of its kinds";
    }
    return report.devices.in <= report.devices.asked ? "" : "\"devices\" has more in than asked";
}

} // namespace

EventCounts& EventCounts::operator+=(const EventCounts& other)
{
    planned += other.planned;
    sent += other.sent;
    late += other.late;
    leftOut += other.leftOut;
    dropped += other.dropped;
    waiting += other.waiting;
    return *this;
}

EventCounts FleetReport::events() const
{
    EventCounts all;
    for (const EventCounts& counts : kinds) {
        all += counts;
    }
    return all;
}

std::string reportText(const FleetReport& report)
{
    const JsonPtr json(json_object());
    Writer writer(json.get());
    EventCounts all = report.events();
    visitReport(writer, all, report);
    // Microseconds stay exact with 15 digits.
    constexpr size_t kFlags = JSON_COMPACT | JSON_REAL_PRECISION(15);
    const std::unique_ptr<char, decltype(&std::free)> text(json_dumps(json.get(), kFlags), &std::free);
    return text ? text.get() : std::string();
}

std::optional<FleetReport> fromJson(const json_t* json, std::string* mistake)
{
    FleetReport report;
    EventCounts all;
    mistake->clear();
    Reader reader(json, "", mistake);
    visitReport(reader, all, report);
    if (mistake->empty()) {
        *mistake = contradiction(report, all);
    }
    return mistake->empty() ? std::optional(std::move(report)) : std::nullopt;
}

WStatus checkReport(const std::string& path) { return cAtomicFile(path).check(); }

WStatus writeReport(const FleetReport& report, const std::string& path)
{
    return cAtomicFile(path).write(reportText(report) + "\n");
}

std::string writeMistake(const std::string& path, const WStatus& status)
{
    return "Cannot write " + quote(path) + ": " + status.problem() + ".";
}

} // namespace fleet
