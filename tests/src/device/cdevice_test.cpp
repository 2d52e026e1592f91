#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "consolecapture.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QMainWindow>
#include <QScrollBar>
#include <QSignalSpy>
#include <QWheelEvent>
#include <atomic>
#include <thread>
#include <type_traits>

static_assert(std::is_base_of_v<QTabWidget, cDevice> && std::is_base_of_v<cObjectDevice, cDevice> &&
              std::is_base_of_v<cObjectListener, cDevice>);

using panelview::ePage;

namespace {

const QStringList kTitles{"Digital Inputs",
                          "Digital Outputs",
                          "Analog Inputs",
                          "Analog Outputs",
                          "Digital Input and Output Connections",
                          "Analog Input and Output Connections",
                          "Access Events",
                          "Adhoc Events"};

QStringList tabTitles(const cDevice& device)
{
    QStringList titles;
    for (int i = 0; i < device.count(); ++i) {
        titles.append(device.tabText(i));
    }
    return titles;
}

/// A panel in a shown window of 1024 x 768.
class ShownPanel
{
public:
    explicit ShownPanel(std::unique_ptr<cDevice> device) : mDevice(device.get())
    {
        mWindow.setCentralWidget(device.release());
        mWindow.resize(1024, 768);
        mWindow.show();
    }

    bool isShown() { return QTest::qWaitForWindowExposed(&mWindow); }
    const QMainWindow& window() const { return mWindow; }
    cDevice& device() const { return *mDevice; }

    QScrollArea* open(int page)
    {
        mDevice->setCurrentIndex(page);
        QCoreApplication::sendPostedEvents();
        return panelview::frame(*mDevice, page);
    }

private:
    QMainWindow mWindow;
    cDevice* mDevice; // the window owns it
};

/// Where @p widget lies in the part of @p frame that the operator sees.
QRect seenAt(const QScrollArea* frame, const QWidget* widget)
{
    return QRect(widget->mapTo(frame->viewport(), QPoint(0, 0)), widget->size());
}

bool isSeen(const QScrollArea* frame, const QWidget* widget)
{
    return widget->isVisible() && frame->viewport()->rect().contains(seenAt(frame, widget));
}

/// The last thing on a page: its last row, or the last button of a wiring page's group.
QWidget* lastRow(const cDevice& device, int page)
{
    if (page == panelview::DIGITAL_WIRING || page == panelview::ANALOG_WIRING) {
        const QString name = page == panelview::DIGITAL_WIRING ? "digitalCheckBox_99" : "analogCheckBox_99";
        return device.findChild<QCheckBox*>(name);
    }
    return panelview::rows(device, page).last();
}

/// The selector or the slider of a page's second row.
QWidget* controlOf(const cDevice& device, int page)
{
    const QWidget* row = panelview::rows(device, page).at(1);
    if (auto* selector = row->findChild<QComboBox*>()) {
        return selector;
    }
    return row->findChild<QSlider*>();
}

int controlValue(const QWidget* control)
{
    const auto* selector = qobject_cast<const QComboBox*>(control);
    return selector != nullptr ? selector->currentIndex() : qobject_cast<const QSlider*>(control)->value();
}

void setControlValue(QWidget* control, int value)
{
    if (auto* selector = qobject_cast<QComboBox*>(control)) {
        selector->setCurrentIndex(value);
    } else {
        qobject_cast<QSlider*>(control)->setValue(value);
    }
}

/// Turns the wheel by one notch over the middle of @p widget, toward the operator where @p angle is negative.
void turnWheel(QWidget* widget, int angle = -120)
{
    const QPointF middle = widget->rect().center();
    QWheelEvent turn(middle, widget->mapToGlobal(middle.toPoint()), QPoint(0, 0), QPoint(0, angle),
                     Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    // Only an event from the outside gives the focus and is offered to the widgets around.
    QSpontaneKeyEvent::setSpontaneous(&turn);
    qApp->notify(widget, &turn);
}

QStringList buttonTexts(const QGroupBox* group)
{
    QStringList found;
    for (const QWidget* widget : panelview::widgets(group->layout())) {
        const auto* button = qobject_cast<const QAbstractButton*>(widget);
        found.append(
            QString("%1 %2 %3").arg(button->metaObject()->className(), button->text(), button->objectName()));
    }
    return found;
}

QGroupBox* wiringGroup(const cDevice& device, int page, int column)
{
    const auto* grid = qobject_cast<QGridLayout*>(panelview::page(device, page)->layout());
    return qobject_cast<QGroupBox*>(grid->itemAtPosition(0, column)->widget());
}

} // namespace

class TestDevice : public QObject
{
    Q_OBJECT

private slots:
    void theDevicesSignalsAndSlotsStandInTheirOrder();
    void gettersCanBeInvoked_data();
    void gettersCanBeInvoked();
    void aPlaceholderIsEmpty();
    void aPlaceholderShowsNothing();

    void theRecordTellsTheCountsAndTheIdentity();
    void theTypeIsAlwaysDiscrete_data();
    void theTypeIsAlwaysDiscrete();
    void theLabelIsCopied();

    void eightPagesWhateverTheCounts_data();
    void eightPagesWhateverTheCounts();
    void withoutPortsAPageHasItsHeaderOnly();
    void headers_data();
    void headers();
    void theScanCodesStandBelowTheirTitle();
    void everyPageScrollsWithinAFrame();
    void theAnalogInputsStandOnAScrollAreaItself();

    void digitalInputs();
    void digitalOutputs();
    void analogInputs();
    void analogOutputs();
    void scanners();
    void theAdHocEditorBearsTheDevicesSerial();
    void wiringGroups_data();
    void wiringGroups();

    void gettersForScripts();
    void gettersWorkFromAnotherThread();
    void ninetyNineOfEachKind();

    void theLastRowOfNinetyNineCanBeReached_data();
    void theLastRowOfNinetyNineCanBeReached();
    void aShortPageDoesNotScroll_data();
    void aShortPageDoesNotScroll();
    void theWheelOverAControlScrollsThePage_data();
    void theWheelOverAControlScrollsThePage();
    void theWheelMovesAControlThatHasTheFocus_data();
    void theWheelMovesAControlThatHasTheFocus();
};

void TestDevice::theDevicesSignalsAndSlotsStandInTheirOrder()
{
    const QStringList methods = panelview::ownMethods(cDevice::staticMetaObject);
    QCOMPARE(methods.mid(0, 4),
             QStringList({"signal digitalOutputUpdated(eObjectIOState)",
                          "signal analogOutputUpdated(cObjectAOutput*)", "signal setDigitalInput_Signal(int)",
                          "signal setAnalogInput_Signal(int)"}));
    QCOMPARE(methods.mid(4, 4), QStringList({"slot inputEvent(int)", "slot analogEvent(cObjectAnalogSample*)",
                                             "slot accesEvnt(int)", "slot adHocEvnt(int)"}));
}

void TestDevice::gettersCanBeInvoked_data()
{
    QTest::addColumn<QByteArray>("signature");
    for (const char* signature :
         {"getDiscreteInputCount()", "getDiscreteOutputCount()", "getAnalogInputCount()",
          "getAnalogOutputCount()", "getDigitalInputValue(int)", "getAnalogInputValue(int)",
          "getDigitalOutputValue(int)", "getAnalogOutputValue(int)"}) {
        QTest::newRow(signature) << QByteArray(signature);
    }
}

void TestDevice::gettersCanBeInvoked()
{
    QFETCH(QByteArray, signature);
    const int index = cDevice::staticMetaObject.indexOfMethod(signature);
    QVERIFY(index >= 0);
    QCOMPARE(QByteArray(cDevice::staticMetaObject.method(index).typeName()), QByteArray("int"));
}

void TestDevice::aPlaceholderIsEmpty()
{
    cDevice device;
    QCOMPARE(device.count(), 0);
    QCOMPARE(device.getDeviceSerial(), 0U);
    QVERIFY(device.getDeviceLabel() == nullptr);
    QCOMPARE(device.getDiscreteInputCount() + device.getDiscreteOutputCount(), 0);
    QCOMPARE(device.getAnalogInputCount() + device.getAnalogOutputCount(), 0);
}

void TestDevice::aPlaceholderShowsNothing()
{
    ShownPanel panel(std::make_unique<cDevice>());
    QVERIFY(panel.isShown());
    for (const QScrollArea* area : panel.device().findChildren<QScrollArea*>()) {
        QVERIFY(!area->isVisible());
    }
}

void TestDevice::theRecordTellsTheCountsAndTheIdentity()
{
    QByteArray label = QString::fromUtf8("Sch\xc3\xa4"
                                         "cht")
                           .toUtf8();
    cDevice device(1, 2, 3, 4, 5, label.data(), "TYPE_SNMP", 6, 7);
    QCOMPARE(device.getDiscreteInCount(), 1U);
    QCOMPARE(device.getDiscreteOutCount(), 2U);
    QCOMPARE(device.getAnalogInCount(), 3U);
    QCOMPARE(device.getAnalogOutCount(), 4U);
    QCOMPARE(device.getVersion(), 6U);
    QCOMPARE(device.getDeviceSerial(), 7U);
    QCOMPARE(QByteArray(device.getDeviceLabel()), label);
}

void TestDevice::theTypeIsAlwaysDiscrete_data()
{
    QTest::addColumn<QString>("type");
    QTest::newRow("a known type") << "TYPE_MODBUS";
    QTest::newRow("an unknown type") << "toaster";
    QTest::newRow("no type") << "";
}

void TestDevice::theTypeIsAlwaysDiscrete()
{
    QFETCH(QString, type);
    const auto device = makeDevice({}, type);
    QCOMPARE(device->getDeviceType(), cObjectDevice::TYPE_DISCRETE_IO);
}

void TestDevice::theLabelIsCopied()
{
    char label[] = "Panel";
    const cDevice device(0, 0, 0, 0, 0, label, "", 0, 0);
    label[0] = 'X';
    QCOMPARE(QByteArray(device.getDeviceLabel()), QByteArray("Panel"));
}

void TestDevice::eightPagesWhateverTheCounts_data()
{
    QTest::addColumn<uint32_t>("count");
    QTest::newRow("none of each kind") << 0U;
    QTest::newRow("two of each kind") << 2U;
}

void TestDevice::eightPagesWhateverTheCounts()
{
    QFETCH(uint32_t, count);
    QCOMPARE(tabTitles(*makeDevice({count, count, count, count, count})), kTitles);
}

void TestDevice::withoutPortsAPageHasItsHeaderOnly()
{
    const auto device = makeDevice({});
    for (const int page : {panelview::DIGITAL_INPUTS, panelview::DIGITAL_OUTPUTS, panelview::ANALOG_INPUTS,
                           panelview::ANALOG_OUTPUTS, panelview::ACCESS}) {
        QVERIFY(panelview::rows(*device, page).isEmpty());
        QVERIFY(!panelview::header(*device, page).isEmpty());
    }
    for (const int page : {panelview::DIGITAL_WIRING, panelview::ANALOG_WIRING}) {
        QVERIFY(buttonTexts(wiringGroup(*device, page, 0)).isEmpty());
        QVERIFY(buttonTexts(wiringGroup(*device, page, 1)).isEmpty());
    }
    QCOMPARE(panelview::rows(*device, panelview::ADHOC).size(), 1);
}

void TestDevice::headers_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QList<int>>("widths");
    const QStringList digital{"Port Label", "Default State", "Current State"};
    QTest::newRow("digital inputs") << int(panelview::DIGITAL_INPUTS) << digital << QList<int>{0, 0, 0};
    QTest::newRow("digital outputs") << int(panelview::DIGITAL_OUTPUTS) << digital << QList<int>{0, 0, 0};
    QTest::newRow("analog inputs") << int(panelview::ANALOG_INPUTS)
                                   << QStringList{"Port Label", "Gain", "Offset", "Rate", "Current Value"}
                                   << QList<int>{100, 60, 60, 60, 0};
    QTest::newRow("analog outputs") << int(panelview::ANALOG_OUTPUTS)
                                    << QStringList{"Port Label", "Gain", "Offset", "Current Value"}
                                    << QList<int>{100, 60, 60, 0};
    QTest::newRow("access events") << int(panelview::ACCESS) << QStringList{"Scanner Label", "Scan Code"}
                                   << QList<int>{0, 0};
}

void TestDevice::headers()
{
    QFETCH(int, page);
    const auto device = makeDevice({1, 1, 1, 1, 1});
    QTEST(panelview::texts(panelview::header(*device, page)), "titles");
    QTEST(panelview::fixedWidths(panelview::header(*device, page)), "widths");
    QVERIFY(qobject_cast<QVBoxLayout*>(panelview::page(*device, page)->layout()) != nullptr);
}

void TestDevice::theScanCodesStandBelowTheirTitle()
{
    const auto device = makeDevice({1, 1, 1, 1, 1});
    device->resize(1117, 400);
    device->setCurrentIndex(panelview::ACCESS);
    device->show();
    const QWidget* title = panelview::header(*device, panelview::ACCESS)[1];
    const auto* scanner = panelview::row<cAccess>(*device, panelview::ACCESS, 1);
    const auto* code = scanner->findChild<QLineEdit*>();
    const QWidget* page = panelview::page(*device, panelview::ACCESS);
    QCOMPARE(title->mapTo(page, QPoint()).x(), code->mapTo(page, QPoint()).x());
}

void TestDevice::everyPageScrollsWithinAFrame()
{
    const auto device = makeDevice({});
    for (int page = 0; page < device->count(); ++page) {
        const QScrollArea* frame = panelview::frame(*device, page);
        QVERIFY(frame != nullptr);
        QVERIFY(frame->widgetResizable());
        QVERIFY(frame->widget() != nullptr);
    }
}

void TestDevice::theAnalogInputsStandOnAScrollAreaItself()
{
    const auto device = makeDevice({0, 0, 2, 0, 0});
    const auto* area = qobject_cast<QScrollArea*>(panelview::page(*device, panelview::ANALOG_INPUTS));
    QVERIFY(area != nullptr);
    QVERIFY(area->widget() == nullptr);
    QCOMPARE(panelview::rows(*device, panelview::ANALOG_INPUTS).size(), 2);
}

void TestDevice::digitalInputs()
{
    const auto device = makeDevice({5, 0, 0, 0, 0});
    QCOMPARE(panelview::rows(*device, panelview::DIGITAL_INPUTS).size(), 5);
    for (int number = 1; number <= 5; ++number) {
        const auto* input = panelview::row<cDInput>(*device, panelview::DIGITAL_INPUTS, number);
        QCOMPARE(input, device->getInput(number - 1));
        const QString label = QString("INPUT %1").arg(number);
        QCOMPARE(panelview::cells(input), QStringList({label, "LOW", "QComboBox"}));
        QCOMPARE(input->getPortLabel(), label.toLocal8Bit());
        QCOMPARE(input->getPortId(), uint32_t(number));
        QCOMPARE(input->getDeviceSerial(), kSerial);
        QCOMPARE(input->getPortType(), uint32_t(OBJ_PORT_DIN));
        QCOMPARE(input->getDefaultState(), cObject::OBJ_IO_STATE_CLEAR);
        QCOMPARE(input->getInputState(), cObject::OBJ_IO_STATE_CLEAR);
        QCOMPARE(input->getPortStatus(), cObject::OBJ_STATUS_ALARM_CLEAR);
        QCOMPARE(input->palette().color(QPalette::Window), QColor(Qt::green));
    }
}

void TestDevice::digitalOutputs()
{
    const auto device = makeDevice({0, 3, 0, 0, 0});
    QCOMPARE(panelview::rows(*device, panelview::DIGITAL_OUTPUTS).size(), 3);
    for (int number = 1; number <= 3; ++number) {
        const auto* output = panelview::row<cDOutput>(*device, panelview::DIGITAL_OUTPUTS, number);
        QCOMPARE(output, device->getOutput(number - 1));
        const QString label = QString("OUTPUT %1").arg(number);
        QCOMPARE(panelview::cells(output), QStringList({label, "LOW", "LOW"}));
        QCOMPARE(output->getPortLabel(), label.toLocal8Bit());
        QCOMPARE(output->getPortId(), uint32_t(number));
        QCOMPARE(output->getDeviceSerial(), kSerial);
        QCOMPARE(output->getPortType(), uint32_t(OBJ_PORT_DOUT));
        QCOMPARE(output->getDefaultState(), cObject::OBJ_IO_STATE_CLEAR);
        QCOMPARE(output->getOutputState(), cObject::OBJ_IO_STATE_CLEAR);
        QCOMPARE(output->getPortStatus(), cObject::OBJ_STATUS_ALARM_CLEAR);
        QCOMPARE(output->palette().color(QPalette::Window), QColor(Qt::green));
        QVERIFY(!output->getConnectedStatus());
    }
}

void TestDevice::analogInputs()
{
    const auto device = makeDevice({0, 0, 3, 0, 0});
    QCOMPARE(panelview::rows(*device, panelview::ANALOG_INPUTS).size(), 3);
    for (int number = 1; number <= 3; ++number) {
        const auto* input = panelview::row<cAInput>(*device, panelview::ANALOG_INPUTS, number);
        const QString label = QString("AIN %1").arg(number);
        QCOMPARE(panelview::cells(input), QStringList({label, "1", "0", "10", "QSlider", "0", "fT %"}));
        QCOMPARE(input->getPortLabel(), label.toLocal8Bit());
        QCOMPARE(input->getPortId(), uint32_t(number));
        QCOMPARE(input->getDeviceSerial(), kSerial);
        QCOMPARE(input->getPortType(), uint32_t(OBJ_PORT_AIN));
        QCOMPARE(input->getSampleRate(), 10U);
        QCOMPARE(input->getGain(), 1.0F);
        QCOMPARE(input->getOffset(), 0.0F);
        QCOMPARE(QByteArray(input->getDisplayUnit()), QByteArray("fT %"));
        QCOMPARE(input->getLastSampleSeq(), 0U);
    }
}

void TestDevice::analogOutputs()
{
    const auto device = makeDevice({0, 0, 0, 3, 0});
    QCOMPARE(panelview::rows(*device, panelview::ANALOG_OUTPUTS).size(), 3);
    for (int number = 1; number <= 3; ++number) {
        const auto* output = panelview::row<cAOutput>(*device, panelview::ANALOG_OUTPUTS, number);
        const QString label = QString("AOUT %1").arg(number);
        QCOMPARE(panelview::cells(output), QStringList({label, "1", "0", "QProgressBar"}));
        QCOMPARE(output->getPortLabel(), label.toLocal8Bit());
        QCOMPARE(output->getPortId(), uint32_t(number));
        QCOMPARE(output->getDeviceSerial(), kSerial);
        QCOMPARE(output->getPortType(), uint32_t(OBJ_PORT_AOUT));
        QCOMPARE(output->getGain(), 1.0F);
        QCOMPARE(output->getOffset(), 0.0F);
        QCOMPARE(output->getMinimumValue(), 0.0F);
        QCOMPARE(output->getMaximumValue(), 100.0F);
        QCOMPARE(QByteArray(output->getDisplayUnit()), QByteArray("fT %"));
        QCOMPARE(output->getSampledValue(), 0.0F);
        QCOMPARE(output->getCurrentSample(), 0);
        QVERIFY(!output->getConnectedStatus());
    }
}

void TestDevice::scanners()
{
    const auto device = makeDevice({0, 0, 0, 0, 3});
    QCOMPARE(panelview::rows(*device, panelview::ACCESS).size(), 3);
    for (int number = 1; number <= 3; ++number) {
        const auto* scanner = panelview::row<cAccess>(*device, panelview::ACCESS, number);
        const QString label = QString("SCANNER %1").arg(number);
        QCOMPARE(panelview::cells(scanner), QStringList({label, "QLineEdit", "QPushButton"}));
        QCOMPARE(scanner->getLabel(), label.toLocal8Bit());
        QCOMPARE(scanner->getPortNum(), uint32_t(number));
        QCOMPARE(scanner->getDeviceSerial(), kSerial);
        QVERIFY(scanner->getScanCode() == nullptr);
    }
}

void TestDevice::theAdHocEditorBearsTheDevicesSerial()
{
    const auto device = makeDevice({});
    const auto* editor = panelview::row<cAdHocEvent>(*device, panelview::ADHOC, 1);
    QVERIFY(editor != nullptr);
    QCOMPARE(editor->getDeviceSerial(), kSerial);
    QCOMPARE(editor->findChild<QSpinBox*>()->minimum(), 1);
}

void TestDevice::wiringGroups_data()
{
    QTest::addColumn<int>("page");
    QTest::addColumn<int>("column");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QStringList>("buttons");
    QTest::addColumn<bool>("enabled");
    QTest::newRow("digital inputs") << int(panelview::DIGITAL_WIRING) << 0 << "Inputs:"
                                    << QStringList{"QRadioButton Digital Input 1 digitalRadioButton_1",
                                                   "QRadioButton Digital Input 2 digitalRadioButton_2"}
                                    << true;
    QTest::newRow("digital outputs") << int(panelview::DIGITAL_WIRING) << 1 << "Outputs:"
                                     << QStringList{"QCheckBox Digital Output 1 digitalCheckBox_1"} << false;
    QTest::newRow("analog inputs") << int(panelview::ANALOG_WIRING) << 0 << "Inputs:"
                                   << QStringList{"QRadioButton Analog Input 1 analogRadioButton_1"} << true;
    QTest::newRow("analog outputs") << int(panelview::ANALOG_WIRING) << 1 << "Outputs:"
                                    << QStringList{"QCheckBox Analog Output 1 analogCheckBox_1",
                                                   "QCheckBox Analog Output 2 analogCheckBox_2"}
                                    << false;
}

void TestDevice::wiringGroups()
{
    QFETCH(int, page);
    QFETCH(int, column);
    QFETCH(bool, enabled);
    const auto device = makeDevice({2, 1, 1, 2, 0});
    const QGroupBox* group = wiringGroup(*device, page, column);
    QTEST(group->title(), "title");
    QTEST(buttonTexts(group), "buttons");
    for (const auto* button : group->findChildren<QAbstractButton*>()) {
        QCOMPARE(button->isEnabled(), enabled);
        QVERIFY(!button->isChecked());
    }
}

void TestDevice::gettersForScripts()
{
    const ConsoleCapture console;
    const auto device = makeDevice({2, 3, 4, 5, 0});
    QCOMPARE(device->getDiscreteInputCount(), 2);
    QCOMPARE(device->getDiscreteOutputCount(), 3);
    QCOMPARE(device->getAnalogInputCount(), 4);
    QCOMPARE(device->getAnalogOutputCount(), 5);

    device->getInput(1)->combo_select(1);
    device->getOutput(2)->updateOutput(cObject::OBJ_IO_STATE_SET);
    panelview::row<cAInput>(*device, panelview::ANALOG_INPUTS, 4)->scriptInputChange(64);
    panelview::row<cAOutput>(*device, panelview::ANALOG_OUTPUTS, 5)->setSampledValue(57.9F);
    QCOMPARE(device->getDigitalInputValue(1), 0);
    QCOMPARE(device->getDigitalInputValue(2), 1);
    QCOMPARE(device->getDigitalOutputValue(2), 0);
    QCOMPARE(device->getDigitalOutputValue(3), 1);
    QCOMPARE(device->getAnalogInputValue(3), 0);
    QCOMPARE(device->getAnalogInputValue(4), 64);
    QCOMPARE(device->getAnalogOutputValue(4), 0);
    QCOMPARE(device->getAnalogOutputValue(5), 57);
}

void TestDevice::gettersWorkFromAnotherThread()
{
    const auto device = makeDevice({2, 0, 0, 0, 0});
    device->getInput(1)->combo_select(1);
    std::atomic<int> value{-1};
    std::thread script(
        [&] { value = device->getDiscreteInputCount() * 10 + device->getDigitalInputValue(2); });
    const bool answered = QTest::qWaitFor([&] { return value >= 0; }, 30000);
    script.join();
    QVERIFY(answered);
    QCOMPARE(value.load(), 21);
}

void TestDevice::ninetyNineOfEachKind()
{
    const auto device = makeDevice({99, 99, 99, 99, 99});
    for (const int page : {panelview::DIGITAL_INPUTS, panelview::DIGITAL_OUTPUTS, panelview::ANALOG_INPUTS,
                           panelview::ANALOG_OUTPUTS, panelview::ACCESS}) {
        QCOMPARE(panelview::rows(*device, page).size(), 99);
    }
    for (const int page : {panelview::DIGITAL_WIRING, panelview::ANALOG_WIRING}) {
        QCOMPARE(buttonTexts(wiringGroup(*device, page, 0)).size(), 99);
        QCOMPARE(buttonTexts(wiringGroup(*device, page, 1)).size(), 99);
    }
    QCOMPARE(device->getInput(98)->getPortId(), 99U);
}

void TestDevice::theLastRowOfNinetyNineCanBeReached_data()
{
    QTest::addColumn<int>("page");
    for (int page = 0; page < kTitles.size(); ++page) {
        QTest::newRow(qPrintable(kTitles[page])) << page;
    }
}

void TestDevice::theLastRowOfNinetyNineCanBeReached()
{
    QFETCH(int, page);
    ShownPanel panel(makeDevice({99, 99, 99, 99, 99}));
    QVERIFY(panel.isShown());
    QCOMPARE(panel.window().size(), QSize(1024, 768));
    QScrollArea* frame = panel.open(page);
    const QWidget* last = lastRow(panel.device(), page);
    const bool fits = page == panelview::ADHOC;
    QTRY_COMPARE(isSeen(frame, last), fits);
    frame->verticalScrollBar()->setValue(frame->verticalScrollBar()->maximum());
    QTRY_VERIFY(isSeen(frame, last));
    QCOMPARE(frame->horizontalScrollBar()->maximum(), 0);
}

void TestDevice::aShortPageDoesNotScroll_data() { theLastRowOfNinetyNineCanBeReached_data(); }

void TestDevice::aShortPageDoesNotScroll()
{
    QFETCH(int, page);
    ShownPanel panel(makeDevice({3, 3, 3, 3, 3}));
    QVERIFY(panel.isShown());
    const QScrollArea* frame = panel.open(page);
    QTRY_VERIFY(panelview::page(panel.device(), page)->isVisible());
    QCOMPARE(frame->verticalScrollBar()->maximum(), 0);
    QCOMPARE(frame->horizontalScrollBar()->maximum(), 0);
}

void TestDevice::theWheelOverAControlScrollsThePage_data()
{
    QTest::addColumn<int>("page");
    QTest::newRow("a selector of the digital inputs") << int(panelview::DIGITAL_INPUTS);
    QTest::newRow("a slider of the analog inputs") << int(panelview::ANALOG_INPUTS);
}

void TestDevice::theWheelOverAControlScrollsThePage()
{
    QFETCH(int, page);
    const ConsoleCapture console;
    ShownPanel panel(makeDevice({99, 0, 99, 0, 0}));
    QVERIFY(panel.isShown());
    const QScrollArea* frame = panel.open(page);
    QTRY_VERIFY(frame->verticalScrollBar()->maximum() > 0);
    QWidget* control = controlOf(panel.device(), page);
    QApplication::setActiveWindow(control->window());
    panel.device().setFocus();
    setControlValue(control, 1);
    turnWheel(control);
    QVERIFY(frame->verticalScrollBar()->value() > 0);
    QCOMPARE(controlValue(control), 1);
    QVERIFY(!control->hasFocus());
}

void TestDevice::theWheelMovesAControlThatHasTheFocus_data() { theWheelOverAControlScrollsThePage_data(); }

void TestDevice::theWheelMovesAControlThatHasTheFocus()
{
    QFETCH(int, page);
    const ConsoleCapture console;
    ShownPanel panel(makeDevice({99, 0, 99, 0, 0}));
    QVERIFY(panel.isShown());
    const QScrollArea* frame = panel.open(page);
    QTRY_VERIFY(frame->verticalScrollBar()->maximum() > 0);
    QWidget* control = controlOf(panel.device(), page);
    QApplication::setActiveWindow(control->window());
    control->setFocus();
    QTRY_VERIFY(control->hasFocus());
    setControlValue(control, 1);
    turnWheel(control, 120);
    QCOMPARE(controlValue(control), page == panelview::DIGITAL_INPUTS ? 0 : 4);
    QCOMPARE(frame->verticalScrollBar()->value(), 0);
}

ZUL_QTEST(TestDevice)
#include "cdevice_test.moc"
