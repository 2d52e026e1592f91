// Encodes or decodes the same list again and again, by one codec: what a tool that counts instructions runs.

#include <capnp/message.h>
#include <capnp/serialize.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <msgpack.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "handwritten.h"
#include "ports.capnp.h"
#include "ports.pb.h"
#include "ports_generated.h"
#include "zulobj/dinput.h"
#include "zulobj/objectlist.h"

namespace {

constexpr uint32_t kRecords = 64;

/// The list that every codec carries: as it is in memory before, and must be after.
std::vector<handwritten::Input> inputs()
{
    std::vector<handwritten::Input> list(kRecords);
    for (uint32_t i = 0; i < kRecords; ++i) {
        list[i] = {1001,
                   i + 1,
                   cObject::OBJ_STATUS_ALARM_CLEAR,
                   OBJ_PORT_DIN,
                   cObject::OBJ_IO_STATE_SET,
                   cObject::OBJ_IO_STATE_SET};
    }
    return list;
}

/// What is done again and again, and whether it was done right.
struct Case
{
    std::function<void()> once;
    std::function<bool()> check;
};

void require(bool holds, const char* what)
{
    if (!holds) {
        throw std::runtime_error(what);
    }
}

std::unique_ptr<cObjectList> ourList()
{
    auto list = std::make_unique<cObjectList>();
    list->setMsgType(cObjectList::kRequest);
    for (const handwritten::Input& input : inputs()) {
        auto* record = new cObjectDInput;
        record->setDeviceSerial(input.deviceSerial);
        record->setPortId(input.portId);
        record->setPortStatus(static_cast<cObject::eObjectStatus>(input.portStatus));
        record->setInputState(static_cast<cObject::eObjectIOState>(input.inputState));
        record->setDefaultState(static_cast<cObject::eObjectIOState>(input.defaultState));
        list->add(record);
    }
    return list;
}

WMsg ourMessage()
{
    WMsg message;
    require(ourList()->encode(&message).isOk(), "encode");
    return message;
}

Case oursEncode()
{
    struct State
    {
        std::unique_ptr<cObjectList> list = ourList();
        WMsg message;
    };
    auto state = std::make_shared<State>();
    return {[state] { (void)state->list->encode(&state->message); },
            [state] { return state->message.payload == ourMessage().payload; }};
}

Case oursDecode()
{
    struct State
    {
        WMsg message = ourMessage();
        cObjectList list;
    };
    auto state = std::make_shared<State>();
    return {[state] { (void)state->list.decode(state->message); },
            [state] {
                WMsg again;
                return state->list.encode(&again).isOk() && again.payload == state->message.payload;
            }};
}

Case handEncode()
{
    struct State
    {
        std::vector<handwritten::Input> list = inputs();
        std::vector<uint8_t> bytes;
    };
    auto state = std::make_shared<State>();
    return {[state] { handwritten::encode(state->list, &state->bytes); },
            [state] { return state->bytes == ourMessage().payload; }};
}

Case handDecode()
{
    struct State
    {
        std::vector<uint8_t> bytes = ourMessage().payload;
        std::vector<handwritten::Input> list;
    };
    auto state = std::make_shared<State>();
    return {[state] { (void)handwritten::decode(state->bytes, &state->list); },
            [state] { return state->list == inputs(); }};
}

void fill(peers::Inputs* message, const std::vector<handwritten::Input>& from)
{
    message->Clear();
    for (const handwritten::Input& input : from) {
        peers::Input* to = message->add_inputs();
        to->set_device_serial(input.deviceSerial);
        to->set_port_id(input.portId);
        to->set_port_status(input.portStatus);
        to->set_port_type(input.portType);
        to->set_input_state(input.inputState);
        to->set_default_state(input.defaultState);
    }
}

Case protobufEncode()
{
    struct State
    {
        peers::Inputs message;
        std::string bytes;
    };
    auto state = std::make_shared<State>();
    fill(&state->message, inputs());
    return {[state] { state->message.SerializeToString(&state->bytes); },
            [state] { return !state->bytes.empty(); }};
}

/// What a device that uses protobuf does for an answer: builds a message of its own, encodes it, frees it.
Case protobufAnswer()
{
    struct State
    {
        std::vector<handwritten::Input> list = inputs();
        std::string bytes;
    };
    auto state = std::make_shared<State>();
    return {[state] {
                peers::Inputs message;
                fill(&message, state->list);
                message.SerializeToString(&state->bytes);
            },
            [state] { return !state->bytes.empty(); }};
}

Case protobufDecode()
{
    struct State
    {
        peers::Inputs message;
        std::string bytes;
    };
    auto state = std::make_shared<State>();
    fill(&state->message, inputs());
    state->message.SerializeToString(&state->bytes);
    return {[state] { state->message.ParseFromString(state->bytes); },
            [state] { return state->message.inputs_size() == kRecords; }};
}

void fill(peers::capnproto::Inputs::Builder message, const std::vector<handwritten::Input>& from)
{
    auto list = message.initInputs(kRecords);
    for (uint32_t i = 0; i < kRecords; ++i) {
        auto to = list[i];
        to.setDeviceSerial(from[i].deviceSerial);
        to.setPortId(from[i].portId);
        to.setPortStatus(from[i].portStatus);
        to.setPortType(from[i].portType);
        to.setInputState(from[i].inputState);
        to.setDefaultState(from[i].defaultState);
    }
}

Case capnpEncode()
{
    struct State
    {
        std::vector<handwritten::Input> list = inputs();
        std::vector<capnp::word> scratch = std::vector<capnp::word>(1024);
        kj::Array<capnp::word> words;
        size_t size = 0;
    };
    auto state = std::make_shared<State>();
    return {[state] {
                std::memset(state->scratch.data(), 0, state->size);
                capnp::MallocMessageBuilder builder(
                    kj::ArrayPtr<capnp::word>(state->scratch.data(), state->scratch.size()));
                fill(builder.initRoot<peers::capnproto::Inputs>(), state->list);
                state->words = capnp::messageToFlatArray(builder);
                state->size = state->words.size() * sizeof(capnp::word);
            },
            [state] { return state->size > 0; }};
}

Case capnpDecode()
{
    struct State
    {
        kj::Array<capnp::word> words;
        std::vector<handwritten::Input> list = std::vector<handwritten::Input>(kRecords);
    };
    auto state = std::make_shared<State>();
    capnp::MallocMessageBuilder builder;
    fill(builder.initRoot<peers::capnproto::Inputs>(), inputs());
    state->words = capnp::messageToFlatArray(builder);
    return {[state] {
                capnp::FlatArrayMessageReader reader(state->words);
                size_t i = 0;
                for (const auto input : reader.getRoot<peers::capnproto::Inputs>().getInputs()) {
                    state->list[i++] = {input.getDeviceSerial(), input.getPortId(),
                                        input.getPortStatus(),   input.getPortType(),
                                        input.getInputState(),   input.getDefaultState()};
                }
            },
            [state] { return state->list == inputs(); }};
}

void buildFlat(flatbuffers::FlatBufferBuilder* builder, const std::vector<handwritten::Input>& list)
{
    builder->Clear();
    flatbuffers::Offset<peers::flat::Input> offsets[kRecords];
    for (uint32_t i = 0; i < kRecords; ++i) {
        const handwritten::Input& input = list[i];
        offsets[i] = peers::flat::CreateInput(*builder, input.deviceSerial, input.portId, input.portStatus,
                                              input.portType, input.inputState, input.defaultState);
    }
    builder->Finish(peers::flat::CreateInputs(*builder, builder->CreateVector(offsets, kRecords)));
}

Case flatEncode()
{
    struct State
    {
        std::vector<handwritten::Input> list = inputs();
        flatbuffers::FlatBufferBuilder builder;
    };
    auto state = std::make_shared<State>();
    return {[state] { buildFlat(&state->builder, state->list); },
            [state] { return state->builder.GetSize() > 0; }};
}

Case flatDecode()
{
    struct State
    {
        flatbuffers::FlatBufferBuilder builder;
        std::vector<handwritten::Input> list = std::vector<handwritten::Input>(kRecords);
    };
    auto state = std::make_shared<State>();
    buildFlat(&state->builder, inputs());
    return {[state] {
                flatbuffers::Verifier verifier(state->builder.GetBufferPointer(), state->builder.GetSize());
                if (!peers::flat::VerifyInputsBuffer(verifier)) {
                    return;
                }
                size_t i = 0;
                for (const auto* input :
                     *peers::flat::GetInputs(state->builder.GetBufferPointer())->inputs()) {
                    state->list[i++] = {input->device_serial(), input->port_id(),     input->port_status(),
                                        input->port_type(),     input->input_state(), input->default_state()};
                }
            },
            [state] { return state->list == inputs(); }};
}

void packAll(msgpack_sbuffer* buffer, const std::vector<handwritten::Input>& list)
{
    msgpack_sbuffer_clear(buffer);
    msgpack_packer packer;
    msgpack_packer_init(&packer, buffer, msgpack_sbuffer_write);
    msgpack_pack_array(&packer, list.size());
    for (const handwritten::Input& input : list) {
        msgpack_pack_array(&packer, 6);
        msgpack_pack_uint32(&packer, input.deviceSerial);
        msgpack_pack_uint32(&packer, input.portId);
        msgpack_pack_uint32(&packer, input.portStatus);
        msgpack_pack_uint32(&packer, input.portType);
        msgpack_pack_uint32(&packer, input.inputState);
        msgpack_pack_uint32(&packer, input.defaultState);
    }
}

struct PackBuffer
{
    PackBuffer() { msgpack_sbuffer_init(&buffer); }
    ~PackBuffer() { msgpack_sbuffer_destroy(&buffer); }
    PackBuffer(const PackBuffer&) = delete;
    PackBuffer& operator=(const PackBuffer&) = delete;
    msgpack_sbuffer buffer{};
};

Case msgpackEncode()
{
    struct State
    {
        std::vector<handwritten::Input> list = inputs();
        PackBuffer pack;
    };
    auto state = std::make_shared<State>();
    return {[state] { packAll(&state->pack.buffer, state->list); },
            [state] { return state->pack.buffer.size > 0; }};
}

uint32_t packedNumber(const msgpack_object& object) { return static_cast<uint32_t>(object.via.u64); }

Case msgpackDecode()
{
    struct State
    {
        PackBuffer pack;
        std::vector<handwritten::Input> list = std::vector<handwritten::Input>(kRecords);
    };
    auto state = std::make_shared<State>();
    packAll(&state->pack.buffer, inputs());
    return {[state] {
                msgpack_unpacked unpacked;
                msgpack_unpacked_init(&unpacked);
                size_t offset = 0;
                msgpack_unpack_next(&unpacked, state->pack.buffer.data, state->pack.buffer.size, &offset);
                const msgpack_object_array& all = unpacked.data.via.array;
                for (uint32_t i = 0; i < all.size; ++i) {
                    const msgpack_object* field = all.ptr[i].via.array.ptr;
                    state->list[i] = {packedNumber(field[0]), packedNumber(field[1]), packedNumber(field[2]),
                                      packedNumber(field[3]), packedNumber(field[4]), packedNumber(field[5])};
                }
                msgpack_unpacked_destroy(&unpacked);
            },
            [state] { return state->list == inputs(); }};
}

const std::map<std::string, Case (*)()>& cases()
{
    static const std::map<std::string, Case (*)()> all{
        {"ours-encode", oursEncode},         {"ours-decode", oursDecode},
        {"hand-encode", handEncode},         {"hand-decode", handDecode},
        {"protobuf-encode", protobufEncode}, {"protobuf-decode", protobufDecode},
        {"protobuf-answer", protobufAnswer}, {"capnp-encode", capnpEncode},
        {"capnp-decode", capnpDecode},       {"flat-encode", flatEncode},
        {"flat-decode", flatDecode},         {"msgpack-encode", msgpackEncode},
        {"msgpack-decode", msgpackDecode},
    };
    return all;
}

int usage()
{
    std::fprintf(stderr, "usage: codeccases CASE TIMES\ncases:");
    for (const auto& entry : cases()) {
        std::fprintf(stderr, " %s", entry.first.c_str());
    }
    std::fprintf(stderr, "\n");
    return 2;
}

} // namespace

int main(int argc, char** argv)
{
    const auto found = argc == 3 ? cases().find(argv[1]) : cases().end();
    if (found == cases().end()) {
        return usage();
    }
    const Case one = found->second();
    const long times = std::strtol(argv[2], nullptr, 10);
    for (long i = 0; i < times; ++i) {
        one.once();
    }
    if (!one.check()) {
        std::fprintf(stderr, "codeccases: %s came out wrong\n", argv[1]);
        return 1;
    }
    return 0;
}
