#include "cconfig.h"
#include "connectiondialog.h"
#include "createconnectiondialog.h"
#include "dialogreports.h"
#include "homefiles.h"
#include "qttestmain.h"

#include <QLabel>
#include <QLineEdit>
#include <unistd.h>

namespace {

void fillInConnection(QDialog& dialog, const QString& descriptor, const QString& address, const QString& port)
{
    dialog.findChild<QLineEdit*>("connectDescriptor")->setText(descriptor);
    dialog.findChild<QLineEdit*>("connectIP")->setText(address);
    dialog.findChild<QLineEdit*>("connectPort")->setText(port);
}

QString connectionFields(const QDialog& dialog)
{
    return dialog.findChild<QLineEdit*>("connectDescriptor")->text() + '|' +
           dialog.findChild<QLineEdit*>("connectIP")->text() + '|' +
           dialog.findChild<QLineEdit*>("connectPort")->text();
}

const QByteArray kLab("Connection descriptor:   lab\n"
                      "Connection IP address:   10.0.0.5\n"
                      "Connection port number:  50001\n");

} // namespace

class TestConnectionDialogs : public QObject
{
    Q_OBJECT

private slots:
    void theFormsArePlacedAsDrawn_data();
    void theFormsArePlacedAsDrawn();
    void theFormsKeepTheirOrderAndTitles();
    void theDescriptorHasTheFocusFirst();
    void theMethodsAreInOrder();
    void createWritesTheFileAndReportsIt();
    void createReportsBeforeItCloses();
    void createReplacesAnExistingFile();
    void anEmptyDescriptorWritesANamelessFile();
    void aDescriptorWithSpacesKeepsThemInNameAndLine();
    void createReportsWhatCannotBeWritten_data();
    void createReportsWhatCannotBeWritten();
    void acceptingIsCreatingToo();
    void closingReportsNothing();
    void editShowsTheFilesValues();
    void editRemovesStrayBlanks();
    void editKeepsItsDefaultsWithoutAFile_data();
    void editKeepsItsDefaultsWithoutAFile();
    void confirmRemovesTheOldFileBeforeItWrites();
    void confirmRenamesAFileWithSpaces();
    void confirmMovesAFileIntoTheConfigurationDirectory();
    void confirmReportsWhatCannotBeWritten();
    void confirmWithoutAFileWritesOne();
    void acceptingIsConfirmingToo();
};

void TestConnectionDialogs::theFormsArePlacedAsDrawn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("place");
    QTest::addColumn<QString>("text");
    QTest::newRow("descriptor label") << "label" << QRect(30, 20, 81, 17) << "Descriptor:";
    QTest::newRow("descriptor") << "connectDescriptor" << QRect(220, 20, 101, 27) << "";
    QTest::newRow("address label") << "zulLabel" << QRect(30, 60, 105, 17) << "IP Address:";
    QTest::newRow("address") << "connectIP" << QRect(220, 60, 100, 27) << "127.0.0.1";
    QTest::newRow("port label") << "portLabel" << QRect(30, 100, 51, 17) << "Port:";
    QTest::newRow("port") << "connectPort" << QRect(220, 100, 100, 27) << "50000";
    QTest::newRow("create button") << "buttonCreate" << QRect(220, 140, 99, 27) << "Create";
    QTest::newRow("confirm button") << "buttonConfirm" << QRect(220, 140, 99, 27) << "Confirm";
}

void TestConnectionDialogs::theFormsArePlacedAsDrawn()
{
    QFETCH(QString, name);
    QFETCH(QRect, place);
    QFETCH(QString, text);
    const createConnectionDialog create;
    const ConnectionDialog edit;
    int found = 0;
    for (const QDialog* dialog : std::initializer_list<const QDialog*>{&create, &edit}) {
        if (const auto* widget = dialog->findChild<QWidget*>(name)) {
            ++found;
            QCOMPARE(widget->geometry(), place);
            QCOMPARE(widget->property("text").toString(), text);
        }
    }
    QCOMPARE(found, name.startsWith("button") ? 1 : 2);
}

void TestConnectionDialogs::theFormsKeepTheirOrderAndTitles()
{
    const createConnectionDialog create;
    QCOMPARE(create.windowTitle(), QString("New connection setup"));
    QCOMPARE(create.size(), QSize(340, 186));
    QCOMPARE(childNames(create), QStringList({"connectDescriptor", "connectIP", "zulLabel", "label",
                                              "connectPort", "portLabel", "buttonCreate"}));
    const ConnectionDialog edit;
    QCOMPARE(edit.windowTitle(), QString("Connection Configuration Properties"));
    QCOMPARE(edit.size(), QSize(340, 186));
    QCOMPARE(childNames(edit), QStringList({"buttonConfirm", "connectPort", "portLabel", "connectIP",
                                            "zulLabel", "connectDescriptor", "label"}));
}

void TestConnectionDialogs::theDescriptorHasTheFocusFirst()
{
    createConnectionDialog create;
    ConnectionDialog edit;
    for (QDialog* dialog : std::initializer_list<QDialog*>{&create, &edit}) {
        dialog->show();
        QVERIFY(QTest::qWaitForWindowActive(dialog));
        QVERIFY(dialog->findChild<QLineEdit*>("connectDescriptor")->hasFocus());
    }
}

void TestConnectionDialogs::theMethodsAreInOrder()
{
    QCOMPARE(ownMethods(createConnectionDialog::staticMetaObject),
             QStringList({"configUpdated(cConfig*,int)", "on_buttonCreate_clicked()"}));
    QCOMPARE(ownMethods(ConnectionDialog::staticMetaObject),
             QStringList({"configUpdated(cConfig*,int)", "receiveConnectionFileName(QString)",
                          "on_buttonConfirm_clicked()"}));
}

void TestConnectionDialogs::createWritesTheFileAndReportsIt()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    press(dialog);
    QCOMPARE(home.names(), QStringList("lab.con"));
    QCOMPARE(home.read("lab.con"), kLab);
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].code, 2);
    QCOMPARE(reports[0].address, QString("10.0.0.5"));
    QCOMPARE(reports[0].port, QString("50001"));
    QCOMPARE(reports[0].connectionFile, home.pathOf("lab.con"));
    QCOMPARE(reports[0].currentFile, QString());
}

void TestConnectionDialogs::createReportsBeforeItCloses()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    press(dialog);
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].fileContent, kLab);
    QVERIFY(reports[0].dialogVisible);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestConnectionDialogs::createReplacesAnExistingFile()
{
    const HomeFiles home;
    home.write("lab.con", QByteArray(1000, 'x'));
    createConnectionDialog dialog;
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    press(dialog);
    QCOMPARE(home.read("lab.con"), kLab);
}

void TestConnectionDialogs::anEmptyDescriptorWritesANamelessFile()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    dialog.show();
    press(dialog);
    QCOMPARE(home.names(), QStringList(".con"));
    QCOMPARE(home.read(".con"), QByteArray("Connection descriptor:   \n"
                                           "Connection IP address:   127.0.0.1\n"
                                           "Connection port number:  50000\n"));
}

void TestConnectionDialogs::aDescriptorWithSpacesKeepsThemInNameAndLine()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    dialog.show();
    fillInConnection(dialog, "my lab", " 10.0.0.5", "port");
    press(dialog);
    QCOMPARE(home.names(), QStringList("my lab.con"));
    QCOMPARE(home.read("my lab.con"), QByteArray("Connection descriptor:   my lab\n"
                                                 "Connection IP address:    10.0.0.5\n"
                                                 "Connection port number:  port\n"));
}

void TestConnectionDialogs::createReportsWhatCannotBeWritten_data()
{
    QTest::addColumn<QString>("descriptor");
    QTest::addColumn<bool>("directoryExists");
    QTest::newRow("no configuration directory") << "lab" << false;
    QTest::newRow("descriptor with a slash") << "no/lab" << true;
}

void TestConnectionDialogs::createReportsWhatCannotBeWritten()
{
    QFETCH(QString, descriptor);
    QFETCH(bool, directoryExists);
    const HomeFiles home;
    QVERIFY(directoryExists || QDir(home.configuration()).removeRecursively());
    createConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    fillInConnection(dialog, descriptor, "10.0.0.5", "50001");
    press(dialog);
    QCOMPARE(home.names(), QStringList());
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].address, QString("10.0.0.5"));
    QCOMPARE(reports[0].connectionFile, home.pathOf(descriptor + ".con"));
    QVERIFY(!dialog.isVisible());
}

void TestConnectionDialogs::acceptingIsCreatingToo()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    dialog.accept();
    QCOMPARE(home.read("lab.con"), kLab);
}

void TestConnectionDialogs::closingReportsNothing()
{
    const HomeFiles home;
    createConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(reports.size(), 0);
    QCOMPARE(home.names(), QStringList());
}

void TestConnectionDialogs::editShowsTheFilesValues()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(home.write("lab.con", kLab));
    QCOMPARE(connectionFields(dialog), QString("lab|10.0.0.5|50001"));
}

void TestConnectionDialogs::editRemovesStrayBlanks()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(home.write("lab.con", "Connection IP address:   10. 0.0.1\n"));
    QCOMPARE(connectionFields(dialog), QString("|10.0.0.1|50000"));
}

void TestConnectionDialogs::editKeepsItsDefaultsWithoutAFile_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("missing") << "missing.con";
    QTest::newRow("a directory") << "";
}

void TestConnectionDialogs::editKeepsItsDefaultsWithoutAFile()
{
    QFETCH(QString, name);
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(home.pathOf(name));
    QCOMPARE(connectionFields(dialog), QString("|127.0.0.1|50000"));
}

void TestConnectionDialogs::confirmRemovesTheOldFileBeforeItWrites()
{
    const HomeFiles home;
    const QString path = home.write("lab.con", kLab);
    // A second name keeps the old file's content apart from what is written under its first name.
    QCOMPARE(link(qPrintable(path), qPrintable(home.pathOf("kept"))), 0);
    ConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.receiveConnectionFileName(path);
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.6", "50002");
    press(dialog);
    QCOMPARE(home.read("kept"), kLab);
    QCOMPARE(home.read("lab.con"), QByteArray("Connection descriptor:   lab\n"
                                              "Connection IP address:   10.0.0.6\n"
                                              "Connection port number:  50002\n"));
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].code, 2);
    QCOMPARE(reports[0].address, QString("10.0.0.6"));
    QCOMPARE(reports[0].port, QString("50002"));
    QCOMPARE(reports[0].connectionFile, path);
    QVERIFY(reports[0].fileContent.contains("10.0.0.6"));
    QVERIFY(reports[0].dialogVisible);
    QVERIFY(!dialog.isVisible());
}

void TestConnectionDialogs::confirmRenamesAFileWithSpaces()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(home.write("my lab.con", "Connection descriptor:   my lab\n"));
    QCOMPARE(connectionFields(dialog), QString("mylab|127.0.0.1|50000"));
    dialog.show();
    press(dialog);
    QCOMPARE(home.names(), QStringList("mylab.con"));
    QVERIFY(home.read("mylab.con").startsWith("Connection descriptor:   mylab\n"));
}

void TestConnectionDialogs::confirmMovesAFileIntoTheConfigurationDirectory()
{
    const HomeFiles home;
    const QString outside = home.write("../outside.con", kLab);
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(outside);
    dialog.show();
    press(dialog);
    QVERIFY(!QFile::exists(outside));
    QCOMPARE(home.read("lab.con"), kLab);
}

void TestConnectionDialogs::confirmReportsWhatCannotBeWritten()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    QVector<Report> reports;
    recordReports(dialog, reports);
    dialog.receiveConnectionFileName(home.write("lab.con", kLab));
    dialog.show();
    fillInConnection(dialog, "no/lab", "10.0.0.6", "50001");
    press(dialog);
    QCOMPARE(home.names(), QStringList());
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports[0].address, QString("10.0.0.6"));
    QCOMPARE(reports[0].connectionFile, home.pathOf("no/lab.con"));
    QVERIFY(!dialog.isVisible());
}

void TestConnectionDialogs::confirmWithoutAFileWritesOne()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.receiveConnectionFileName(home.pathOf("missing.con"));
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    press(dialog);
    QCOMPARE(home.read("lab.con"), kLab);
}

void TestConnectionDialogs::acceptingIsConfirmingToo()
{
    const HomeFiles home;
    ConnectionDialog dialog;
    dialog.show();
    fillInConnection(dialog, "lab", "10.0.0.5", "50001");
    dialog.accept();
    QCOMPARE(home.read("lab.con"), kLab);
}

ZUL_QTEST(TestConnectionDialogs)
#include "connectiondialogs_test.moc"
