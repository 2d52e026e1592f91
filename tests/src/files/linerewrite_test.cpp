#include "boundedread.h"
#include "devicefile.h"
#include "devicefiles.h"
#include "failingdisk.h"
#include "homefiles.h"
#include "itemkind.h"
#include "linerewrite.h"
#include "qttestmain.h"

#include <QBuffer>
#include <sys/stat.h>

namespace {

using failingdisk::eFault;

/// More steps than any of these operations has.
const int kManySteps = 100;

const QByteArray kPanel7WithTen = panelWithLine(1, "Digital input(s):    10");

/// Adds six digital inputs.
void addSix(const QString& path) { itemkind::add(path, 1, 6); }

QByteArray unchanged(const QByteArray& line) { return line; }

bool isOldOrNew(const QByteArray& content) { return content == kPanel7 || content == kPanel7WithTen; }

bool nothingIsLost(const HomeFiles& home)
{
    return isOldOrNew(home.read("Panel7.dev")) || isOldOrNew(home.read("Panel7.dev.tmp"));
}

/// Does @p work on a file of Panel7 with every one of its steps going wrong in turn, and then without a
/// fault;
/// @p check says of each outcome whether it will do. Answers the number of steps, or -1 where it will not.
int stepsThatAllEndWell(int fault, const std::function<void(const QString&)>& work,
                        const std::function<bool(const HomeFiles&)>& check)
{
    for (int step = 0; step < kManySteps; ++step) {
        const HomeFiles home;
        const QString path = home.write("Panel7.dev", kPanel7);
        const bool ended = failingdisk::doWith(eFault(fault), step, [&] { work(path); });
        if (!check(home)) {
            qWarning("it does not end well with step %d going wrong", step);
            return -1;
        }
        if (ended) {
            return step;
        }
    }
    return -1;
}

cDeviceFile otherPanel()
{
    cDeviceFile values;
    values.label = "Panel7";
    return values;
}

QByteArray written(const cDeviceFile& values)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    values.write(buffer);
    return buffer.data();
}

} // namespace

class TestLineRewrite : public QObject
{
    Q_OBJECT

private slots:
    void theFileKeepsItsModeAndItsLinks();
    void aForeignCopyIsOverwrittenAndGoes();
    void anEmptyFileStaysEmpty();
    void aFileThatIsTooLongKeepsItsLines();

    void nothingIsLostAtAnyStep_data();
    void nothingIsLostAtAnyStep();
    void whatBrokeOffIsFinishedByTheNextRewrite_data();
    void whatBrokeOffIsFinishedByTheNextRewrite();
    void aFullDiskAtTheCopyChangesNothing();
    void aFullDiskAtTheFileLeavesTheCopy();
    void aFileThatCannotBeWrittenKeepsItsLines();

    void completingPutsTheRestInPlace_data();
    void completingPutsTheRestInPlace();
    void completingLeavesAnyOtherFileAlone_data();
    void completingLeavesAnyOtherFileAlone();
    void theOnlyCopyIsNeverOverwritten();

    void savingADeviceIsAllOrNothing_data();
    void savingADeviceIsAllOrNothing();
};

void TestLineRewrite::theFileKeepsItsModeAndItsLinks()
{
    const HomeFiles home;
    const QString path = home.write("elsewhere", kPanel7);
    QCOMPARE(chmod(qPrintable(path), 0640), 0);
    QVERIFY(QFile::link(path, home.pathOf("Panel7.dev")));
    QVERIFY(linerewrite::rewrite(home.pathOf("Panel7.dev"), unchanged));
    QVERIFY(QFileInfo(home.pathOf("Panel7.dev")).isSymLink());
    struct stat status = {};
    QCOMPARE(stat(qPrintable(path), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
    QCOMPARE(home.read("elsewhere"), kPanel7);
    QCOMPARE(home.names(), QStringList({"Panel7.dev", "elsewhere"}));
}

void TestLineRewrite::aForeignCopyIsOverwrittenAndGoes()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    home.write("Panel7.dev.tmp", "something else");
    addSix(path);
    QCOMPARE(home.read("Panel7.dev"), kPanel7WithTen);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::anEmptyFileStaysEmpty()
{
    const HomeFiles home;
    QVERIFY(linerewrite::rewrite(home.write("Panel7.dev", ""), unchanged));
    QCOMPARE(home.read("Panel7.dev"), QByteArray());
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::aFileThatIsTooLongKeepsItsLines()
{
    const auto shortened = [](const QByteArray&) { return QByteArray(); };
    const HomeFiles home;
    const QByteArray longest(static_cast<int>(kMaxLineFileBytes), 'x');
    QVERIFY(linerewrite::rewrite(home.write("Panel7.dev", longest), shortened));
    QCOMPARE(home.read("Panel7.dev"), QByteArray("\n"));
    QVERIFY(!linerewrite::rewrite(home.write("Panel7.dev", longest + 'x'), shortened));
    QVERIFY(home.read("Panel7.dev") == longest + 'x');
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::nothingIsLostAtAnyStep_data()
{
    QTest::addColumn<int>("fault");
    QTest::newRow("a crash") << int(failingdisk::CRASH);
    QTest::newRow("a full disk") << int(failingdisk::FULL_DISK);
}

void TestLineRewrite::nothingIsLostAtAnyStep()
{
    QFETCH(int, fault);
    // Opening, writing and synchronising both files, synchronising the directory, and the copy's end.
    QCOMPARE(stepsThatAllEndWell(fault, addSix, nothingIsLost), 8);
}

void TestLineRewrite::whatBrokeOffIsFinishedByTheNextRewrite_data() { nothingIsLostAtAnyStep_data(); }

void TestLineRewrite::whatBrokeOffIsFinishedByTheNextRewrite()
{
    QFETCH(int, fault);
    const int steps = stepsThatAllEndWell(fault, addSix, [](const HomeFiles& home) {
        return linerewrite::rewrite(home.pathOf("Panel7.dev"), unchanged) &&
               isOldOrNew(home.read("Panel7.dev")) && home.names() == QStringList("Panel7.dev");
    });
    QCOMPARE(steps, 8);
}

void TestLineRewrite::aFullDiskAtTheCopyChangesNothing()
{
    // The first three steps: opening, writing and synchronising the copy.
    for (int step = 0; step < 3; ++step) {
        const HomeFiles home;
        const QString path = home.write("Panel7.dev", kPanel7);
        bool rewritten = true;
        QVERIFY(!failingdisk::doWith(failingdisk::FULL_DISK, step, [&path, &rewritten] {
            rewritten = linerewrite::rewrite(path, [](const QByteArray&) { return QByteArray("new"); });
        }));
        QVERIFY(!rewritten);
        QCOMPARE(home.read("Panel7.dev"), kPanel7);
        QCOMPARE(home.names(), QStringList("Panel7.dev"));
    }
}

void TestLineRewrite::aFullDiskAtTheFileLeavesTheCopy()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    // The copy's three steps, the directory's one, the opening of the file, and now its writing.
    QVERIFY(!failingdisk::doWith(failingdisk::FULL_DISK, 5, [&path] { addSix(path); }));
    QCOMPARE(home.read("Panel7.dev"), kPanel7WithTen.left(kPanel7WithTen.size() / 2));
    QCOMPARE(home.read("Panel7.dev.tmp"), kPanel7WithTen);
}

void TestLineRewrite::aFileThatCannotBeWrittenKeepsItsLines()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    bool rewritten = false;
    QVERIFY(!failingdisk::doWith(failingdisk::FULL_DISK, 4, [&path, &rewritten] {
        rewritten = linerewrite::rewrite(path, [](const QByteArray&) { return QByteArray("new"); });
    }));
    QVERIFY(rewritten);
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::completingPutsTheRestInPlace_data()
{
    QTest::addColumn<int>("length");
    QTest::newRow("nothing written") << 0;
    QTest::newRow("half a line written") << 10;
    QTest::newRow("all but one byte written") << kPanel7.size() - 1;
}

void TestLineRewrite::completingPutsTheRestInPlace()
{
    QFETCH(int, length);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7.left(length));
    home.write("Panel7.dev.tmp", kPanel7);
    QVERIFY(linerewrite::complete(path));
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::completingLeavesAnyOtherFileAlone_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QByteArray>("copy");
    QTest::newRow("the same") << kPanel7 << kPanel7;
    QTest::newRow("a copy that broke off itself") << kPanel7 << kPanel7.left(30);
    QTest::newRow("an empty copy") << kPanel7 << QByteArray();
    QTest::newRow("another text") << QByteArray("abc") << QByteArray("abd and more");
}

void TestLineRewrite::completingLeavesAnyOtherFileAlone()
{
    QFETCH(QByteArray, file);
    QFETCH(QByteArray, copy);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", file);
    home.write("Panel7.dev.tmp", copy);
    QVERIFY(linerewrite::complete(path));
    QCOMPARE(home.read("Panel7.dev"), file);
    QCOMPARE(home.read("Panel7.dev.tmp"), copy);
}

void TestLineRewrite::theOnlyCopyIsNeverOverwritten()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", "");
    home.write("Panel7.dev.tmp", kPanel7);
    // The file cannot even be opened for the rest, so there is nothing to begin a rewrite with.
    QVERIFY(!failingdisk::doWith(failingdisk::FULL_DISK, 0,
                                 [&path] { QVERIFY(!linerewrite::rewrite(path, unchanged)); }));
    QCOMPARE(home.read("Panel7.dev.tmp"), kPanel7);
}

void TestLineRewrite::savingADeviceIsAllOrNothing_data() { nothingIsLostAtAnyStep_data(); }

void TestLineRewrite::savingADeviceIsAllOrNothing()
{
    QFETCH(int, fault);
    const QByteArray replacement = written(otherPanel());
    const int steps = stepsThatAllEndWell(
        fault, [](const QString& path) { otherPanel().save(path); },
        [&replacement](const HomeFiles& home) {
            const QByteArray content = home.read("Panel7.dev");
            return content == kPanel7 || content == replacement;
        });
    QVERIFY(steps >= 3);
}

ZUL_QTEST(TestLineRewrite)
#include "linerewrite_test.moc"
