#include "additemsdialog.h"
#include "devicefiles.h"
#include "dialogreports.h"
#include "homefiles.h"
#include "modalanswers.h"
#include "qttestmain.h"
#include "removeitemdialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>

namespace {

/// Opens a dialog on @p path, enters @p number and presses the button.
template <class Dialog>
QVector<Report> change(const QString& path, int type, int number)
{
    QVector<Report> reports;
    ModalAnswers answers;
    Dialog dialog;
    recordReports(dialog, reports);
    dialog.receiveInstruction(type, path);
    dialog.show();
    dialog.template findChild<QSpinBox*>()->setValue(number);
    press(dialog);
    QTest::qVerify(!dialog.isVisible(), "closed", "the dialog stays open", __FILE__, __LINE__);
    QTest::qVerify(answers.shown().isEmpty(), "silent", "a box came up", __FILE__, __LINE__);
    return reports;
}

const auto add = change<addItemsDialog>;
const auto removeSome = change<removeItemDialog>;

template <class Dialog>
void expectRow(int type, const QString& caption)
{
    Dialog dialog;
    dialog.receiveInstruction(type, "/d/Panel.dev");
    const auto* box = qobject_cast<QHBoxLayout*>(dialog.layout());
    QVERIFY(box != nullptr);
    auto* number = qobject_cast<QSpinBox*>(box->itemAt(box->count() - 1)->widget());
    QVERIFY(number != nullptr);
    QCOMPARE(number->minimumWidth(), 100);
    QCOMPARE(number->maximumWidth(), 100);
    QCOMPARE(number->minimum(), 0);
    QCOMPARE(number->maximum(), 99);
    const QList<QLabel*> labels = dialog.template findChildren<QLabel*>();
    QCOMPARE(labels.size(), caption.isEmpty() ? 0 : 1);
    QCOMPARE(box->count(), labels.size() + 1);
    for (const QLabel* label : labels) {
        QCOMPARE(label->text(), caption);
        QCOMPARE(label->buddy(), static_cast<QWidget*>(number));
    }
}

/// Clicks without an instruction: there is nothing to change.
template <class Dialog>
void expectNothingWithoutAnInstruction()
{
    Dialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    press(dialog);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(reports.size(), 0);
}

} // namespace

class TestItemsDialogs : public QObject
{
    Q_OBJECT

private slots:
    void theFormsBearTheirTexts();
    void theMethodsAreInOrder();
    void theRowNamesTheItems_data();
    void theRowNamesTheItems();
    void theButtonStandsBelowTheRow();

    void addingWritesTheKindsLine_data();
    void addingWritesTheKindsLine();
    void removingWritesTheKindsLine_data();
    void removingWritesTheKindsLine();
    void addingThreeLeavesAllOtherLinesAsTheyAre();
    void removingMoreThanThereAreLeavesNone();
    void addingRestoresTheFifthSpaceOfTheAnalogInputs();
    void addingNothingStillReports();
    void anUnknownTypeChangesNoLine_data();
    void anUnknownTypeChangesNoLine();

    void oddCounts_data();
    void oddCounts();
    void everyLineWithTheKeyIsRewritten();
    void theKeyIsCaseSensitive();
    void lineEndsBecomeLineFeeds();
    void bytesThatAreNoTextStayAsTheyAre();

    void theReportNamesTheFileBeforeTheDialogCloses();
    void anUnreadableFileIsLeftInSilence_data();
    void anUnreadableFileIsLeftInSilence();
    void aCopyThatCannotBeMadeIsLeftInSilence();
    void noInstructionIsNoChange();
};

void TestItemsDialogs::theFormsBearTheirTexts()
{
    const addItemsDialog adding;
    QCOMPARE(adding.windowTitle(), QString("Add items"));
    QCOMPARE(adding.findChild<QPushButton*>("addButton")->text(), QString("Add item(s) to device"));
    const removeItemDialog removing;
    QCOMPARE(removing.windowTitle(), QString("Remove items"));
    QCOMPARE(removing.findChild<QPushButton*>("removeButton")->text(), QString("Remove item(s) from device"));
}

void TestItemsDialogs::theMethodsAreInOrder()
{
    QStringList expected{"configUpdated(cConfig*,int)", "transferSetupInfo(int,QString)",
                         "receiveInstruction(int,QString)", "on_addButton_clicked()"};
    QCOMPARE(ownMethods(addItemsDialog::staticMetaObject), expected);
    expected.last() = "on_removeButton_clicked()";
    QCOMPARE(ownMethods(removeItemDialog::staticMetaObject), expected);
}

void TestItemsDialogs::theRowNamesTheItems_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("caption");
    QTest::newRow("1") << 1 << "Number of Digital Inputs:";
    QTest::newRow("2") << 2 << "Number of Digital Outputs:";
    QTest::newRow("3") << 3 << "Number of Analog Inputs:";
    QTest::newRow("4") << 4 << "Number of Analog Outputs:";
    QTest::newRow("5") << 5 << "Number of Access Events:";
    for (const int type : {0, 6, -1}) {
        QTest::addRow("%d, no kind", type) << type << "";
    }
}

void TestItemsDialogs::theRowNamesTheItems()
{
    QFETCH(int, type);
    QFETCH(QString, caption);
    expectRow<addItemsDialog>(type, caption);
    expectRow<removeItemDialog>(type, caption);
}

void TestItemsDialogs::theButtonStandsBelowTheRow()
{
    removeItemDialog dialog;
    dialog.receiveInstruction(4, "/d/Panel.dev");
    dialog.show();
    const QRect button = dialog.findChild<QPushButton*>()->geometry();
    QVERIFY(dialog.rect().contains(button));
    QVERIFY(button.width() >= dialog.findChild<QPushButton*>()->sizeHint().width());
    for (const QWidget* widget : {static_cast<QWidget*>(dialog.findChild<QLabel*>()),
                                  static_cast<QWidget*>(dialog.findChild<QSpinBox*>())}) {
        QVERIFY(dialog.rect().contains(widget->geometry()));
        QVERIFY(widget->geometry().bottom() < button.top());
        QVERIFY(widget->width() >= widget->minimumSizeHint().width());
    }
}

void TestItemsDialogs::addingWritesTheKindsLine_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("digital inputs") << 1 << QByteArray("Digital input(s):    11");
    QTest::newRow("digital outputs") << 2 << QByteArray("Digital output(s):    11");
    QTest::newRow("analog inputs") << 3 << QByteArray("Analog input(s):     9");
    QTest::newRow("analog outputs") << 4 << QByteArray("Analog output(s):    9");
    QTest::newRow("scanners") << 5 << QByteArray("Scanner(s):    8");
}

void TestItemsDialogs::addingWritesTheKindsLine()
{
    QFETCH(int, type);
    QFETCH(QByteArray, line);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    QCOMPARE(add(path, type, 7).size(), 1);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(type, line));
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestItemsDialogs::removingWritesTheKindsLine_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("digital inputs") << 1 << QByteArray("Digital input(s):    3");
    QTest::newRow("digital outputs") << 2 << QByteArray("Digital output(s):    3");
    QTest::newRow("analog inputs") << 3 << QByteArray("Analog input(s):    1");
    QTest::newRow("analog outputs") << 4 << QByteArray("Analog output(s):    1");
    QTest::newRow("scanners") << 5 << QByteArray("Scanner(s):    0");
}

void TestItemsDialogs::removingWritesTheKindsLine()
{
    QFETCH(int, type);
    QFETCH(QByteArray, line);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    QCOMPARE(removeSome(path, type, 1).size(), 1);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(type, line));
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
}

void TestItemsDialogs::addingThreeLeavesAllOtherLinesAsTheyAre()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", panelWithLine(1, "Digital input(s):    5"));
    add(path, 1, 3);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(1, "Digital input(s):    8"));
}

void TestItemsDialogs::removingMoreThanThereAreLeavesNone()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", panelWithLine(3, "Analog input(s):     4"));
    removeSome(path, 3, 7);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(3, "Analog input(s):    0"));
}

void TestItemsDialogs::addingRestoresTheFifthSpaceOfTheAnalogInputs()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    add(path, 3, 5);
    removeSome(path, 3, 2);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(3, "Analog input(s):    5"));
    add(path, 3, 1);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(3, "Analog input(s):     6"));
}

void TestItemsDialogs::addingNothingStillReports()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    const QVector<Report> reports = add(path, 1, 0);
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].code, 1);
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
}

void TestItemsDialogs::anUnknownTypeChangesNoLine_data()
{
    QTest::addColumn<int>("type");
    QTest::newRow("0") << 0;
    QTest::newRow("6") << 6;
}

void TestItemsDialogs::anUnknownTypeChangesNoLine()
{
    QFETCH(int, type);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    QCOMPARE(add(path, type, 9).size(), 1);
    QCOMPARE(removeSome(path, type, 1).size(), 1);
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
}

void TestItemsDialogs::oddCounts_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("added");
    QTest::addColumn<QByteArray>("removed");
    QTest::newRow("no number") << QByteArray("four") << QByteArray("3") << QByteArray("0");
    QTest::newRow("nothing") << QByteArray("") << QByteArray("3") << QByteArray("0");
    QTest::newRow("hexadecimal") << QByteArray("0x10") << QByteArray("3") << QByteArray("0");
    QTest::newRow("a space inside") << QByteArray("1 0") << QByteArray("3") << QByteArray("0");
    QTest::newRow("negative") << QByteArray("-5") << QByteArray("-2") << QByteArray("0");
    QTest::newRow("a space behind") << QByteArray("4 ") << QByteArray("7") << QByteArray("1");
    QTest::newRow("the largest that is read back")
        << QByteArray("4294967292") << QByteArray("4294967295") << QByteArray("4294967289");
    QTest::newRow("beyond 64 bits") << QByteArray("9223372036854775808") << QByteArray("3")
                                    << QByteArray("0");
    QTest::newRow("the largest of 64 bits")
        << QByteArray("9223372036854775807") << QByteArray("9223372036854775807")
        << QByteArray("9223372036854775804");
    QTest::newRow("a second colon") << QByteArray("4:5") << QByteArray("3") << QByteArray("0");
}

void TestItemsDialogs::oddCounts()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, added);
    QFETCH(QByteArray, removed);
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", panelWithLine(1, "Digital input(s):    " + before));
    add(path, 1, 3);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(1, "Digital input(s):    " + added));
    home.write("Panel7.dev", panelWithLine(1, "Digital input(s):    " + before));
    removeSome(path, 1, 3);
    QCOMPARE(home.read("Panel7.dev"), panelWithLine(1, "Digital input(s):    " + removed));
}

void TestItemsDialogs::everyLineWithTheKeyIsRewritten()
{
    const HomeFiles home;
    const QString path =
        home.write("odd.dev", "Scanner(s): 1\nold Scanner(s): 2\nno key: 3\n: 4 Scanner(s):\n");
    add(path, 5, 10);
    QCOMPARE(home.read("odd.dev"),
             QByteArray("Scanner(s):    11\nScanner(s):    12\nno key: 3\nScanner(s):    10\n"));
}

void TestItemsDialogs::theKeyIsCaseSensitive()
{
    const HomeFiles home;
    const QString path = home.write("odd.dev", "scanner(s): 1\n");
    add(path, 5, 10);
    QCOMPARE(home.read("odd.dev"), QByteArray("scanner(s): 1\n"));
}

void TestItemsDialogs::lineEndsBecomeLineFeeds()
{
    const HomeFiles home;
    const QString path = home.write("odd.dev", "Scanner(s): 1\r\n\r\na\rb\nlast");
    add(path, 5, 1);
    QCOMPARE(home.read("odd.dev"), QByteArray("Scanner(s):    2\n\na\rb\nlast\n"));
}

void TestItemsDialogs::bytesThatAreNoTextStayAsTheyAre()
{
    const HomeFiles home;
    const QByteArray odd("Device label: B\xfcro\0\xff\n", 21);
    const QString path = home.write("odd.dev", odd + "Scanner(s): 1\n");
    add(path, 5, 1);
    QCOMPARE(home.read("odd.dev"), odd + "Scanner(s):    2\n");
}

void TestItemsDialogs::theReportNamesTheFileBeforeTheDialogCloses()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    for (const auto& operation : {add, removeSome}) {
        const QVector<Report> reports = operation(path, 2, 1);
        QCOMPARE(reports.size(), 1);
        QCOMPARE(reports[0].code, 1);
        QCOMPARE(reports[0].currentFile, path);
        QCOMPARE(reports[0].connectionFile + reports[0].address + reports[0].port, QString());
        QVERIFY(reports[0].dialogVisible);
        QCOMPARE(reports[0].fileContent, home.read("Panel7.dev"));
    }
}

void TestItemsDialogs::anUnreadableFileIsLeftInSilence_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing.dev";
    QTest::newRow("a directory") << "";
}

void TestItemsDialogs::anUnreadableFileIsLeftInSilence()
{
    QFETCH(QString, name);
    const HomeFiles home;
    QCOMPARE(add(home.pathOf(name), 1, 3).size(), 0);
    QCOMPARE(removeSome(home.pathOf(name), 1, 3).size(), 0);
    QCOMPARE(home.names(), QStringList());
}

void TestItemsDialogs::aCopyThatCannotBeMadeIsLeftInSilence()
{
    const HomeFiles home;
    const QString path = home.write("Panel7.dev", kPanel7);
    QVERIFY(QDir(home.configuration()).mkdir("Panel7.dev.tmp"));
    QCOMPARE(add(path, 1, 3).size(), 0);
    QCOMPARE(removeSome(path, 1, 3).size(), 0);
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QVERIFY(QFileInfo(home.pathOf("Panel7.dev.tmp")).isDir());
}

void TestItemsDialogs::noInstructionIsNoChange()
{
    expectNothingWithoutAnInstruction<addItemsDialog>();
    expectNothingWithoutAnInstruction<removeItemDialog>();
}

ZUL_QTEST(TestItemsDialogs)
#include "itemsdialogs_test.moc"
