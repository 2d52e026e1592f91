#include "cainput.h"
#include "consolecapture.h"
#include "panelview.h"
#include "qttestmain.h"
#include "testdevice.h"

namespace {

const time_t kNoon = 4000000000; // long after any test

/// An input by itself whose samples are taken over, sampled at the times that a test names.
class SampledInput
{
public:
    SampledInput()
    {
        mInput.setPortId(3);
        mInput.setDeviceSerial(kSerial);
        mInput.setSampleRate(1);
        QObject::connect(&mInput, &cAInput::sampleEvent, &mContext,
                         [this](cObjectAnalogSample* sample) { mTaken.emplace_back(sample); });
    }

    cAInput& input() { return mInput; }
    const cObjectAInput& record() const { return mInput; }
    const std::vector<std::unique_ptr<cObjectAnalogSample>>& taken() const { return mTaken; }
    const cObjectAnalogSample& last() const { return *mTaken.back(); }

    /// True when the input took a sample at @p now.
    bool samplesAt(time_t now)
    {
        const size_t before = mTaken.size();
        mInput.checkSample(now);
        return mTaken.size() == before + 1;
    }

    /// Takes @p count samples, a second apart.
    void take(int count)
    {
        mInput.setSampleRate(0);
        for (int i = 0; i < count; ++i) {
            mInput.checkSample(mNow++);
        }
    }

    void moveSlider(int value) { mInput.findChild<QSlider*>()->setValue(value); }

private:
    QObject mContext;
    std::vector<std::unique_ptr<cObjectAnalogSample>> mTaken;
    cAInput mInput;
    time_t mNow = kNoon;
};

} // namespace

class TestSampling : public QObject
{
    Q_OBJECT

private slots:
    void anInputIsDueOnceItsRateHasPassed_data();
    void anInputIsDueOnceItsRateHasPassed();
    void theFirstSampleIsDueARateAfterTheInputWasBuilt();
    void withoutATimeThePresentOneCounts();
    void aSampleTellsWhatTheSliderShows();
    void theTraceOfASample();
    void afterHexadecimalModeTheTimeIsHexadecimalAndTheValueIsNot();
    void sequenceNumbersRunFrom1To255AndThen0();
    void theKeptSamplesAreTheLast32_data();
    void theKeptSamplesAreTheLast32();
    void the33rdSampleTakesThePlaceOfTheFirst();
    void slotsThatWereNeverFilledAreNotFound();
    void sliderSamplesAreNotKept();

    void aRateOf0IsSampledOnEveryPass();
    void aRateSetByTheServerCountsFromTheNextPass();
    void everyDueInputIsSampledInOrder();
    void aSecondThreadLeavesSequenceNumbersWhole();
};

void TestSampling::anInputIsDueOnceItsRateHasPassed_data()
{
    QTest::addColumn<uint32_t>("rate");
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<bool>("due");
    QTest::newRow("rate 1, after a minute to the second") << 1U << qint64{60} << false;
    QTest::newRow("rate 1, after 61 seconds") << 1U << qint64{61} << true;
    QTest::newRow("rate 10, after ten minutes") << 10U << qint64{600} << false;
    QTest::newRow("rate 10, a second later") << 10U << qint64{601} << true;
    QTest::newRow("rate 0, in the same second") << 0U << qint64{0} << false;
    QTest::newRow("rate 0, in the next second") << 0U << qint64{1} << true;
    QTest::newRow("the clock went back") << 0U << qint64{-5} << false;
    QTest::newRow("the longest rate that does not wrap, to the second")
        << 71582788U << qint64{4294967280} << false;
    QTest::newRow("the longest rate that does not wrap, a second later")
        << 71582788U << qint64{4294967281} << true;
    QTest::newRow("one minute more wraps to 44 seconds") << 71582789U << qint64{44} << false;
    QTest::newRow("one minute more wraps, a second later") << 71582789U << qint64{45} << true;
}

void TestSampling::anInputIsDueOnceItsRateHasPassed()
{
    QFETCH(uint32_t, rate);
    QFETCH(qint64, seconds);
    const ConsoleCapture console;
    SampledInput sampled;
    QVERIFY(sampled.samplesAt(kNoon));
    sampled.input().setSampleRate(rate);
    QTEST(sampled.samplesAt(kNoon + seconds), "due");
}

void TestSampling::theFirstSampleIsDueARateAfterTheInputWasBuilt()
{
    const ConsoleCapture console;
    const time_t before = time(nullptr);
    SampledInput sampled;
    const time_t after = time(nullptr);
    QVERIFY(!sampled.samplesAt(before + 60));
    QVERIFY(sampled.samplesAt(after + 61));
}

void TestSampling::withoutATimeThePresentOneCounts()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.input().checkSample();
    QVERIFY(sampled.taken().empty());
    QVERIFY(sampled.samplesAt(1 + time(nullptr) + 60));
    sampled.input().setSampleRate(0);
    sampled.input().checkSample(); // the last one is in the future
    QCOMPARE(sampled.taken().size(), size_t{1});
}

void TestSampling::aSampleTellsWhatTheSliderShows()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.moveSlider(57);
    QCOMPARE(sampled.record().getSampledValue(), 0.0F);
    QVERIFY(sampled.samplesAt(kNoon));
    QCOMPARE(sampled.last().getDeviceSerial(), kSerial);
    QCOMPARE(sampled.last().getPortNum(), 3U);
    QCOMPARE(sampled.last().getSample(), 57.0F);
    QCOMPARE(sampled.last().getSeqNum(), 1U);
    QCOMPARE(sampled.record().getSampledValue(), 57.0F);
    QCOMPARE(sampled.record().getLastSampleSeq(), 1U);
}

void TestSampling::theTraceOfASample()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.moveSlider(57);
    QVERIFY(sampled.samplesAt(kNoon));
    QCOMPARE(console.text(), QByteArray("Sample time for port 3 : 4000000000 : 57\n"));
    QVERIFY(!sampled.samplesAt(kNoon));
    QCOMPARE(console.text().count('\n'), 1);
}

void TestSampling::afterHexadecimalModeTheTimeIsHexadecimalAndTheValueIsNot()
{
    const ConsoleCapture console;
    std::cout << std::hex;
    SampledInput sampled;
    sampled.input().setPortId(10);
    sampled.moveSlider(57);
    QVERIFY(sampled.samplesAt(kNoon));
    QCOMPARE(console.text(), QByteArray("Sample time for port a : ee6b2800 : 57\n"));
}

void TestSampling::sequenceNumbersRunFrom1To255AndThen0()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.take(257);
    QCOMPARE(sampled.taken().size(), size_t{257});
    for (uint32_t i = 0; i < 257; ++i) {
        QCOMPARE(sampled.taken()[i]->getSeqNum(), (i + 1) % 256);
    }
    QCOMPARE(sampled.taken()[255]->getSeqNum(), 0U);
    QCOMPARE(sampled.record().getLastSampleSeq(), 1U);
}

void TestSampling::theKeptSamplesAreTheLast32_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("one") << 1;
    QTest::newRow("a full ring") << 32;
    QTest::newRow("one more than a full ring") << 33;
    QTest::newRow("twice around") << 64;
    QTest::newRow("around the sequence numbers") << 270;
}

void TestSampling::theKeptSamplesAreTheLast32()
{
    QFETCH(int, count);
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.take(count);
    QVector<uint32_t> kept;
    QVector<uint32_t> expected;
    for (uint32_t seq = 0; seq < 256; ++seq) {
        if (sampled.input().findSample(seq) != nullptr) {
            kept.append(sampled.input().findSample(seq)->getSeqNum());
        }
    }
    for (int i = std::max(1, count - 31); i <= count; ++i) {
        expected.append(static_cast<uint32_t>(i % 256));
    }
    std::sort(expected.begin(), expected.end());
    QCOMPARE(kept, expected);
}

void TestSampling::the33rdSampleTakesThePlaceOfTheFirst()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.take(32);
    const cObjectAnalogSample* slot = sampled.input().findSample(1);
    QVERIFY(slot != nullptr);
    sampled.take(1);
    QCOMPARE(sampled.input().findSample(33), slot);
    QVERIFY(sampled.input().findSample(1) == nullptr);
    QVERIFY(sampled.input().findSample(2) != nullptr);
}

void TestSampling::slotsThatWereNeverFilledAreNotFound()
{
    const ConsoleCapture console;
    SampledInput sampled;
    QVERIFY(sampled.input().findSample(0) == nullptr);
    sampled.take(1);
    QVERIFY(sampled.input().findSample(0) == nullptr);
    QVERIFY(sampled.input().findSample(2) == nullptr);
}

void TestSampling::sliderSamplesAreNotKept()
{
    const ConsoleCapture console;
    SampledInput sampled;
    sampled.moveSlider(10);
    QCOMPARE(sampled.taken().size(), size_t{1});
    QVERIFY(sampled.input().findSample(0) == nullptr);
    sampled.take(1);
    QCOMPARE(sampled.last().getSeqNum(), 1U);
}

void TestSampling::aRateOf0IsSampledOnEveryPass()
{
    LinkedDevice link({0, 0, 1, 0, 0});
    panelview::row<cAInput>(link.device(), panelview::ANALOG_INPUTS, 1)->setSampleRate(0);
    QVERIFY(link.connect());
    for (const uint32_t seq : {1U, 2U, 3U}) {
        const auto event = link.server().next();
        QVERIFY(event.list != nullptr);
        QCOMPARE(event.type, uint8_t{3});
        QCOMPARE(event.object<cObjectAnalogSample>(0)->getSeqNum(), seq);
        QCOMPARE(event.object<cObjectAnalogSample>(0)->getDeviceSerial(), kSerial);
    }
}

void TestSampling::aRateSetByTheServerCountsFromTheNextPass()
{
    LinkedDevice link({0, 0, 1, 0, 0});
    QVERIFY(link.connect());
    cObjectAInput request;
    request.setDeviceSerial(kSerial);
    request.setPortId(1);
    request.setSampleRate(0);
    QTest::ignoreMessage(QtDebugMsg, "SET ");
    QVERIFY(link.ask(cObjectList::kSet, {&request}).answer);
    const auto event = link.server().next();
    QVERIFY(event.list != nullptr);
    QVERIFY(!event.answer);
    QCOMPARE(event.object<cObjectAnalogSample>(0)->getSeqNum(), 1U);
}

void TestSampling::everyDueInputIsSampledInOrder()
{
    LinkedDevice link({0, 0, 3, 0, 0});
    for (const int number : {1, 3}) {
        panelview::row<cAInput>(link.device(), panelview::ANALOG_INPUTS, number)->setSampleRate(0);
    }
    QVERIFY(link.connect());
    for (const uint32_t port : {1U, 3U, 1U, 3U}) {
        const auto event = link.server().next();
        QVERIFY(event.list != nullptr);
        QCOMPARE(event.object<cObjectAnalogSample>(0)->getPortNum(), port);
    }
    QVERIFY(link.console().text().startsWith("Sample time for port 1 : "));
    QVERIFY(link.console().text().contains("Got Sample event from port 3\n"));
}

void TestSampling::aSecondThreadLeavesSequenceNumbersWhole()
{
    LinkedDevice link({0, 0, 1, 0, 0});
    panelview::row<cAInput>(link.device(), panelview::ANALOG_INPUTS, 1)->setSampleRate(0);
    QVERIFY(link.connect());
    QVERIFY(link.connect());
    QCOMPARE(link.device().samplingThreads(), size_t{2});
    for (const uint32_t seq : {1U, 2U, 3U}) {
        const auto event = link.server().next();
        QVERIFY(event.list != nullptr);
        QCOMPARE(event.object<cObjectAnalogSample>(0)->getSeqNum(), seq);
    }
}

ZUL_QTEST(TestSampling)
#include "sampling_test.moc"
