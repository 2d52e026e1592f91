#include "caccess.h"
#include "cadhoc.h"
#include "panelview.h"
#include "qttestmain.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QSignalSpy>

namespace {

QPushButton* button(const QWidget& row) { return row.findChild<QPushButton*>(); }

/// The fields of an ad-hoc editor by the titles of their groups.
template <class Control>
Control* field(const cAdHocEvent& editor, const QString& title)
{
    for (const QGroupBox* group : editor.findChildren<QGroupBox*>()) {
        if (group->title() == title) {
            return group->findChild<Control*>();
        }
    }
    return nullptr;
}

void fill(const cAdHocEvent& editor, int id, const QString& label, const QString& value)
{
    field<QSpinBox>(editor, "Event ID")->setValue(id);
    field<QLineEdit>(editor, "Event Label")->setText(label);
    field<QLineEdit>(editor, "Event Value")->setText(value);
}

void expectTrace(const char* serial, const char* id, const char* label, const char* value)
{
    const QByteArray text = QByteArray("Sending Ad hoc event: \nDevice Serial: 0x ") + serial +
                            " \nEvent ID:  " + id + " \nEvent Label: " + label + " \nEvent Value: " + value +
                            " \n";
    QTest::ignoreMessage(QtDebugMsg, text);
}

} // namespace

class TestEventWidgets : public QObject
{
    Q_OBJECT

private slots:
    void aScannersMethodsStandInTheirOrder();
    void aScannersRow();
    void aScannersLabelStandsOnTheRowAndInTheRecord();
    void aNewScannersCodeIsNotSet();
    void anEmptyFieldIsSentAsAnEmptyCode();
    void aScannerReportsItsNumberAsItIs();
    void aScannersFieldKeepsWhatWasSent();

    void theEditorsMethodsStandInTheirOrder();
    void theEditorsForm();
    void tabGoesThroughTheEditorFromLeftToRight();
    void theEventIdStaysInItsRange_data();
    void theEventIdStaysInItsRange();
    void theEditorSendsWhatStandsInIt();
    void theEditorsLabelStandsInTheFormAndInTheRecord();
    void theTraceIsHexadecimal_data();
    void theTraceIsHexadecimal();
    void theEditorKeepsWhatWasSent();
};

void TestEventWidgets::aScannersMethodsStandInTheirOrder()
{
    QCOMPARE(panelview::ownMethods(cAccess::staticMetaObject),
             QStringList({"signal send_accesss_evnt(int)", "slot EvtBtnClicked()"}));
}

void TestEventWidgets::aScannersRow()
{
    const cAccess scanner;
    QCOMPARE(panelview::cells(&scanner), QStringList({"", "QLineEdit", "QPushButton"}));
    QCOMPARE(panelview::fixedWidth(scanner.findChild<QLineEdit*>()), 500);
    QCOMPARE(scanner.findChild<QLineEdit*>()->text(), QString());
    QCOMPARE(button(scanner)->text(), QString("Send Event"));
}

void TestEventWidgets::aScannersLabelStandsOnTheRowAndInTheRecord()
{
    cAccess scanner;
    scanner.setLabel("SCANNER 2");
    QCOMPARE(panelview::cells(&scanner).first(), QString("SCANNER 2"));
    QCOMPARE(QByteArray(scanner.getLabel()), QByteArray("SCANNER 2"));
}

void TestEventWidgets::aNewScannersCodeIsNotSet()
{
    const cAccess scanner;
    QVERIFY(scanner.getScanCode() == nullptr);
}

void TestEventWidgets::anEmptyFieldIsSentAsAnEmptyCode()
{
    cAccess scanner;
    scanner.setPortNum(3);
    QSignalSpy reports(&scanner, SIGNAL(send_accesss_evnt(int)));
    button(scanner)->click();
    QCOMPARE(reports, QList<QVariantList>({{3}}));
    QVERIFY(scanner.getScanCode() != nullptr);
    QCOMPARE(QByteArray(scanner.getScanCode()), QByteArray(""));
}

void TestEventWidgets::aScannerReportsItsNumberAsItIs()
{
    cAccess scanner;
    scanner.setPortNum(1);
    scanner.findChild<QLineEdit*>()->setText(QString::fromUtf8("A\xc3\xa4-17"));
    QSignalSpy reports(&scanner, SIGNAL(send_accesss_evnt(int)));
    button(scanner)->click();
    QCOMPARE(reports, QList<QVariantList>({{1}}));
    QCOMPARE(QByteArray(scanner.getScanCode()), QString::fromUtf8("A\xc3\xa4-17").toLocal8Bit());
}

void TestEventWidgets::aScannersFieldKeepsWhatWasSent()
{
    cAccess scanner;
    QSignalSpy reports(&scanner, SIGNAL(send_accesss_evnt(int)));
    scanner.findChild<QLineEdit*>()->setText("17");
    button(scanner)->click();
    button(scanner)->click();
    QCOMPARE(reports.size(), 2);
    QCOMPARE(scanner.findChild<QLineEdit*>()->text(), QString("17"));
    QCOMPARE(QByteArray(scanner.getScanCode()), QByteArray("17"));
}

void TestEventWidgets::theEditorsMethodsStandInTheirOrder()
{
    QCOMPARE(panelview::ownMethods(cAdHocEvent::staticMetaObject),
             QStringList({"signal send_adhoc_evnt(int)", "slot EvtBtnClicked()"}));
}

void TestEventWidgets::theEditorsForm()
{
    const cAdHocEvent editor;
    const auto* grid = qobject_cast<QGridLayout*>(editor.layout());
    QVERIFY(grid != nullptr);
    QCOMPARE(grid->rowCount(), 1);
    QCOMPARE(grid->columnCount(), 4);
    const QStringList titles{"Event ID", "Event Label", "Event Value", "Send"};
    for (int column = 0; column < 4; ++column) {
        const auto* group = qobject_cast<QGroupBox*>(grid->itemAtPosition(0, column)->widget());
        QCOMPARE(group->title(), titles[column]);
        QVERIFY(qobject_cast<QVBoxLayout*>(group->layout()) != nullptr);
        QCOMPARE(group->layout()->count(), 1);
    }
    QCOMPARE(field<QSpinBox>(editor, "Event ID")->value(), 1);
    QCOMPARE(field<QLineEdit>(editor, "Event Label")->text(), QString());
    QCOMPARE(field<QLineEdit>(editor, "Event Value")->text(), QString());
    QCOMPARE(field<QPushButton>(editor, "Send")->text(), QString("Send Event"));
}

void TestEventWidgets::tabGoesThroughTheEditorFromLeftToRight()
{
    const cAdHocEvent editor;
    QWidget* const fields[] = {field<QSpinBox>(editor, "Event ID"), field<QLineEdit>(editor, "Event Label"),
                               field<QLineEdit>(editor, "Event Value"), button(editor)};
    for (size_t i = 0; i + 1 < std::size(fields); ++i) {
        const QWidget* next = fields[i]->nextInFocusChain();
        while ((next->focusPolicy() & Qt::TabFocus) == 0 || next->focusProxy() != nullptr) {
            next = next->nextInFocusChain();
        }
        QCOMPARE(next, fields[i + 1]);
    }
}

void TestEventWidgets::theEventIdStaysInItsRange_data()
{
    QTest::addColumn<int>("wanted");
    QTest::addColumn<int>("id");
    QTest::newRow("not below 1") << 0 << 1;
    QTest::newRow("not above 99") << 100 << 99;
    QTest::newRow("1") << 1 << 1;
    QTest::newRow("99") << 99 << 99;
}

void TestEventWidgets::theEventIdStaysInItsRange()
{
    QFETCH(int, wanted);
    const cAdHocEvent editor;
    field<QSpinBox>(editor, "Event ID")->setValue(wanted);
    QTEST(field<QSpinBox>(editor, "Event ID")->value(), "id");
}

void TestEventWidgets::theEditorsLabelStandsInTheFormAndInTheRecord()
{
    cAdHocEvent editor;
    char label[] = "door";
    editor.setLabel(label);
    QCOMPARE(field<QLineEdit>(editor, "Event Label")->text(), QString("door"));
    QCOMPARE(editor.getEventLabel(), "door");
}

void TestEventWidgets::theEditorSendsWhatStandsInIt()
{
    cAdHocEvent editor;
    QSignalSpy reports(&editor, SIGNAL(send_adhoc_evnt(int)));
    fill(editor, 42, "door", "open");
    expectTrace("0", "2a", "door", "open");
    button(editor)->click();
    QCOMPARE(reports, QList<QVariantList>({{0}}));
    QCOMPARE(editor.getPortId(), 42U);
    QCOMPARE(QByteArray(editor.getEventLabel()), QByteArray("door"));
    QCOMPARE(QByteArray(editor.getEventValue()), QByteArray("open"));
}

void TestEventWidgets::theTraceIsHexadecimal_data()
{
    QTest::addColumn<uint32_t>("serial");
    QTest::addColumn<int>("id");
    QTest::addColumn<QByteArray>("shownSerial");
    QTest::addColumn<QByteArray>("shownId");
    QTest::newRow("id 10 is a") << 0x3E9U << 10 << QByteArray("3e9") << QByteArray("a");
    QTest::newRow("id 99 is 63") << 0xFFFFFFFFU << 99 << QByteArray("ffffffff") << QByteArray("63");
}

void TestEventWidgets::theTraceIsHexadecimal()
{
    QFETCH(uint32_t, serial);
    QFETCH(int, id);
    QFETCH(QByteArray, shownSerial);
    QFETCH(QByteArray, shownId);
    cAdHocEvent editor;
    editor.setDeviceSerial(serial);
    QSignalSpy reports(&editor, SIGNAL(send_adhoc_evnt(int)));
    fill(editor, id, "", "");
    expectTrace(shownSerial, shownId, "", "");
    button(editor)->click();
    QCOMPARE(reports, QList<QVariantList>({{0}}));
}

void TestEventWidgets::theEditorKeepsWhatWasSent()
{
    const cAdHocEvent editor;
    fill(editor, 5, "door", "open");
    for (int time = 0; time < 2; ++time) {
        expectTrace("0", "5", "door", "open");
        button(editor)->click();
    }
    QCOMPARE(field<QSpinBox>(editor, "Event ID")->value(), 5);
    QCOMPARE(field<QLineEdit>(editor, "Event Label")->text(), QString("door"));
    QCOMPARE(field<QLineEdit>(editor, "Event Value")->text(), QString("open"));
}

ZUL_QTEST(TestEventWidgets)
#include "eventwidgets_test.moc"
