#include "capture/show/show.h"

#include <ostream>

#include "capture/options/recordingoptions.h"
#include "capture/show/messageline.h"

namespace capture {

namespace {

class Show : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const show = app->add_subcommand("show", "Print the messages of a recording, one per line");
        show->add_option("FILE", mFile, "The recording (pcapng or pcap)")->required();
        addPort(show, &mPort);
        return show;
    }

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
    static void print(Recording* recording, std::ostream& out)
    {
        for (RecordedItem item; out && recording->next(&item);) {
            if (item.kind == RecordedItem::MESSAGE) {
                out << messageLine(item) << '\n';
            }
        }
        out.flush();
    }

    std::string mFile;
    std::optional<uint32_t> mPort;
};

} // namespace

std::unique_ptr<Subcommand> makeShow() { return std::make_unique<Show>(); }

} // namespace capture
