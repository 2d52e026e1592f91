#include "additemsdialog.h"
#include "configpropertiesdialog.h"
#include "connectiondialog.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "devicefiles.h"
#include "homefiles.h"
#include "language.h"
#include "mainwindow.h"
#include "qttestmain.h"
#include "removeitemdialog.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleOption>

namespace {

/// The width that the text of @p widget takes; 0 if it shows none.
int textWidth(const QWidget* widget)
{
    const auto* group = qobject_cast<const QGroupBox*>(widget);
    const auto* combo = qobject_cast<const QComboBox*>(widget);
    QString text = group != nullptr   ? group->title()
                   : combo != nullptr ? combo->currentText()
                                      : widget->property("text").toString();
    // The key that leads to the control.
    text.remove(QLatin1Char('&'));
    return widget->fontMetrics().horizontalAdvance(text);
}

/// The width that @p widget leaves to its text.
int roomFor(const QWidget* widget)
{
    if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
        QStyleOptionFrame option;
        option.initFrom(edit);
        option.lineWidth = edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit);
        return edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).width();
    }
    if (qobject_cast<const QPushButton*>(widget) != nullptr) {
        QStyleOptionButton option;
        option.initFrom(widget);
        return widget->style()->subElementRect(QStyle::SE_PushButtonContents, &option, widget).width();
    }
    if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
        QStyleOptionComboBox option;
        option.initFrom(combo);
        return combo->style()
            ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo)
            .width();
    }
    return widget->contentsRect().width();
}

/// The visible widgets within @p window whose text is wider than they are.
QString cutTexts(const QWidget& window)
{
    QStringList cut;
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        if (widget->isVisible() && textWidth(widget) > roomFor(widget)) {
            cut.append(QString("%1 '%2': %3 of %4")
                           .arg(widget->metaObject()->className(), widget->property("text").toString())
                           .arg(roomFor(widget))
                           .arg(textWidth(widget)));
        }
    }
    return cut.join('\n');
}

/// The visible siblings that lie on each other.
QString overlaps(const QWidget& window)
{
    QStringList found;
    const QList<QWidget*> children = window.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    for (int i = 0; i < children.size(); ++i) {
        for (int j = i + 1; j < children.size(); ++j) {
            if (children[i]->geometry().intersects(children[j]->geometry())) {
                found.append(children[i]->objectName() + " and " + children[j]->objectName());
            }
        }
    }
    return found.join('\n');
}

template <class Dialog>
std::unique_ptr<QDialog> form()
{
    return std::make_unique<Dialog>();
}

template <class Dialog, int kType>
std::unique_ptr<QDialog> itemsForm()
{
    auto dialog = std::make_unique<Dialog>();
    dialog->receiveInstruction(kType, "/d/Panel.dev");
    return dialog;
}

void addRow(const char* language, const char* name, std::unique_ptr<QDialog> (*make)())
{
    QTest::addRow("%s, %s", name, language) << QString(language) << make;
}

const char* const kLanguages[] = {"en", "de", "es"};

} // namespace

using DialogMaker = std::unique_ptr<QDialog> (*)();
Q_DECLARE_METATYPE(DialogMaker)

/// Runs at the resolution that QT_FONT_DPI asks for.
class TestTextsFit : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void theResolutionIsTheOneAskedFor();
    void inEveryForm_data();
    void inEveryForm();
    void onEveryPage_data();
    void onEveryPage();
};

void TestTextsFit::initTestCase()
{
    // The font of a desktop that asks for none.
    QApplication::setFont(QFont(QStringLiteral("Sans Serif"), 9));
}

void TestTextsFit::theResolutionIsTheOneAskedFor()
{
    QCOMPARE(QWidget().logicalDpiX(), qEnvironmentVariableIntValue("QT_FONT_DPI"));
}

void TestTextsFit::inEveryForm_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<DialogMaker>("make");
    for (const char* language : kLanguages) {
        addRow(language, "a new device", form<createdialog>);
        addRow(language, "the device's properties", form<configPropertiesDialog>);
        addRow(language, "a new connection", form<createConnectionDialog>);
        addRow(language, "the connection's properties", form<ConnectionDialog>);
        addRow(language, "adding digital inputs", itemsForm<addItemsDialog, 1>);
        addRow(language, "adding digital outputs", itemsForm<addItemsDialog, 2>);
        addRow(language, "adding analog inputs", itemsForm<addItemsDialog, 3>);
        addRow(language, "adding analog outputs", itemsForm<addItemsDialog, 4>);
        addRow(language, "adding scanners", itemsForm<addItemsDialog, 5>);
        addRow(language, "removing digital inputs", itemsForm<removeItemDialog, 1>);
        addRow(language, "removing digital outputs", itemsForm<removeItemDialog, 2>);
        addRow(language, "removing analog inputs", itemsForm<removeItemDialog, 3>);
        addRow(language, "removing analog outputs", itemsForm<removeItemDialog, 4>);
        addRow(language, "removing scanners", itemsForm<removeItemDialog, 5>);
    }
}

void TestTextsFit::inEveryForm()
{
    QFETCH(QString, language);
    QFETCH(DialogMaker, make);
    const cLanguage texts({language});
    const std::unique_ptr<QDialog> dialog = make();
    dialog->show();
    QVERIFY(QTest::qWaitForWindowExposed(dialog.get()));
    QCOMPARE(cutTexts(*dialog), QString());
    QCOMPARE(overlaps(*dialog), QString());
}

void TestTextsFit::onEveryPage_data()
{
    QTest::addColumn<QString>("language");
    for (const char* language : kLanguages) {
        QTest::newRow(language) << QString(language);
    }
}

void TestTextsFit::onEveryPage()
{
    QFETCH(QString, language);
    const cLanguage texts({language});
    const HomeFiles home;
    MainWindow window;
    QVERIFY(window.openDeviceFile(home.write("Panel7.dev", kPanel7)));
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.device()->count(), 8);
    for (int page = 0; page < window.device()->count(); ++page) {
        window.device()->setCurrentIndex(page);
        // A page is laid out once it is shown.
        QTRY_COMPARE(cutTexts(window), QString());
    }
}

ZUL_QTEST(TestTextsFit)
#include "textsfit_test.moc"
