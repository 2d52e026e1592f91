#include "proxy/app/dryrun.h"

#include <ostream>

namespace proxy {

int runDryRun(const Options& options, std::ostream&, std::ostream& err)
{
    err << "zulproxy: The capture \"" << options.against << "\" cannot be read.\n";
    return 1;
}

} // namespace proxy
