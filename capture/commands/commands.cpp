#include "capture/commands/commands.h"

#include "capture/commands/commandlist.h"
#include "capture/options/recordingoptions.h"
#include "zulcommand/commandwords.h"

namespace capture {

namespace {

class Commands : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const commands = app->add_subcommand(
            "commands", "Print what the server asked and set as commands for zulserver --commands");
        commands->add_option("FILE", mFile, "The recording (pcapng or pcap)")->required();
        addPort(commands, &mPort);
        return commands;
    }

    int run(std::ostream& out, std::ostream& err) override
    {
        CommandList list;
        const auto say = sayTo(err);
        const std::string failure = readAll(mFile, mPort, say, [&list](const RecordedItem& item) {
            return list.add(item) ? "" : "there are more than 16 MiB of commands.";
        });
        if (!failure.empty()) {
            say(failure);
            return 1;
        }
        list.print(out);
        return 0;
    }

private:
    std::string mFile;
    std::optional<uint32_t> mPort;
};

} // namespace

std::unique_ptr<Subcommand> makeCommands() { return std::make_unique<Commands>(); }

} // namespace capture
