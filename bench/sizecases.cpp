// What a device of some size costs: milliseconds from its description file to the first painted window, and
// bytes of heap for a port of each kind, beside those of the same Qt widgets without anything of ours.

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QSlider>
#include <QTemporaryDir>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>

#include "benchserver.h"
#include "cconfig.h"
#include "cdevice.h"
#include "devicefile.h"
#include "linefile.h"
#include "mainwindow.h"

namespace {

using Counts = std::array<uint32_t, 5>;

constexpr uint32_t kMany = 1000;

/// Sees the first painting of a widget.
class FirstPainting : public QObject
{
public:
    explicit FirstPainting(QObject* widget) { widget->installEventFilter(this); }
    bool mSeen = false;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        mSeen = mSeen || event->type() == QEvent::Paint;
        return false;
    }
};

QString describe(const QTemporaryDir& directory, const Counts& counts)
{
    cDeviceFile values;
    values.digitalInputs = counts[0];
    values.digitalOutputs = counts[1];
    values.analogInputs = counts[2];
    values.analogOutputs = counts[3];
    values.scanners = counts[4];
    values.type = "TYPE_DISCRETE_IO";
    values.version = "1";
    values.serial = "1001";
    values.label = "Bench";
    QString path = directory.filePath("bench.dev");
    return saveFile(path, values.text()) ? path : QString();
}

/// Milliseconds from the file to the first painted window; negative if there is no file.
double timeToWindow(const QTemporaryDir& directory, const Counts& counts)
{
    const QString path = describe(directory, counts);
    MainWindow window;
    QElapsedTimer time;
    time.start();
    if (!window.openDeviceFile(path)) {
        return -1;
    }
    const FirstPainting painting(qobject_cast<QScrollArea*>(window.device()->currentWidget())->widget());
    window.show();
    while (!painting.mSeen) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return static_cast<double>(time.nsecsElapsed()) / 1e6;
}

size_t heap() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

/// Bytes of heap that a device holds once it has been shown.
size_t deviceHeap(const Counts& counts)
{
    const size_t before = heap();
    char label[] = "Bench";
    cDevice device(counts[0], counts[1], counts[2], counts[3], counts[4], label, QString(), 1, 1001);
    device.resize(1100, 400);
    device.show();
    QApplication::processEvents();
    for (int page = 0; page < device.count(); ++page) {
        device.setCurrentIndex(page);
        QApplication::processEvents();
    }
    return heap() - before;
}

/// Puts the Qt widgets of one port of each kind on a row and a wiring page.
void addWidgets(int kind, QHBoxLayout* row, QLayout* wiring)
{
    const auto addLabels = [row](int count) {
        for (int i = 0; i < count; ++i) {
            row->addWidget(new QLabel("PortName"));
        }
    };
    if (kind == 0) {
        addLabels(2);
        auto* box = new QComboBox;
        box->addItems({"LOW", "HIGH"});
        row->addWidget(box);
        wiring->addWidget(new QRadioButton("Digital Input 1"));
    } else if (kind == 1) {
        addLabels(3);
        wiring->addWidget(new QCheckBox("Digital Output 1"));
    } else if (kind == 2) {
        addLabels(6);
        row->addWidget(new QSlider(Qt::Horizontal));
        wiring->addWidget(new QRadioButton("Analog Input 1"));
    } else if (kind == 3) {
        addLabels(3);
        row->addWidget(new QProgressBar);
        wiring->addWidget(new QCheckBox("Analog Output 1"));
    } else {
        addLabels(1);
        row->addWidget(new QLineEdit);
        row->addWidget(new QPushButton("Send Event"));
    }
}

/// Bytes of heap that a port's widgets hold without anything of ours.
size_t widgetsHeap(int kind, uint32_t count)
{
    const size_t before = heap();
    QScrollArea window;
    window.resize(1100, 400);
    window.setWidgetResizable(true);
    window.setWidget(new QWidget);
    auto* pages = new QHBoxLayout(window.widget());
    auto* rows = new QVBoxLayout;
    auto* wiring = new QVBoxLayout;
    pages->addLayout(rows);
    pages->addLayout(wiring);
    for (uint32_t i = 0; i < count; ++i) {
        auto* row = new QWidget;
        auto* box = new QHBoxLayout(row);
        addWidgets(kind, box, wiring);
        rows->addWidget(row);
    }
    window.show();
    QApplication::processEvents();
    return heap() - before;
}

void printTimes()
{
    const QTemporaryDir directory;
    std::printf("%-24s%12s\n", "ports of each kind", "ms");
    const auto print = [&directory](const char* name, const Counts& counts) {
        std::printf("%-24s%12.1f\n", name, timeToWindow(directory, counts));
    };
    print("4 4 2 2 1", {4, 4, 2, 2, 1});
    print("4 4 2 2 1 again", {4, 4, 2, 2, 1});
    print("99", {99, 99, 99, 99, 99});
    print("1000", {1000, 1000, 1000, 1000, 1000});
    print("5000", {5000, 5000, 5000, 5000, 5000});
}

void printHeap()
{
    std::printf("\n%-24s%12s%12s\n", "bytes of heap", "a port", "Qt's part");
    const size_t none = deviceHeap({});
    std::printf("%-24s%12zu\n", "a device without ports", none);
    const char* const kinds[] = {"digital input", "digital output", "analog input", "analog output",
                                 "scanner"};
    for (int kind = 0; kind < 5; ++kind) {
        Counts counts{};
        counts[static_cast<size_t>(kind)] = kMany;
        const size_t device = (deviceHeap(counts) - none) / kMany;
        const size_t widgets = (widgetsHeap(kind, kMany) - widgetsHeap(kind, 0)) / kMany;
        std::printf("%-24s%12zu%12zu\n", kinds[kind], device, widgets);
    }
}

/// What a device that is connected and idle holds more than one that is not.
void printConnection()
{
    BenchServer server;
    char label[] = "Bench";
    cDevice device(0, 0, 0, 0, 0, label, QString(), 1, 1001);
    cConfig config;
    config.setZULIP("127.0.0.1");
    config.setZULPort(QString::number(server.port()));
    const size_t before = heap();
    device.start(&config);
    server.accept();
    std::printf("%-24s%12zu\n", "an idle connection", heap() - before);
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    const QApplication application(argc, argv);
    printTimes();
    printHeap();
    printConnection();
    return 0;
}
