#include "capture/scenario/scenario.h"

#include "capture/options/recordingoptions.h"
#include "capture/scenario/operatorscenario.h"
#include "zulcommand/commandwords.h"
#include "zuloptions/deviceoptions.h"

namespace capture {

namespace {

class PrintScenario : public Subcommand
{
public:
    CLI::App* declare(CLI::App* app) override
    {
        CLI::App* const scenario =
            app->add_subcommand("scenario", "Print what the operator of a device did as a scenario");
        scenario->add_option("FILE", mFile, "The recording (pcapng or pcap)")->required();
        zuloptions::addNumber(scenario, "--device", &mSerial, zulcommand::kMaxNumber,
                              "The serial number of the device")
            ->type_name("SERIAL")
            ->required();
        addPort(scenario, &mPort);
        return scenario;
    }

    int run(std::ostream& out, std::ostream& err) override
    {
        OperatorScenario scenario(*mSerial);
        const auto say = sayTo(err);
        std::string failure = readAll(mFile, mPort, say, [&scenario](const RecordedItem& item) {
            return scenario.add(item) ? "" : "the scenario has more than 16 MiB.";
        });
        if (failure.empty() && scenario.steps() == 0) {
            failure = zulcommand::quote(mFile) + " has nothing that an operator of device " +
                      std::to_string(*mSerial) + " did.";
        }
        if (!failure.empty()) {
            say(failure);
            return 1;
        }
        scenario.print(out);
        if (scenario.leftOut() > 0) {
            say("Events that no step of a scenario makes were left out: " +
                std::to_string(scenario.leftOut()) + '.');
        }
        return 0;
    }

private:
    std::string mFile;
    std::optional<uint32_t> mSerial;
    std::optional<uint32_t> mPort;
};

} // namespace

std::unique_ptr<Subcommand> makeScenario() { return std::make_unique<PrintScenario>(); }

} // namespace capture
