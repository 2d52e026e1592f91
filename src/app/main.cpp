#include "displayplatform.h"
#include "language.h"
#include "mainwindow.h"
#include "options.h"
#include "signalwatcher.h"
#include "tracelog.h"
#include "wcapture/capturefile.h"
#include "wlog/wlog.h"
#include "zulversion/zulversion.h"

#include <CLI/Version.hpp>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QScreen>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iostream>

namespace {

std::string version()
{
    return zulversion::describe("zulbench", {{"Qt", qVersion()}, {"CLI11", CLI11_VERSION}});
}

int fail(const std::string& reason)
{
    std::cerr << "zulbench: " << reason << std::endl;
    return 1;
}

int fail(const QString& reason) { return fail(std::string(reason.toLocal8Bit().constData())); }

QString unreadable(const char* kind, const std::string& path)
{
    return QStringLiteral("the %1 file '%2' could not be opened")
        .arg(QLatin1String(kind), QFile::decodeName(path.c_str()));
}

/// The record keeps full paths only.
QString fullPath(const std::string& path)
{
    return QFileInfo(QFile::decodeName(path.c_str())).absoluteFilePath();
}

/// Sets logging up as asked for; the window has set it up as usual before. Answers what went wrong.
QString configureLog(const cOptions& options)
{
    return options.logConfig ? QString::fromLocal8Bit(cWlog::init(options.logConfig->c_str()).c_str())
                             : QString();
}

/// Answers what went wrong; empty when everything asked for was done.
QString carryOut(const cOptions& options, MainWindow& window)
{
    if (options.deviceFile && !window.openDeviceFile(fullPath(*options.deviceFile))) {
        return unreadable("device", *options.deviceFile);
    }
    if (options.connectionFile && !window.openConnectionFile(fullPath(*options.connectionFile))) {
        return unreadable("connection", *options.connectionFile);
    }
    if (options.connect) {
        if (const std::optional<MainWindow::cRefusal> refusal = window.connectToServer()) {
            return refusal->text;
        }
    }
    for (const std::string& script : options.scripts) {
        if (!window.runScript(fullPath(script))) {
            return unreadable("script", script);
        }
    }
    return {};
}

/// Small screens get as much of the window as they have room for, its frame included.
void fitToScreen(QWidget& window)
{
    // The frame is known only once the window is shown; this is room for a title bar and borders.
    constexpr QSize kFrame(8, 32);
    window.resize(window.size().boundedTo(window.screen()->availableSize() - kFrame));
}

/// Where the link is recorded. False, and one sentence in @p *problem, where the file can't be written.
bool createCapture(const cOptions& options, std::shared_ptr<cCaptureFile>* capture, std::string* problem)
{
    if (!options.captureFile) {
        return true;
    }
    *capture =
        cCaptureFile::create(*options.captureFile, std::string("zulbench ") + zulversion::version(), problem);
    if (!*capture) {
        return false;
    }
    (*capture)->setReport([](const std::string& sentence) { cWlog("zulbench").error(sentence.c_str()); });
    return true;
}

int run(QApplication& application, const cOptions& options, std::shared_ptr<cCaptureFile> capture)
{
    const cLanguage language(cLanguage::wantedByUser());
    tracelog::traceStart(version(), language.code());
    const cSignalWatcher signalWatcher;
    QObject::connect(&signalWatcher, &cSignalWatcher::arrived, &application, &QApplication::quit);
    MainWindow window;
    window.recordTo(std::move(capture));
    QString problem = configureLog(options);
    if (problem.isEmpty()) {
        problem = carryOut(options, window);
    }
    if (!problem.isEmpty()) {
        return fail(problem);
    }
    fitToScreen(window);
    window.show();
    const int status = QApplication::exec();
    if (!window.shutDown()) {
        // A script hangs where nothing can reach it; its thread must not outlive what it uses.
        std::cout.flush();
        std::_Exit(status);
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    const cParsedOptions parsed = parseOptions(argc, argv, version(), std::cout, std::cerr);
    if (parsed.exitStatus) {
        return *parsed.exitStatus;
    }
    if (!displayplatform::prepare(parsed.options)) {
        return fail(QStringLiteral("there is no display; use --headless to run without one"));
    }
    std::shared_ptr<cCaptureFile> capture;
    std::string problem;
    if (!createCapture(parsed.options, &capture, &problem)) {
        return fail(problem);
    }
    cSignalWatcher::block();
    // Whoever read the trace may go away; the device stays.
    std::signal(SIGPIPE, SIG_IGN);
    QApplication application(argc, argv);
    // Qt has set the user's locale; numbers in files, in the log and in scripts keep their point.
    std::setlocale(LC_NUMERIC, "C");
    return run(application, parsed.options, std::move(capture));
}
