// Has a device answer "get din *" again and again: what a tool that counts instructions runs. The server is a
// process of its own, so that it is not counted.

#include <QApplication>
#include <QTimer>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "benchserver.h"
#include "showndevice.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

WMsg requestForAllInputs()
{
    cObjectList list;
    list.setMsgType(cObjectList::kRequest);
    auto* input = new cObjectDInput;
    input->setDeviceSerial(cObject::kWildcard);
    input->setPortId(cObject::kWildcard);
    list.add(input);
    WMsg message;
    return list.encode(&message).isOk() ? message : WMsg();
}

/// The server: asks @p times times, then goes, which ends the device.
[[noreturn]] void serve(BenchServer* server, long times)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    server->accept();
    WMsg request = requestForAllInputs();
    for (long i = 0; i < times; ++i) {
        if (!server->ask(&request)) {
            std::_Exit(1);
        }
    }
    std::_Exit(0);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: answercases PORTS TIMES\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    BenchServer server;
    const pid_t child = ::fork();
    if (child == 0) {
        serve(&server, std::strtol(argv[2], nullptr, 10));
    }
    // The device's trace is its product, but not what is looked at here.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    QApplication application(argc, argv);
    ShownDevice shown(static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10)));
    shown.connectTo(server.port());
    int status = 1;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        if (::waitpid(child, &status, WNOHANG) == child) {
            QApplication::quit();
        }
    });
    look.start(20);
    QApplication::exec();
    shown.close();
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
