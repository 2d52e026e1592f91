#include "configpropertiesdialog.h"
#include "devicefiles.h"
#include "dialogreports.h"
#include "homefiles.h"
#include "linefile.h"
#include "modalanswers.h"
#include "qttestmain.h"

#include <QLabel>
#include <QLineEdit>

namespace {

QString fields(const QDialog& dialog)
{
    return dialog.findChild<QLineEdit*>("labelEdit")->text() + '|' +
           dialog.findChild<QLineEdit*>("versionEdit")->text() + '|' +
           dialog.findChild<QLineEdit*>("serialEdit")->text();
}

/// A dialog on a file, together with what it reports.
struct Opened
{
    explicit Opened(const QString& path)
    {
        recordReports(dialog, reports);
        dialog.receiveFileName(path);
        dialog.show();
    }
    void type(const char* field, const QString& text) { dialog.findChild<QLineEdit*>(field)->setText(text); }
    /// Presses "Confirm"; true where the dialog closed in silence.
    bool confirm()
    {
        press(dialog);
        return !dialog.isVisible() && answers.shown().isEmpty();
    }

    configPropertiesDialog dialog;
    QVector<Report> reports;
    ModalAnswers answers;
};

/// Panel7 with the three lines as this dialog writes them.
QByteArray confirmed(const QByteArray& version, const QByteArray& serial, const QByteArray& label)
{
    QList<QByteArray> lines = kPanel7.split('\n');
    lines[6] = "Device version:      " + version;
    lines[7] = "Device serial:      " + serial;
    lines[8] = "Device label:      " + label;
    return lines.join('\n');
}

} // namespace

class TestConfigProperties : public QObject
{
    Q_OBJECT

private slots:
    void theFormIsPlacedAsDrawn_data();
    void theFormIsPlacedAsDrawn();
    void theFormKeepsItsOrderAndTitle();
    void theMethodsAreInOrder();

    void theFileIsShown();
    void spacesVanishFromTheFields();
    void aLaterLineWins();
    void theVersionsKeyIsLookedForFirst();
    void anUnreadableFileLeavesTheFieldsEmpty();
    void whatLiesBeyondTheBoundIsNotShown();

    void typingReplacesTheLabel();
    void changingTheVersionRewritesThreeLines();
    void otherLinesKeepTheirBytes();
    void textsAreWrittenAsTyped();
    void theReportComesBeforeTheRename();
    void aNewLabelRenamesTheFile();
    void theFormerPathIsGoneAfterARename();
    void theSameLabelKeepsTheName();
    void aLabelWithSpacesLosesThemWhenConfirmedAgain();
    void withoutALabelLineAnyLabelRenames();
    void withoutALabelLineAnEmptyLabelKeepsTheName();
    void aRenameThatFailsIsIgnored_data();
    void aRenameThatFailsIsIgnored();

    void anUnreadableFileClosesInSilence();
    void aCopyThatCannotBeMadeClosesInSilence();
    void escapeChangesNothing();
};

void TestConfigProperties::theFormIsPlacedAsDrawn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("place");
    QTest::addColumn<QString>("text");
    QTest::newRow("label caption") << "label" << QRect(20, 10, 131, 17) << "Device Label:";
    QTest::newRow("serial caption") << "label_2" << QRect(20, 90, 131, 17) << "Device Serial:";
    QTest::newRow("version caption") << "label_3" << QRect(20, 50, 151, 17) << "Device Version:";
    QTest::newRow("label") << "labelEdit" << QRect(200, 10, 113, 27) << "";
    QTest::newRow("version") << "versionEdit" << QRect(200, 50, 113, 27) << "";
    QTest::newRow("serial") << "serialEdit" << QRect(200, 90, 113, 27) << "";
    QTest::newRow("button") << "confirmButton" << QRect(200, 140, 99, 27) << "Confirm";
}

void TestConfigProperties::theFormIsPlacedAsDrawn()
{
    QFETCH(QString, name);
    const configPropertiesDialog dialog;
    const auto* widget = dialog.findChild<QWidget*>(name);
    QVERIFY(widget != nullptr);
    QTEST(widget->geometry(), "place");
    QTEST(widget->property("text").toString(), "text");
}

void TestConfigProperties::theFormKeepsItsOrderAndTitle()
{
    const configPropertiesDialog dialog;
    QCOMPARE(dialog.windowTitle(), QString("Device Configuration Properties"));
    QCOMPARE(dialog.size(), QSize(332, 180));
    QCOMPARE(childNames(dialog), QStringList({"label", "label_2", "label_3", "labelEdit", "versionEdit",
                                              "serialEdit", "confirmButton"}));
}

void TestConfigProperties::theMethodsAreInOrder()
{
    QCOMPARE(ownMethods(configPropertiesDialog::staticMetaObject),
             QStringList(
                 {"configUpdated(cConfig*,int)", "receiveFileName(QString)", "on_confirmButton_clicked()"}));
}

void TestConfigProperties::theFileIsShown()
{
    const HomeFiles home;
    const Opened opened(home.write("Panel7.dev", kPanel7));
    QCOMPARE(fields(opened.dialog), QString("Panel7|3|1001"));
}

void TestConfigProperties::spacesVanishFromTheFields()
{
    const HomeFiles home;
    const Opened opened(home.write("odd.dev", "Device label: My Panel:7 \nDevice serial: 1 001\r\n"));
    QCOMPARE(fields(opened.dialog), QString("MyPanel:7||1001"));
}

void TestConfigProperties::aLaterLineWins()
{
    const HomeFiles home;
    const Opened opened(home.write("odd.dev", "Device label: A\nmy Device label: B\ndevice label: C\n"));
    QCOMPARE(fields(opened.dialog), QString("B||"));
}

void TestConfigProperties::theVersionsKeyIsLookedForFirst()
{
    const HomeFiles home;
    const Opened opened(home.write("odd.dev", "Device label: Device serial: Device version: 9\n"));
    QCOMPARE(fields(opened.dialog), QString("|Deviceserial:Deviceversion:9|"));
}

void TestConfigProperties::anUnreadableFileLeavesTheFieldsEmpty()
{
    const HomeFiles home;
    const Opened opened(home.pathOf("missing.dev"));
    QCOMPARE(fields(opened.dialog), QString("||"));
}

void TestConfigProperties::whatLiesBeyondTheBoundIsNotShown()
{
    const HomeFiles home;
    const QByteArray filling(static_cast<int>(kMaxLineFileBytes), '\n');
    const Opened opened(home.write("Panel7.dev", kPanel7 + filling + "Device label: other\n"));
    QCOMPARE(fields(opened.dialog), QString("Panel7|3|1001"));
}

void TestConfigProperties::typingReplacesTheLabel()
{
    const HomeFiles home;
    Opened opened(home.write("Panel7.dev", kPanel7));
    QVERIFY(QTest::qWaitForWindowActive(&opened.dialog));
    QTest::keyClicks(opened.dialog.focusWidget(), "Gate2");
    QCOMPARE(fields(opened.dialog), QString("Gate2|3|1001"));
}

void TestConfigProperties::changingTheVersionRewritesThreeLines()
{
    const HomeFiles home;
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("versionEdit", "4");
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
    QCOMPARE(home.read("Panel7.dev"), confirmed("4", "1001", "Panel7"));
    QCOMPARE(opened.reports.size(), 1);
    QCOMPARE(opened.reports[0].code, 1);
    QCOMPARE(opened.reports[0].currentFile, home.pathOf("Panel7.dev"));
}

void TestConfigProperties::otherLinesKeepTheirBytes()
{
    const HomeFiles home;
    const QByteArray others("Digital input(s):4\n\n\tno colon \xff \n:\n");
    Opened opened(home.write("odd.dev", others + "Device version: 3\nlast"));
    QVERIFY(opened.confirm());
    QCOMPARE(home.read("odd.dev"), others + "Device version:      3\nlast\n");
}

void TestConfigProperties::textsAreWrittenAsTyped()
{
    const HomeFiles home;
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("versionEdit", "");
    opened.type("serialEdit", " 0x3E9: ");
    QVERIFY(opened.confirm());
    QCOMPARE(home.read("Panel7.dev"), confirmed("", " 0x3E9: ", "Panel7"));
}

void TestConfigProperties::theReportComesBeforeTheRename()
{
    const HomeFiles home;
    Opened opened(home.write("A.dev", panelWithLine(9, "Device label:        A")));
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    QCOMPARE(opened.reports.size(), 1);
    QCOMPARE(opened.reports[0].currentFile, home.pathOf("A.dev"));
    QCOMPARE(opened.reports[0].fileContent, confirmed("3", "1001", "B"));
    QVERIFY(opened.reports[0].dialogVisible);
}

void TestConfigProperties::aNewLabelRenamesTheFile()
{
    const HomeFiles home;
    QVERIFY(QDir(home.configuration()).mkdir("sub"));
    Opened opened(home.write("sub/some name.dev", kPanel7));
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    QCOMPARE(QDir(home.pathOf("sub")).entryList(QDir::Files), QStringList("B.dev"));
    QCOMPARE(home.read("sub/B.dev"), confirmed("3", "1001", "B"));
}

void TestConfigProperties::theFormerPathIsGoneAfterARename()
{
    const HomeFiles home;
    const QString path = home.write("A.dev", panelWithLine(9, "Device label:        A"));
    Opened opened(path);
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    Opened again(path);
    QCOMPARE(fields(again.dialog), QString("||"));
    QVERIFY(again.confirm());
    QCOMPARE(again.reports.size(), 0);
    QCOMPARE(home.names(), QStringList("B.dev"));
}

void TestConfigProperties::theSameLabelKeepsTheName()
{
    const HomeFiles home;
    Opened opened(home.write("some name.dev", kPanel7));
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList("some name.dev"));
}

void TestConfigProperties::aLabelWithSpacesLosesThemWhenConfirmedAgain()
{
    const HomeFiles home;
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("labelEdit", "My Panel");
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList("My Panel.dev"));
    QCOMPARE(home.read("My Panel.dev"), confirmed("3", "1001", "My Panel"));

    Opened again(home.pathOf("My Panel.dev"));
    QCOMPARE(fields(again.dialog), QString("MyPanel|3|1001"));
    QVERIFY(again.confirm());
    QCOMPARE(home.names(), QStringList("MyPanel.dev"));
    QCOMPARE(home.read("MyPanel.dev"), confirmed("3", "1001", "MyPanel"));
}

void TestConfigProperties::withoutALabelLineAnyLabelRenames()
{
    const HomeFiles home;
    Opened opened(home.write("odd.dev", "Device version: 3\n"));
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList("B.dev"));
    QCOMPARE(home.read("B.dev"), QByteArray("Device version:      3\n"));
}

void TestConfigProperties::withoutALabelLineAnEmptyLabelKeepsTheName()
{
    const HomeFiles home;
    Opened opened(home.write("odd.dev", "Device version: 3\n"));
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList("odd.dev"));
}

void TestConfigProperties::aRenameThatFailsIsIgnored_data()
{
    QTest::addColumn<QString>("label");
    QTest::newRow("the name is taken") << "taken";
    QTest::newRow("a slash") << "no/B";
}

void TestConfigProperties::aRenameThatFailsIsIgnored()
{
    QFETCH(QString, label);
    const HomeFiles home;
    home.write("taken.dev", "another");
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("labelEdit", label);
    QVERIFY(opened.confirm());
    QCOMPARE(home.names(), QStringList({"Panel7.dev", "taken.dev"}));
    QCOMPARE(home.read("Panel7.dev"), confirmed("3", "1001", label.toUtf8()));
    QCOMPARE(home.read("taken.dev"), QByteArray("another"));
    QCOMPARE(opened.reports.size(), 1);
}

void TestConfigProperties::anUnreadableFileClosesInSilence()
{
    const HomeFiles home;
    Opened opened(home.pathOf("missing.dev"));
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    QCOMPARE(opened.reports.size(), 0);
    QCOMPARE(home.names(), QStringList());
}

void TestConfigProperties::aCopyThatCannotBeMadeClosesInSilence()
{
    const HomeFiles home;
    QVERIFY(QDir(home.configuration()).mkdir("Panel7.dev.tmp"));
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("labelEdit", "B");
    QVERIFY(opened.confirm());
    QCOMPARE(opened.reports.size(), 0);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
}

void TestConfigProperties::escapeChangesNothing()
{
    const HomeFiles home;
    Opened opened(home.write("Panel7.dev", kPanel7));
    opened.type("labelEdit", "B");
    QTest::keyClick(&opened.dialog, Qt::Key_Escape);
    QVERIFY(!opened.dialog.isVisible());
    QCOMPARE(opened.reports.size(), 0);
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
}

ZUL_QTEST(TestConfigProperties)
#include "configproperties_test.moc"
