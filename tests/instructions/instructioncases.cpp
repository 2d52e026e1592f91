// Does one case TIMES times: what a tool that counts instructions runs.

#include <QApplication>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <string>

#include "cdevice.h"
#include "cdinput.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kRecords = 64;
constexpr uint32_t kSerial = 1001;

using Once = std::function<void()>;

/// What is counted; what makes a program start is not.
extern "C" [[gnu::noinline]] void countedRounds(const Once& once, long times)
{
    for (; times > 0; --times) {
        once();
    }
}

/// What a mistake in a case ends with: a figure of it would mean nothing.
void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "instructioncases: %s\n", what);
        std::exit(1);
    }
}

std::unique_ptr<cObjectDInput> input(uint32_t port, bool labelled)
{
    auto record = std::make_unique<cObjectDInput>();
    record->setDeviceSerial(kSerial);
    record->setPortId(port);
    record->setPortStatus(cObject::OBJ_STATUS_ALARM_CLEAR);
    record->setInputState(cObject::OBJ_IO_STATE_SET);
    record->setDefaultState(cObject::OBJ_IO_STATE_SET);
    if (labelled) {
        record->setPortLabel(("INPUT " + std::to_string(port)).c_str());
    }
    return record;
}

std::shared_ptr<cObjectList> inputs(bool labelled)
{
    auto list = std::make_shared<cObjectList>();
    list->setMsgType(cObjectList::kRequest);
    for (uint32_t port = 1; port <= kRecords; ++port) {
        list->add(input(port, labelled).release());
    }
    return list;
}

WMsg messageOf(const cObjectList& list)
{
    WMsg message;
    require(list.encode(&message).isOk(), "a list is not encoded");
    return message;
}

Once encoding(bool labelled)
{
    return [list = inputs(labelled), message = WMsg()]() mutable {
        require(list->encode(&message).isOk(), "a list is not encoded");
    };
}

Once decoding(bool labelled)
{
    return [message = messageOf(*inputs(labelled)), list = std::make_shared<cObjectList>()] {
        require(list->decode(message).isOk(), "a message is not decoded");
    };
}

Once framing()
{
    return [message = messageOf(*inputs(true)), bytes = std::vector<uint8_t>()]() mutable {
        bytes.clear();
        message.appendFrames(bytes);
    };
}

/// The device stays to the end of the program.
cDevice* deviceWith(uint32_t inputs)
{
    char label[] = "Counted";
    return new cDevice(inputs, 0, 0, 0, 0, label, QString(), 1, kSerial);
}

/// The inputs' own part of an answer: clones in a list, and the bytes for the line.
Once answer(uint32_t ports)
{
    const cDevice* device = deviceWith(ports);
    return [device, ports, list = std::make_shared<cObjectList>(), message = WMsg(),
            bytes = std::vector<uint8_t>()]() mutable {
        for (uint32_t index = 0; index < ports; ++index) {
            device->getInput(static_cast<int>(index))->populateMsg(list.get(), nullptr);
        }
        require(list->encode(&message).isOk(), "an answer is not encoded");
        bytes.clear();
        message.appendFrames(bytes);
        list->deleteObjects();
    };
}

/// What a device without a link does with a request for @p port.
Once request(uint32_t ports, uint32_t port)
{
    auto list = std::make_shared<cObjectList>();
    list->setMsgType(cObjectList::kRequest);
    auto* object = new cObjectDInput;
    object->setDeviceSerial(cObject::kWildcard);
    object->setPortId(port);
    list->add(object);
    return [device = deviceWith(ports), list] { device->handleObjectAction(list.get()); };
}

Once caseOf(const std::string& name, uint32_t ports)
{
    if (name == "encode" || name == "decode") {
        return name == "encode" ? encoding(false) : decoding(false);
    }
    if (name == "encode-labels" || name == "decode-labels") {
        return name == "encode-labels" ? encoding(true) : decoding(true);
    }
    if (name == "frame") {
        return framing();
    }
    if (name == "answer") {
        return answer(ports);
    }
    if (name == "all" || name == "last") {
        return request(ports, name == "all" ? cObject::kWildcard : ports);
    }
    return {};
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3 || argc > 4) {
        std::fprintf(stderr, "usage: instructioncases CASE TIMES [PORTS]\n");
        return 2;
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("HOME", "/nonexistent"); // nothing of the user's changes a figure
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    const QApplication application(argc, argv);
    const Once once =
        caseOf(argv[1], argc == 4 ? static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10)) : 0);
    require(static_cast<bool>(once), "there is no such case");
    once(); // takes the memory that later rounds use again
    once();
    countedRounds(once, std::strtol(argv[2], nullptr, 10));
    std::cout.flush();
    std::_Exit(0);
}
