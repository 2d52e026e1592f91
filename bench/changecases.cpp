// Has one port change its state again and again, while its page is shown: what a tool that counts
// instructions runs. What a change posts is handled, but nothing is painted meanwhile; no server is there.

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cdoutput.h"
#include "showndevice.h"

namespace {

void change(cDevice* device, const char* kind, long times)
{
    for (long i = 0; i < times; ++i) {
        const int turn = static_cast<int>(i % 2);
        if (std::strcmp(kind, "dout") == 0) {
            device->getOutput(0)->updateOutput(turn == 0 ? cObject::OBJ_IO_STATE_SET
                                                         : cObject::OBJ_IO_STATE_CLEAR);
        } else if (std::strcmp(kind, "ain") == 0) {
            device->setAnalogInput_Slot(1, 1 + turn);
        } else {
            device->setDigitalInput_Slot(1, 1 - turn);
        }
        QApplication::sendPostedEvents();
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: changecases din|dout|ain|wired-din|wired-ain TIMES\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // The device's trace is its product, but not what is looked at here.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    QApplication application(argc, argv);
    ShownDevice shown(4);
    cDevice* device = shown.device();
    const bool wired = std::strncmp(argv[1], "wired-", 6) == 0;
    const char* kind = wired ? argv[1] + 6 : argv[1];
    device->setCurrentIndex(std::strcmp(kind, "dout") == 0 ? 1 : std::strcmp(kind, "ain") == 0 ? 2 : 0);
    if (wired) {
        device->connectDigitalInput_Slot(1, 1, true);
        device->connectAnalogInput_Slot(1, 1, true);
    }
    QApplication::processEvents();
    change(device, kind, std::strtol(argv[2], nullptr, 10));
    shown.close();
    return 0;
}
