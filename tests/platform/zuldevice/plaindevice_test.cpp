#include "zuldevice/plaindevice.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

constexpr uint32_t kSerial = 77;
constexpr time_t kMade = 1000000;
constexpr auto kHigh = cObject::OBJ_IO_STATE_SET;
constexpr auto kLow = cObject::OBJ_IO_STATE_CLEAR;

class PlainDeviceTest : public testing::Test
{
protected:
    /// Has the device handle a set of one object.
    void set(cObject* object)
    {
        cObjectList list;
        list.setMsgType(cObjectList::kSet);
        list.addBorrowed(object);
        mDevice.handle(&list);
    }

    template <class Port>
    static Port portOf(uint32_t number)
    {
        Port port;
        port.setDeviceSerial(cObject::kWildcard);
        port.setPortId(number);
        return port;
    }

    void note(cObjectList* list)
    {
        cObject* object = list->first();
        mTypes.push_back(object == nullptr ? -1 : static_cast<int>(object->getType()));
        if (const auto* sample = dynamic_cast<cObjectAnalogSample*>(object)) {
            mSequence.push_back(sample->getSeqNum());
        }
    }

    std::vector<int> mTypes; ///< of the first records that the device sends; -1 for an empty list
    std::vector<uint32_t> mSequence;
    std::ostringstream mTrace;
    PlainDevice mDevice{
        {3, 2, 2, 2, 2}, "Panel", 7, kSerial, kMade, [this](cObjectList* list) { note(list); }, mTrace};
};

} // namespace

TEST_F(PlainDeviceTest, actionsOnWhatIsNotThereDoNothing)
{
    for (const uint32_t number : {0U, 4U, cObject::kWildcard}) {
        EXPECT_FALSE(mDevice.setDigitalInput(number, true));
        EXPECT_FALSE(mDevice.setAnalogInput(number, 1));
        EXPECT_FALSE(mDevice.connectDigitalInput(number, 1, true));
        EXPECT_FALSE(mDevice.connectDigitalInput(1, number, true));
        EXPECT_FALSE(mDevice.connectAnalogInput(number, 1, true));
        EXPECT_FALSE(mDevice.scan(number, "code"));
    }
    EXPECT_FALSE(mDevice.setAnalogInput(1, 101));
    EXPECT_FALSE(mDevice.setAnalogInput(1, -1));
    EXPECT_TRUE(mTypes.empty());
}

TEST_F(PlainDeviceTest, aDigitalInputIsReportedWhenItChanges)
{
    EXPECT_TRUE(mDevice.setDigitalInput(2, false));
    EXPECT_TRUE(mTypes.empty());
    EXPECT_TRUE(mDevice.setDigitalInput(2, true));
    EXPECT_EQ(mTypes, std::vector<int>{OBJ_PORT_DIN});
    EXPECT_EQ(mDevice.digitalInputs()[1]->getInputState(), kHigh);
    EXPECT_EQ(mDevice.digitalInputs()[1]->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
}

TEST_F(PlainDeviceTest, anInputThatIsPlacedIsNotReported)
{
    mDevice.placeDigitalInput(2, true);
    mDevice.placeAnalogInput(1, 50);
    EXPECT_TRUE(mTypes.empty());
    EXPECT_TRUE(mDevice.isHigh(2));
    EXPECT_EQ(mDevice.digitalInputs()[1]->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    EXPECT_EQ(mDevice.analogInputs()[0]->getValue(), 50);
}

TEST_F(PlainDeviceTest, sensorsTellWhatEverySampleHolds)
{
    struct Doubling : cSensors
    {
        float measure(uint32_t port, float value) override { return port == 1 ? 2.0F * value : value; }
    } sensors;
    mDevice.setSensors(&sensors);
    mDevice.setAnalogInput(1, 80);
    mDevice.sampleAll(kMade);
    EXPECT_EQ(mDevice.analogInputs()[0]->getValue(), 80);
    EXPECT_EQ(mDevice.analogInputs()[0]->getSampledValue(), 160.0F);
    mDevice.setSensors(nullptr);
    mDevice.sampleAll(kMade);
    EXPECT_EQ(mDevice.analogInputs()[0]->getSampledValue(), 80.0F);
}

TEST_F(PlainDeviceTest, theNextSampleIsThatOfTheInputWithTheShortestRate)
{
    EXPECT_EQ(mDevice.nextSample(), kMade + 601);
    auto request = portOf<cObjectAInput>(2);
    request.setSampleRate(1);
    set(&request);
    EXPECT_EQ(mDevice.nextSample(), kMade + 61);
    mDevice.takeSamples(kMade + 61);
    EXPECT_EQ(mDevice.nextSample(), kMade + 122);
    mDevice.beginSampling(kMade + 100);
    EXPECT_EQ(mDevice.nextSample(), kMade + 161);
}

TEST_F(PlainDeviceTest, aWiredOutputFollowsItsInput)
{
    EXPECT_TRUE(mDevice.connectDigitalInput(1, 2, true));
    EXPECT_TRUE(mDevice.setDigitalInput(1, true));
    EXPECT_EQ(mDevice.digitalOutputs()[1]->getOutputState(), kHigh);
    EXPECT_EQ(mDevice.digitalOutputs()[0]->getOutputState(), kLow);
    EXPECT_TRUE(mDevice.connectDigitalInput(1, 2, false));
    EXPECT_TRUE(mDevice.setDigitalInput(1, false));
    EXPECT_EQ(mDevice.digitalOutputs()[1]->getOutputState(), kHigh);
}

TEST_F(PlainDeviceTest, anOutputIsWiredToOneInput)
{
    EXPECT_TRUE(mDevice.connectDigitalInput(1, 2, true));
    EXPECT_FALSE(mDevice.connectDigitalInput(1, 2, true));
    EXPECT_FALSE(mDevice.connectDigitalInput(3, 2, true));
    EXPECT_FALSE(mDevice.connectDigitalInput(3, 2, false));
    EXPECT_EQ(mDevice.digitalOutputs()[1]->getInputPort(), 1);
    EXPECT_TRUE(mDevice.connectDigitalInput(1, 2, false));
    EXPECT_TRUE(mDevice.connectDigitalInput(3, 2, true));
}

TEST_F(PlainDeviceTest, aWiredAnalogOutputTakesTheValueOfItsOwnNumberOnly)
{
    EXPECT_TRUE(mDevice.connectAnalogInput(1, 2, true));
    EXPECT_TRUE(mDevice.connectAnalogInput(1, 1, true));
    EXPECT_TRUE(mDevice.setAnalogInput(1, 57));
    EXPECT_EQ(mDevice.analogOutputs()[0]->getSampledValue(), 57.0F);
    EXPECT_EQ(mDevice.analogOutputs()[1]->getSampledValue(), 0.0F);
    EXPECT_TRUE(mDevice.analogOutputs()[1]->getConnectedStatus());
}

TEST_F(PlainDeviceTest, aSetChangesThePortsOfItsNumber)
{
    auto input = portOf<cObjectDInput>(cObject::kWildcard);
    input.setDefaultState(kHigh);
    set(&input);
    for (const auto& changed : mDevice.digitalInputs()) {
        EXPECT_EQ(changed->getDefaultState(), kHigh);
        EXPECT_EQ(changed->getPortStatus(), cObject::OBJ_STATUS_ALARM_SET);
    }
    auto output = portOf<cObjectAOutput>(2);
    output.setSampledValue(5.0F);
    set(&output);
    EXPECT_EQ(mDevice.analogOutputs()[0]->getSampledValue(), 0.0F);
    EXPECT_EQ(mDevice.analogOutputs()[1]->getSampledValue(), 5.0F);
    EXPECT_EQ(mTypes, std::vector<int>(2, -1)); // an empty answer each
}

TEST_F(PlainDeviceTest, theFirstSamplesAreDueTenMinutesAfterTheDeviceWasMade)
{
    mDevice.takeSamples(kMade + 600);
    EXPECT_TRUE(mTypes.empty());
    mDevice.takeSamples(kMade + 601);
    EXPECT_EQ(mTypes, (std::vector<int>{OBJ_ANALOG_SAMPLE, OBJ_ANALOG_SAMPLE}));
    mDevice.takeSamples(kMade + 1201);
    EXPECT_EQ(mTypes.size(), 2U);
    mDevice.takeSamples(kMade + 1202);
    EXPECT_EQ(mSequence, (std::vector<uint32_t>{1, 1, 2, 2}));
}

TEST_F(PlainDeviceTest, theLast32SamplesAreKept)
{
    PlainAInput input(kMade);
    input.setPortId(1);
    input.setSampleRate(0);
    EXPECT_EQ(input.findSample(0), nullptr);
    for (time_t second = 1; second <= 270; ++second) {
        const std::unique_ptr<cObjectAnalogSample> sample(input.checkSample(kMade + second, mTrace));
        ASSERT_NE(sample, nullptr);
        EXPECT_EQ(sample->getSeqNum(), static_cast<uint32_t>(second % 256));
    }
    for (uint32_t seq = 0; seq < 256; ++seq) {
        EXPECT_EQ(input.findSample(seq) != nullptr, seq >= 239 || seq <= 14) << seq;
    }
}

TEST(PlainAInputTest, theRateHasToHavePassed)
{
    const struct
    {
        uint32_t rate;
        time_t seconds;
        bool due;
    } rows[] = {{1, 60, false},
                {1, 61, true},
                {0, 0, false},
                {0, 1, true},
                {0, -5, false},
                {71582788, 4294967280, false},
                {71582788, 4294967281, true},
                {71582789, 44, false}, // wraps to 44 seconds
                {71582789, 45, true}};
    for (const auto& row : rows) {
        std::ostringstream trace;
        PlainAInput input(kMade);
        input.setSampleRate(row.rate);
        const std::unique_ptr<cObjectAnalogSample> sample(input.checkSample(kMade + row.seconds, trace));
        EXPECT_EQ(sample != nullptr, row.due) << row.rate << ' ' << row.seconds;
    }
}

TEST_F(PlainDeviceTest, theTraceTellsWhatHappens)
{
    mDevice.scan(1, "K");
    mDevice.adhoc(1, "a", "b");
    EXPECT_EQ(mTrace.str(), "Got an access event \nSerial 0x4d\nPort 1\nScancode K\n"
                            "Transmit an ad-hoc event \n");
}

TEST(CheckedIndexDeathTest, aWrongIndexNamesTheListAndItself)
{
    const std::vector<int> list{1, 2};
    EXPECT_EQ(checkedAt(list, 1, "list"), 2);
    EXPECT_DEATH(checkedAt(list, 2, "mList"), "Index 2 is outside mList, which holds 2");
    EXPECT_DEATH(checkedAt(list, -1, "mList"), "Index -1 is outside mList, which holds 2");
}
