#pragma once

#include <deque>

#include "conversation.h"
#include "zuldevice/plaindevice.h"

/// A device without a window for a conversation.
class PlainConversation : public ConversationDevice
{
public:
    PlainConversation(const Conversation& conversation, std::ostream& trace)
        : mDevice(
              conversation.counts(), conversation.label().c_str(), conversation.version(),
              conversation.serial(), 0, [this](cObjectList* list) { mSent.push_back(copy(*list)); }, trace)
    {}

    void receive(const cObjectList& list) override { mDevice.handle(copy(list).get()); }
    void setDigitalInput(int port, int value) override { mDevice.setDigitalInput(number(port), value == 1); }
    void setAnalogInput(int port, int value) override { mDevice.setAnalogInput(number(port), value); }
    void connectDigitalInput(int input, int output) override
    {
        mDevice.connectDigitalInput(number(input), number(output), true);
    }
    void connectAnalogInput(int input, int output) override
    {
        mDevice.connectAnalogInput(number(input), number(output), true);
    }
    void scan(int scanner, const char* code) override { mDevice.scan(number(scanner), code); }
    void adhoc(int id, const char* label, const char* value) override
    {
        mDevice.adhoc(number(id), label, value);
    }
    void takeSamples(time_t now) override { mDevice.takeSamples(now); }

    std::unique_ptr<cObjectList> next() override
    {
        if (mSent.empty()) {
            return nullptr;
        }
        std::unique_ptr<cObjectList> list = std::move(mSent.front());
        mSent.pop_front();
        return list;
    }
    bool hasMore() override { return !mSent.empty(); }

private:
    static uint32_t number(int value) { return static_cast<uint32_t>(value); }

    /// The list as it comes out of its message.
    static std::unique_ptr<cObjectList> copy(const cObjectList& list)
    {
        WMsg message;
        auto copied = std::make_unique<cObjectList>();
        return list.encode(&message).isOk() && copied->decode(message).isOk() ? std::move(copied) : nullptr;
    }

    std::deque<std::unique_ptr<cObjectList>> mSent;
    PlainDevice mDevice;
};
