// What a device with many ports spends on a request beside what it writes and sends.

#include "heapmeter.h"

#include <iostream>
#include <streambuf>

#include "cainput.h"
#include "caoutput.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "qttestmain.h"
#include "testdevice.h"
#include "zulobj/dinput.h"

namespace {

/// Takes what goes to standard output during its life, and counts how often it is flushed.
class FlushCounter : public std::streambuf
{
public:
    FlushCounter() : mFormer(std::cout.rdbuf(this)) {}
    ~FlushCounter() override { std::cout.rdbuf(mFormer); }

    std::string text;
    int flushes = 0;

protected:
    int_type overflow(int_type character) override
    {
        text.push_back(static_cast<char>(character));
        return character;
    }
    int sync() override
    {
        ++flushes;
        return 0;
    }

private:
    std::streambuf* mFormer;
};

void fillRequest(cObjectList* list, uint32_t port)
{
    list->setMsgType(cObjectList::kRequest);
    auto* object = new cObjectDInput;
    object->setDeviceSerial(kSerial);
    object->setPortId(port);
    list->add(object);
}

struct Cost
{
    std::string trace;
    int flushes;
    size_t taken; ///< pieces of memory
};

/// What the second request for @p port of a device that has @p inputs digital inputs costs.
Cost costOf(uint32_t inputs, uint32_t port)
{
    const auto device = makeDevice(Counts{inputs, 0, 0, 0, 0});
    cObjectList request;
    fillRequest(&request, port);
    FlushCounter console;
    device->handleObjectAction(&request);
    console.text.clear();
    console.flushes = 0;
    const HeapMeter meter;
    device->handleObjectAction(&request);
    const size_t taken = meter.taken();
    return {console.text, console.flushes, taken};
}

constexpr uint32_t kMany = 1000;

} // namespace

class TestAnswerCost : public QObject
{
    Q_OBJECT

private slots:
    void onePortOfManyCostsWhatItDoesAlone();
    void everyPortCostsItsCloneAlone();
    void clonesAreThoseOfTheMoment();
    void aLargeAnswerIsNotKept();
};

void TestAnswerCost::onePortOfManyCostsWhatItDoesAlone()
{
    const Cost alone = costOf(1, 1);
    for (const uint32_t port : {1U, kMany / 2, kMany}) {
        const Cost cost = costOf(kMany, port);
        QCOMPARE(cost.trace, std::string("DIN Object\n"));
        QCOMPARE(cost.flushes, alone.flushes);
        QCOMPARE(cost.taken, alone.taken);
    }
}

void TestAnswerCost::everyPortCostsItsCloneAlone()
{
    const Cost alone = costOf(1, 1);
    const Cost all = costOf(kMany, cObject::kWildcard);
    QCOMPARE(all.flushes, alone.flushes);
    // A record, its place in the list, and no more than one text of it.
    QVERIFY2(all.taken <= alone.taken + 3 * kMany, qPrintable(QString::number(all.taken)));
}

void TestAnswerCost::clonesAreThoseOfTheMoment()
{
    const auto device = makeDevice(Counts{2, 1, 1, 1, 0});
    cDInput* input = device->getInput(0);
    cObjectList list;
    input->populateMsg(&list, nullptr);
    auto* clone = dynamic_cast<cObjectDInput*>(list.first());
    QVERIFY(clone != nullptr && typeid(*clone) == typeid(cObjectDInput));
    const auto before = clone->getInputState();
    const auto other =
        before == cObject::OBJ_IO_STATE_SET ? cObject::OBJ_IO_STATE_CLEAR : cObject::OBJ_IO_STATE_SET;
    input->setInputState(other);
    QCOMPARE(clone->getInputState(), before);
    input->populateMsg(&list, nullptr);
    list.first();
    const auto* later = dynamic_cast<cObjectDInput*>(list.next());
    QVERIFY(later != nullptr);
    QCOMPARE(later->getInputState(), other);
}

void TestAnswerCost::aLargeAnswerIsNotKept()
{
    const auto device = makeDevice(Counts{16, 0, 0, 0, 0});
    cObjectList small;
    fillRequest(&small, cObject::kWildcard);
    cObjectList large;
    for (int i = 0; i < 500; ++i) {
        fillRequest(&large, cObject::kWildcard);
    }
    const FlushCounter console;
    device->handleObjectAction(&small);
    const HeapMeter meter;
    device->handleObjectAction(&large);
    QVERIFY(meter.peak() > 500 * 1024);
    QVERIFY2(meter.now() < 128 * 1024, qPrintable(QString::number(meter.now())));
}

ZUL_QTEST(TestAnswerCost)
#include "answercost_test.moc"
