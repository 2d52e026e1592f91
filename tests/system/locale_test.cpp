// The programs in a locale that writes numbers in another way.

#include <QtTest>
#include <csignal>

#include "programs.h"
#include "qttestmain.h"

namespace {

/// What a run put out that depends on numbers.
struct Run
{
    QJsonArray objects; ///< of the device's answers
    QByteArray trace;   ///< on the device's standard output
    QByteArray log;     ///< on its standard error
    int status = -1;    ///< the device's
};

void setLocale(Program* program, const QString& locale, const QString& directory)
{
    QProcessEnvironment environment = program->process().processEnvironment();
    environment.insert("LC_ALL", locale);
    environment.insert("LOCPATH", directory);
    environment.insert("QT_LOGGING_RULES", "zulbench.start=true");
    program->process().setProcessEnvironment(environment);
}

/// Connects a device of the locale, sets fractions, asks for them and takes the server away.
Run play(const QString& locale, const QString& directory)
{
    ServerProgram server;
    Program simulator;
    setLocale(&simulator, locale, directory);
    const QString script = simulator.write("print.js", "print('script ' + 0.5);");
    simulator.start(ZULBENCH_PROGRAM,
                    {"--headless", "--device", simulator.write("a.dev", deviceFile(1, 1, 1, 1, 1)),
                     "--connection", simulator.write("a.con", connectionFile(server.port())), "--connect",
                     "--script", script});
    Run run;
    for (const char* command : {"wait device", "set ain 1 gain=1.5 offset=-2.25 rate=7",
                                "set aout 1 value=20.5", "get ain 1", "get aout 1"}) {
        for (const QJsonValue& object : server.objects(command)) {
            run.objects.append(object);
        }
    }
    server.program().stop(SIGTERM);
    Program::waitFor([&] { return simulator.errors().contains("next attempt in"); });
    Program::waitFor([&] { return simulator.errors().contains("script "); });
    run.status = simulator.stop(SIGTERM);
    run.trace = simulator.output();
    run.log = simulator.errors();
    return run;
}

} // namespace

class TestLocale : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void theGermanLocaleIsInForce();
    void numbersAreWrittenTheSameInEveryLocale();
    void standardErrorIsEnglishInEveryLocale();

private:
    QTemporaryDir mLocales;
    Run mGerman;
};

void TestLocale::initTestCase()
{
    QProcess compiler;
    compiler.start("localedef", {"-i", "de_DE", "-f", "UTF-8", mLocales.filePath("de_DE.UTF-8")});
    QVERIFY(compiler.waitForFinished(120000));
    QCOMPARE(compiler.exitCode(), 0);
    mGerman = play("de_DE.UTF-8", mLocales.path());
}

void TestLocale::theGermanLocaleIsInForce()
{
    QProcess locale;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "de_DE.UTF-8");
    environment.insert("LOCPATH", mLocales.path());
    locale.setProcessEnvironment(environment);
    locale.start("locale", {"decimal_point"});
    QVERIFY(locale.waitForFinished());
    QCOMPARE(locale.readAllStandardOutput(), QByteArray(",\n"));
    QVERIFY2(mGerman.log.contains("locale de_DE, texts in de, files in UTF-8"), mGerman.log.constData());
}

void TestLocale::numbersAreWrittenTheSameInEveryLocale()
{
    const Run plain = play("C", mLocales.path());
    QCOMPARE(mGerman.objects, plain.objects);
    QCOMPARE(plain.objects.at(1).toObject()["gain"].toDouble(), 1.5);
    QCOMPARE(plain.objects.at(2).toObject()["sampledValue"].toDouble(), 20.5);
    QCOMPARE(mGerman.trace, plain.trace);
    QCOMPARE(mGerman.status, 0);
    QCOMPARE(plain.status, 0);
    for (const QByteArray& log : {mGerman.log, plain.log}) {
        QVERIFY2(QRegularExpression("next attempt in [0-9]+\\.[0-9] s").match(log).hasMatch(),
                 log.constData());
        QVERIFY2(log.contains("script 0.5"), log.constData());
    }
}

void TestLocale::standardErrorIsEnglishInEveryLocale()
{
    Program simulator;
    setLocale(&simulator, "de_DE.UTF-8", mLocales.path());
    simulator.start(ZULBENCH_PROGRAM, {"--headless", "--capture", "/"});
    QCOMPARE(simulator.waitForEnd(), 1);
    QVERIFY2(
        simulator.errors().endsWith("zulbench: the capture file '/' cannot be written: Is a directory\n"),
        simulator.errors().constData());
    Program lonely;
    setLocale(&lonely, "de_DE.UTF-8", mLocales.path());
    lonely.start(ZULBENCH_PROGRAM, {"--headless", lonely.write("a.dev", deviceFile(1, 1, 1, 1, 1)),
                                    lonely.write("a.con", connectionFile(1)), "--connect"});
    Program::waitFor([&] { return lonely.errors().contains("next attempt in"); });
    QVERIFY2(lonely.errors().contains("No link to 127.0.0.1 port 1: Connection refused; "),
             lonely.errors().constData());
    QCOMPARE(lonely.stop(SIGTERM), 0);
}

ZUL_QTEST_GUILESS(TestLocale)
#include "locale_test.moc"
