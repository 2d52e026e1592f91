// How long the program takes to start with N ports, and what a connection costs the server.

#include <QTemporaryDir>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sys/resource.h>

#include "benchserver.h"
#include "figures.h"
#include "processes.h"
#include "rawlink.h"

namespace {

constexpr uint32_t kScanners = 3;

/// How many ports of each kind.
struct Ports
{
    uint32_t dins = 0;
    uint32_t douts = 0;
    uint32_t ains = 0;
    uint32_t aouts = 0;
};

void silence()
{
    if (std::freopen("/dev/null", "w", stdout) == nullptr ||
        std::freopen("/dev/null", "w", stderr) == nullptr) {
        std::_Exit(1);
    }
}

void write(const QString& path, const std::string& text)
{
    std::ofstream file(path.toStdString());
    if (!(file << text).flush()) {
        fail("a file cannot be written");
    }
}

/// The files of a device with @p ports and of its server, in a directory of their own.
class Files
{
public:
    Files(const Ports& ports, uint16_t serverPort)
    {
        write(device(), "Digital input(s):    " + std::to_string(ports.dins) +
                            "\nDigital output(s):   " + std::to_string(ports.douts) +
                            "\nAnalog input(s):     " + std::to_string(ports.ains) +
                            "\nAnalog output(s):    " + std::to_string(ports.aouts) +
                            "\nScanner(s):          " + std::to_string(kScanners) +
                            "\nDevice type:         TYPE_DISCRETE_IO\nDevice version:      1\n"
                            "Device serial:       1001\nDevice label:        Bench\n");
        write(connection(), "Connection descriptor:   bench\nConnection IP address:   127.0.0.1\n"
                            "Connection port number:  " +
                                std::to_string(serverPort) + "\n");
    }

    QString home() const { return mDirectory.path(); }
    QString device() const { return mDirectory.filePath("bench.dev"); }
    QString connection() const { return mDirectory.filePath("bench.con"); }

private:
    QTemporaryDir mDirectory;
};

/// Milliseconds from the start of the program to its answer to a first request, which its event loop gives.
double timeToAnswer(const Ports& ports)
{
    BenchServer server;
    const Files files(ports, server.port());
    const double begin = figures::now();
    const ChildProcess program([&] {
        silence();
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("HOME", files.home().toLocal8Bit());
        ::execl(ZULBENCH_PROGRAM, ZULBENCH_PROGRAM, "--device", qPrintable(files.device()), "--connection",
                qPrintable(files.connection()), "--connect", nullptr);
    });
    server.accept();
    RawAsker asker(server.descriptor(), inputRequest(1), measureAnswer);
    if (!asker.ask()) {
        fail("zulbench does not answer");
    }
    return (figures::now() - begin) / 1e3;
}

void printStart(const Ports& ports, int rounds)
{
    std::vector<double> answered;
    answered.reserve(static_cast<size_t>(rounds));
    for (int i = 0; i < rounds; ++i) {
        answered.push_back(timeToAnswer(ports));
    }
    figures::print("answered-ms", answered);
}

/// How many descriptors a process has open.
size_t descriptorsOf(pid_t process)
{
    DIR* directory = ::opendir(("/proc/" + std::to_string(process) + "/fd").c_str());
    size_t count = 0;
    while (directory != nullptr && ::readdir(directory) != nullptr) {
        ++count;
    }
    ::closedir(directory);
    return count;
}

double residentKiB(pid_t process)
{
    double total = 0;
    double resident = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/statm") >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
}

/// The port that the server tells in its first line.
uint16_t announcedPort(int output)
{
    const std::string key = "\"port\":";
    std::string text;
    char byte = 0;
    while (::read(output, &byte, 1) == 1 && byte != '\n') {
        text += byte;
    }
    const size_t at = text.find(key);
    if (at == std::string::npos) {
        fail("zulserver does not listen");
    }
    return static_cast<uint16_t>(std::stoi(text.substr(at + key.size())));
}

/// What one more connection that says nothing costs the server, in KiB of resident memory.
void printConnections(size_t connections)
{
    const rlimit limit{2 * connections + 100, 2 * connections + 100};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    int input[2];
    int output[2];
    if (::pipe(input) != 0 || ::pipe(output) != 0) {
        fail("no pipe");
    }
    const ChildProcess server([&] {
        ::dup2(input[0], STDIN_FILENO);
        ::dup2(output[1], STDOUT_FILENO);
        ::execl(ZULSERVER_PROGRAM, ZULSERVER_PROGRAM, "--port", "0", nullptr);
    });
    const uint16_t port = announcedPort(output[0]);
    const size_t before = descriptorsOf(server.id());
    double first = 0;
    for (size_t i = 1; i <= connections; ++i) {
        connectTo(port);
        // The first ones also pay for what all share.
        if (i == connections / 10 || i == connections) {
            while (descriptorsOf(server.id()) < before + i) {
                ::usleep(1000);
            }
            first = first == 0 ? residentKiB(server.id()) : first;
        }
    }
    figures::print("connection-kib",
                   (residentKiB(server.id()) - first) / static_cast<double>(connections - connections / 10));
}

uint32_t numberOf(const char* text) { return static_cast<uint32_t>(std::strtoul(text, nullptr, 10)); }

} // namespace

int main(int argc, char** argv)
{
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "start" && argc == 7) {
        printStart({numberOf(argv[2]), numberOf(argv[3]), numberOf(argv[4]), numberOf(argv[5])},
                   std::atoi(argv[6]));
        return 0;
    }
    if (what == "connections" && argc == 3) {
        printConnections(numberOf(argv[2]));
        return 0;
    }
    std::fprintf(stderr, "usage: size start DINS DOUTS AINS AOUTS ROUNDS\n"
                         "       size connections NUMBER\n");
    return 2;
}
