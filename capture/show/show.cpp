#include "capture/show/show.h"

#include <ostream>

#include "capture/options/recordingoptions.h"
#include "capture/sessions/messagefilter.h"
#include "capture/show/messageline.h"
#include "capture/show/summary.h"

namespace capture {

namespace {

class Show : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const show = app->add_subcommand("show", "Print the messages of a recording, one per line");
        show->add_option("FILE", mFile, "The recording (pcapng or pcap)")->required();
        show->add_option(
            "FILTER", mWords,
            "Only messages for which this holds: dir=, device=, msg=, type=, object=, port= as in a "
            "rule of zulproxy, or NAME=VALUE of a field; may be given again");
        show->add_flag("--summary", mIsSummary, "Print a table in their place");
        addPort(show, &mPort);
        return show;
    }

    std::string check() override { return mFilter.read(mWords); }

    int run(std::ostream& out, std::ostream& err) override
    {
        const auto say = sayTo(err);
        Recording::Settings settings = recordingSettings(mPort);
        settings.pairs = false;
        Recording recording(settings);
        recording.onProblem = say;
        std::string failure = recording.open(mFile);
        if (failure.empty()) {
            print(&recording, out);
            failure = recording.failure();
        }
        if (!failure.empty()) {
            say(failure);
        }
        return failure.empty() ? 0 : 1;
    }

private:
    void print(Recording* recording, std::ostream& out) const
    {
        Summary summary;
        for (RecordedItem item; out && recording->next(&item);) {
            const bool matches = item.kind == RecordedItem::MESSAGE && mFilter.matches(item);
            if (mIsSummary) {
                summary.add(item, matches);
            } else if (matches) {
                out << messageLine(item) << '\n';
            }
        }
        if (mIsSummary) {
            summary.print(out);
        }
        out.flush();
    }

    std::string mFile;
    std::vector<std::string> mWords;
    MessageFilter mFilter;
    bool mIsSummary = false;
    std::optional<uint32_t> mPort;
};

} // namespace

std::unique_ptr<Subcommand> makeShow() { return std::make_unique<Show>(); }

} // namespace capture
