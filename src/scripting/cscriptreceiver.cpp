#include "cscriptreceiver.h"

#include <QScriptContext>
#include <QScriptEngine>
#include <utility>

#include "cdevice.h"
#include "cguiexecutor.h"

cScriptReceiver::cScriptReceiver(cDevice* device, std::shared_ptr<cGuiExecutor> executor,
                                 std::stop_token stop)
    : mDevice(device), mExecutor(std::move(executor)), mStopToken(std::move(stop))
{}

bool cScriptReceiver::withDevice(const QScriptable& caller, const std::function<void(cDevice&)>& call)
{
    if (mStopToken.stop_requested()) {
        caller.engine()->abortEvaluation();
        return false;
    }
    const bool done = mDevice != nullptr && mExecutor->run([&] { call(*mDevice); });
    if (!done) {
        caller.context()->throwError("the device is gone");
    }
    return done;
}

template <class Getter, class... Arguments>
int cScriptReceiver::get(Getter getter, Arguments... arguments)
{
    int result = 0;
    withDevice(*this, [&](cDevice& device) { result = std::invoke(getter, device, arguments...); });
    return result;
}

template <class Slot, class... Arguments>
void cScriptReceiver::post(Slot slot, Arguments... arguments)
{
    if (mStopToken.stop_requested()) {
        engine()->abortEvaluation();
    } else if (mDevice == nullptr ||
               !mExecutor->post([=, device = mDevice] { std::invoke(slot, device, arguments...); })) {
        context()->throwError("the device is gone");
    }
}

int cScriptReceiver::getDiscreteInputCount() { return get(&cDevice::getDiscreteInputCount); }
int cScriptReceiver::getDiscreteOutputCount() { return get(&cDevice::getDiscreteOutputCount); }
int cScriptReceiver::getAnalogInputCount() { return get(&cDevice::getAnalogInputCount); }
int cScriptReceiver::getAnalogOutputCount() { return get(&cDevice::getAnalogOutputCount); }
int cScriptReceiver::getDigitalInputValue(int port) { return get(&cDevice::getDigitalInputValue, port); }
int cScriptReceiver::getAnalogInputValue(int port) { return get(&cDevice::getAnalogInputValue, port); }
int cScriptReceiver::getDigitalOutputValue(int port) { return get(&cDevice::getDigitalOutputValue, port); }
int cScriptReceiver::getAnalogOutputValue(int port) { return get(&cDevice::getAnalogOutputValue, port); }

void cScriptReceiver::setDigitalInput_Slot(int port, int value)
{
    post(&cDevice::setDigitalInput_Slot, port, value);
}

void cScriptReceiver::setAnalogInput_Slot(int port, int value)
{
    post(&cDevice::setAnalogInput_Slot, port, value);
}

void cScriptReceiver::connectDigitalInput_Slot(int input, int output, bool connect)
{
    post(&cDevice::connectDigitalInput_Slot, input, output, connect);
}

void cScriptReceiver::connectAnalogInput_Slot(int input, int output, bool connect)
{
    post(&cDevice::connectAnalogInput_Slot, input, output, connect);
}
