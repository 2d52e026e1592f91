#include "configpropertiesdialog.h"
#include "devicefile.h"
#include "devicefiles.h"
#include "dialogreports.h"
#include "failingdisk.h"
#include "homefiles.h"
#include "itemkind.h"
#include "linefile.h"
#include "qttestmain.h"

#include <QLineEdit>
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

/// Does @p work on a file of Panel7 with each of its steps failing in turn, and then without a fault. Returns
/// the number of steps, or -1 if @p check rejects an outcome.
int stepsThatAllEndWell(int fault, const std::function<void(const QString&)>& work,
                        const std::function<bool(const HomeFiles&)>& check)
{
    for (int step = 0; step < kManySteps; ++step) {
        const HomeFiles home;
        const QString path = home.write("Panel7.dev", kPanel7);
        const bool ended = failingdisk::doWith(eFault(fault), step, [&] { work(path); });
        if (!check(home)) {
            qWarning("the outcome is wrong if step %d fails", step);
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

} // namespace

class TestLineRewrite : public QObject
{
    Q_OBJECT

private slots:
    void theFileKeepsItsModeAndItsLink();
    void aForeignCopyIsOverwrittenAndRemoved();
    void aCopyIsNeverTakenForTheFile();
    void anEmptyFileStaysEmpty();
    void aFileThatIsTooLongKeepsItsLines();
    void aFileThatWouldBecomeTooLongKeepsItsLines();

    void theFileHoldsOldOrNewLinesAtEveryStep_data();
    void theFileHoldsOldOrNewLinesAtEveryStep();
    void aRewriteThatBrokeOffCanBeRepeated_data();
    void aRewriteThatBrokeOffCanBeRepeated();
    void aFullDiskIsAnOutcome_data();
    void aFullDiskIsAnOutcome();
    void aChangedLabelOnAFullDiskLosesNoLine();

    void savingADeviceIsAllOrNothing_data();
    void savingADeviceIsAllOrNothing();
};

void TestLineRewrite::theFileKeepsItsModeAndItsLink()
{
    const HomeFiles home;
    const QString path = home.write("elsewhere", kPanel7);
    QCOMPARE(chmod(qPrintable(path), 0640), 0);
    QVERIFY(QFile::link(path, home.pathOf("Panel7.dev")));
    QCOMPARE(rewriteLines(home.pathOf("Panel7.dev"), unchanged), eRewrite::REPLACED);
    QVERIFY(QFileInfo(home.pathOf("Panel7.dev")).isSymLink());
    struct stat status = {};
    QCOMPARE(stat(qPrintable(path), &status), 0);
    QCOMPARE(status.st_mode & 07777U, 0640U);
    QCOMPARE(home.read("elsewhere"), kPanel7);
    QCOMPARE(home.names(), QStringList({"Panel7.dev", "elsewhere"}));
}

void TestLineRewrite::aForeignCopyIsOverwrittenAndRemoved()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    home.write("Panel7.dev.tmp", "something else");
    addSix(path);
    QCOMPARE(home.read("Panel7.dev"), kPanel7WithTen);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::aCopyIsNeverTakenForTheFile()
{
    const HomeFiles home;
    // Shortened by hand while an old copy was there.
    const QString path = home.write("Panel7.dev", "Digital input(s):    4\n");
    home.write("Panel7.dev.tmp", kPanel7);
    addSix(path);
    QCOMPARE(home.read("Panel7.dev"), QByteArray("Digital input(s):    10\n"));
}

void TestLineRewrite::anEmptyFileStaysEmpty()
{
    const HomeFiles home;
    QCOMPARE(rewriteLines(home.write("Panel7.dev", ""), unchanged), eRewrite::REPLACED);
    QCOMPARE(home.read("Panel7.dev"), QByteArray());
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::aFileThatIsTooLongKeepsItsLines()
{
    const auto shortened = [](const QByteArray&) { return QByteArray(); };
    const HomeFiles home;
    const QByteArray longest(static_cast<int>(kMaxLineFileBytes), 'x');
    QCOMPARE(rewriteLines(home.write("Panel7.dev", longest), shortened), eRewrite::REPLACED);
    QCOMPARE(home.read("Panel7.dev"), QByteArray("\n"));
    QCOMPARE(rewriteLines(home.write("Panel7.dev", longest + 'x'), shortened), eRewrite::NOT_COPIED);
    QVERIFY(home.read("Panel7.dev") == longest + 'x');
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::aFileThatWouldBecomeTooLongKeepsItsLines()
{
    const auto doubled = [](const QByteArray& line) { return line + line; };
    const HomeFiles home;
    const QByteArray longest(static_cast<int>(kMaxLineFileBytes), 'x');
    QCOMPARE(rewriteLines(home.write("Panel7.dev", longest), doubled), eRewrite::NOT_COPIED);
    QVERIFY(home.read("Panel7.dev") == longest);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::theFileHoldsOldOrNewLinesAtEveryStep_data()
{
    QTest::addColumn<int>("fault");
    QTest::newRow("a crash") << int(failingdisk::CRASH);
    QTest::newRow("a full disk") << int(failingdisk::FULL_DISK);
}

void TestLineRewrite::theFileHoldsOldOrNewLinesAtEveryStep()
{
    QFETCH(int, fault);
    const int steps = stepsThatAllEndWell(
        fault, addSix, [](const HomeFiles& home) { return isOldOrNew(home.read("Panel7.dev")); });
    // Opening and writing the copy, opening the file, opening, writing, synchronising and renaming its
    // replacement, and removing the copy.
    QCOMPARE(steps, 8);
}

void TestLineRewrite::aRewriteThatBrokeOffCanBeRepeated_data()
{
    theFileHoldsOldOrNewLinesAtEveryStep_data();
}

void TestLineRewrite::aRewriteThatBrokeOffCanBeRepeated()
{
    QFETCH(int, fault);
    const int steps = stepsThatAllEndWell(fault, addSix, [](const HomeFiles& home) {
        return rewriteLines(home.pathOf("Panel7.dev"), unchanged) == eRewrite::REPLACED &&
               isOldOrNew(home.read("Panel7.dev")) && !QFile::exists(home.pathOf("Panel7.dev.tmp"));
    });
    QCOMPARE(steps, 8);
}

void TestLineRewrite::aFullDiskIsAnOutcome_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("outcome");
    QTest::newRow("at opening the copy") << 0 << int(eRewrite::NOT_COPIED);
    QTest::newRow("at writing the copy") << 1 << int(eRewrite::NOT_COPIED);
    QTest::newRow("at opening the file") << 2 << int(eRewrite::READ_ONLY);
    QTest::newRow("at opening the replacement") << 3 << int(eRewrite::NOT_REPLACED);
    QTest::newRow("at writing the replacement") << 4 << int(eRewrite::NOT_REPLACED);
    QTest::newRow("at synchronising the replacement") << 5 << int(eRewrite::NOT_REPLACED);
    QTest::newRow("at renaming the replacement") << 6 << int(eRewrite::NOT_REPLACED);
}

void TestLineRewrite::aFullDiskIsAnOutcome()
{
    QFETCH(int, step);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    int outcome = int(eRewrite::REPLACED);
    QVERIFY(!failingdisk::doWith(failingdisk::FULL_DISK, step, [&path, &outcome] {
        outcome = int(rewriteLines(path, [](const QByteArray&) { return QByteArray("new"); }));
    }));
    QTEST(outcome, "outcome");
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestLineRewrite::aChangedLabelOnAFullDiskLosesNoLine()
{
    const QByteArray before = panelWithLine(9, "Device label:        A");
    QByteArray after = panelWithLine(9, "Device label:      B");
    after.replace("Device serial:       1001", "Device serial:      1001");
    bool ended = false;
    for (int step = 0; !ended; ++step) {
        QVERIFY(step < kManySteps);
        const HomeFiles home;
        QVector<Report> reports;
        configPropertiesDialog dialog;
        recordReports(dialog, reports);
        dialog.receiveFileName(home.write("A.dev", before));
        dialog.findChild<QLineEdit*>("labelEdit")->setText("B");
        ended = failingdisk::doWith(failingdisk::FULL_DISK, step, [&dialog] {
            QMetaObject::invokeMethod(&dialog, "on_confirmButton_clicked");
        });
        // The device is loaded at the report.
        for (const Report& report : reports) {
            QVERIFY2(report.fileContent == before || report.fileContent == after, report.fileContent);
        }
        const bool renamed = QFile::exists(home.pathOf("B.dev"));
        QCOMPARE(QFile::exists(home.pathOf("A.dev")), !renamed);
        const QByteArray content = home.read(renamed ? "B.dev" : "A.dev");
        QVERIFY2(content == before || content == after, content);
    }
}

void TestLineRewrite::savingADeviceIsAllOrNothing_data() { theFileHoldsOldOrNewLinesAtEveryStep_data(); }

void TestLineRewrite::savingADeviceIsAllOrNothing()
{
    QFETCH(int, fault);
    const QByteArray replacement = otherPanel().text();
    const int steps = stepsThatAllEndWell(
        fault, [](const QString& path) { saveFile(path, otherPanel().text()); },
        [&replacement](const HomeFiles& home) {
            const QByteArray content = home.read("Panel7.dev");
            return content == kPanel7 || content == replacement;
        });
    QVERIFY(steps >= 3);
}

ZUL_QTEST(TestLineRewrite)
#include "linerewrite_test.moc"
