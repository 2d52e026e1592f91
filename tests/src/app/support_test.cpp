#include "devicefiles.h"
#include "headlessprogram.h"
#include "homefiles.h"
#include "qttestmain.h"

namespace {

QByteArray logInto(const QString& file)
{
    return "log4cpp.rootCategory=INFO, out\n"
           "log4cpp.appender.out=FileAppender\n"
           "log4cpp.appender.out.fileName=" +
           QFile::encodeName(file) +
           "\n"
           "log4cpp.appender.out.layout=BasicLayout\n";
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

/// What helps whoever has to find out what a program at a distance does.
class TestSupport : public QObject
{
    Q_OBJECT

private slots:
    void theVersionNamesTheCommitAndTheLibraries_data();
    void theVersionNamesTheCommitAndTheLibraries();
    void theVersionHasItsSectionInTheChangelog();
    void theTraceIsSilentUnlessAskedFor();
    void theTraceTellsOfStartFilesAndScripts();
    void oneCategoryCanBeHadAlone();
    void theLogGoesWhereTheConfigurationSays();
    void aLogConfigurationThatWouldBeSilentEndsWithOne();
};

void TestSupport::theVersionNamesTheCommitAndTheLibraries_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("libraries");
    QTest::newRow("zulbench") << QStringLiteral(ZULBENCH_PROGRAM)
                              << QStringLiteral("Qt %, CLI11 %, c-ares %, jansson %, log4cpp %");
    QTest::newRow("zulserver") << QStringLiteral(ZULSERVER_PROGRAM)
                               << QStringLiteral(
                                      "Boost %, CLI11 %, libedit %, c-ares %, jansson %, log4cpp %");
}

void TestSupport::theVersionNamesTheCommitAndTheLibraries()
{
    QFETCH(QString, program);
    QFETCH(QString, libraries);
    QProcess process;
    process.start(program, {"--version"});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardError(), QByteArray());
    const QString expected =
        QStringLiteral("^%1 %2\ncommit ([0-9a-f]{40}( with changes)?|unknown)\nlibraries %3\n$")
            .arg(QTest::currentDataTag(), QRegularExpression::escape(PROJECT_VERSION),
                 libraries.replace("%", "[0-9]+(\\.[0-9]+)+"));
    const QString out = process.readAllStandardOutput();
    QVERIFY2(QRegularExpression(expected).match(out).hasMatch(), qPrintable(out));
}

void TestSupport::theVersionHasItsSectionInTheChangelog()
{
    const QString text = contentOf(CHANGELOG);
    const QRegularExpression newest("\n## \\[([0-9.]+)\\] - ([0-9]{4}-[0-9]{2}-[0-9]{2})\n");
    const QRegularExpressionMatch match = newest.match(text);
    QVERIFY(match.hasMatch());
    QCOMPARE(match.captured(1), QString(PROJECT_VERSION));
    QVERIFY(QDate::fromString(match.captured(2), Qt::ISODate).isValid());
}

void TestSupport::theTraceIsSilentUnlessAskedFor()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.start({"--headless", "--device", home.write("Panel7.dev", kPanel7), "--script",
                   home.write("a.js", "print('it ran')")});
    QVERIFY2(program.waitForError("it ran"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY2(!program.error().contains("zulbench."), program.error().constData());
}

void TestSupport::theTraceTellsOfStartFilesAndScripts()
{
    const HomeFiles home;
    const QString device = home.write("Panel7.dev", kPanel7);
    const QString connection = home.write("lab.con", kConnection);
    const QString script = home.write("a.js", "var n = 1;\nnoSuchThing();\n");
    HeadlessProgram program;
    program.setEnvironment("HOME", home.path());
    program.setEnvironment("LC_ALL", "C");
    program.setEnvironment("QT_LOGGING_RULES", "zulbench.*=true");
    program.start({"--headless", "--device", device, "--connection", connection, "--script", script});
    QVERIFY2(program.waitForError("zulbench.scripts: end"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    const QString said = QString::fromLocal8Bit(program.error());
    for (const QString& line :
         {QStringLiteral("zulbench.start: zulbench " PROJECT_VERSION),
          QStringLiteral("zulbench.start: commit "), QStringLiteral("zulbench.start: libraries Qt "),
          QStringLiteral("zulbench.start: display offscreen"),
          QStringLiteral("zulbench.start: locale C, texts in en, files in "),
          QStringLiteral("zulbench.start: configuration ") + home.configuration(),
          QStringLiteral("zulbench.files: device \"%1\": serial 1001, digital inputs 4, digital outputs 4, "
                         "analog inputs 2, analog outputs 2, scanners 1")
              .arg(device),
          QStringLiteral("zulbench.files: connection \"%1\": address \"127.0.0.1\", port \"1\"")
              .arg(connection),
          QStringLiteral("zulbench.scripts: begin \"%1\"").arg(script),
          QStringLiteral("zulbench.scripts: failed %1, line 2: ReferenceError: ").arg(script)}) {
        QVERIFY2(said.contains(line), qPrintable(line + "\nis not in\n" + said));
    }
}

void TestSupport::oneCategoryCanBeHadAlone()
{
    const HomeFiles home;
    HeadlessProgram program;
    program.setEnvironment("QT_LOGGING_RULES", "zulbench.files=true");
    program.start({"--headless", "--device", home.write("Panel7.dev", kPanel7)});
    QVERIFY2(program.waitForError("zulbench.files: device"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY2(!program.error().contains("zulbench.start"), program.error().constData());
}

void TestSupport::theLogGoesWhereTheConfigurationSays()
{
    const HomeFiles home;
    const QString log = home.configuration() + "/device.log";
    HeadlessProgram program;
    program.start({"--headless", "--log-config", home.write("log.properties", logInto(log)), "--device",
                   home.write("Panel7.dev", kPanel7), "--connection", home.write("lab.con", kConnection),
                   "--connect"});
    const QByteArray line("zulobj.client : No link to 127.0.0.1 port 1");
    QTRY_VERIFY2_WITH_TIMEOUT(contentOf(log).contains(line), contentOf(log).constData(), 60000);
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY2(!program.error().contains("No link to"), program.error().constData());
}

void TestSupport::aLogConfigurationThatWouldBeSilentEndsWithOne()
{
    const HomeFiles home;
    HeadlessProgram program;
    const QString config = home.write("log.properties", logInto("/nonexistent/device.log"));
    program.start({"--headless", "--log-config", config});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.complaints(),
             QList<QByteArray>{"zulbench: The log configuration " + QFile::encodeName(config) +
                               " was not taken: the file of appender 'out' cannot be "
                               "written."});
}

ZUL_QTEST(TestSupport)
#include "support_test.moc"
