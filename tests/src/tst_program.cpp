#include "homefiles.h"
#include "qttestmain.h"

#include <QProcess>
#include <csignal>

namespace {

const QByteArray kPanel("Digital input(s):    2\nDigital output(s):   1\nAnalog input(s):     1\n"
                        "Analog output(s):    1\nScanner(s):          1\n"
                        "Device type:         TYPE_DISCRETE_IO\nDevice version:      3\n"
                        "Device serial:       1001\nDevice label:        Panel\n");

const QByteArray kConnection("Connection descriptor:   lab\nConnection IP address:   127.0.0.1\n"
                             "Connection port number:  1\n");

const int kPatience = 60000;

/// One run of the program, without a display, in a HOME of its own.
class Program
{
public:
    Program()
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
            environment.remove(name);
        }
        // Some builds of Qt would send debug lines to the system's journal.
        environment.insert("QT_LOGGING_TO_CONSOLE", "1");
        mProcess.setProcessEnvironment(environment);
    }

    ~Program()
    {
        if (mProcess.state() != QProcess::NotRunning) {
            mProcess.kill();
            mProcess.waitForFinished();
        }
    }

    void setEnvironment(const QString& name, const QString& value)
    {
        QProcessEnvironment environment = mProcess.processEnvironment();
        environment.insert(name, value);
        mProcess.setProcessEnvironment(environment);
    }

    void start(const QStringList& arguments) { mProcess.start(ZULBENCH_PROGRAM, arguments); }

    /// Waits until standard error holds @p text.
    bool waitForError(const QByteArray& text)
    {
        QElapsedTimer timer;
        timer.start();
        while (!mError.contains(text) && timer.elapsed() < kPatience) {
            if (!mProcess.waitForReadyRead(100) && mProcess.state() == QProcess::NotRunning) {
                break;
            }
            mError += mProcess.readAllStandardError();
        }
        return mError.contains(text);
    }

    void send(int signalNumber)
    {
        // Process 0 would mean this test and all that runs with it.
        const auto process = static_cast<pid_t>(mProcess.processId());
        if (process > 0) {
            kill(process, signalNumber);
        }
    }

    /// The exit status; -1 if the program crashed or goes on.
    int status()
    {
        if (mProcess.state() != QProcess::NotRunning && !mProcess.waitForFinished(kPatience)) {
            return -1;
        }
        return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }

    QByteArray out() { return mProcess.readAllStandardOutput(); }

    QByteArray error()
    {
        mError += mProcess.readAllStandardError();
        return mError;
    }

    /// The lines of standard error that the program itself addresses to the operator.
    QList<QByteArray> complaints()
    {
        QList<QByteArray> lines;
        for (const QByteArray& line : error().split('\n')) {
            if (line.startsWith("zulbench: ")) {
                lines.append(line);
            }
        }
        return lines;
    }

private:
    QProcess mProcess;
    QByteArray mError;
};

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
    void startCreatesTheConfigurationDirectory();
    void optionsAreCarriedOutInTheirOwnOrder();
    void aRelativeNameIsMeantFromTheWorkingDirectory();
    void aScriptNeedsADevice();
    void everyScriptIsRun();
    void anUnreadableScriptEndsWithOne();
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
    Program program;
    program.setEnvironment("HOME", home.path());
    program.start(arguments);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.out().contains(expected));
    QCOMPARE(program.error(), QByteArray());
    QVERIFY(!QFileInfo::exists(home.configuration()));
}

void TestProgram::wrongUsageEndsWithOne()
{
    Program program;
    program.start({"--bogus"});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    QCOMPARE(program.error().count('\n'), 1);
    QVERIFY(program.error().contains("--bogus"));
}

void TestProgram::withoutADisplayHeadlessIsNamed()
{
    Program program;
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
    QTest::newRow("connect without settings")
        << QStringList{"--connect"} << QByteArray("You need to configure the connection parameters first");
}

void TestProgram::whatCannotBeDoneEndsWithOne()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, named);
    Program program;
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
    Program program;
    program.start(arguments);
    QVERIFY2(program.waitForError("Config Dir is: "), program.error().constData());
    program.send(number);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.complaints().isEmpty());
}

void TestProgram::startCreatesTheConfigurationDirectory()
{
    const HomeFiles home;
    QVERIFY(QDir().rmdir(home.configuration()));
    Program program;
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
    Program program;
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
    Program program;
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
    Program program;
    program.start({"--headless", "--script", home.write("a.js", "")});
    QCOMPARE(program.status(), 1);
    QCOMPARE(program.out(), QByteArray());
    QCOMPARE(program.error().count('\n'), 1);
    QVERIFY2(program.error().contains("--device"), program.error().constData());
}

void TestProgram::everyScriptIsRun()
{
    const HomeFiles home;
    Program program;
    program.start({"--script", home.write("a.js", "print('first ran')"), "--script",
                   home.write("b.js", "print('second ran')"), "--headless", "--device",
                   home.write("Panel.dev", kPanel)});
    QVERIFY2(program.waitForError("first ran"), program.error().constData());
    QVERIFY2(program.waitForError("second ran"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
    QVERIFY(program.complaints().isEmpty());
}

void TestProgram::anUnreadableScriptEndsWithOne()
{
    const HomeFiles home;
    Program program;
    program.start({"--headless", "--device", home.write("Panel.dev", kPanel), "--script",
                   home.write("a.js", "while (true) { }"), "--script", "no.js"});
    QCOMPARE(program.status(), 1);
    const QList<QByteArray> complaints = program.complaints();
    QCOMPARE(complaints.size(), 1);
    QVERIFY2(complaints.first().contains("'no.js'"), complaints.first().constData());
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
    Program program;
    program.start({"--headless", "--device", home.write("Panel.dev", kPanel), "--script",
                   home.write("a.js", "print('it runs');" + script)});
    QVERIFY2(program.waitForError("it runs"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

ZUL_QTEST_MAIN(TestProgram)
#include "tst_program.moc"
