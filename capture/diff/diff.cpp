#include "capture/diff/diff.h"

#include <algorithm>
#include <ostream>

#include "capture/diff/differenceline.h"
#include "capture/diff/diffreport.h"
#include "capture/options/recordingoptions.h"
#include "wfile/atomicfile.h"
#include "zulcommand/commandwords.h"
#include "zulcommand/jsontext.h"

namespace capture {

using zulcommand::JsonPtr;
using zulcommand::quote;

namespace {

constexpr int kDifferent = 4;

json_t* timesJson(const zulcommand::Histogram& times)
{
    const auto seconds = [&times](double percent) {
        return times.count() == 0 ? json_null()
                                  : json_real(static_cast<double>(times.percentile(percent)) / 1e6);
    };
    return json_pack("{s:I, s:o, s:o}", "answers", static_cast<json_int_t>(times.count()), "p50", seconds(50),
                     "p99", seconds(99));
}

class Diff : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const diff =
            app->add_subcommand("diff", "Print in what two recordings differ, one line for each difference");
        diff->footer("Exit status: 0 they are the same; 4 they differ; 1 wrong usage, or a file cannot be "
                     "read or written.");
        diff->add_option("A", mA, "A recording (pcapng or pcap)")->required();
        diff->add_option("B", mB, "Another one")->required();
        diff->add_option("--ignore", mFields, "This field may differ; may be given again")
            ->type_name("FIELD")
            ->allow_extra_args(false);
        diff->add_flag("--times", mTimes, "Tell how long answers took in both");
        diff->add_option("--junit", mJunit, "Write a report to this file, as JUnit XML")
            ->type_name("FILE")
            ->allow_extra_args(false);
        addPort(diff, &mPort);
        return diff;
    }

    std::string check() override
    {
        for (const std::string& field : mFields) {
            const auto tags = zuldict::tags();
            const auto found = std::ranges::find(tags, std::string_view(field), &zuldict::TagEntry::name);
            if (found == tags.end()) {
                return "--ignore: there is no field " + quote(field) + ".";
            }
            mIgnored.set(found->tag);
        }
        return "";
    }

    int run(std::ostream& out, std::ostream& err) override
    {
        Comparison comparison(mIgnored, recordingSettings(mPort));
        const auto say = sayTo(err);
        std::string failure = open(mA, say, &comparison.a());
        failure = failure.empty() ? open(mB, say, &comparison.b()) : failure;
        bool differ = false;
        if (failure.empty()) {
            failure = compare(&comparison, out, &differ);
        }
        if (!failure.empty()) {
            say(failure);
            return 1;
        }
        return differ ? kDifferent : 0;
    }

private:
    using Say = std::function<void(const std::string&)>;

    static std::string open(const std::string& path, const Say& say, Comparison::Side* side)
    {
        side->recording.onProblem = say;
        return side->recording.open(path);
    }

    /// Returns one sentence if a file cannot be read or written, or an empty text.
    std::string compare(Comparison* comparison, std::ostream& out, bool* differ)
    {
        const MessageComparer comparer(mIgnored);
        DiffReport report;
        if (mJunit) {
            comparison->onDevice = [&report](const auto& serial) { report.addDevice(serial); };
        }
        comparison->onDifference = [&](const Comparison::Difference& difference) {
            *differ = true;
            const std::string line = differenceLine(difference, comparer, comparison->a().beginNs.value_or(0),
                                                    comparison->b().beginNs.value_or(0));
            out << line << '\n';
            if (mJunit) {
                report.addDifference(difference.kind.deviceSerial, line);
            }
        };
        std::string failure = comparison->run();
        if (!failure.empty()) {
            return failure;
        }
        if (mTimes) {
            const JsonPtr line(json_pack("{s:s, s:o, s:o}", "event", "times", "a",
                                         timesJson(comparison->a().answerTimes), "b",
                                         timesJson(comparison->b().answerTimes)));
            out << zulcommand::dumped(line) << '\n';
        }
        out.flush();
        return writeReport(report);
    }

    std::string writeReport(const DiffReport& report) const
    {
        const WStatus status = mJunit ? cAtomicFile(*mJunit).write(report.xml()) : WStatus::ok();
        return status.isOk() ? "" : "Cannot write " + quote(*mJunit) + ": " + status.problem() + '.';
    }

    std::string mA;
    std::string mB;
    std::vector<std::string> mFields;
    MessageComparer::Tags mIgnored;
    bool mTimes = false;
    std::optional<std::string> mJunit;
    std::optional<uint32_t> mPort;
};

} // namespace

std::unique_ptr<Subcommand> makeDiff() { return std::make_unique<Diff>(); }

} // namespace capture
