#include "additemsdialog.h"
#include "configpropertiesdialog.h"
#include "connectiondialog.h"
#include "createconnectiondialog.h"
#include "createdialog.h"
#include "devicefiles.h"
#include "homefiles.h"
#include "mainwindow.h"
#include "qttestmain.h"
#include "removeitemdialog.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressBar>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QToolBar>
#include <QToolButton>
#include <cmath>
#include <memory>

using Maker = std::unique_ptr<QWidget> (*)();
Q_DECLARE_METATYPE(Maker)

namespace {

template <class Dialog>
std::unique_ptr<QWidget> dialog()
{
    return std::make_unique<Dialog>();
}

template <class Dialog>
std::unique_ptr<QWidget> itemsDialog()
{
    auto dialog = std::make_unique<Dialog>();
    dialog->receiveInstruction(1, "/d/Panel.dev");
    return dialog;
}

/// The window with Panel7 loaded, shown and active.
struct PanelWindow
{
    PanelWindow()
    {
        window.openDeviceFile(home.write("Panel7.dev", kPanel7));
        window.show();
        QTest::qVerify(QTest::qWaitForWindowActive(&window), "active", "", __FILE__, __LINE__);
    }

    HomeFiles home;
    MainWindow window;
};

/// What a person works with, apart from the parts that it is itself made of.
bool isControl(const QWidget* widget)
{
    const auto* edit = qobject_cast<const QLineEdit*>(widget);
    if (edit != nullptr) {
        return qobject_cast<const QAbstractSpinBox*>(edit->parent()) == nullptr;
    }
    return qobject_cast<const QAbstractSpinBox*>(widget) != nullptr ||
           qobject_cast<const QComboBox*>(widget) != nullptr ||
           qobject_cast<const QSlider*>(widget) != nullptr ||
           qobject_cast<const QAbstractButton*>(widget) != nullptr;
}

QList<QWidget*> controls(const QWidget& within)
{
    QList<QWidget*> found;
    for (QWidget* widget : within.findChildren<QWidget*>()) {
        if (widget->isVisible() && isControl(widget)) {
            found.append(widget);
        }
    }
    return found;
}

QString describe(const QWidget* widget)
{
    return QString("%1 '%2' %3")
        .arg(widget->metaObject()->className(), widget->objectName(), widget->accessibleName());
}

bool hasBuddy(const QWidget& window, const QWidget* field)
{
    const QList<QLabel*> labels = window.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(),
                       [field](const QLabel* label) { return label->buddy() == field; });
}

QString spokenName(QWidget* widget)
{
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

/// The controls that the Tab key comes by, beginning with the one that has the focus.
QList<QWidget*> walk(QWidget& window)
{
    QList<QWidget*> visited;
    QWidget* const first = QApplication::focusWidget();
    do {
        if (isControl(QApplication::focusWidget())) {
            visited.append(QApplication::focusWidget());
        }
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    } while (QApplication::focusWidget() != first && visited.size() < 100 && window.isActiveWindow());
    return visited;
}

/// Whether @p b stands below @p a or to the right of it in the same row.
bool follows(const QWidget* a, const QWidget* b)
{
    const QPoint first = a->mapToGlobal(a->rect().center());
    const QPoint second = b->mapToGlobal(b->rect().center());
    const bool sameRow = std::abs(first.y() - second.y()) < 10;
    return sameRow ? first.x() < second.x() : first.y() < second.y();
}

/// The contrast of two colours, from 1 to 21, as WCAG 2.1 defines it.
double contrast(const QColor& a, const QColor& b)
{
    const auto luminance = [](const QColor& colour) {
        const auto part = [](qreal c) {
            return c <= 0.03928 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(colour.redF()) + 0.7152 * part(colour.greenF()) + 0.0722 * part(colour.blueF());
    };
    const double lighter = std::max(luminance(a), luminance(b));
    const double darker = std::min(luminance(a), luminance(b));
    return (lighter + 0.05) / (darker + 0.05);
}

QPalette darkPalette()
{
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::WindowText, Qt::white);
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::Text, Qt::white);
    palette.setColor(QPalette::ButtonText, Qt::white);
    return palette;
}

} // namespace

class TestAccessibility : public QObject
{
    Q_OBJECT

private slots:
    void everyFieldOfADialogHasALabel_data();
    void everyFieldOfADialogHasALabel();
    void theTabKeyFollowsTheEyeThroughADialog_data();
    void theTabKeyFollowsTheEyeThroughADialog();
    void everyControlHasAName_data();
    void everyControlHasAName();
    void theTabKeyFollowsTheEyeThroughAPage_data();
    void theTabKeyFollowsTheEyeThroughAPage();
    void everyRowsLabelLeadsToItsControl();
    void everyBarHasAName();
    void connectIsReachedAndPressedByKeys();
    void pagesAreTurnedByKeys();
    void aNameSaysWhatTheButtonShows();
    void textsStayReadableOnBothColours_data();
    void textsStayReadableOnBothColours();
};

void TestAccessibility::everyFieldOfADialogHasALabel_data()
{
    QTest::addColumn<Maker>("make");
    QTest::newRow("create a device") << Maker(dialog<createdialog>);
    QTest::newRow("device properties") << Maker(dialog<configPropertiesDialog>);
    QTest::newRow("create a connection") << Maker(dialog<createConnectionDialog>);
    QTest::newRow("connection properties") << Maker(dialog<ConnectionDialog>);
    QTest::newRow("add items") << Maker(itemsDialog<addItemsDialog>);
    QTest::newRow("remove items") << Maker(itemsDialog<removeItemDialog>);
}

void TestAccessibility::everyFieldOfADialogHasALabel()
{
    QFETCH(Maker, make);
    const std::unique_ptr<QWidget> dialog = make();
    dialog->show();
    const QList<QWidget*> found = controls(*dialog);
    QVERIFY(found.size() >= 2);
    for (QWidget* control : found) {
        const bool button = qobject_cast<QAbstractButton*>(control) != nullptr;
        QVERIFY2(button || hasBuddy(*dialog, control), qPrintable(describe(control)));
        QVERIFY2(!spokenName(control).isEmpty(), qPrintable(describe(control)));
    }
}

void TestAccessibility::theTabKeyFollowsTheEyeThroughADialog_data() { everyFieldOfADialogHasALabel_data(); }

void TestAccessibility::theTabKeyFollowsTheEyeThroughADialog()
{
    QFETCH(Maker, make);
    const std::unique_ptr<QWidget> dialog = make();
    dialog->show();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    // The first Tab of a window without a focus leads to the first control.
    if (dialog->focusWidget() == nullptr) {
        QTest::keyClick(dialog.get(), Qt::Key_Tab);
    }
    const QList<QWidget*> visited = walk(*dialog);
    QCOMPARE(visited.size(), controls(*dialog).size());
    for (int i = 1; i < visited.size(); ++i) {
        QVERIFY2(follows(visited[i - 1], visited[i]), qPrintable(describe(visited[i])));
    }
}

void TestAccessibility::everyControlHasAName_data()
{
    QTest::addColumn<int>("page");
    const PanelWindow panel;
    for (int page = 0; page < panel.window.device()->count(); ++page) {
        QTest::newRow(qPrintable(panel.window.device()->tabText(page))) << page;
    }
}

void TestAccessibility::everyControlHasAName()
{
    QFETCH(int, page);
    PanelWindow panel;
    panel.window.device()->setCurrentIndex(page);
    const QList<QWidget*> found = controls(*panel.window.device()->currentWidget());
    const bool onlyBars = panel.window.device()->tabText(page).endsWith("Outputs");
    QCOMPARE(found.isEmpty(), onlyBars);
    for (QWidget* control : found) {
        QVERIFY2(!spokenName(control).isEmpty(), qPrintable(describe(control)));
        // A combo box speaks its choice; its own name is beside it.
        QVERIFY2(qobject_cast<QComboBox*>(control) == nullptr || !control->accessibleName().isEmpty(),
                 qPrintable(describe(control)));
    }
}

void TestAccessibility::theTabKeyFollowsTheEyeThroughAPage_data() { everyControlHasAName_data(); }

void TestAccessibility::theTabKeyFollowsTheEyeThroughAPage()
{
    QFETCH(int, page);
    PanelWindow panel;
    cDevice* device = panel.window.device();
    device->setCurrentIndex(page);
    device->tabBar()->setFocus();
    QList<QWidget*> visited;
    for (QWidget* control : walk(panel.window)) {
        if (device->currentWidget()->isAncestorOf(control)) {
            visited.append(control);
        }
    }
    for (int i = 1; i < visited.size(); ++i) {
        QVERIFY2(follows(visited[i - 1], visited[i]), qPrintable(describe(visited[i])));
    }
    // Of a group of radio buttons the Tab key visits one, and a disabled box is left out.
    const bool wiring = device->tabText(page).endsWith("Connections");
    QCOMPARE(visited.size(), wiring ? 1 : controls(*device->currentWidget()).size());
}

void TestAccessibility::everyRowsLabelLeadsToItsControl()
{
    const PanelWindow panel;
    int buddies = 0;
    for (const QLabel* label : panel.window.device()->findChildren<QLabel*>()) {
        if (label->buddy() != nullptr) {
            QCOMPARE(label->buddy()->parent(), label->parent());
            QCOMPARE(label->buddy()->accessibleName(), label->text());
            ++buddies;
        }
    }
    // Four digital inputs, two analog ones and one scanner.
    QCOMPARE(buddies, 7);
}

void TestAccessibility::everyBarHasAName()
{
    const PanelWindow panel;
    QStringList names;
    for (const QProgressBar* bar : panel.window.device()->findChildren<QProgressBar*>()) {
        names.append(bar->accessibleName());
    }
    QCOMPARE(names, QStringList({"AOUT 1", "AOUT 2"}));
}

void TestAccessibility::connectIsReachedAndPressedByKeys()
{
    PanelWindow panel;
    panel.window.device()->tabBar()->setFocus();
    auto* bar = panel.window.findChild<QToolBar*>("mainToolBar");
    auto* action = panel.window.findChild<QAction*>("actionConnect");
    auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(action));
    QVERIFY(walk(panel.window).contains(button));
    button->setFocus();
    // Only the key's way to the action counts here.
    action->disconnect(&panel.window);
    QSignalSpy triggered(action, &QAction::triggered);
    QTest::keyClick(button, Qt::Key_Space);
    QCOMPARE(triggered.count(), 1);
}

void TestAccessibility::pagesAreTurnedByKeys()
{
    PanelWindow panel;
    cDevice* device = panel.window.device();
    device->tabBar()->setFocus();
    for (int page = 1; page < device->count(); ++page) {
        QTest::keyClick(device->tabBar(), Qt::Key_Right);
        QCOMPARE(device->currentIndex(), page);
    }
}

void TestAccessibility::aNameSaysWhatTheButtonShows()
{
    const PanelWindow panel;
    int named = 0;
    for (QAbstractButton* button : panel.window.device()->findChildren<QAbstractButton*>()) {
        if (!button->accessibleName().isEmpty()) {
            QVERIFY2(button->accessibleName().startsWith(button->text()), qPrintable(describe(button)));
            ++named;
        }
    }
    QVERIFY(named >= 2);
}

void TestAccessibility::textsStayReadableOnBothColours_data()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << QPalette(QColor(239, 239, 239));
    QTest::newRow("dark") << darkPalette();
}

void TestAccessibility::textsStayReadableOnBothColours()
{
    QFETCH(QPalette, palette);
    const QPalette former = QApplication::palette();
    QApplication::setPalette(palette);
    PanelWindow panel;
    auto* input = panel.window.device()->findChildren<QComboBox*>().first();
    int rows = 0;
    for (const int state : {0, 1}) {
        input->setCurrentIndex(state);
        const QWidget* row = input->parentWidget();
        const QColor ground = row->palette().color(QPalette::Window);
        QCOMPARE(ground, QColor(state == 0 ? Qt::green : Qt::red));
        for (const QLabel* label : row->findChildren<QLabel*>()) {
            // AA, the level for text of ordinary size.
            QVERIFY(contrast(label->palette().color(label->foregroundRole()), ground) >= 4.5);
            ++rows;
        }
        QVERIFY(contrast(input->palette().color(QPalette::ButtonText),
                         input->palette().color(QPalette::Button)) >= 4.5);
    }
    QApplication::setPalette(former);
    QCOMPARE(rows, 4);
}

ZUL_QTEST(TestAccessibility)
#include "accessibility_test.moc"
