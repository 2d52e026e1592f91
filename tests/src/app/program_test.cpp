#include "controlclient.h"
#include "devicefiles.h"
#include "headlessprogram.h"
#include "homefiles.h"
#include "qttestmain.h"

#include <QRegularExpression>
#include <csignal>
#include <sys/stat.h>

namespace {

/// A pipe in the configuration directory.
QString makePipe(const HomeFiles& home)
{
    const QString path = home.pathOf("pipe");
    if (mkfifo(QFile::encodeName(path).constData(), 0600) != 0) {
        qFatal("there is no pipe");
    }
    return path;
}

} // namespace

class TestProgram : public QObject
{
    Q_OBJECT

private slots:
    void helpAndVersionNeedNoDisplay_data();
    void helpAndVersionNeedNoDisplay();
    void wrongUsageEndsWithOne();
    void withoutADisplayHeadlessIsNamed();
    void whatCannotBeDoneEndsWithOne_data();
    void whatCannotBeDoneEndsWithOne();
    void bothSignalsEndTheProgramCleanly_data();
    void bothSignalsEndTheProgramCleanly();
    void quitOnTheControlSocketEndsTheProgramWithZero();
    void aSignalTakesTheControlSocketAway();
    void aControlSocketIsTakenFromAProgramThatWasKilled();
    void startCreatesTheConfigurationDirectory();
    void optionsAreCarriedOutInTheirOwnOrder();
    void aRelativeNameIsMeantFromTheWorkingDirectory();
    void aScriptNeedsADevice();
    void everyScriptIsRun();
    void anUnreadableScriptEndsWithOneBeforeAnotherStarts();
    void plainArgumentsAreOpened();
    void aPipeIsReadToItsEnd_data();
    void aPipeIsReadToItsEnd();
    void aPipeWithoutAWriterEndsAtASignal_data();
    void aPipeWithoutAWriterEndsAtASignal();
    void theCaptureFileStaysIfAnOptionIsWrong_data();
    void theCaptureFileStaysIfAnOptionIsWrong();
    void aDisplayThatLeadsNowhereEndsWithOne_data();
    void aDisplayThatLeadsNowhereEndsWithOne();
    void sentencesAreEnglishWhateverTheLocale();
    void aLaterScriptDoesNotLendItsNameToAnEarlierOne();
    void aRunEndsWithItsScript_data();
    void aRunEndsWithItsScript();
    void aRunTellsWhatGoesWrong_data();
    void aRunTellsWhatGoesWrong();
    void aRunNeedsAReadableFile();
    void aRunHandsArgumentsOver();
    void aRunTellsASeedOfChance();
    void theSameSeedGivesTheSameNumbers();
    void anotherScriptDoesNotEndTheProgram();
    void aSignalEndsARun();
    void aSignalEndsTheProgramWhateverAScriptDoes_data();
    void aSignalEndsTheProgramWhateverAScriptDoes();
};

void TestProgram::helpAndVersionNeedNoDisplay_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("help") << QStringList("--help") << QByteArray("--headless");
    QTest::newRow("version") << QStringList("--version") << QByteArray("zulbench ");
    QTest::newRow("version beside other options")
        << QStringList{"--connect", "--version"} << QByteArray("zulbench ");
}

void TestProgram::helpAndVersionNeedNoDisplay()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, expected);
    const HomeFiles home;
    QVERIFY(QDir().rmdir(home.configuration()));
    HeadlessProgram program;
    program.setEnvironment("HOME", home.path());
    program.start(arguments);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.out().contains(expected));
    QCOMPARE(program.error(), QByteArray());
    QVERIFY(!QFileInfo::exists(home.configuration()));
}

void TestProgram::wrongUsageEndsWithOne()
{
    HeadlessProgram program;
    program.start({"--bogus"});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    QCOMPARE(program.error().count('\n'), 1);
    QVERIFY(program.error().contains("--bogus"));
}

void TestProgram::withoutADisplayHeadlessIsNamed()
{
    HeadlessProgram program;
    program.start({});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    QCOMPARE(program.error().count('\n'), 1);
    QVERIFY(program.error().contains("--headless"));
}

void TestProgram::whatCannotBeDoneEndsWithOne_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("named");
    QTest::newRow("missing device file") << QStringList{"--device", "no.dev"} << QByteArray("'no.dev'");
    QTest::newRow("missing connection file")
        << QStringList{"--connection", "no.con"} << QByteArray("'no.con'");
    QTest::newRow("directory for a device file") << QStringList{"--device", "/"} << QByteArray("'/'");
    QTest::newRow("empty name") << QStringList{"--device="} << QByteArray("device");
    QTest::newRow("the device comes first")
        << QStringList{"--connect", "--connection", "no.con", "--device", "no.dev"} << QByteArray("'no.dev'");
    QTest::newRow("too many ports in all")
        << QStringList{"--din", "60000", "--ain", "40001"} << QByteArray("--din");
    QTest::newRow("control socket in a missing folder")
        << QStringList{"--control", "/missing/control"} << QByteArray("'/missing/control'");
    QTest::newRow("connect without settings")
        << QStringList{"--connect"} << QByteArray("You need to configure the connection parameters first");
}

void TestProgram::whatCannotBeDoneEndsWithOne()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, named);
    HeadlessProgram program;
    program.start(QStringList("--headless") + arguments);
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    const QList<QByteArray> complaints = program.complaints();
    QCOMPARE(complaints.size(), 1);
    QVERIFY2(complaints.first().contains(named), complaints.first().constData());
}

void TestProgram::bothSignalsEndTheProgramCleanly_data()
{
    QTest::addColumn<int>("number");
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("SIGTERM") << SIGTERM << QStringList("--headless");
    QTest::newRow("SIGINT") << SIGINT << QStringList("--headless");
    QTest::newRow("SIGTERM on a platform of Qt's option") << SIGTERM << QStringList{"-platform", "offscreen"};
    QTest::newRow("SIGTERM with Qt's style")
        << SIGTERM << QStringList{"-style=fusion", "--headless", "-title", "--connect"};
}

void TestProgram::bothSignalsEndTheProgramCleanly()
{
    QFETCH(int, number);
    QFETCH(QStringList, arguments);
    HeadlessProgram program;
    program.start(arguments);
    QVERIFY2(program.waitForError("Config Dir is: "), program.error().constData());
    program.send(number);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.complaints().isEmpty());
}

void TestProgram::quitOnTheControlSocketEndsTheProgramWithZero()
{
    const HomeFiles home;
    const QString path = home.pathOf("control");
    HeadlessProgram program;
    program.start({"--headless", "--din", "1", "--control", path});
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(path) && ControlClient(path).isConnected(), 60000);
    ControlClient client(path);
    client.sendBytes("help\nset din 1 high\nquit\nset din 1 low\n");
    for (const char* command : {"help", "set din 1 high", "quit"}) {
        const QJsonObject reply = client.next("reply");
        QCOMPARE(reply["command"], QJsonValue(command));
        QCOMPARE(reply["status"], QJsonValue("ok"));
    }
    QCOMPARE(program.status(), 0);
    QVERIFY(!QFileInfo::exists(path));
    QVERIFY2(program.error().contains("set din PORT high|low\n"), program.error().constData());
}

void TestProgram::aSignalTakesTheControlSocketAway()
{
    const HomeFiles home;
    const QString path = home.pathOf("control");
    HeadlessProgram program;
    program.start({"--headless", "--control", path});
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(path), 60000);
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY(!QFileInfo::exists(path));
}

void TestProgram::aControlSocketIsTakenFromAProgramThatWasKilled()
{
    const HomeFiles home;
    const QString path = home.pathOf("control");
    HeadlessProgram killed;
    killed.start({"--headless", "--control", path});
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(path), 60000);
    HeadlessProgram second;
    second.start({"--headless", "--control", path});
    QCOMPARE(second.status(), 1);
    QVERIFY2(second.complaints().value(0).endsWith("another program listens there"),
             second.error().constData());
    killed.send(SIGKILL);
    QCOMPARE(killed.status(), -1);
    QVERIFY(QFileInfo::exists(path));
    HeadlessProgram third;
    third.start({"--headless", "--control", path});
    QTRY_VERIFY_WITH_TIMEOUT(ControlClient(path).isConnected(), 60000);
    QCOMPARE(ControlClient(path).status("quit"), QString("ok"));
    QCOMPARE(third.status(), 0);
}

void TestProgram::startCreatesTheConfigurationDirectory()
{
    const HomeFiles home;
    QVERIFY(QDir().rmdir(home.configuration()));
    HeadlessProgram program;
    program.setEnvironment("HOME", home.path());
    program.start({"--headless"});
    QVERIFY(program.waitForError("Config Dir is: " + QFile::encodeName(home.configuration()) + '\n'));
    QTRY_VERIFY(QFileInfo(home.configuration()).isDir());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

void TestProgram::optionsAreCarriedOutInTheirOwnOrder()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--connect", "--connection", home.write("lab.con", kConnection), "--headless", "--device",
                   home.write("Panel.dev", kPanel)});
    QVERIFY2(program.waitForError("Read Label As:\"Panel\""), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.complaints().isEmpty());
}

void TestProgram::aRelativeNameIsMeantFromTheWorkingDirectory()
{
    const HomeFiles home;
    home.write("Panel.dev", kPanel);
    const QString formerDirectory = QDir::currentPath();
    QVERIFY(QDir::setCurrent(home.configuration()));
    HeadlessProgram program;
    program.start({"--headless", "--device", "Panel.dev"});
    const bool read = program.waitForError("Read Label As:\"Panel\"");
    QVERIFY(QDir::setCurrent(formerDirectory));
    QVERIFY2(read, program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

void TestProgram::aScriptNeedsADevice()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--script", home.write("a.js", "")});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    QCOMPARE(program.error().count('\n'), 1);
    QVERIFY2(program.error().contains("--device"), program.error().constData());
}

void TestProgram::everyScriptIsRun()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--script", home.write("a.js", "print('first ran')"), "--script",
                   home.write("b.js", "print('second ran')"), "--headless", "--device",
                   home.write("Panel.dev", kPanel)});
    QVERIFY2(program.waitForError("first ran"), program.error().constData());
    QVERIFY2(program.waitForError("second ran"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.complaints().isEmpty());
}

void TestProgram::anUnreadableScriptEndsWithOneBeforeAnotherStarts()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--device", home.write("Panel.dev", kPanel), "--script",
                   home.write("a.js", "print('it runs'); new Array(4294967295).sort();"), "--script",
                   "no.js"});
    QCOMPARE(program.status(), 1);
    const QList<QByteArray> complaints = program.complaints();
    QCOMPARE(complaints.size(), 1);
    QVERIFY2(complaints.first().contains("'no.js'"), complaints.first().constData());
    QVERIFY2(!program.error().contains("it runs"), program.error().constData());
}

void TestProgram::plainArgumentsAreOpened()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({home.write("a.js", "print('it ran')"), home.write("lab.con", kConnection), "--headless",
                   "--connect", home.write("Panel.dev", kPanel)});
    QVERIFY2(program.waitForError("it ran"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY2(program.error().contains("Starting with 127.0.0.1:1\n"), program.error().constData());
    QVERIFY(program.error().contains("Read Label As:\"Panel\""));
}

void TestProgram::aPipeIsReadToItsEnd_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("device") << "--device" << kPanel << QByteArray("Read Label As:\"Panel\"");
    QTest::newRow("connection") << "--connection" << kConnection
                                << QByteArray("address \"127.0.0.1\", port \"1\"");
    QTest::newRow("script") << "--script" << QByteArray("// first\nprint('it ran')") << QByteArray("it ran");
}

void TestProgram::aPipeIsReadToItsEnd()
{
    QFETCH(QString, option);
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    const HomeFiles home;
    const QString pipe = makePipe(home);
    HeadlessProgram program;
    program.setEnvironment("QT_LOGGING_RULES", "zulbench.*=true");
    QStringList arguments{"--headless", option, pipe};
    if (option == "--script") {
        arguments << "--device" << home.write("Panel.dev", kPanel);
    }
    program.start(arguments);
    QFile writer(pipe);
    QVERIFY(writer.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    const int half = content.size() / 2;
    QCOMPARE(writer.write(content.left(half)), qint64{half});
    QCOMPARE(writer.write(content.mid(half)), qint64{content.size() - half});
    writer.close();
    QVERIFY2(program.waitForError(expected), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

void TestProgram::aPipeWithoutAWriterEndsAtASignal_data()
{
    QTest::addColumn<QString>("option");
    for (const char* option : {"--device", "--connection", "--script"}) {
        QTest::newRow(option) << option;
    }
}

void TestProgram::aPipeWithoutAWriterEndsAtASignal()
{
    QFETCH(QString, option);
    const HomeFiles home;
    HeadlessProgram program;
    QStringList arguments{"--headless", option, makePipe(home)};
    if (option == "--script") {
        arguments << "--device" << home.write("Panel.dev", kPanel);
    }
    program.start(arguments);
    QVERIFY2(program.waitForError("Config Dir is: "), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QCOMPARE(program.complaints(), QList<QByteArray>());
}

void TestProgram::theCaptureFileStaysIfAnOptionIsWrong_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("missing device") << QStringList{"--device", "no.dev"};
    QTest::newRow("missing connection") << QStringList{"--connection", "no.con"};
    QTest::newRow("nothing to connect to") << QStringList{"--connect"};
    QTest::newRow("missing script") << QStringList{"--device", "Panel.dev", "--script", "no.js"};
    QTest::newRow("missing log configuration") << QStringList{"--log-config", "no.properties"};
    QTest::newRow("unknown option") << QStringList{"--bogus"};
    QTest::newRow("no display") << QStringList{"-platform", "nonsense"};
}

void TestProgram::theCaptureFileStaysIfAnOptionIsWrong()
{
    QFETCH(QStringList, arguments);
    const HomeFiles home;
    const QString capture = home.write("link.pcapng", "recorded before");
    arguments.replaceInStrings("Panel.dev", home.write("Panel.dev", kPanel));
    HeadlessProgram program;
    if (!arguments.contains("-platform")) {
        arguments << "--headless";
    }
    program.start(QStringList{"--capture", capture} + arguments);
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.complaints().size(), 1);
    QCOMPARE(home.read("link.pcapng"), QByteArray("recorded before"));
}

void TestProgram::aDisplayThatLeadsNowhereEndsWithOne_data()
{
    QTest::addColumn<QString>("variable");
    QTest::addColumn<QString>("value");
    QTest::newRow("X") << "DISPLAY"
                       << ":9999";
    QTest::newRow("another host") << "DISPLAY"
                                  << "host.invalid:0";
    QTest::newRow("a platform that is none") << "QT_QPA_PLATFORM"
                                             << "nonsense";
}

void TestProgram::aDisplayThatLeadsNowhereEndsWithOne()
{
    QFETCH(QString, variable);
    QFETCH(QString, value);
    HeadlessProgram program;
    program.setEnvironment(variable, value);
    program.setEnvironment("XDG_RUNTIME_DIR", QDir::tempPath());
    program.start({});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.complaints().size(), 1);
    QVERIFY2(program.complaints().first().contains("--headless"), program.error().constData());
    QVERIFY2(!program.error().contains("qt.qpa"), program.error().constData());
}

void TestProgram::sentencesAreEnglishWhateverTheLocale()
{
    HeadlessProgram program;
    program.setEnvironment("LC_ALL", "de_DE.UTF-8");
    program.start({"--headless", "--connect"});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.complaints(),
             QList<QByteArray>{"zulbench: You need to configure the connection parameters first"});
}

void TestProgram::aLaterScriptDoesNotLendItsNameToAnEarlierOne()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.setEnvironment("QT_LOGGING_RULES", "zulbench.scripts=true");
    // The news of the second script reaches the first one while it handles events.
    const QString first = home.write("first.js", "while (receiver.getDigitalInputValue(1) == 0) { }\n"
                                                 "for (var end = Date.now() + 200; Date.now() < end; ) { }\n"
                                                 "nobody();\n");
    const QString second = home.write("second.js", "receiver.setDigitalInput_Slot(1, 1);");
    program.start(
        {"--headless", "--device", home.write("Panel.dev", kPanel), "--script", first, "--script", second});
    for (const QString& line : {QString("zulbench.scripts: failed %1, line 3: ").arg(first),
                                QString("zulbench.scripts: end \"%1\"").arg(first),
                                QString("zulbench.scripts: end \"%1\"").arg(second)}) {
        QVERIFY2(program.waitForError(line.toLocal8Bit()), program.error().constData());
    }
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

void TestProgram::aRunEndsWithItsScript_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<int>("status");
    QTest::newRow("an empty one") << QByteArray() << 0;
    QTest::newRow("at its end") << QByteArray("receiver.setDigitalInput_Slot(1, 1);") << 0;
    QTest::newRow("with a status") << QByteArray("sender.exit(42);") << 42;
    QTest::newRow("with the status 0") << QByteArray("sender.exit();") << 0;
    QTest::newRow("when it waits for nothing more")
        << QByteArray(
               "sender.on('din', 1, function() { sender.cancel(1); sender.after(1, function() { }); });"
               "receiver.setDigitalInput_Slot(1, 1);")
        << 0;
    QTest::newRow("in a function that it left")
        << QByteArray("sender.every(1, function() { sender.exit(7); });") << 7;
    QTest::newRow("at an error that it catches") << QByteArray("try { nobody(); } catch (e) { }") << 0;
}

void TestProgram::aRunEndsWithItsScript()
{
    QFETCH(QByteArray, script);
    QFETCH(int, status);
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--din", "2", "--run", home.write("a.js", script)});
    QCOMPARE(program.status(), status);
    QCOMPARE(program.complaints(), QList<QByteArray>());
}

void TestProgram::aRunTellsWhatGoesWrong_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("told"); // FILE stands for the script
    QTest::newRow("an exception") << QByteArray("function outer() {\n  inner(7);\n}\n"
                                                "function inner(n) {\n  nobody();\n}\nouter();\n")
                                  << QByteArray(
                                         "zulbench: FILE:5: ReferenceError: Can't find variable: nobody\n"
                                         "    inner(n = 7) at FILE:5\n    outer() at FILE:2\n"
                                         "    <global>() at FILE:7\n");
    QTest::newRow("a text") << QByteArray("throw 'no';")
                            << QByteArray("zulbench: FILE:1: no\n    <global>() at FILE:1\n");
    QTest::newRow("an exception later")
        << QByteArray("sender.after(1, function late() {\n  nobody();\n});")
        << QByteArray(
               "zulbench: FILE:2: ReferenceError: Can't find variable: nobody\n    late() at FILE:2\n");
    QTest::newRow("wrong syntax") << QByteArray("\nvar a = ;")
                                  << QByteArray("zulbench: FILE:2: SyntaxError: Parse error\n");
    QTest::newRow("too long a file") << QByteArray(16 * 1024 * 1024 + 1, ' ')
                                     << QByteArray(
                                            "zulbench: the script file 'FILE' is longer than 16 MiB\n");
}

void TestProgram::aRunTellsWhatGoesWrong()
{
    QFETCH(QByteArray, script);
    QFETCH(QByteArray, told);
    const HomeFiles home;
    const QString path = home.write("a.js", script);
    HeadlessProgram program;
    program.start({"--headless", "--din", "2", "--run", path});
    QCOMPARE(program.status(), 1);
    QVERIFY2(program.error().endsWith(told.replace("FILE", path.toLocal8Bit())), program.error().constData());
    QCOMPARE(program.complaints().size(), 1);
    QCOMPARE(program.out(), QByteArray());
}

void TestProgram::aRunNeedsAReadableFile()
{
    HeadlessProgram program;
    program.start({"--headless", "--din", "1", "--run", "no.js"});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.complaints(),
             QList<QByteArray>{"zulbench: the script file 'no.js' could not be opened"});
}

void TestProgram::aRunHandsArgumentsOver()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--din", "1", "--run",
                   home.write("a.js", "print(sender.arguments.length + ': ' + sender.arguments.join('|'));"),
                   "--", "one", "-platform", "xcb", "--headless", "", "--", "t w o"});
    QCOMPARE(program.status(), 0);
    QVERIFY2(program.error().contains("7: one|-platform|xcb|--headless||--|t w o\n"),
             program.error().constData());
}

void TestProgram::aRunTellsASeedOfChance()
{
    const HomeFiles home;
    const QString script = home.write("a.js", "print('drawn ' + sender.random());");
    const auto run = [&](const QStringList& seed) {
        HeadlessProgram program;
        program.start(QStringList{"--headless", "--din", "1", "--run", script} + seed);
        return program.status() == 0 ? QString::fromLocal8Bit(program.error()) : QString();
    };
    const QString error = run({});
    const QRegularExpressionMatch told =
        QRegularExpression("zulbench: the seed was (\\d+); --seed \\1 gives the same random numbers\n")
            .match(error);
    QVERIFY2(told.hasMatch(), qPrintable(error));
    const QString drawn = QRegularExpression("drawn 0\\.\\d+\n").match(error).captured();
    QVERIFY(!drawn.isEmpty());
    const QString again = run({"--seed", told.captured(1)});
    QVERIFY2(again.contains(drawn), qPrintable(again));
    QVERIFY(!again.contains("zulbench: the seed"));
}

void TestProgram::theSameSeedGivesTheSameNumbers()
{
    const HomeFiles home;
    const QString script = home.write("a.js", "print(sender.random() + ' ' + sender.random());");
    HeadlessProgram program;
    program.start({"--headless", "--din", "1", "--seed", "7", "--script", script, "--script", script});
    for (const char* numbers :
         {"0.6952540962054399 0.03498987134377041", "0.4545902357207109 0.10987802405610203"}) {
        QVERIFY2(program.waitForError(numbers), program.error().constData());
    }
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QCOMPARE(program.complaints(), QList<QByteArray>());
}

void TestProgram::anotherScriptDoesNotEndTheProgram()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.setEnvironment("QT_LOGGING_RULES", "zulbench.scripts=true");
    const QString first = home.write("a.js", "sender.exit(3);");
    const QString second =
        home.write("b.js", "sender.on('din', 1, function() { print('it changed'); });"
                           "sender.after(20, function() { receiver.setDigitalInput_Slot(1, 1); });");
    program.start({"--headless", "--din", "1", "--script", first, "--script", second});
    QVERIFY2(program.waitForError("it changed"), program.error().constData());
    QVERIFY2(program.waitForError("end \"" + first.toLocal8Bit() + "\""), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QCOMPARE(program.complaints(), QList<QByteArray>());
}

void TestProgram::aSignalEndsARun()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--din", "1", "--run",
                   home.write("a.js", "print('it waits'); sender.on('din', 1, function() { });")});
    QVERIFY2(program.waitForError("it waits"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QCOMPARE(program.complaints(), QList<QByteArray>());
}

void TestProgram::aSignalEndsTheProgramWhateverAScriptDoes_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("an endless loop") << QByteArray("while (true) { }");
    QTest::newRow("a sleep") << QByteArray("sender.sleep(1e9);");
    QTest::newRow("a tight loop of settings")
        << QByteArray("for (var i = 0; true; ++i) receiver.setAnalogInput_Slot(1, i % 100);");
    QTest::newRow("a tight loop of questions") << QByteArray("while (true) receiver.getAnalogInputValue(1);");
    // Nothing reaches a script within a search that takes years.
    QTest::newRow("a search without an end")
        << QByteArray("/^(([a-z])+.)+[A-Z]([a-z])+$/.test(new Array(200).join('a'));"
                      "var big = new Array(4294967295); big.sort(); while (true) big.indexOf(1);");
}

void TestProgram::aSignalEndsTheProgramWhateverAScriptDoes()
{
    QFETCH(QByteArray, script);
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--device", home.write("Panel.dev", kPanel), "--script",
                   home.write("a.js", "print('it runs');" + script)});
    QVERIFY2(program.waitForError("it runs"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

ZUL_QTEST(TestProgram)
#include "program_test.moc"
