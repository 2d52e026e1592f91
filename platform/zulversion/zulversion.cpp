#include "zulversion/zulversion.h"

#include <ares.h>
#include <jansson.h>

namespace zulversion {

const char* version() { return ZULBENCH_VERSION; }

std::string describe(const std::string& program, std::vector<Library> libraries)
{
    libraries.push_back({"c-ares", ares_version(nullptr)});
    libraries.push_back({"jansson", jansson_version_str()});
    // log4cpp does not tell at run time, and its headers have only the first two numbers.
    libraries.push_back({"log4cpp", LOG4CPP_RELEASE});

    std::string text = program + " " + version() + "\ncommit " + commit() + "\n";
    const char* separator = "libraries ";
    for (const Library& library : libraries) {
        text += separator + library.name + " " + library.version;
        separator = ", ";
    }
    return text;
}

} // namespace zulversion
