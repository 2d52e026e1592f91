#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

namespace {

/// One of the two wiring pages, and the ports that it wires.
class Page
{
public:
    Page(cDevice& device, bool analog) : mDevice(device), mAnalog(analog) {}

    QString prefix() const { return mAnalog ? "analog" : "digital"; }

    QRadioButton* input(int number) const
    {
        return mDevice.findChild<QRadioButton*>(prefix() + "RadioButton_" + QString::number(number));
    }

    QCheckBox* output(int number) const
    {
        return mDevice.findChild<QCheckBox*>(prefix() + "CheckBox_" + QString::number(number));
    }

    void select(int number) const
    {
        QTest::ignoreMessage(QtDebugMsg,
                             qPrintable(QString("Selected %1 input is: %2").arg(prefix()).arg(number)));
        input(number)->click();
    }

    /// What a script does.
    void connect(int input, int output, bool on) const
    {
        if (mAnalog) {
            mDevice.connectAnalogInput_Slot(input, output, on);
        } else {
            mDevice.connectDigitalInput_Slot(input, output, on);
        }
    }

    /// The numbers of the outputs that an input drives, in wiring order.
    QList<int> wires(int number) const
    {
        return mAnalog ? wiresOf(*row<cAInput>(panelview::ANALOG_INPUTS, number))
                       : wiresOf(*row<cDInput>(panelview::DIGITAL_INPUTS, number));
    }

    /// The input that drives an output; 0 where it is free.
    int driver(int number) const
    {
        return mAnalog ? driverOf(*row<cAOutput>(panelview::ANALOG_OUTPUTS, number))
                       : driverOf(*row<cDOutput>(panelview::DIGITAL_OUTPUTS, number));
    }

    /// One letter for each output's box: small where it is disabled, T where it is ticked, else F.
    QString boxes() const
    {
        QString found;
        for (int number = 1; output(number) != nullptr; ++number) {
            const QString letter = output(number)->checkState() == Qt::Checked ? "T" : "F";
            found += output(number)->isEnabled() ? letter : letter.toLower();
        }
        return found;
    }

    /// The inputs whose button shows a mark.
    QList<int> marked() const
    {
        QList<int> found;
        for (int number = 1; input(number) != nullptr; ++number) {
            if (input(number)->isChecked()) {
                found.append(number);
            }
        }
        return found;
    }

private:
    template <class Row>
    Row* row(int page, int number) const
    {
        return panelview::row<Row>(mDevice, page, number);
    }

    template <class Input>
    static QList<int> wiresOf(const Input& input)
    {
        QList<int> found;
        for (int i = 0; i < input.getOutputCount(); ++i) {
            found.append(input.getOutputPort(i));
        }
        return found;
    }

    /// -1 where the output does not know whether it is driven.
    template <class Output>
    static int driverOf(const Output& output)
    {
        return output.getConnectedStatus() == (output.getInputPort() != 0) ? output.getInputPort() : -1;
    }

    cDevice& mDevice;
    bool mAnalog;
};

const Counts kFour{4, 4, 4, 4, 0};

void bothPages()
{
    QTest::addColumn<bool>("analog");
    QTest::newRow("digital") << false;
    QTest::newRow("analog") << true;
}

} // namespace

class TestWiring : public QObject
{
    Q_OBJECT

private slots:
    void atFirstNothingIsWired_data() { bothPages(); }
    void atFirstNothingIsWired();
    void selectingOffersTheFreeOutputs_data() { bothPages(); }
    void selectingOffersTheFreeOutputs();
    void anOutputOfAnotherInputIsDisabledAndStaysTicked_data() { bothPages(); }
    void anOutputOfAnotherInputIsDisabledAndStaysTicked();
    void selectingAgainOffersItsOwnOutputs_data() { bothPages(); }
    void selectingAgainOffersItsOwnOutputs();
    void untickingFreesTheOutputForEveryInput_data() { bothPages(); }
    void untickingFreesTheOutputForEveryInput();
    void tickingUntickingTickingWiresOnce_data() { bothPages(); }
    void tickingUntickingTickingWiresOnce();
    void wiresKeepTheirOrder_data() { bothPages(); }
    void wiresKeepTheirOrder();
    void aTickWithoutASelectionIsShownAndIgnored_data() { bothPages(); }
    void aTickWithoutASelectionIsShownAndIgnored();
    void aPartlyCheckedBoxUnwiresDigitalOutputsOnly_data() { bothPages(); }
    void aPartlyCheckedBoxUnwiresDigitalOutputsOnly();
    void aButtonWithoutANumberSelectsNothing_data() { bothPages(); }
    void aButtonWithoutANumberSelectsNothing();
    void aNameMayRepeatItsPrefix_data() { bothPages(); }
    void aNameMayRepeatItsPrefix();
    void thePagesAreIndependent();
    void oneInputIsMarkedAtATime();

    void aScriptWiresAndTicks_data() { bothPages(); }
    void aScriptWiresAndTicks();
    void aScriptsTickOnATickedBoxWiresOnce_data() { bothPages(); }
    void aScriptsTickOnATickedBoxWiresOnce();
    void aScriptCannotRewire_data() { bothPages(); }
    void aScriptCannotRewire();
    void aScriptCannotUnwire_data() { bothPages(); }
    void aScriptCannotUnwire();
    void aScriptsUntickOfAFreeOutputChangesNothing_data() { bothPages(); }
    void aScriptsUntickOfAFreeOutputChangesNothing();
    void aScriptsUntickTakesAwayAnIdleTick_data() { bothPages(); }
    void aScriptsUntickTakesAwayAnIdleTick();
    void aWrongInputChangesNothing_data();
    void aWrongInputChangesNothing();
    void aWrongOutputOnlySelects_data();
    void aWrongOutputOnlySelects();
    void aScriptMarksTheDigitalButtonForBothKinds_data() { bothPages(); }
    void aScriptMarksTheDigitalButtonForBothKinds();

    void aWiredDigitalOutputFollowsItsInput();
    void anUnwiredDigitalOutputStaysAsItIs();
    void anOutputThatAScriptWiredIsServedTwice();
    void anAnalogOutputFollowsTheInputOfItsOwnNumber();
    void anotherAnalogOutputIsConnectedOnly();
    void anOutputThatAValueReachedIsOutOfAScriptsReach();
    void theTwoScriptEntriesAreSlotsBeforeTheOperators();
};

void TestWiring::atFirstNothingIsWired()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    QCOMPARE(page.boxes(), QString("ffff"));
    QCOMPARE(page.marked(), QList<int>());
    for (int number = 1; number <= 4; ++number) {
        QVERIFY(page.input(number)->isEnabled());
        QCOMPARE(page.wires(number), QList<int>());
        QCOMPARE(page.driver(number), 0);
    }
}

void TestWiring::selectingOffersTheFreeOutputs()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(3);
    QCOMPARE(page.boxes(), QString("FFFF"));
    QCOMPARE(page.marked(), QList<int>{3});
    QCOMPARE(page.wires(3), QList<int>());
}

void TestWiring::anOutputOfAnotherInputIsDisabledAndStaysTicked()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(1)->click();
    QCOMPARE(page.boxes(), QString("TFFF"));
    page.select(2);
    QCOMPARE(page.boxes(), QString("tFFF"));
    QCOMPARE(page.wires(1), QList<int>{1});
    QCOMPARE(page.wires(2), QList<int>());
    QCOMPARE(page.driver(1), 1);
}

void TestWiring::selectingAgainOffersItsOwnOutputs()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(4)->click();
    page.select(2);
    page.output(2)->click();
    QCOMPARE(page.boxes(), QString("FTFt"));
    page.select(1);
    QCOMPARE(page.boxes(), QString("FtFT"));
    page.select(3);
    QCOMPARE(page.boxes(), QString("FtFt"));
}

void TestWiring::untickingFreesTheOutputForEveryInput()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    for (const int number : {2, 3, 4}) {
        page.output(number)->click();
    }
    page.output(3)->click();
    QCOMPARE(page.wires(1), QList<int>({2, 4}));
    QCOMPARE(page.driver(3), 0);
    page.select(2);
    QCOMPARE(page.boxes(), QString("FtFt"));
    page.output(3)->click();
    QCOMPARE(page.wires(2), QList<int>{3});
    QCOMPARE(page.driver(3), 2);
}

void TestWiring::tickingUntickingTickingWiresOnce()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(2);
    for (int time = 0; time < 3; ++time) {
        page.output(1)->click();
    }
    QCOMPARE(page.wires(2), QList<int>{1});
    QCOMPARE(page.driver(1), 2);
}

void TestWiring::wiresKeepTheirOrder()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    for (const int number : {4, 1, 3}) {
        page.output(number)->click();
    }
    QCOMPARE(page.wires(1), QList<int>({4, 1, 3}));
}

void TestWiring::aTickWithoutASelectionIsShownAndIgnored()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.output(2)->setChecked(true);
    QCOMPARE(page.boxes(), QString("ftff"));
    QCOMPARE(page.driver(2), 0);
    page.select(1);
    QCOMPARE(page.boxes(), QString("FTFF"));
    QCOMPARE(page.wires(1), QList<int>());
}

void TestWiring::aPartlyCheckedBoxUnwiresDigitalOutputsOnly()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(2)->click();
    page.output(2)->setTristate(true);
    page.output(2)->setCheckState(Qt::PartiallyChecked);
    QCOMPARE(page.wires(1), analog ? QList<int>{2} : QList<int>());
    QCOMPARE(page.driver(2), analog ? 1 : 0);
}

void TestWiring::aButtonWithoutANumberSelectsNothing()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(1)->click();
    QRadioButton* button = page.input(2);
    button->setObjectName(page.prefix() + "RadioButton_two");
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Selected " + page.prefix() + " input is: 0"));
    button->click();
    QCOMPARE(page.boxes(), QString("tFFF"));
    page.output(3)->click();
    QCOMPARE(page.driver(3), 0);
}

void TestWiring::aNameMayRepeatItsPrefix()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    QRadioButton* button = page.input(2);
    const QString prefix = page.prefix() + "RadioButton_";
    button->setObjectName(prefix + "0" + prefix + "3");
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Selected " + page.prefix() + " input is: 3"));
    button->click();
    QCheckBox* box = page.output(1);
    const QString boxPrefix = page.prefix() + "CheckBox_";
    box->setObjectName(boxPrefix + boxPrefix + "4");
    box->click();
    QCOMPARE(page.wires(3), QList<int>{4});
    QCOMPARE(page.driver(4), 3);
}

void TestWiring::thePagesAreIndependent()
{
    const auto device = makeDevice(kFour);
    const Page digital(*device, false);
    const Page analog(*device, true);
    digital.select(1);
    QCOMPARE(analog.boxes(), QString("ffff"));
    analog.select(2);
    digital.output(3)->click();
    analog.output(4)->click();
    QCOMPARE(digital.wires(1), QList<int>{3});
    QCOMPARE(analog.wires(2), QList<int>{4});
    QCOMPARE(digital.boxes(), QString("FFTF"));
    QCOMPARE(analog.boxes(), QString("FFFT"));
}

void TestWiring::oneInputIsMarkedAtATime()
{
    const auto device = makeDevice(kFour);
    const Page page(*device, false);
    page.select(1);
    page.select(4);
    QCOMPARE(page.marked(), QList<int>{4});
}

void TestWiring::aScriptWiresAndTicks()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.connect(1, 2, true);
    QCOMPARE(page.boxes(), QString("FTFF"));
    QCOMPARE(page.driver(2), 1);
    // The box was told to signal, then it was ticked, and so it signalled once more.
    QCOMPARE(page.wires(1), QList<int>({2, 2}));
}

void TestWiring::aScriptsTickOnATickedBoxWiresOnce()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.output(2)->setChecked(true);
    page.connect(1, 2, true);
    QCOMPARE(page.wires(1), QList<int>{2});
    QCOMPARE(page.boxes(), QString("FTFF"));
}

void TestWiring::aScriptCannotRewire()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(2);
    page.output(1)->click();
    page.connect(1, 1, true);
    QCOMPARE(page.wires(1), QList<int>());
    QCOMPARE(page.wires(2), QList<int>{1});
    QCOMPARE(page.driver(1), 2);
    // Only the selection has changed: output 1 is not for input 1.
    QCOMPARE(page.boxes(), QString("tFFF"));
    page.output(2)->click();
    QCOMPARE(page.wires(1), QList<int>{2});
}

void TestWiring::aScriptCannotUnwire()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(1)->click();
    page.connect(1, 1, false);
    QCOMPARE(page.wires(1), QList<int>{1});
    QCOMPARE(page.driver(1), 1);
    QCOMPARE(page.boxes(), QString("TFFF"));
}

void TestWiring::aScriptsUntickOfAFreeOutputChangesNothing()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.select(1);
    page.output(3)->click();
    page.connect(1, 2, false);
    QCOMPARE(page.wires(1), QList<int>{3});
    QCOMPARE(page.driver(2), 0);
    QCOMPARE(page.boxes(), QString("FFTF"));
}

void TestWiring::aScriptsUntickTakesAwayAnIdleTick()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.output(2)->setChecked(true);
    page.connect(1, 2, false);
    QCOMPARE(page.boxes(), QString("FFFF"));
    QCOMPARE(page.wires(1), QList<int>());
}

void TestWiring::aWrongInputChangesNothing_data()
{
    QTest::addColumn<bool>("analog");
    QTest::addColumn<int>("input");
    for (const bool analog : {false, true}) {
        const char* kind = analog ? "analog" : "digital";
        for (const int input : {0, 5, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            QTest::addRow("%s input %d", kind, input) << analog << input;
        }
    }
}

void TestWiring::aWrongInputChangesNothing()
{
    QFETCH(bool, analog);
    QFETCH(int, input);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.connect(input, 1, true);
    QCOMPARE(page.boxes(), QString("ffff"));
    QCOMPARE(page.marked(), QList<int>());
    QCOMPARE(page.driver(1), 0);
}

void TestWiring::aWrongOutputOnlySelects_data()
{
    QTest::addColumn<bool>("analog");
    QTest::addColumn<int>("output");
    for (const bool analog : {false, true}) {
        const char* kind = analog ? "analog" : "digital";
        for (const int output :
             {0, 5, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            QTest::addRow("%s output %d", kind, output) << analog << output;
        }
    }
}

void TestWiring::aWrongOutputOnlySelects()
{
    QFETCH(bool, analog);
    QFETCH(int, output);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    page.connect(3, output, true);
    QCOMPARE(page.boxes(), QString("FFFF"));
    QCOMPARE(page.wires(3), QList<int>());
    QCOMPARE(Page(*device, false).marked(), QList<int>{3});
}

void TestWiring::aScriptMarksTheDigitalButtonForBothKinds()
{
    QFETCH(bool, analog);
    const auto device = makeDevice(kFour);
    const Page page(*device, analog);
    QTest::ignoreMessage(QtDebugMsg, qPrintable("Selected " + page.prefix() + " input is: 2"));
    page.connect(2, 1, true);
    QCOMPARE(Page(*device, false).marked(), QList<int>{2});
    QCOMPARE(Page(*device, true).marked(), QList<int>());
}

void TestWiring::aWiredDigitalOutputFollowsItsInput()
{
    const auto device = makeDevice(kFour);
    const Page page(*device, false);
    page.select(1);
    page.output(3)->click();
    page.output(2)->click();
    device->setDigitalInput_Slot(1, 1);
    QCOMPARE(device->getDigitalOutputValue(1), 0);
    QCOMPARE(device->getDigitalOutputValue(2), 1);
    QCOMPARE(device->getDigitalOutputValue(3), 1);
    QCOMPARE(device->getOutput(1)->palette().color(QPalette::Window), QColor(Qt::red));
    device->setDigitalInput_Slot(1, 0);
    QCOMPARE(device->getDigitalOutputValue(2), 0);
    QCOMPARE(device->getOutput(1)->palette().color(QPalette::Window), QColor(Qt::green));
}

void TestWiring::anUnwiredDigitalOutputStaysAsItIs()
{
    const auto device = makeDevice(kFour);
    const Page page(*device, false);
    page.select(1);
    page.output(2)->click();
    device->setDigitalInput_Slot(1, 1);
    page.output(2)->click();
    device->setDigitalInput_Slot(1, 0);
    QCOMPARE(device->getDigitalOutputValue(2), 1);
}

void TestWiring::anOutputThatAScriptWiredIsServedTwice()
{
    const auto device = makeDevice(kFour);
    Page(*device, false).connect(1, 2, true);
    int served = 0;
    QObject::connect(device.get(), &cDevice::digitalOutputUpdated, [&] { ++served; });
    device->setDigitalInput_Slot(1, 1);
    QCOMPARE(served, 2);
    QCOMPARE(device->getDigitalOutputValue(2), 1);
}

void TestWiring::anAnalogOutputFollowsTheInputOfItsOwnNumber()
{
    const ConsoleCapture console;
    const auto device = makeDevice(kFour);
    Page(*device, true).connect(2, 2, true);
    device->setAnalogInput_Slot(2, 57);
    QCOMPARE(device->getAnalogOutputValue(2), 57);
}

void TestWiring::anotherAnalogOutputIsConnectedOnly()
{
    const ConsoleCapture console;
    const auto device = makeDevice(kFour);
    const Page page(*device, true);
    page.select(1);
    page.output(2)->click();
    device->setAnalogInput_Slot(1, 57);
    QCOMPARE(device->getAnalogOutputValue(2), 0);
    QVERIFY(panelview::row<cAOutput>(*device, panelview::ANALOG_OUTPUTS, 2)->getConnectedStatus());
    panelview::row<cAOutput>(*device, panelview::ANALOG_OUTPUTS, 2)->setPortId(1);
    device->setAnalogInput_Slot(1, 58);
    QCOMPARE(device->getAnalogOutputValue(2), 58);
}

void TestWiring::anOutputThatAValueReachedIsOutOfAScriptsReach()
{
    // Taking a value marks an output as connected, though no input drives it.
    const auto device = makeDevice(kFour);
    device->getOutput(1)->updateOutput(cObject::OBJ_IO_STATE_SET);
    device->connectDigitalInput_Slot(1, 2, true);
    QCOMPARE(device->getOutput(1)->getInputPort(), 0);
    QCOMPARE(device->getInput(0)->getOutputCount(), 0);
}

void TestWiring::theTwoScriptEntriesAreSlotsBeforeTheOperators()
{
    const QStringList expected{"slot setDigitalInput_Slot(int,int)",
                               "slot setAnalogInput_Slot(int,int)",
                               "slot connectDigitalInput_Slot(int,int,bool)",
                               "slot connectAnalogInput_Slot(int,int,bool)",
                               "slot digitalRadioButtonClicked()",
                               "slot analogRadioButtonClicked()",
                               "slot digitalCheckBoxStateChanged(int)",
                               "slot analogCheckBoxStateChanged(int)"};
    QCOMPARE(panelview::ownMethods(cDevice::staticMetaObject).mid(8, 8), expected);
}

ZUL_QTEST(TestWiring)
#include "wiring_test.moc"
