#include "caccess.h"
#include "cainput.h"
#include "cdevice.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "devicefiles.h"
#include "homefiles.h"
#include "language.h"
#include "mainwindow.h"
#include "panelview.h"
#include "qttestmain.h"

#include <QDomDocument>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QProcess>
#include <QSpinBox>

namespace {

const char* const kVariables[] = {"LC_ALL", "LC_MESSAGES", "LANG", "LANGUAGE"};

/// The environment's variables of the locale, which come back with the end of this object.
class LocaleVariables
{
public:
    explicit LocaleVariables(const QStringList& values)
    {
        for (const char* variable : kVariables) {
            mFormer.append(qgetenv(variable));
            qputenv(variable, values.at(mFormer.size() - 1).toLocal8Bit());
        }
    }
    ~LocaleVariables()
    {
        for (int i = 0; i < mFormer.size(); ++i) {
            qputenv(kVariables[i], mFormer.at(i));
        }
    }
    LocaleVariables(const LocaleVariables&) = delete;
    LocaleVariables& operator=(const LocaleVariables&) = delete;

private:
    QList<QByteArray> mFormer;
};

struct Message
{
    QString context;
    QString source;
    QString translation;
    QString state; ///< empty when finished
};

QList<Message> messagesOf(const QString& path)
{
    QList<Message> messages;
    QDomDocument document;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file)) {
        return messages;
    }
    const QDomNodeList found = document.elementsByTagName("message");
    for (int i = 0; i < found.size(); ++i) {
        const QDomElement message = found.at(i).toElement();
        const QDomElement translation = message.firstChildElement("translation");
        messages.append({message.parentNode().firstChildElement("name").text(),
                         message.firstChildElement("source").text(), translation.text(),
                         translation.attribute("type")});
    }
    return messages;
}

QString translationFile(const QString& language)
{
    return QStringLiteral(TRANSLATIONS_DIRECTORY "/zulbench_%1.ts").arg(language);
}

/// What the end of a text means to the reader: a caption, a question to come, room for a number.
QString ending(const QString& text)
{
    for (const char* end : {"...", ":", " ", "."}) {
        if (text.endsWith(end)) {
            return end;
        }
    }
    return {};
}

QStringList tabTitles(const QTabWidget& tabs)
{
    QStringList titles;
    for (int i = 0; i < tabs.count(); ++i) {
        titles.append(tabs.tabText(i));
    }
    return titles;
}

} // namespace

/// The program in other languages than the one that it is written in.
class TestLanguage : public QObject
{
    Q_OBJECT

private slots:
    void theEnvironmentNamesTheLanguage_data();
    void theEnvironmentNamesTheLanguage();
    void theFirstLanguageThatIsThereIsTaken_data();
    void theFirstLanguageThatIsThereIsTaken();
    void theTranslationsHoldEveryTextOfTheSources_data();
    void theTranslationsHoldEveryTextOfTheSources();
    void everyTextIsTranslated_data();
    void everyTextIsTranslated();
    void windowAndPanelAreShownInTheLanguage();
    void theTextsComeBackWithTheEndOfTheLanguage();
    void qtsOwnTextsFollow();
    void recordsKeepTheirTexts();
    void filesAreTheSameInEveryLanguage();
};

void TestLanguage::theEnvironmentNamesTheLanguage_data()
{
    QTest::addColumn<QStringList>("values");
    QTest::addColumn<QString>("code");
    const auto row = [](const char* name, const QStringList& values, const char* code) {
        QTest::newRow(name) << values << QString(code);
    };
    row("nothing", {"", "", "", ""}, "en");
    row("C", {"C", "", "de_DE.UTF-8", ""}, "en");
    row("C.UTF-8", {"", "", "C.UTF-8", ""}, "en");
    row("POSIX", {"POSIX", "", "", "de"}, "en");
    row("C against a list", {"", "", "C", "de:es"}, "en");
    row("English", {"", "", "en_GB.UTF-8", ""}, "en");
    row("German", {"", "", "de_DE.UTF-8", ""}, "de");
    row("Austria", {"", "", "de_AT.UTF-8", ""}, "de");
    row("Mexico", {"", "", "es_MX.UTF-8", ""}, "es");
    row("a language that is not there", {"", "", "fi_FI.UTF-8", ""}, "en");
    row("texts apart from the rest", {"", "es_ES.UTF-8", "de_DE.UTF-8", ""}, "es");
    row("all", {"es_ES.UTF-8", "de_DE.UTF-8", "de_DE.UTF-8", ""}, "es");
    row("a list", {"", "", "fi_FI.UTF-8", "fi:es:de"}, "es");
    row("a list that begins with English", {"", "", "en_US.UTF-8", "en_US:de"}, "en");
}

void TestLanguage::theEnvironmentNamesTheLanguage()
{
    QFETCH(QStringList, values);
    const LocaleVariables variables(values);
    const cLanguage language(cLanguage::wantedByUser());
    QTEST(language.code(), "code");
}

void TestLanguage::theFirstLanguageThatIsThereIsTaken_data()
{
    QTest::addColumn<QStringList>("wanted");
    QTest::addColumn<QString>("code");
    QTest::newRow("none") << QStringList{} << "en";
    QTest::newRow("the first") << QStringList{"es_AR.UTF-8", "de"} << "es";
    QTest::newRow("the second") << QStringList{"fi_FI", "fi", "de_CH@euro"} << "de";
    QTest::newRow("English before") << QStringList{"en_GB", "de"} << "en";
    QTest::newRow("nonsense") << QStringList{"", "../../zulbench_de", "x"} << "en";
}

void TestLanguage::theFirstLanguageThatIsThereIsTaken()
{
    QFETCH(QStringList, wanted);
    const cLanguage language(wanted);
    QTEST(language.code(), "code");
}

void TestLanguage::theTranslationsHoldEveryTextOfTheSources_data()
{
    QTest::addColumn<QString>("language");
    QTest::newRow("German") << "de";
    QTest::newRow("Spanish") << "es";
}

void TestLanguage::theTranslationsHoldEveryTextOfTheSources()
{
    QFETCH(QString, language);
    const QTemporaryDir directory;
    const QString copy = directory.filePath("updated.ts");
    QVERIFY(QFile::copy(translationFile(language), copy));
    QProcess update;
    update.start(LUPDATE_PROGRAM,
                 {"-silent", "-locations", "none", "-no-obsolete", SOURCE_DIRECTORY, "-ts", copy});
    QVERIFY(update.waitForFinished(60000));
    QCOMPARE(update.exitCode(), 0);
    QFile updated(copy);
    QFile kept(translationFile(language));
    QVERIFY(updated.open(QIODevice::ReadOnly));
    QVERIFY(kept.open(QIODevice::ReadOnly));
    QVERIFY2(updated.readAll() == kept.readAll(),
             "run: cmake --build --preset release --target update-translations");
}

void TestLanguage::everyTextIsTranslated_data() { theTranslationsHoldEveryTextOfTheSources_data(); }

void TestLanguage::everyTextIsTranslated()
{
    QFETCH(QString, language);
    // An address, a port number and a unit are no words.
    const QStringList values{"127.0.0.1", "50000", "fT %"};
    const QList<Message> messages = messagesOf(translationFile(language));
    QVERIFY(messages.size() > 100);
    for (const Message& message : messages) {
        const QByteArray text = (message.context + ": " + message.source).toLocal8Bit();
        QVERIFY2(message.state.isEmpty(), text.constData());
        QVERIFY2(!message.translation.isEmpty(), text.constData());
        QVERIFY2(ending(message.translation) == ending(message.source), text.constData());
        QVERIFY2(message.translation.count("%") == message.source.count("%"), text.constData());
        if (values.contains(message.source)) {
            QCOMPARE(message.translation, message.source);
        }
    }
}

void TestLanguage::windowAndPanelAreShownInTheLanguage()
{
    const HomeFiles home;
    const cLanguage language({"de"});
    MainWindow window;
    QCOMPARE(window.windowTitle(), QString("Hauptmenü"));
    QStringList menus;
    for (const QAction* action : window.menuBar()->actions()) {
        menus.append(action->text());
    }
    QCOMPARE(menus, (QStringList{"Datei", "Bearbeiten", "Skripte"}));
    QVERIFY(window.openDeviceFile(home.write("Panel.dev", kPanel7)));
    const auto* panel = qobject_cast<QTabWidget*>(window.centralWidget());
    QCOMPARE(tabTitles(*panel), (QStringList{"Digitale Eingänge", "Digitale Ausgänge", "Analoge Eingänge",
                                             "Analoge Ausgänge", "Verdrahtung digital", "Verdrahtung analog",
                                             "Zutrittsereignisse", "Ad-hoc-Ereignisse"}));
    const auto* scanner = panelview::row<cAccess>(*panel, panelview::ACCESS, 1);
    QCOMPARE(scanner->findChild<QLabel*>()->text(), QString("LESER 1"));
}

void TestLanguage::theTextsComeBackWithTheEndOfTheLanguage()
{
    {
        const cLanguage language({"es"});
        QCOMPARE(MainWindow::tr("File"), QString("Archivo"));
    }
    QCOMPARE(MainWindow::tr("File"), QString("File"));
}

void TestLanguage::qtsOwnTextsFollow()
{
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QString("Cancel"));
    const cLanguage language({"de"});
    QCOMPARE(QCoreApplication::translate("QPlatformTheme", "Cancel"), QString("Abbrechen"));
}

void TestLanguage::recordsKeepTheirTexts()
{
    const cLanguage language({"de"});
    char label[] = "Panel";
    cDevice device(1, 1, 1, 1, 1, label, "TYPE_DISCRETE_IO", 1, 1001);
    const auto* scanner = panelview::row<cAccess>(device, panelview::ACCESS, 1);
    QCOMPARE(scanner->getLabel(), "SCANNER 1");
    const auto* input = panelview::row<cAInput>(device, panelview::ANALOG_INPUTS, 1);
    QCOMPARE(input->getPortLabel(), "AIN 1");
    QCOMPARE(input->getDisplayUnit(), "fT %");
}

void TestLanguage::filesAreTheSameInEveryLanguage()
{
    const HomeFiles home;
    const cLanguage language({"es"});
    createConnectionDialog connection;
    connection.findChild<QLineEdit*>("connectDescriptor")->setText("lab");
    connection.accept();
    QCOMPARE(home.read("lab.con"), QByteArray("Connection descriptor:   lab\n"
                                              "Connection IP address:   127.0.0.1\n"
                                              "Connection port number:  50000\n"));
    createdialog device;
    device.findChild<QSpinBox*>("discInputs")->setValue(99);
    device.findChild<QLineEdit*>("devLabel")->setText("Panel7");
    device.findChild<QLineEdit*>("devVersion")->setText("3");
    device.findChild<QLineEdit*>("devSerial")->setText("1001");
    device.accept();
    QCOMPARE(home.read("Panel7.dev"), QByteArray("Digital input(s):    99\n"
                                                 "Digital output(s):   0\n"
                                                 "Analog input(s):     0\n"
                                                 "Analog output(s):    0\n"
                                                 "Scanner(s):          1\n"
                                                 "Device type:         TYPE_DISCRETE_IO\n"
                                                 "Device version:      3\n"
                                                 "Device serial:       1001\n"
                                                 "Device label:        Panel7\n"));
}

ZUL_QTEST(TestLanguage)
#include "language_test.moc"
