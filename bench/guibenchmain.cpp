// Runs the benchmarks of a program with widgets: offscreen where there is no display, and quietly.

#include <QApplication>
#include <benchmark/benchmark.h>
#include <fstream>
#include <iostream>

namespace {

/// Keeps the device's trace out of the table of figures.
class QuietTrace
{
public:
    QuietTrace() : mNowhere("/dev/null"), mTerminal(std::cout.rdbuf(mNowhere.rdbuf())) {}
    ~QuietTrace() { std::cout.rdbuf(mTerminal); }
    QuietTrace(const QuietTrace&) = delete;
    QuietTrace& operator=(const QuietTrace&) = delete;

    std::streambuf* terminal() const { return mTerminal; }

private:
    std::ofstream mNowhere;
    std::streambuf* mTerminal;
};

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    const QApplication application(argc, argv);
    const QuietTrace quiet;
    std::ostream table(quiet.terminal());
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&table);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
