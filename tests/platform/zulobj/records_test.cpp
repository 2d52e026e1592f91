#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <typeinfo>

#include "hexbytes.h"
#include "samplerecords.h"
#include "zulobj/recordfactory.h"

namespace {

WStatus parseBytes(cObject* record, const std::vector<uint8_t>& payload)
{
    WObjectReader objects(payload);
    WendleObject object;
    EXPECT_TRUE(objects.next(&object));
    return record->parse(&object, nullptr);
}

std::vector<WTag*> pointersTo(cTagList& tags)
{
    std::vector<WTag*> pointers;
    for (WTag& tag : tags) {
        pointers.push_back(&tag);
    }
    return pointers;
}

const std::type_info& typeOf(const cObject& record) { return typeid(record); }

std::unique_ptr<cObject> copyOf(const cObject& record) { return std::unique_ptr<cObject>(record.clone()); }

/// Stands for a widget: first something else, then a record.
struct NotARecord
{
    virtual ~NotARecord() = default;
    int width = 80;
};

class InputWidget : public NotARecord, public cObjectDInput
{
public:
    int shown = 1;
};

TEST(RecordDefaultsTest, DeviceIsUnknownAndEmpty)
{
    const cObjectDevice device;
    EXPECT_EQ(device.getType(), OBJ_DEVICE);
    EXPECT_EQ(device.getDeviceSerial(), 0U);
    EXPECT_EQ(device.getDeviceLabel(), nullptr);
    EXPECT_EQ(device.getDeviceType(), cObjectDevice::TYPE_UNKNOWN);
    EXPECT_EQ(device.getVersion(), 0U);
    EXPECT_EQ(device.getDiscreteInCount(), 0U);
    EXPECT_EQ(device.getDiscreteOutCount(), 0U);
    EXPECT_EQ(device.getAnalogInCount(), 0U);
    EXPECT_EQ(device.getAnalogOutCount(), 0U);
}

template <class Port>
void expectPortDefaults(eObjectTypes type)
{
    const Port port;
    EXPECT_EQ(port.getType(), type);
    EXPECT_EQ(port.getPortType(), static_cast<uint32_t>(type));
    EXPECT_EQ(port.getDeviceSerial(), 0U);
    EXPECT_EQ(port.getPortId(), 0U);
    EXPECT_EQ(port.getPortLabel(), nullptr);
    EXPECT_EQ(port.getPortStatus(), cObject::OBJ_STATUS_ALARM_UNKNOWN);
}

TEST(RecordDefaultsTest, PortTypeIsTheRecordsOwnTypeCode)
{
    expectPortDefaults<cObjectPort>(OBJ_PORT);
    expectPortDefaults<cObjectDInput>(OBJ_PORT_DIN);
    expectPortDefaults<cObjectDOutput>(OBJ_PORT_DOUT);
    expectPortDefaults<cObjectAInput>(OBJ_PORT_AIN);
    expectPortDefaults<cObjectAOutput>(OBJ_PORT_AOUT);
}

TEST(RecordDefaultsTest, StatesAreUnknown)
{
    EXPECT_EQ(cObjectDInput().getInputState(), cObject::OBJ_IO_STATE_UNKNOWN);
    EXPECT_EQ(cObjectDInput().getDefaultState(), cObject::OBJ_IO_STATE_UNKNOWN);
    EXPECT_EQ(cObjectDOutput().getOutputState(), cObject::OBJ_IO_STATE_UNKNOWN);
    EXPECT_EQ(cObjectDOutput().getDefaultState(), cObject::OBJ_IO_STATE_UNKNOWN);
}

TEST(RecordDefaultsTest, AnalogInputChangesNothingWhenSet)
{
    const cObjectAInput input;
    EXPECT_TRUE(std::isnan(input.getGain()));
    EXPECT_TRUE(std::isnan(input.getOffset()));
    EXPECT_EQ(input.getSampleRate(), 0xFFFFFFFFU);
    EXPECT_EQ(input.getDisplayUnit(), nullptr);
    EXPECT_EQ(input.getSampledValue(), 0.0F);
    EXPECT_EQ(input.getLastSampleSeq(), 0U);
}

TEST(RecordDefaultsTest, AnalogOutputChangesNothingWhenSet)
{
    const cObjectAOutput output;
    EXPECT_TRUE(std::isnan(output.getGain()));
    EXPECT_TRUE(std::isnan(output.getOffset()));
    EXPECT_TRUE(std::isnan(output.getSampledValue()));
    EXPECT_EQ(output.getMinimumValue(), 0.0F);
    EXPECT_EQ(output.getMaximumValue(), 0.0F);
    EXPECT_EQ(output.getDisplayUnit(), nullptr);
}

TEST(RecordDefaultsTest, EventRecordsAreEmpty)
{
    EXPECT_EQ(cObjectAccess().getPortNum(), 0U);
    EXPECT_EQ(cObjectAccess().getLabel(), nullptr);
    EXPECT_EQ(cObjectAccess().getScanCode(), nullptr);
    EXPECT_EQ(cObjectAdhocEvent().getPortId(), 0U);
    EXPECT_EQ(cObjectAdhocEvent().getEventLabel(), nullptr);
    EXPECT_EQ(cObjectAdhocEvent().getEventValue(), nullptr);
    EXPECT_EQ(cObjectCapability().getCapId(), 0U);
    EXPECT_EQ(cObjectCapability().getLabel(), nullptr);
    EXPECT_EQ(cObjectCapability().getValue(), nullptr);
    EXPECT_EQ(cObjectAnalogSample().getPortNum(), 0U);
    EXPECT_EQ(cObjectAnalogSample().getSample(), 0.0F);
    EXPECT_EQ(cObjectAnalogSample().getSeqNum(), 0U);
}

TEST(RecordTest, GettersReturnWhatWasSet)
{
    const auto records = sampleRecords();
    const auto& device = dynamic_cast<const cObjectDevice&>(*records[0]);
    EXPECT_EQ(device.getDeviceSerial(), 1001U);
    EXPECT_STREQ(device.getDeviceLabel(), "Lab");
    EXPECT_EQ(device.getDeviceType(), cObjectDevice::TYPE_MODBUS);
    EXPECT_EQ(device.getVersion(), 2U);
    EXPECT_EQ(device.getDiscreteInCount(), 3U);
    EXPECT_EQ(device.getDiscreteOutCount(), 4U);
    EXPECT_EQ(device.getAnalogInCount(), 5U);
    EXPECT_EQ(device.getAnalogOutCount(), 6U);
    const auto& port = dynamic_cast<const cObjectPort&>(*records[1]);
    EXPECT_EQ(port.getDeviceSerial(), 1001U);
    EXPECT_EQ(port.getPortId(), 3U);
    EXPECT_STREQ(port.getPortLabel(), "Door");
    EXPECT_EQ(port.getPortStatus(), cObject::OBJ_STATUS_ALARM_WARN);
    EXPECT_EQ(port.getPortType(), static_cast<uint32_t>(OBJ_PORT_AIN));
    const auto& input = dynamic_cast<const cObjectDInput&>(*records[2]);
    EXPECT_EQ(input.getInputState(), cObject::OBJ_IO_STATE_SET);
    EXPECT_EQ(input.getDefaultState(), cObject::OBJ_IO_STATE_CLEAR);
    const auto& output = dynamic_cast<const cObjectDOutput&>(*records[3]);
    EXPECT_EQ(output.getOutputState(), cObject::OBJ_IO_STATE_CLEAR);
    EXPECT_EQ(output.getDefaultState(), cObject::OBJ_IO_STATE_SET);
    const auto& analogIn = dynamic_cast<const cObjectAInput&>(*records[4]);
    EXPECT_EQ(analogIn.getGain(), 1.5F);
    EXPECT_EQ(analogIn.getOffset(), -0.25F);
    EXPECT_EQ(analogIn.getSampleRate(), 15U);
    EXPECT_STREQ(analogIn.getDisplayUnit(), "V");
    EXPECT_EQ(analogIn.getSampledValue(), 57.9F);
    EXPECT_EQ(analogIn.getLastSampleSeq(), 255U);
    const auto& analogOut = dynamic_cast<const cObjectAOutput&>(*records[5]);
    EXPECT_EQ(analogOut.getGain(), 1.0F);
    EXPECT_EQ(analogOut.getOffset(), 0.0F);
    EXPECT_EQ(analogOut.getMinimumValue(), -10.0F);
    EXPECT_EQ(analogOut.getMaximumValue(), 10.0F);
    EXPECT_STREQ(analogOut.getDisplayUnit(), "mA");
    EXPECT_EQ(analogOut.getSampledValue(), 4.5F);
    const auto& sample = dynamic_cast<const cObjectAnalogSample&>(*records[6]);
    EXPECT_EQ(sample.getDeviceSerial(), 1001U);
    EXPECT_EQ(sample.getPortNum(), 1U);
    EXPECT_EQ(sample.getSample(), 57.9F);
    EXPECT_EQ(sample.getSeqNum(), 255U);
    const auto& access = dynamic_cast<const cObjectAccess&>(*records[7]);
    EXPECT_EQ(access.getDeviceSerial(), 1001U);
    EXPECT_EQ(access.getPortNum(), 1U);
    EXPECT_STREQ(access.getLabel(), "Gate");
    EXPECT_STREQ(access.getScanCode(), "0042");
    const auto& capability = dynamic_cast<const cObjectCapability&>(*records[8]);
    EXPECT_EQ(capability.getDeviceSerial(), 1001U);
    EXPECT_EQ(capability.getCapId(), 7U);
    EXPECT_STREQ(capability.getLabel(), "Scanners");
    EXPECT_STREQ(capability.getValue(), "2");
    const auto& adhoc = dynamic_cast<const cObjectAdhocEvent&>(*records[9]);
    EXPECT_EQ(adhoc.getDeviceSerial(), 1001U);
    EXPECT_EQ(adhoc.getPortId(), 9U);
    EXPECT_STREQ(adhoc.getEventLabel(), "Smoke");
    EXPECT_STREQ(adhoc.getEventValue(), "yes");
}

TEST(RecordTest, TextIsCopied)
{
    char buffer[] = "first";
    cObjectAccess access;
    access.setLabel(buffer);
    std::strcpy(buffer, "other");
    EXPECT_STREQ(access.getLabel(), "first");
    access.setLabel(nullptr);
    EXPECT_EQ(access.getLabel(), nullptr);
}

TEST(RecordTest, ATextMayBecomeItselfOrAPartOfItself)
{
    const std::string longer(200, 'x');
    for (const std::string& text : {std::string("short"), longer, longer + longer}) {
        cText field;
        field.set(text.c_str());
        const cText& same = field;
        field = same;
        EXPECT_EQ(field.bytes(), text);
        field.set(field.get());
        EXPECT_EQ(field.bytes(), text);
        field.set(field.get() + 2);
        EXPECT_EQ(field.bytes(), text.substr(2));
    }
}

TEST(RecordTest, TextsOfEveryLengthAreCopied)
{
    cText copy;
    for (size_t size = 0; size < 300; ++size) {
        const std::string text(size, 'x');
        cText field;
        field.set(text.c_str());
        copy = field;
        EXPECT_TRUE(copy == field);
        EXPECT_STREQ(copy.get(), text.c_str());
        EXPECT_EQ(cText(copy).bytes(), text);
        if (size % 7 == 0) {
            copy = cText();
            EXPECT_EQ(copy.get(), nullptr);
        }
    }
}

TEST(RecordTest, EveryClassIsMadeFromItsTypeCode)
{
    for (const auto& record : sampleRecords()) {
        const std::unique_ptr<cObject> made = zulobj::createRecord(record->getType());
        EXPECT_EQ(typeOf(*made), typeOf(*record)) << record->getType();
        EXPECT_EQ(made->getType(), record->getType());
    }
}

TEST(RecordTest, OtherTypeCodesMakePlainRecords)
{
    for (const uint32_t type : {5U, 6U, 7U, 8U, uint32_t{OBJ_NUM_OBJECT_TYPES}, 99U, 0xFFFFFFFFU}) {
        SCOPED_TRACE(type);
        const std::unique_ptr<cObject> made = zulobj::createRecord(static_cast<eObjectTypes>(type));
        EXPECT_EQ(typeOf(*made), typeid(cObject));
        EXPECT_EQ(static_cast<uint32_t>(made->getType()), type);
    }
}

TEST(RecordTest, TagsFillAnotherRecordAlike)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        cTagList tags = record->getTags();
        std::vector<WTag*> pointers = pointersTo(tags);
        const std::unique_ptr<cObject> filled = zulobj::createRecord(record->getType());
        ASSERT_TRUE(filled->parse(nullptr, &pointers).isOk());
        EXPECT_EQ(encoded(*filled), encoded(*record));
    }
}

TEST(RecordTest, BytesFillAnotherRecordAlike)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        const std::unique_ptr<cObject> filled = zulobj::createRecord(record->getType());
        ASSERT_TRUE(parseBytes(filled.get(), encoded(*record)).isOk());
        EXPECT_EQ(encoded(*filled), encoded(*record));
    }
}

TEST(RecordTest, TagsAreThoseOfTheEncoding)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        const std::vector<uint8_t> payload = encoded(*record);
        WTagReader reader{std::span(payload).subspan(wmsg::kObjectHeaderSize)};
        WTagView expected;
        for (const WTag& tag : record->getTags()) {
            ASSERT_TRUE(reader.next(&expected));
            EXPECT_EQ(tag.number(), expected.number);
            EXPECT_TRUE(std::ranges::equal(tag.value(), expected.value)) << tag.number();
        }
        EXPECT_TRUE(reader.atEnd());
    }
}

TEST(RecordTest, NullAndEmptyTextStayDifferentOnTheWire)
{
    cObjectAccess sent;
    sent.setScanCode("");
    cObjectAccess received;
    received.setLabel("before");
    ASSERT_TRUE(parseBytes(&received, encoded(sent)).isOk());
    EXPECT_STREQ(received.getLabel(), "before") << "an absent tag leaves the field";
    EXPECT_STREQ(received.getScanCode(), "");

    cTagList tags = sent.getTags();
    std::vector<WTag*> pointers = pointersTo(tags);
    cObjectAccess filled;
    ASSERT_TRUE(filled.parse(nullptr, &pointers).isOk());
    EXPECT_EQ(filled.getLabel(), nullptr);
    EXPECT_STREQ(filled.getScanCode(), "");
}

TEST(RecordTest, SpecialValuesTravelUntouched)
{
    cObjectAInput sent;
    sent.setDeviceSerial(cObject::kWildcard);
    sent.setPortId(cObject::kWildcard);
    sent.setGain(std::bit_cast<float>(0x7FC12345));
    sent.setOffset(-0.0F);
    sent.setSampledValue(-INFINITY);
    cObjectAInput received;
    ASSERT_TRUE(parseBytes(&received, encoded(sent)).isOk());
    EXPECT_EQ(received.getDeviceSerial(), 0xFFFFFFFFU);
    EXPECT_EQ(received.getPortId(), 0xFFFFFFFFU);
    EXPECT_EQ(received.getSampleRate(), cObject::kRateUnchanged);
    EXPECT_EQ(encoded(received), encoded(sent)) << "NaN included, bit for bit";
}

TEST(RecordTest, TextEndsAtANul)
{
    cObjectAccess access;
    ASSERT_TRUE(parseBytes(&access, hexBytes("00 00 00 0a  00 00 00 09\n"
                                             "  00 1a 00 05  61 62 00 63 64\n"))
                    .isOk());
    EXPECT_STREQ(access.getScanCode(), "ab");
}

TEST(RecordTest, UnknownTagsAreSkipped)
{
    cObjectAccess access;
    ASSERT_TRUE(parseBytes(&access, hexBytes("00 00 00 0a  00 00 00 1e\n"
                                             "  00 c8 00 02  68 69           ; tag 200\n"
                                             "  00 18 00 04  00 00 00 07     ; port number\n"
                                             "  00 1d 00 04  42 67 99 9a     ; a tag of another record\n"
                                             "  00 00 00 00                  ; tag 0\n"
                                             "  ff ff 00 00                  ; tag 65535\n"))
                    .isOk());
    EXPECT_EQ(access.getPortNum(), 7U);
}

TEST(RecordTest, TagsMayComeInAnyOrderAndTheLastOneCounts)
{
    cObjectAccess access;
    ASSERT_TRUE(parseBytes(&access, hexBytes("00 00 00 0a  00 00 00 1d\n"
                                             "  00 1a 00 01  78\n"
                                             "  00 18 00 04  00 00 00 07\n"
                                             "  00 01 00 04  00 00 03 e9\n"
                                             "  00 18 00 04  00 00 00 08\n"))
                    .isOk());
    EXPECT_STREQ(access.getScanCode(), "x");
    EXPECT_EQ(access.getDeviceSerial(), 1001U);
    EXPECT_EQ(access.getPortNum(), 8U);
}

TEST(RecordTest, NumberOfAnotherLengthIsNamed)
{
    for (const char* tag : {"00 18 00 03 00 00 07", "00 18 00 00", "00 18 00 08 00 00 00 00 00 00 00 07"}) {
        SCOPED_TRACE(tag);
        std::vector<uint8_t> bytes = hexBytes(tag);
        WendleObject object{OBJ_ACCESS, bytes};
        cObjectAccess access;
        EXPECT_STREQ(access.parse(&object, nullptr).field(), "portNum");

        WTag whole(24, std::span(bytes).subspan(4));
        std::vector<WTag*> tags = {&whole};
        EXPECT_STREQ(access.parse(nullptr, &tags).field(), "portNum");
    }
}

TEST(RecordTest, CloneIsARecordOfItsOwn)
{
    for (const auto& record : sampleRecords()) {
        const std::unique_ptr<cObject> copy = copyOf(*record);
        EXPECT_EQ(typeOf(*copy), typeOf(*record));
        EXPECT_EQ(encoded(*copy), encoded(*record));
    }
    cObjectAccess access;
    access.setLabel("Gate");
    const std::unique_ptr<cObject> copy = copyOf(access);
    access.setLabel("other");
    EXPECT_STREQ(dynamic_cast<cObjectAccess&>(*copy).getLabel(), "Gate");
}

TEST(RecordTest, CloneOfAWidgetIsAPlainRecord)
{
    InputWidget widget;
    fillPort(&widget);
    widget.setInputState(cObject::OBJ_IO_STATE_SET);
    const std::unique_ptr<cObject> copy = copyOf(widget);
    EXPECT_EQ(typeOf(*copy), typeid(cObjectDInput));
    EXPECT_EQ(encoded(*copy), encoded(widget));
}

TEST(RecordTest, PortCopyOfAnInputIsAPlainPort)
{
    InputWidget widget;
    fillPort(&widget);
    const std::unique_ptr<cObject> copy(widget.cObjectPort::clone());
    ASSERT_EQ(typeOf(*copy), typeid(cObjectPort));
    const auto& port = dynamic_cast<cObjectPort&>(*copy);
    EXPECT_EQ(port.getType(), OBJ_PORT);
    EXPECT_EQ(port.getPortType(), static_cast<uint32_t>(OBJ_PORT_DIN));
    EXPECT_EQ(port.getPortId(), 3U);
    EXPECT_STREQ(port.getPortLabel(), "Door");
    EXPECT_EQ(port.getPortStatus(), cObject::OBJ_STATUS_ALARM_WARN);
}

TEST(RecordTest, KeyCopyHasTheKeyAlone)
{
    for (const auto& record : sampleRecords()) {
        SCOPED_TRACE(record->getType());
        const std::unique_ptr<cObject> key(record->cloneKey());
        EXPECT_EQ(typeOf(*key), typeOf(*record));
        EXPECT_TRUE(key->compIndex(record.get()));
        EXPECT_NE(encoded(*key), encoded(*record));
    }
}

TEST(RecordTest, EqualKeysMakeEqualIndexes)
{
    cObjectDInput left;
    cObjectDInput right;
    fillPort(&left);
    fillPort(&right);
    right.setInputState(cObject::OBJ_IO_STATE_SET);
    right.setPortLabel("Window");
    EXPECT_TRUE(left.compIndex(&right)) << "other fields do not count";
    right.setPortId(4);
    EXPECT_FALSE(left.compIndex(&right));
    right.setPortId(3);
    right.setDeviceSerial(1002);
    EXPECT_FALSE(left.compIndex(&right));
}

TEST(RecordTest, RecordsOfOtherClassesHaveOtherIndexes)
{
    cObjectDInput input;
    cObjectDOutput output;
    EXPECT_FALSE(input.compIndex(&output));
    EXPECT_FALSE(input.compIndex(nullptr));
    InputWidget widget;
    EXPECT_TRUE(input.compIndex(&widget)) << "a widget is a record of its class";
    const std::unique_ptr<cObject> unknown = zulobj::createRecord(static_cast<eObjectTypes>(99));
    const std::unique_ptr<cObject> other = zulobj::createRecord(static_cast<eObjectTypes>(98));
    EXPECT_TRUE(unknown->compIndex(unknown.get()));
    EXPECT_FALSE(unknown->compIndex(other.get()));
    EXPECT_FALSE(unknown->compIndex(nullptr));
}

TEST(RecordTest, SequenceNumberIsPartOfASamplesKey)
{
    cObjectAnalogSample left;
    cObjectAnalogSample right;
    right.setSeqNum(1);
    EXPECT_FALSE(left.compIndex(&right));
    EXPECT_TRUE(left < right);
}

TEST(RecordTest, OrderIsByTypeThenByKey)
{
    cObjectDInput first;
    cObjectDInput second;
    first.setDeviceSerial(1);
    first.setPortId(9);
    second.setDeviceSerial(2);
    second.setPortId(1);
    EXPECT_TRUE(first < second);
    EXPECT_FALSE(second < first);
    second.setDeviceSerial(1);
    EXPECT_TRUE(second < first);
    second.setPortId(9);
    EXPECT_FALSE(first < second);
    EXPECT_FALSE(second < first);
    cObjectDOutput output;
    EXPECT_TRUE(first < output);
    EXPECT_FALSE(output < first);
}

} // namespace
