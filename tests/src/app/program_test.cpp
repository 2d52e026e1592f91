#include "headlessprogram.h"
#include "homefiles.h"
#include "qttestmain.h"

#include <csignal>

namespace {

const QByteArray kPanel("Digital input(s):    2\nDigital output(s):   1\nAnalog input(s):     1\n"
                        "Analog output(s):    1\nScanner(s):          1\n"
                        "Device type:         TYPE_DISCRETE_IO\nDevice version:      3\n"
                        "Device serial:       1001\nDevice label:        Panel\n");

const QByteArray kConnection("Connection descriptor:   lab\nConnection IP address:   127.0.0.1\n"
                             "Connection port number:  1\n");

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

void TestProgram::anUnreadableScriptEndsWithOne()
{
    const HomeFiles home;
    HeadlessProgram program;
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
    HeadlessProgram program;
    program.start({"--headless", "--device", home.write("Panel.dev", kPanel), "--script",
                   home.write("a.js", "print('it runs');" + script)});
    QVERIFY2(program.waitForError("it runs"), program.error().constData());
    program.send(SIGTERM);
    QCOMPARE(program.status(), 0);
}

ZUL_QTEST_MAIN(TestProgram)
#include "program_test.moc"
