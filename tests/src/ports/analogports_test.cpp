#include "cainput.h"
#include "caoutput.h"
#include "panelview.h"
#include "qttestmain.h"
#include "shownrow.h"

#include <QHBoxLayout>
#include <cfenv>
#include <cmath>
#include <limits>

namespace {

QSlider* slider(const cAInput& input) { return input.findChild<QSlider*>(); }
QProgressBar* bar(const cAOutput& output) { return output.findChild<QProgressBar*>(); }

/// Takes over the samples that an input reports.
class Samples
{
public:
    explicit Samples(cAInput* input)
    {
        QObject::connect(input, &cAInput::sampleEvent, &mContext,
                         [this](cObjectAnalogSample* sample) { mTaken.emplace_back(sample); });
    }

    size_t count() const { return mTaken.size(); }
    const cObjectAnalogSample& last() const { return *mTaken.back(); }

private:
    QObject mContext;
    std::vector<std::unique_ptr<cObjectAnalogSample>> mTaken;
};

/// An input as the panel makes them.
std::unique_ptr<cAInput> panelInput()
{
    auto input = std::make_unique<cAInput>();
    input->setPortId(3);
    input->setDeviceSerial(1001);
    input->setSampleRate(10);
    input->setGain(1.0F);
    input->setOffset(0.0F);
    return input;
}

std::unique_ptr<cAOutput> panelOutput()
{
    auto output = std::make_unique<cAOutput>();
    output->setPortId(2);
    output->setSampledValue(0.0F);
    return output;
}

cObjectAOutput valueFor(uint32_t portId, float value)
{
    cObjectAOutput object;
    object.setPortId(portId);
    object.setSampledValue(value);
    return object;
}

const float kNan = std::numeric_limits<float>::quiet_NaN();

} // namespace

class TestAnalogPorts : public QObject
{
    Q_OBJECT

private slots:
    void anInputsMethodsStandInTheirOrder();
    void anOutputsMethodIsItsSlot();
    void aNewInputsRow();
    void aNewInputsSlider();
    void aNewInputIsWiredToNothing();
    void aNewOutputsRow();
    void aNewOutputsRecord();
    void aNewOutputIsWiredToNothing();

    void numbersAreShownAsShortAsTheyGo_data();
    void numbersAreShownAsShortAsTheyGo();
    void aRateIsShownAsAWholeNumber_data();
    void aRateIsShownAsAWholeNumber();
    void theUnitStandsOnTheRowAndInTheRecord();

    void movingTheSliderReportsOneSample();
    void theNumberBesideTheSliderFollowsIt();
    void theNumberBesideTheSliderMovesNoCell_data();
    void theNumberBesideTheSliderMovesNoCell();
    void aSliderSampleBearsNeitherSerialNorSequence();
    void aScriptRepeatsAValueAndIsHeard();
    void aScriptsNewValueIsHeardOnce();
    void aScriptsValueStaysInTheRange_data();
    void aScriptsValueStaysInTheRange();

    void aSetOfAnInput_data();
    void aSetOfAnInput();

    void aValueForAnOutput_data();
    void aValueForAnOutput();
    void anOutputsBarAndRecordFollowASampledValue();
    void anOutputsBarStaysForWhatIsNoNumber();

    void anInputIsAnsweredWithItsRecord();
    void aSampleIsAppendedAsItIs();
    void anOutputIsAnsweredWithItsRecord();
};

void TestAnalogPorts::anInputsMethodsStandInTheirOrder()
{
    QCOMPARE(panelview::ownMethods(cAInput::staticMetaObject),
             QStringList({"signal sampleEvent(cObjectAnalogSample*)", "slot slider_moved(int)",
                          "slot scriptInputChange(int)"}));
}

void TestAnalogPorts::anOutputsMethodIsItsSlot()
{
    QCOMPARE(panelview::ownMethods(cAOutput::staticMetaObject),
             QStringList("slot updateObject(cObjectAOutput*)"));
}

void TestAnalogPorts::aNewInputsRow()
{
    const cAInput input;
    QVERIFY(qobject_cast<QHBoxLayout*>(input.layout()) != nullptr);
    QCOMPARE(panelview::cells(&input), QStringList({"PortName", "1", "0", "10", "QSlider", "0", "fT %"}));
    QCOMPARE(panelview::fixedWidths(panelview::widgets(input.layout())).mid(0, 4),
             QList<int>({100, 60, 60, 60}));
}

void TestAnalogPorts::aNewInputsSlider()
{
    const cAInput input;
    QCOMPARE(slider(input)->minimum(), 0);
    QCOMPARE(slider(input)->maximum(), 100);
    QCOMPARE(slider(input)->value(), 0);
    QCOMPARE(slider(input)->orientation(), Qt::Horizontal);
    QVERIFY(slider(input)->hasTracking());
    QCOMPARE(input.getCurrentSample(), 0);
}

void TestAnalogPorts::aNewInputIsWiredToNothing()
{
    const cAInput input;
    QVERIFY(!input.getConnectedStatus());
    QCOMPARE(input.getOutputCount(), 0);
}

void TestAnalogPorts::aNewOutputsRow()
{
    const cAOutput output;
    QVERIFY(qobject_cast<QHBoxLayout*>(output.layout()) != nullptr);
    QCOMPARE(panelview::cells(&output), QStringList({"PortName", "1", "0", "QProgressBar"}));
    QCOMPARE(panelview::fixedWidths(panelview::widgets(output.layout())).mid(0, 3),
             QList<int>({100, 60, 60}));
    QCOMPARE(bar(output)->minimum(), 0);
    QCOMPARE(bar(output)->maximum(), 100);
    QCOMPARE(bar(output)->orientation(), Qt::Horizontal);
}

void TestAnalogPorts::aNewOutputsRecord()
{
    const cAOutput output;
    QCOMPARE(output.getMinimumValue(), 0.0F);
    QCOMPARE(output.getMaximumValue(), 100.0F);
    QCOMPARE(QByteArray(output.getDisplayUnit()), QByteArray("%FTO"));
}

void TestAnalogPorts::aNewOutputIsWiredToNothing()
{
    const cAOutput output;
    QVERIFY(!output.getConnectedStatus());
    QCOMPARE(output.getInputPort(), 0);
}

void TestAnalogPorts::numbersAreShownAsShortAsTheyGo_data()
{
    QTest::addColumn<float>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("one") << 1.0F << "1";
    QTest::newRow("zero") << 0.0F << "0";
    QTest::newRow("half") << 0.5F << "0.5";
    QTest::newRow("negative") << -2.25F << "-2.25";
    QTest::newRow("six digits") << 57.9F << "57.9";
}

void TestAnalogPorts::numbersAreShownAsShortAsTheyGo()
{
    QFETCH(float, number);
    cAInput input;
    input.setGain(number);
    QTEST(panelview::cells(&input).at(1), "text");
    QCOMPARE(input.getGain(), number);
    input.setOffset(number);
    QTEST(panelview::cells(&input).at(2), "text");
    QCOMPARE(input.getOffset(), number);
}

void TestAnalogPorts::aRateIsShownAsAWholeNumber_data()
{
    QTest::addColumn<uint32_t>("rate");
    QTest::addColumn<QString>("text");
    QTest::newRow("none between samples") << 0U << "0";
    QTest::newRow("an hour") << 60U << "60";
    QTest::newRow("beyond signed numbers") << 4000000000U << "4000000000";
}

void TestAnalogPorts::aRateIsShownAsAWholeNumber()
{
    QFETCH(uint32_t, rate);
    cAInput input;
    input.setSampleRate(rate);
    QTEST(panelview::cells(&input).at(3), "text");
    QCOMPARE(input.getSampleRate(), rate);
}

void TestAnalogPorts::theUnitStandsOnTheRowAndInTheRecord()
{
    char unit[] = "kPa";
    cAInput input;
    input.setDisplayUnit(unit);
    QCOMPARE(panelview::cells(&input).at(6), QString("kPa"));
    QCOMPARE(QByteArray(input.getDisplayUnit()), QByteArray("kPa"));
}

void TestAnalogPorts::movingTheSliderReportsOneSample()
{
    const auto input = panelInput();
    Samples samples(input.get());
    slider(*input)->setValue(57);
    QCOMPARE(samples.count(), size_t{1});
    QCOMPARE(samples.last().getSample(), 57.0F);
    QCOMPARE(samples.last().getPortNum(), 3U);
    slider(*input)->setValue(57);
    QCOMPARE(samples.count(), size_t{1});
}

void TestAnalogPorts::theNumberBesideTheSliderFollowsIt()
{
    const auto input = panelInput();
    const Samples samples(input.get());
    slider(*input)->setValue(42);
    QCOMPARE(panelview::cells(input.get()).at(5), QString("42"));
    QCOMPARE(input->getCurrentSample(), 42);
    QCOMPARE(input->getSampledValue(), 42.0F);
}

void TestAnalogPorts::theNumberBesideTheSliderMovesNoCell_data()
{
    QTest::addColumn<int>("value");
    for (const int value : {1, 9, 10, 99, 100}) {
        QTest::addRow("%d", value) << value;
    }
}

void TestAnalogPorts::theNumberBesideTheSliderMovesNoCell()
{
    QFETCH(int, value);
    const auto input = panelInput();
    const Samples samples(input.get());
    ShownRow shown(input.get());
    const QList<QRect> places = shown.places();
    slider(*input)->setValue(value);
    QCOMPARE(shown.layouts(), 0);
    QCOMPARE(shown.placesLaidOutAnew(), places);
    QVERIFY(shown.layouts() > 0);
}

void TestAnalogPorts::aSliderSampleBearsNeitherSerialNorSequence()
{
    const auto input = panelInput();
    input->setLastSampleSeq(9);
    const Samples samples(input.get());
    slider(*input)->setValue(1);
    QCOMPARE(samples.last().getDeviceSerial(), 0U);
    QCOMPARE(samples.last().getSeqNum(), 0U);
    QCOMPARE(input->getLastSampleSeq(), 9U);
}

void TestAnalogPorts::aScriptRepeatsAValueAndIsHeard()
{
    const auto input = panelInput();
    const Samples samples(input.get());
    input->scriptInputChange(0);
    QCOMPARE(samples.count(), size_t{1});
    QCOMPARE(samples.last().getSample(), 0.0F);
    input->scriptInputChange(0);
    QCOMPARE(samples.count(), size_t{2});
}

void TestAnalogPorts::aScriptsNewValueIsHeardOnce()
{
    const auto input = panelInput();
    const Samples samples(input.get());
    input->scriptInputChange(80);
    QCOMPARE(samples.count(), size_t{1});
    QCOMPARE(samples.last().getSample(), 80.0F);
    QCOMPARE(slider(*input)->value(), 80);
}

void TestAnalogPorts::aScriptsValueStaysInTheRange_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<int>("shown");
    QTest::newRow("above") << 250 << 100;
    QTest::newRow("below") << -1 << 0;
}

void TestAnalogPorts::aScriptsValueStaysInTheRange()
{
    QFETCH(int, value);
    const auto input = panelInput();
    const Samples samples(input.get());
    slider(*input)->setValue(50);
    input->scriptInputChange(value);
    QTEST(input->getCurrentSample(), "shown");
}

void TestAnalogPorts::aSetOfAnInput_data()
{
    QTest::addColumn<uint32_t>("rate");
    QTest::addColumn<float>("gain");
    QTest::addColumn<float>("offset");
    QTest::addColumn<QStringList>("shown");
    const uint32_t unchanged = 0xFFFFFFFF;
    QTest::newRow("nothing") << unchanged << kNan << kNan << QStringList{"1", "0", "10"};
    QTest::newRow("the rate") << 5U << kNan << kNan << QStringList{"1", "0", "5"};
    QTest::newRow("a rate of 0") << 0U << kNan << kNan << QStringList{"1", "0", "0"};
    QTest::newRow("the gain") << unchanged << 2.5F << kNan << QStringList{"2.5", "0", "10"};
    QTest::newRow("the offset") << unchanged << kNan << -4.0F << QStringList{"1", "-4", "10"};
    QTest::newRow("all") << 1U << 0.0F << 3.0F << QStringList{"0", "3", "1"};
}

void TestAnalogPorts::aSetOfAnInput()
{
    QFETCH(uint32_t, rate);
    QFETCH(float, gain);
    QFETCH(float, offset);
    QFETCH(QStringList, shown);
    const auto input = panelInput();
    const Samples samples(input.get());
    slider(*input)->setValue(33);
    cObjectAInput request;
    request.setSampleRate(rate);
    request.setGain(gain);
    request.setOffset(offset);
    request.setSampledValue(99.0F);
    input->updateObject(&request);

    QCOMPARE(panelview::cells(input.get()).mid(1, 3), shown);
    QCOMPARE(input->getGain(), shown[0].toFloat());
    QCOMPARE(input->getOffset(), shown[1].toFloat());
    QCOMPARE(input->getSampleRate(), shown[2].toUInt());
    QCOMPARE(input->getCurrentSample(), 33);
    QCOMPARE(samples.count(), size_t{1});
}

void TestAnalogPorts::aValueForAnOutput_data()
{
    QTest::addColumn<uint32_t>("portId");
    QTest::addColumn<float>("value");
    QTest::addColumn<int>("shown");
    QTest::addColumn<float>("kept");
    const float before = 20.0F;
    QTest::newRow("its own is cut on the bar and kept whole") << 2U << 57.9F << 57 << 57.9F;
    QTest::newRow("the wildcard is every port") << 0xFFFFFFFFU << 8.0F << 8 << 8.0F;
    QTest::newRow("not a number leaves it") << 2U << kNan << 20 << before;
    QTest::newRow("another port's leaves it") << 1U << 57.9F << 20 << before;
    QTest::newRow("cut toward zero from below") << 2U << -0.9F << 0 << -0.9F;
    QTest::newRow("the bar stays for one above its range") << 2U << 250.0F << 20 << 250.0F;
    QTest::newRow("the bar stays for one that no integer holds") << 2U << 1e30F << 20 << 1e30F;
    QTest::newRow("the bar stays for minus infinity") << 2U << -INFINITY << 20 << -INFINITY;
}

void TestAnalogPorts::aValueForAnOutput()
{
    QFETCH(uint32_t, portId);
    QFETCH(float, value);
    QFETCH(float, kept);
    const auto output = panelOutput();
    output->setSampledValue(20.0F);
    QVERIFY(!output->getConnectedStatus());
    cObjectAOutput object = valueFor(portId, value);
    output->updateObject(&object);
    QTEST(bar(*output)->value(), "shown");
    QTEST(output->getCurrentSample(), "shown");
    QVERIFY(static_cast<cObjectAOutput*>(output.get())->getSampledValue() == kept);
    QVERIFY(output->getConnectedStatus());
}

void TestAnalogPorts::anOutputsBarAndRecordFollowASampledValue()
{
    const auto output = panelOutput();
    output->setSampledValue(99.99F);
    QCOMPARE(bar(*output)->value(), 99);
    QCOMPARE(output->getSampledValue(), 99.99F);
    QVERIFY(!output->getConnectedStatus());
}

void TestAnalogPorts::anOutputsBarStaysForWhatIsNoNumber()
{
    const auto output = panelOutput();
    output->setSampledValue(20.0F);
    std::feclearexcept(FE_ALL_EXCEPT);
    output->setSampledValue(kNan);
    QVERIFY(std::fetestexcept(FE_INVALID) == 0); // a conversion to int would raise it
    QCOMPARE(bar(*output)->value(), 20);
    QVERIFY(std::isnan(output->getSampledValue()));
}

void TestAnalogPorts::anInputIsAnsweredWithItsRecord()
{
    const auto input = panelInput();
    cObjectList list;
    input->populateMsg(&list, static_cast<cObjectPort*>(nullptr));
    const auto* record = dynamic_cast<cObjectAInput*>(list.first());
    QVERIFY(record != nullptr);
    QVERIFY(dynamic_cast<const QWidget*>(record) == nullptr);
    QCOMPARE(record->getPortId(), 3U);
    QCOMPARE(record->getSampleRate(), 10U);
}

void TestAnalogPorts::aSampleIsAppendedAsItIs()
{
    const auto input = panelInput();
    auto* sample = new cObjectAnalogSample;
    cObjectList list;
    input->populateMsg(&list, sample);
    QCOMPARE(list.first(), sample);
    QCOMPARE(list.size(), size_t{1});
}

void TestAnalogPorts::anOutputIsAnsweredWithItsRecord()
{
    const auto output = panelOutput();
    output->setSampledValue(57.9F);
    cObjectList list;
    output->populateMsg(&list, nullptr);
    const auto* record = dynamic_cast<cObjectAOutput*>(list.first());
    QVERIFY(record != nullptr);
    QVERIFY(dynamic_cast<const QWidget*>(record) == nullptr);
    QCOMPARE(record->getPortId(), 2U);
    QCOMPARE(record->getSampledValue(), 57.9F);
}

ZUL_QTEST(TestAnalogPorts)
#include "analogports_test.moc"
