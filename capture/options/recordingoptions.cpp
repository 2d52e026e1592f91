#include "capture/options/recordingoptions.h"

#include <ostream>

#include "zulcommand/commandwords.h"
#include "zuloptions/deviceoptions.h"

namespace capture {

void addPort(CLI::App* app, std::optional<uint32_t>* port)
{
    zuloptions::addNumber(app, "--port", port, 65535,
                          "The server's port in the recording, 50000 unless given");
}

Recording::Settings recordingSettings(const std::optional<uint32_t>& port)
{
    Recording::Settings settings;
    settings.port = static_cast<uint16_t>(port.value_or(Recording::kServerPort));
    return settings;
}

std::function<void(const std::string&)> sayTo(std::ostream& err)
{
    return [&err](const std::string& sentence) { err << "zulcapture: " << sentence << std::endl; };
}

std::string readAll(const std::string& path, const std::optional<uint32_t>& port,
                    const std::function<void(const std::string&)>& say,
                    const std::function<std::string(const RecordedItem&)>& take)
{
    Recording recording(recordingSettings(port));
    recording.onProblem = say;
    std::string failure = recording.open(path);
    for (RecordedItem item; failure.empty() && recording.next(&item);) {
        if (const std::string why = take(item); !why.empty()) {
            failure = zulcommand::quote(path) + ": " + why;
        }
    }
    return failure.empty() ? recording.failure() : failure;
}

} // namespace capture
