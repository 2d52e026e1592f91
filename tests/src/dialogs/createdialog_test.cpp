#include "createdialog.h"
#include "devicefiles.h"
#include "dialogreports.h"
#include "homefiles.h"
#include "modalanswers.h"
#include "qttestmain.h"

#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QValidator>

namespace {

void fillIn(QDialog& dialog, const QString& label, const QString& version, const QString& serial)
{
    dialog.findChild<QLineEdit*>("devLabel")->setText(label);
    dialog.findChild<QLineEdit*>("devVersion")->setText(version);
    dialog.findChild<QLineEdit*>("devSerial")->setText(serial);
}

void setCounts(QDialog& dialog, std::initializer_list<int> counts)
{
    const char* const names[] = {"discInputs", "discOutputs", "anaInputs", "anaOutputs", "devScanners"};
    const char* const* name = names;
    for (const int count : counts) {
        dialog.findChild<QSpinBox*>(*name++)->setValue(count);
    }
}

QByteArray described(const QByteArray& version, const QByteArray& serial, const QByteArray& label)
{
    return "Digital input(s):    0\nDigital output(s):   0\nAnalog input(s):     0\n"
           "Analog output(s):    0\nScanner(s):          1\nDevice type:         TYPE_DISCRETE_IO\n"
           "Device version:      " +
           version + "\nDevice serial:       " + serial + "\nDevice label:        " + label + "\n";
}

} // namespace

class TestCreateDialog : public QObject
{
    Q_OBJECT

private slots:
    void theFieldsStartAsDescribed_data();
    void theFieldsStartAsDescribed();
    void theOnlyTypeIsDiscrete();
    void theTextsMayBeAnything();
    void theMethodsAreInOrder();
    void theNineLinesAreWritten();
    void whatIsMissingIsAskedForInTurn_data();
    void whatIsMissingIsAskedForInTurn();
    void spacesAreNoEmptyText();
    void textsAreWrittenAsTyped_data();
    void textsAreWrittenAsTyped();
    void aSlashLeadsIntoASubdirectory();
    void anExistingFileIsOverwrittenWithoutAQuestion();
    void aSymbolicLinkStaysOne();
    void whatCannotBeWrittenIsReportedAllTheSame_data();
    void whatCannotBeWrittenIsReportedAllTheSame();
    void withoutAHomeThePathBeginsAtTheRoot();
    void theReportComesBeforeTheDialogCloses();
    void acceptingIsCreatingToo();
    void typingReplacesTheFirstField();
    void enterPressesCreate();
    void escapeReportsNothing();
};

void TestCreateDialog::theFieldsStartAsDescribed_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("minimum");
    QTest::newRow("digital inputs") << "discInputs"
                                    << "Discrete Inputs:" << 0;
    QTest::newRow("digital outputs") << "discOutputs"
                                     << "Discrete Outputs:" << 0;
    QTest::newRow("analog inputs") << "anaInputs"
                                   << "Analog Inputs:" << 0;
    QTest::newRow("analog outputs") << "anaOutputs"
                                    << "Analog Outputs:" << 0;
    QTest::newRow("scanners") << "devScanners"
                              << "Number of Scanners:" << 1;
    QTest::newRow("type") << "devType"
                          << "Device Type:" << -1;
    QTest::newRow("label") << "devLabel"
                           << "Device Label:" << -1;
    QTest::newRow("version") << "devVersion"
                             << "Device Version Number:" << -1;
    QTest::newRow("serial") << "devSerial"
                            << "Device Serial Number:" << -1;
}

void TestCreateDialog::theFieldsStartAsDescribed()
{
    QFETCH(QString, name);
    QFETCH(int, minimum);
    const createdialog dialog;
    auto* field = dialog.findChild<QWidget*>(name);
    QVERIFY(field != nullptr);
    const auto* form = qobject_cast<QFormLayout*>(dialog.layout());
    QVERIFY(form != nullptr);
    const auto* label = qobject_cast<QLabel*>(form->labelForField(field));
    QVERIFY(label != nullptr);
    QTEST(label->text(), "caption");
    if (const auto* spinBox = qobject_cast<QSpinBox*>(field)) {
        QCOMPARE(spinBox->minimum(), minimum);
        QCOMPARE(spinBox->maximum(), 99);
        QCOMPARE(spinBox->value(), minimum);
    }
    QCOMPARE(qobject_cast<QSpinBox*>(field) != nullptr, minimum >= 0);
}

void TestCreateDialog::theOnlyTypeIsDiscrete()
{
    const createdialog dialog;
    const auto* type = dialog.findChild<QComboBox*>("devType");
    QCOMPARE(type->count(), 1);
    QCOMPARE(type->currentText(), QString("TYPE_DISCRETE_IO"));
    QCOMPARE(dialog.windowTitle(), QString("New device setup"));
    QCOMPARE(dialog.objectName(), QString("createdialog"));
    QCOMPARE(dialog.findChild<QPushButton*>("createButton")->text(), QString("Create"));
}

void TestCreateDialog::theTextsMayBeAnything()
{
    const createdialog dialog;
    for (const char* name : {"devLabel", "devVersion", "devSerial"}) {
        const auto* edit = dialog.findChild<QLineEdit*>(name);
        QCOMPARE(edit->text(), QString());
        QVERIFY(edit->validator() == nullptr);
        QCOMPARE(edit->inputMask(), QString());
        QCOMPARE(edit->maxLength(), QLineEdit().maxLength());
    }
}

void TestCreateDialog::theMethodsAreInOrder()
{
    QCOMPARE(ownMethods(createdialog::staticMetaObject),
             QStringList({"configUpdated(cConfig*,int)", "transferSetupInfo(int,QString)",
                          "on_createButton_clicked()"}));
}

void TestCreateDialog::theNineLinesAreWritten()
{
    const HomeFiles home;
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillIn(dialog, "Panel7", "3", "1001");
    setCounts(dialog, {4, 4, 2, 2, 1});
    press(dialog);
    QCOMPARE(home.names(), QStringList("Panel7.dev"));
    QCOMPARE(home.read("Panel7.dev"), kPanel7);
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].code, 1);
    QCOMPARE(reports[0].currentFile, home.pathOf("Panel7.dev"));
    QCOMPARE(reports[0].connectionFile + reports[0].address + reports[0].port, QString());
}

void TestCreateDialog::whatIsMissingIsAskedForInTurn_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("serial");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing given") << ""
                                   << ""
                                   << ""
                                   << "Please provide a label for the device.";
    QTest::newRow("no label, no version") << ""
                                          << ""
                                          << "1001"
                                          << "Please provide a label for the device.";
    QTest::newRow("no label, no serial") << ""
                                         << "3"
                                         << ""
                                         << "Please provide a label for the device.";
    QTest::newRow("no version, no serial") << "Panel7"
                                           << ""
                                           << ""
                                           << "Please provide a version number for the device.";
    QTest::newRow("no version") << "Panel7"
                                << ""
                                << "1001"
                                << "Please provide a version number for the device.";
    QTest::newRow("no serial") << "Panel7"
                               << "3"
                               << ""
                               << "Please provide a serial number for the device.";
}

void TestCreateDialog::whatIsMissingIsAskedForInTurn()
{
    QFETCH(QString, label);
    QFETCH(QString, version);
    QFETCH(QString, serial);
    const HomeFiles home;
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillIn(dialog, label, version, serial);
    setCounts(dialog, {7});
    ModalAnswers answers;
    answers.pressOk();
    press(dialog);
    QCOMPARE(answers.shown().size(), 1);
    const ModalAnswers::Shown box = answers.shown().first();
    QCOMPARE(box.kind, QString("message"));
    QCOMPARE(box.title, QString("Device setup"));
    QTEST(box.text, "text");
    QCOMPARE(box.icon, QMessageBox::Information);
    QCOMPARE(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.findChild<QLineEdit*>("devLabel")->text(), label);
    QCOMPARE(dialog.findChild<QSpinBox*>("discInputs")->value(), 7);
    QCOMPARE(reports.size(), 0);
    QCOMPARE(home.names(), QStringList());
}

void TestCreateDialog::spacesAreNoEmptyText()
{
    const HomeFiles home;
    createdialog dialog;
    ModalAnswers answers;
    dialog.show();
    fillIn(dialog, " ", " ", " ");
    press(dialog);
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(home.read(" .dev"), described(" ", " ", " "));
}

void TestCreateDialog::textsAreWrittenAsTyped_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("serial");
    QTest::newRow("a label with spaces") << "My Panel 7"
                                         << "3"
                                         << "1001";
    QTest::newRow("a hexadecimal serial") << "Panel"
                                          << "3"
                                          << "0x3E9";
    QTest::newRow("a version that is no number") << "Panel"
                                                 << "three: 3"
                                                 << "1001";
    QTest::newRow("a label outside ASCII") << QString::fromUtf8("B\xc3\xbcro") << "3"
                                           << "1001";
}

void TestCreateDialog::textsAreWrittenAsTyped()
{
    QFETCH(QString, label);
    QFETCH(QString, version);
    QFETCH(QString, serial);
    const HomeFiles home;
    createdialog dialog;
    dialog.show();
    fillIn(dialog, label, version, serial);
    press(dialog);
    QCOMPARE(home.names(), QStringList(label + ".dev"));
    QCOMPARE(home.read(label + ".dev"),
             described(version.toLocal8Bit(), serial.toLocal8Bit(), label.toLocal8Bit()));
}

void TestCreateDialog::aSlashLeadsIntoASubdirectory()
{
    const HomeFiles home;
    QVERIFY(QDir(home.configuration()).mkdir("sub"));
    createdialog dialog;
    dialog.show();
    fillIn(dialog, "sub/Panel", "3", "1001");
    press(dialog);
    QCOMPARE(home.read("sub/Panel.dev"), described("3", "1001", "sub/Panel"));
}

void TestCreateDialog::anExistingFileIsOverwrittenWithoutAQuestion()
{
    const HomeFiles home;
    home.write("Panel.dev", QByteArray(1000, 'x'));
    createdialog dialog;
    ModalAnswers answers;
    dialog.show();
    fillIn(dialog, "Panel", "3", "1001");
    press(dialog);
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(home.names(), QStringList("Panel.dev"));
    QCOMPARE(home.read("Panel.dev"), described("3", "1001", "Panel"));
}

void TestCreateDialog::aSymbolicLinkStaysOne()
{
    const HomeFiles home;
    const QString elsewhere = home.write("../elsewhere", "");
    QVERIFY(QFile::link(elsewhere, home.pathOf("Panel.dev")));
    createdialog dialog;
    dialog.show();
    fillIn(dialog, "Panel", "3", "1001");
    press(dialog);
    QVERIFY(QFileInfo(home.pathOf("Panel.dev")).isSymLink());
    QCOMPARE(home.read("../elsewhere"), described("3", "1001", "Panel"));
}

void TestCreateDialog::whatCannotBeWrittenIsReportedAllTheSame_data()
{
    QTest::addColumn<QString>("label");
    QTest::addColumn<bool>("directoryExists");
    QTest::newRow("no configuration directory") << "Panel" << false;
    QTest::newRow("label with a slash") << "no/Panel" << true;
}

void TestCreateDialog::whatCannotBeWrittenIsReportedAllTheSame()
{
    QFETCH(QString, label);
    QFETCH(bool, directoryExists);
    const HomeFiles home;
    QVERIFY(directoryExists || QDir(home.configuration()).removeRecursively());
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    ModalAnswers answers;
    dialog.show();
    fillIn(dialog, label, "3", "1001");
    press(dialog);
    QCOMPARE(answers.shown().size(), 0);
    QCOMPARE(home.names(), QStringList());
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].code, 1);
    QCOMPARE(reports[0].currentFile, home.pathOf(label + ".dev"));
    QVERIFY(!dialog.isVisible());
}

void TestCreateDialog::withoutAHomeThePathBeginsAtTheRoot()
{
    const HomeFiles home;
    qunsetenv("HOME");
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillIn(dialog, "no such directory/Panel", "3", "1001");
    press(dialog);
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].currentFile, QString("/.zulbench/no such directory/Panel.dev"));
}

void TestCreateDialog::theReportComesBeforeTheDialogCloses()
{
    const HomeFiles home;
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillIn(dialog, "Panel", "3", "1001");
    press(dialog);
    QCOMPARE(reports.size(), 1);
    QVERIFY(reports[0].dialogVisible);
    QCOMPARE(reports[0].fileContent, described("3", "1001", "Panel"));
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestCreateDialog::acceptingIsCreatingToo()
{
    const HomeFiles home;
    createdialog dialog;
    dialog.show();
    fillIn(dialog, "Panel", "3", "1001");
    dialog.accept();
    QCOMPARE(home.read("Panel.dev"), described("3", "1001", "Panel"));
}

void TestCreateDialog::typingReplacesTheFirstField()
{
    createdialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QTest::keyClicks(dialog.focusWidget(), "4");
    QCOMPARE(dialog.findChild<QSpinBox*>("discInputs")->value(), 4);
}

void TestCreateDialog::enterPressesCreate()
{
    const HomeFiles home;
    createdialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    fillIn(dialog, "Panel", "3", "1001");
    QTest::keyClick(dialog.findChild<QLineEdit*>("devSerial"), Qt::Key_Return);
    QCOMPARE(home.names(), QStringList("Panel.dev"));
}

void TestCreateDialog::escapeReportsNothing()
{
    const HomeFiles home;
    createdialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillIn(dialog, "Panel", "3", "1001");
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(reports.size(), 0);
    QCOMPARE(home.names(), QStringList());
}

ZUL_QTEST(TestCreateDialog)
#include "createdialog_test.moc"
