#include "devicefile.h"
#include "displayplatform.h"
#include "options.h"
#include "qttestmain.h"

#include <sstream>
#include <vector>

namespace {

struct Parsed
{
    cParsedOptions outcome;
    QString out;
    QString error;
};

Parsed parse(const QString& line)
{
    std::vector<std::string> words{"zulbench"};
    for (const QString& word : line.split(' ', Qt::SkipEmptyParts)) {
        words.push_back(word.toStdString());
    }
    std::vector<const char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(word.c_str());
    }
    arguments.push_back(nullptr);
    std::ostringstream out;
    std::ostringstream error;
    Parsed parsed;
    parsed.outcome =
        parseOptions(static_cast<int>(words.size()), arguments.data(), "the version", out, error);
    parsed.out = QString::fromStdString(out.str());
    parsed.error = QString::fromStdString(error.str());
    return parsed;
}

/// What was asked for, in words: device=... connection=... capture=... server=...
/// DIN+DOUT+AIN+AOUT+SCANNERS,SERIAL, LABEL,VERSION script=... run=... argument=... seed=... scale=...
/// connect headless platform.
QString summary(const cOptions& options)
{
    QStringList words;
    if (options.deviceFile) {
        words.append("device=" + QString::fromStdString(*options.deviceFile));
    }
    if (options.connectionFile) {
        words.append("connection=" + QString::fromStdString(*options.connectionFile));
    }
    if (options.captureFile) {
        words.append("capture=" + QString::fromStdString(*options.captureFile));
    }
    if (options.control) {
        words.append("control=" + QString::fromStdString(*options.control));
    }
    if (options.server) {
        words.append("server=" + QString::fromStdString(toText(*options.server)));
    }
    if (options.device.any()) {
        cDeviceFile device;
        options.device.apply(device);
        words.append(QString("%1+%2+%3+%4+%5,%6,%7,%8")
                         .arg(device.digitalInputs)
                         .arg(device.digitalOutputs)
                         .arg(device.analogInputs)
                         .arg(device.analogOutputs)
                         .arg(device.scanners)
                         .arg(device.serial, device.label, device.version));
    }
    for (const std::string& script : options.scripts) {
        words.append("script=" + QString::fromStdString(script));
    }
    if (options.run) {
        words.append("run=" + QString::fromStdString(*options.run));
    }
    for (const std::string& argument : options.arguments) {
        words.append("argument=" + QString::fromStdString(argument));
    }
    if (options.seed) {
        words.append(QString("seed=%1").arg(*options.seed));
    }
    for (const std::string& scenario : options.scenarios) {
        words.append("scenario=" + QString::fromStdString(scenario));
    }
    if (options.untilDone) {
        words.append("until-done");
    }
    if (options.junit) {
        words.append("junit=" + QString::fromStdString(*options.junit));
    }
    if (options.check) {
        words.append("check");
    }
    if (options.timeScale != 1.0) {
        words.append(QString("scale=%1").arg(options.timeScale));
    }
    if (options.connect) {
        words.append("connect");
    }
    if (options.headless) {
        words.append("headless");
    }
    if (options.platformNamed) {
        words.append("platform");
    }
    return words.join(' ');
}

} // namespace

class TestOptions : public QObject
{
    Q_OBJECT

private slots:
    void goodLinesAreTaken_data();
    void goodLinesAreTaken();
    void qtOptionsAreLeftAlone_data();
    void qtOptionsAreLeftAlone();
    void wrongUsageIsOneLineOfError_data();
    void wrongUsageIsOneLineOfError();
    void helpNamesEveryOption();
    void theVersionIsPutOut();
    void headlessSetsThePlatform();
    void aDisplayIsLookedFor_data();
    void aDisplayIsLookedFor();
};

void TestOptions::goodLinesAreTaken_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("options");
    QTest::newRow("nothing") << ""
                             << "";
    QTest::newRow("device") << "--device a.dev"
                            << "device=a.dev";
    QTest::newRow("device joined") << "--device=a.dev"
                                   << "device=a.dev";
    QTest::newRow("connection") << "--connection a.con"
                                << "connection=a.con";
    QTest::newRow("control") << "--control /run/gate"
                             << "control=/run/gate";
    QTest::newRow("capture") << "--capture link.pcapng"
                             << "capture=link.pcapng";
    QTest::newRow("connect") << "--connect"
                             << "connect";
    QTest::newRow("headless") << "--headless"
                              << "headless";
    QTest::newRow("a plain device") << "a.dev"
                                    << "device=a.dev";
    QTest::newRow("a plain connection") << "a.con --connect"
                                        << "connection=a.con connect";
    QTest::newRow("plain files of every kind")
        << "s.js a.con --script r.js t.js a.dev"
        << "device=a.dev connection=a.con script=r.js script=s.js script=t.js";
    QTest::newRow("a plain file in capitals") << "A.DEV"
                                              << "device=A.DEV";
    QTest::newRow("a plain script beside an option") << "--device a.dev s.js"
                                                     << "device=a.dev script=s.js";
    QTest::newRow("a plain file after two dashes") << "-- -a.dev"
                                                   << "device=-a.dev";
    QTest::newRow("everything in another order") << "--headless --connect --connection a.con --device a.dev"
                                                 << "device=a.dev connection=a.con connect headless";
    QTest::newRow("the next word is the name, whatever it is") << "--device --connect"
                                                               << "device=--connect";
    QTest::newRow("a device without a file") << "--din 1 --dout 2 --ain 3 --aout 4 --scanners 5 --serial "
                                                "4294967295 --label gate --device-version 7"
                                             << "1+2+3+4+5,4294967295,gate,7";
    QTest::newRow("one value alone") << "--serial=0"
                                     << "0+0+0+0+0,0,,";
    QTest::newRow("values beside a file") << "--device a.dev --din 100000"
                                          << "device=a.dev 100000+0+0+0+0,,,";
    QTest::newRow("a script on a device without a file") << "--din 1 s.js"
                                                         << "1+0+0+0+0,,, script=s.js";
    QTest::newRow("a server connects") << "--server lab.example:50000"
                                       << "server=lab.example:50000 connect";
    QTest::newRow("a server of IPv6") << "--server [::1]:65535"
                                      << "server=[::1]:65535 connect";
    QTest::newRow("a server and connect") << "--connect --server 127.0.0.1:1"
                                          << "server=127.0.0.1:1 connect";
    QTest::newRow("a script to end with") << "--device a.dev --run s.js"
                                          << "device=a.dev run=s.js";
    QTest::newRow("a script to end with, of any suffix") << "--run=s.txt --headless --din 1"
                                                         << "1+0+0+0+0,,, run=s.txt headless";
    QTest::newRow("a script's arguments") << "--run s.js a.dev -- one --two b.dev -x"
                                          << "device=a.dev run=s.js argument=one argument=--two "
                                             "argument=b.dev argument=-x";
    QTest::newRow("a script's arguments that look like Qt's") << "--din 1 --run s.js -- -platform xcb --"
                                                              << "1+0+0+0+0,,, run=s.js argument=-platform "
                                                                 "argument=xcb argument=--";
    QTest::newRow("two dashes without an argument") << "--din 1 --run s.js --"
                                                    << "1+0+0+0+0,,, run=s.js";
    QTest::newRow("Qt's options after two dashes without a script to end with")
        << "a.dev -- -style fusion b.con"
        << "device=a.dev connection=b.con";
    QTest::newRow("a seed") << "--seed 4294967295"
                            << "seed=4294967295";
    QTest::newRow("a seed of zero") << "--seed=0"
                                    << "seed=0";
    QTest::newRow("scenarios") << "--din 1 --scenario a.yaml --until-done --scenario b.yaml --junit r.xml"
                               << "1+0+0+0+0,,, scenario=a.yaml scenario=b.yaml until-done junit=r.xml";
    QTest::newRow("a check") << "--check a.dev --scenario a.yaml"
                             << "device=a.dev scenario=a.yaml check";
    QTest::newRow("the fastest clock") << "--time-scale 10000"
                                       << "scale=10000";
    QTest::newRow("the slowest clock") << "--time-scale 0.1"
                                       << "scale=0.1";
    QTest::newRow("a name with a dash in front") << "--device=-a.dev"
                                                 << "device=-a.dev";
}

void TestOptions::goodLinesAreTaken()
{
    QFETCH(QString, line);
    const Parsed parsed = parse(line);
    QVERIFY(!parsed.outcome.exitStatus.has_value());
    QTEST(summary(parsed.outcome.options), "options");
    QCOMPARE(parsed.out + parsed.error, QString());
}

void TestOptions::qtOptionsAreLeftAlone_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("platform");
    for (const char* option : {"style", "stylesheet", "platformtheme", "platformpluginpath", "plugin",
                               "qwindowgeometry", "geometry", "display", "title", "icon", "session"}) {
        QTest::addRow("-%s", option) << QStringLiteral("-%1 value").arg(option) << false;
        QTest::addRow("--%s", option) << QStringLiteral("--%1 value").arg(option) << false;
    }
    QTest::newRow("-platform") << "-platform offscreen" << true;
    QTest::newRow("--platform") << "--platform offscreen" << true;
    QTest::newRow("-style=") << "-style=fusion" << false;
    QTest::newRow("--style=") << "--style=fusion" << false;
    QTest::newRow("-stylesheet=") << "-stylesheet=a.qss" << false;
    QTest::newRow("-reverse") << "-reverse" << false;
    QTest::newRow("--reverse") << "--reverse" << false;
    QTest::newRow("-widgetcount") << "-widgetcount" << false;
    QTest::newRow("a value that looks like an option") << "-title --connect" << false;
}

void TestOptions::qtOptionsAreLeftAlone()
{
    QFETCH(QString, line);
    QFETCH(bool, platform);
    const Parsed parsed = parse("--device a.dev " + line + " --headless");
    QCOMPARE(parsed.error, QString());
    QVERIFY(!parsed.outcome.exitStatus.has_value());
    QCOMPARE(summary(parsed.outcome.options),
             QStringLiteral("device=a.dev headless%1").arg(QLatin1String(platform ? " platform" : "")));
}

void TestOptions::wrongUsageIsOneLineOfError_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("named");
    QTest::newRow("unknown option") << "--bogus"
                                    << "--bogus";
    QTest::newRow("unknown short option") << "-z"
                                          << "-z";
    QTest::newRow("a plain file of another kind") << "a.txt"
                                                  << "'a.txt'";
    QTest::newRow("a plain word") << "dev"
                                  << "'dev'";
    QTest::newRow("two plain devices") << "a.dev b.dev"
                                       << "'a.dev' and 'b.dev'";
    QTest::newRow("a plain connection beside the option") << "--connection a.con b.con"
                                                          << "'a.con' and 'b.con'";
    QTest::newRow("a plain script without a device") << "a.js"
                                                     << "--device";
    QTest::newRow("device without a file") << "--device"
                                           << "--device";
    QTest::newRow("control without a path") << "--control"
                                            << "--control";
    QTest::newRow("capture without a file") << "--capture"
                                            << "--capture";
    QTest::newRow("two devices") << "--device a.dev --device b.dev"
                                 << "--device";
    QTest::newRow("connect with a value") << "--connect=host"
                                          << "--connect";
    for (const char* option :
         {"--din", "--dout", "--ain", "--aout", "--scanners", "--serial", "--device-version", "--seed"}) {
        for (const char* value : {"x", "-1", "4294967296", "1.5", "0x10", "+1", "1e3"}) {
            QTest::addRow("%s %s", option, value) << QString("%1 %2").arg(option, value) << QString(option);
        }
        QTest::addRow("%s without a number", option) << QString(option) << QString(option);
        QTest::addRow("%s empty", option) << QString("%1=").arg(option) << QString(option);
    }
    for (const char* scale : {"0", "0.09", "10001", "-1", "x", "nan", "inf", "1e999", "2x", ""}) {
        QTest::addRow("time scale '%s'", scale)
            << QString("--time-scale=%1").arg(scale) << QString("--time-scale");
    }
    QTest::newRow("too many ports of a kind") << "--dout 100001"
                                              << "--dout";
    for (const char* server : {"lab", "lab:", ":50000", "lab:0", "lab:65536", "lab:x", "lab:-1", "::1:50000",
                               "[::1]", "[lab]:50000", "[]:50000", "lab:50000:1"}) {
        QTest::addRow("server %s", server) << QString("--server %1").arg(server) << QString("--server");
    }
    QTest::newRow("a server beside a connection") << "--server lab:1 --connection a.con"
                                                  << "--connection";
    QTest::newRow("a server beside a plain connection") << "--server lab:1 a.con"
                                                        << "--connection";
    QTest::newRow("two servers") << "--server lab:1 --server lab:2"
                                 << "--server";
    QTest::newRow("run beside a script") << "--device a.dev --run a.js --script b.js"
                                         << "--run";
    QTest::newRow("run beside a plain script") << "--device a.dev --run a.js b.js"
                                               << "--run";
    QTest::newRow("run without a device") << "--run a.js"
                                          << "--device";
    QTest::newRow("a scenario without a device") << "--scenario a.yaml"
                                                 << "--device";
    QTest::newRow("a check without a device") << "--check"
                                              << "--device";
    QTest::newRow("done without a scenario") << "--din 1 --until-done"
                                             << "--scenario";
    QTest::newRow("a report without a scenario") << "--din 1 --junit r.xml"
                                                 << "--scenario";
    QTest::newRow("run without a file") << "--din 1 --run"
                                        << "--run";
    QTest::newRow("two runs") << "--din 1 --run a.js --run b.js"
                              << "--run";
    QTest::newRow("run with dashes for a file") << "--din 1 --run -- a"
                                                << "--run";
    QTest::newRow("two seeds") << "--seed 1 --seed 2"
                               << "--seed";
    QTest::newRow("abbreviated option") << "--conn"
                                        << "--conn";
    QTest::newRow("joined value that Qt does not take") << "--platform=offscreen"
                                                        << "--platform";
}

void TestOptions::wrongUsageIsOneLineOfError()
{
    QFETCH(QString, line);
    QFETCH(QString, named);
    const Parsed parsed = parse(line);
    QVERIFY(parsed.outcome.exitStatus.has_value());
    QCOMPARE(*parsed.outcome.exitStatus, 1);
    QCOMPARE(parsed.out, QString());
    QVERIFY2(parsed.error.startsWith("zulbench: "), qPrintable(parsed.error));
    QVERIFY2(parsed.error.contains(named), qPrintable(parsed.error));
    QCOMPARE(parsed.error.count('\n'), 1);
    QVERIFY(parsed.error.endsWith('\n'));
}

void TestOptions::helpNamesEveryOption()
{
    const Parsed parsed = parse("--help");
    QVERIFY(parsed.outcome.exitStatus.has_value());
    QCOMPARE(*parsed.outcome.exitStatus, 0);
    QCOMPARE(parsed.error, QString());
    for (const char* option : {"--device FILE",  "--connection FILE",  "--connect ",   "--log-config FILE",
                               "--capture FILE", "--control PATH",     "--headless",   "--help",
                               "--version",      "--server HOST:PORT", "--din N",      "--dout N",
                               "--ain N",        "--aout N",           "--scanners N", "--serial N",
                               "--label TEXT",   "--device-version N", "--run FILE",   "--seed N",
                               "--time-scale K", "--scenario FILE",    "--until-done", "--junit FILE",
                               "--check"}) {
        QVERIFY2(parsed.out.contains(option), option);
    }
}

void TestOptions::theVersionIsPutOut()
{
    const Parsed parsed = parse("--version");
    QVERIFY(parsed.outcome.exitStatus.has_value());
    QCOMPARE(*parsed.outcome.exitStatus, 0);
    QCOMPARE(parsed.error, QString());
    QCOMPARE(parsed.out, QString("the version\n"));
}

void TestOptions::headlessSetsThePlatform()
{
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_QPA_PLATFORMTHEME", "gtk3");
    cOptions options;
    options.headless = true;
    QVERIFY(displayplatform::prepare(options));
    QCOMPARE(qgetenv("QT_QPA_PLATFORM"), QByteArray("offscreen"));
    QVERIFY(!qEnvironmentVariableIsSet("QT_QPA_PLATFORMTHEME"));
}

void TestOptions::aDisplayIsLookedFor_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("platformNamed");
    QTest::addColumn<bool>("found");
    QTest::newRow("nothing") << QByteArray("DISPLAY") << QByteArray() << false << false;
    QTest::newRow("X display") << QByteArray("DISPLAY") << QByteArray(":0") << false << true;
    QTest::newRow("Wayland display") << QByteArray("WAYLAND_DISPLAY") << QByteArray("wayland-0") << false
                                     << true;
    QTest::newRow("platform in the environment")
        << QByteArray("QT_QPA_PLATFORM") << QByteArray("vnc") << false << true;
    QTest::newRow("platform on the line") << QByteArray("DISPLAY") << QByteArray() << true << true;
}

void TestOptions::aDisplayIsLookedFor()
{
    QFETCH(QByteArray, variable);
    QFETCH(QByteArray, value);
    cOptions options;
    QFETCH(bool, platformNamed);
    options.platformNamed = platformNamed;
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        qunsetenv(name);
    }
    qputenv(variable.constData(), value);
    QTEST(displayplatform::prepare(options), "found");
}

ZUL_QTEST(TestOptions)
#include "options_test.moc"
