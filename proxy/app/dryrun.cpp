#include "proxy/app/dryrun.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <ostream>

#include "proxy/faults/faultline.h"
#include "proxy/replay/replay.h"
#include "zulcommand/commandwords.h"

namespace proxy {

using zulcommand::quote;

int runDryRun(const Options& options, std::ostream& out, std::ostream& err)
{
    const auto say = [&err](const std::string& sentence) { err << "zulproxy: " << sentence << '\n'; };
    const std::string file = quote(options.against);
    std::ifstream stream(options.against, std::ios::binary);
    if (!stream) {
        say("Cannot read " + file + ": " + std::strerror(errno) + '.');
        return 1;
    }
    Replay replay(
        {options.rules, options.seed, static_cast<uint16_t>(options.port.value_or(Replay::kServerPort))});
    replay.onProblem = say;
    replay.onFault = [&out](const Fault& fault, int64_t timeNs) {
        out << zulcommand::lineText(faultLine(fault), timeNs) << '\n';
    };
    cPacketReader reader(&stream);
    sPacket packet;
    cCaptureFormat::eResult result = reader.next(&packet);
    for (; result == cCaptureFormat::PACKET && out; result = reader.next(&packet)) {
        replay.add(packet, reader);
    }
    out.flush();
    if (result == cCaptureFormat::BROKEN) {
        say("Cannot read " + file + ": " + reader.status().text() + '.');
        return 1;
    }
    replay.finish();
    if (result == cCaptureFormat::CUT) {
        say(file + " ends within a packet.");
    }
    return 0;
}

} // namespace proxy
