#include "ccontrolserver.h"
#include "cscriptrun.h"
#include "csentwatch.h"
#include "devicefile.h"
#include "displayplatform.h"
#include "language.h"
#include "mainwindow.h"
#include "options.h"
#include "paths.h"
#include "readfile.h"
#include "signalwatcher.h"
#include "wcapture/capturefile.h"
#include "wfile/atomicfile.h"
#include "wlog/wlog.h"
#include "zulscenario/scenarioreader.h"
#include "zulversion/zulversion.h"

#include <CLI/Version.hpp>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QLocale>
#include <QLoggingCategory>
#include <QScreen>
#include <QSysInfo>
#include <QTextCodec>
#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <iostream>

namespace {

// Off unless QT_LOGGING_RULES says otherwise.
Q_LOGGING_CATEGORY(startTrace, "zulbench.start", QtWarningMsg)

/// The exit status if an expectation of a scenario was missed.
constexpr int kMissed = 4;

std::string version()
{
    return zulversion::describe("zulbench", {{"Qt", qVersion()}, {"CLI11", CLI11_VERSION}});
}

void traceStart(const QString& language)
{
    for (const QString& line : QString::fromStdString(version()).split('\n')) {
        qCInfo(startTrace, "%s", qPrintable(line));
    }
    qCInfo(startTrace, "system %s, kernel %s", qPrintable(QSysInfo::prettyProductName()),
           qPrintable(QSysInfo::kernelVersion()));
    qCInfo(startTrace, "display %s", qPrintable(QGuiApplication::platformName()));
    qCInfo(startTrace, "locale %s, texts in %s, files in %s", qPrintable(QLocale().name()),
           qPrintable(language), QTextCodec::codecForLocale()->name().constData());
    qCInfo(startTrace, "configuration %s", qPrintable(paths::configurationDirectory()));
}

int fail(const QString& reason)
{
    std::cerr << "zulbench: " << qPrintable(reason) << std::endl;
    return 1;
}

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

// Each step returns what went wrong, in one sentence; an empty text if nothing did.

/// The window has set logging up as usual before.
QString configureLog(const cOptions& options, MainWindow&)
{
    return options.logConfig ? QString::fromLocal8Bit(cWlog::init(options.logConfig->c_str()).c_str())
                             : QString();
}

QString readDevice(const cOptions& options, cDeviceFile& device)
{
    device.type = QStringLiteral("TYPE_DISCRETE_IO");
    if (options.deviceFile) {
        const std::optional<cDeviceFile> read = MainWindow::readDeviceFile(fullPath(*options.deviceFile));
        if (!read) {
            return unreadable("device", *options.deviceFile);
        }
        device = *read;
    }
    const bool changed = options.device.any();
    options.device.apply(device);
    if (device.hasTooManyItems()) {
        return changed ? QString::fromStdString(zuloptions::tooManyItems())
                       : unreadable("device", *options.deviceFile);
    }
    return {};
}

QString openDevice(const cOptions& options, MainWindow& window)
{
    window.setClock(cScaledClock(options.timeScale));
    cDeviceFile device;
    QString problem = readDevice(options, device);
    if (problem.isEmpty() && (options.deviceFile || options.device.any())) {
        window.openDevice(options.deviceFile ? fullPath(*options.deviceFile) : QString(), device);
    }
    return problem;
}

QString findServer(const cOptions& options, MainWindow& window)
{
    if (options.server) {
        window.setServer(QString::fromLocal8Bit(options.server->host.c_str()), options.server->port);
    }
    if (options.connectionFile && !window.openConnectionFile(fullPath(*options.connectionFile))) {
        return unreadable("connection", *options.connectionFile);
    }
    return {};
}

QString checkOrders(const cOptions& options, MainWindow& window)
{
    if (const auto refusal = window.connectionRefusal(); options.connect && refusal) {
        return QLatin1String(refusal->text);
    }
    std::vector<std::string> scripts = options.scripts;
    if (options.run) {
        scripts.push_back(*options.run);
    }
    const auto missing = std::find_if_not(scripts.begin(), scripts.end(),
                                          [](auto& script) { return isReadableFile(fullPath(script)); });
    return missing == scripts.end() ? QString() : unreadable("script", *missing);
}

/// A scenario that is wrong tells its place by itself.
int failAt(const std::string& mistake)
{
    std::cerr << mistake << std::endl;
    return 1;
}

/// Returns the first mistake in a scenario, or an empty text.
std::string addScenarios(const cOptions& options, cScenarios& scenarios)
{
    if (options.seed) {
        scenarios.setSeed(*options.seed);
    }
    for (const std::string& path : options.scenarios) {
        if (std::string mistake = scenarios.add(path); !mistake.empty()) {
            return mistake;
        }
    }
    return {};
}

QString unwritableReport(const cOptions& options, const WStatus& status)
{
    return QStringLiteral("the report '%1' cannot be written: %2")
        .arg(QFile::decodeName(options.junit->c_str()), QLatin1String(status.problem()));
}

QString checkReport(const cOptions& options, MainWindow&)
{
    const WStatus status = options.junit ? cAtomicFile(*options.junit).check() : WStatus::ok();
    return status.isOk() ? QString() : unwritableReport(options, status);
}

/// Writes the report of the expectations. Returns the status to end with.
int judgeScenarios(const cOptions& options, const cScenarios& scenarios, int status, std::time_t started)
{
    const zulscenario::ScenarioReport report = scenarios.report();
    if (options.junit) {
        const WStatus written = cAtomicFile(*options.junit).write(report.junit("zulbench", started));
        if (!written.isOk()) {
            return fail(unwritableReport(options, written));
        }
    }
    return status == 0 && report.isMissed() ? kMissed : status;
}

/// Looks at the device and the scenarios, without a window.
int check(const cOptions& options)
{
    cDeviceFile device;
    if (const QString problem = readDevice(options, device); !problem.isEmpty()) {
        return fail(problem);
    }
    int status = 0;
    for (const std::string& path : options.scenarios) {
        zulscenario::Scenario scenario;
        if (const std::string mistake = zulscenario::readScenario(path, device, &scenario);
            !mistake.empty()) {
            status = failAt(mistake);
        }
    }
    return status;
}

QString createCapture(const cOptions& options, MainWindow& window)
{
    if (!options.captureFile) {
        return {};
    }
    std::shared_ptr<cCaptureFile> capture;
    const WStatus status = cCaptureFile::create(*options.captureFile,
                                                std::string("zulbench ") + zulversion::version(), &capture);
    if (!capture) {
        return QStringLiteral("the capture file '%1' cannot be written: %2")
            .arg(QFile::decodeName(options.captureFile->c_str()), QLatin1String(status.problem()));
    }
    capture->setReport([](const std::string& sentence) { cWlog("zulbench").error(sentence.c_str()); });
    window.recordTo(capture);
    return {};
}

QString makeControlSocket(const cOptions& options, cControlServer& control)
{
    return options.control ? QString::fromLocal8Bit(control.makeSocket(*options.control).c_str()) : QString();
}

QString prepare(const cOptions& options, MainWindow& window)
{
    for (const auto step : {configureLog, openDevice, findServer, checkOrders, checkReport}) {
        if (QString problem = step(options, window); !problem.isEmpty()) {
            return problem;
        }
    }
    return {};
}

/// The control socket and the capture file, which is emptied, come after all that may be wrong.
QString carryOut(const cOptions& options, MainWindow& window, cControlServer& control)
{
    if (QString problem = makeControlSocket(options, control); !problem.isEmpty()) {
        return problem;
    }
    if (QString problem = createCapture(options, window); !problem.isEmpty()) {
        return problem;
    }
    // Who connects finds a program that has started.
    if (!control.listen()) {
        return QStringLiteral("the system refuses to listen at the control socket");
    }
    if (options.connect) {
        window.connectToServer();
    }
    if (options.seed) {
        window.scripts().setSeed(*options.seed);
    }
    for (const std::string& script : options.scripts) {
        window.runScript(fullPath(script));
    }
    window.scenarios().begin();
    return {};
}

QString startRun(const cOptions& options, cScriptRun& run)
{
    QStringList arguments;
    for (const std::string& argument : options.arguments) {
        arguments.append(QString::fromLocal8Bit(argument.c_str()));
    }
    return options.run ? run.start(fullPath(*options.run), arguments) : QString();
}

/// Small screens get as much of the window as they have room for, its frame included.
void fitToScreen(QWidget& window)
{
    // The frame is known only once the window is shown; this is room for a title bar and borders.
    constexpr QSize kFrame(8, 32);
    window.resize(window.size().boundedTo(window.screen()->availableSize() - kFrame));
}

QIcon icon()
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64, 128, 256}) {
        icon.addFile(QStringLiteral(":/icons/zulbench-%1.png").arg(size));
    }
    return icon;
}

int run(const cOptions& options)
{
    const cLanguage language(cLanguage::wantedByUser());
    traceStart(language.code());
    bool toldToEnd = false;
    const cSignalWatcher signalWatcher([&toldToEnd](int) {
        toldToEnd = true;
        QApplication::quit();
    });
    MainWindow window;
    cControlServer control(&window);
    window.whenDeviceIsReplaced([&control] { control.deviceReplaced(); });
    QObject::connect(&window.scripts(), &cScripts::scriptChanged, &control, &cControlServer::scriptChanged);
    QObject::connect(&control, &cControlServer::quitRequested, &QApplication::quit);
    window.scenarios().onStep = [&control](const zulcommand::JsonPtr& line) { control.stepDone(line); };
    cSentWatch sentWatch(window);
    if (options.untilDone) {
        window.scenarios().stopWhenDone();
        window.scenarios().onDone = [&sentWatch] { sentWatch.endWhenRead(0); };
    }
    const std::time_t started = std::time(nullptr);
    cScriptRun scriptRun(window, !options.seed);
    QString problem = prepare(options, window);
    const std::string mistake = problem.isEmpty() ? addScenarios(options, window.scenarios()) : std::string();
    if (problem.isEmpty() && mistake.empty()) {
        problem = carryOut(options, window, control);
    }
    if (!toldToEnd && problem.isEmpty() && mistake.empty()) {
        problem = startRun(options, scriptRun);
    }
    int status = 0;
    if (!mistake.empty()) {
        status = failAt(mistake);
    } else if (!toldToEnd && !problem.isEmpty()) {
        status = fail(problem);
    } else if (!toldToEnd) {
        fitToScreen(window);
        window.show();
        status = judgeScenarios(options, window.scenarios(), QApplication::exec(), started);
    }
    if (!window.shutDown()) {
        // A script hangs where nothing can end it; its thread must not outlive what it uses.
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
    cSignalWatcher::block();
    // The reader of the trace may go away; the device stays.
    std::signal(SIGPIPE, SIG_IGN);
    const QtMessageHandler formerHandler = qInstallMessageHandler(displayplatform::endOnFailure);
    // Qt would take the arguments of a script for its own.
    argc -= static_cast<int>(parsed.options.arguments.size());
    QApplication application(argc, argv);
    qInstallMessageHandler(formerHandler);
    // Qt has set the user's locale; numbers in files, in the log and in scripts keep their point.
    std::setlocale(LC_NUMERIC, "C");
    if (!parsed.options.headless && QApplication::windowIcon().isNull()) {
        QApplication::setWindowIcon(icon());
    }
    QApplication::setDesktopFileName(QStringLiteral("zulbench"));
    return parsed.options.check ? check(parsed.options) : run(parsed.options);
}
