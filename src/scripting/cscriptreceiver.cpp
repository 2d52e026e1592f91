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

void cScriptReceiver::post(const std::function<void(cDevice&)>& call)
{
    if (mStopToken.stop_requested()) {
        engine()->abortEvaluation();
    } else if (mDevice == nullptr || !mExecutor->post([device = mDevice, call] { call(*device); })) {
        context()->throwError("the device is gone");
    }
}

int cScriptReceiver::get(const std::function<int(cDevice&)>& getter)
{
    int result = 0;
    withDevice(*this, [&](cDevice& device) { result = getter(device); });
    return result;
}

int cScriptReceiver::getDiscreteInputCount() { return get(std::mem_fn(&cDevice::getDiscreteInputCount)); }
int cScriptReceiver::getDiscreteOutputCount() { return get(std::mem_fn(&cDevice::getDiscreteOutputCount)); }
int cScriptReceiver::getAnalogInputCount() { return get(std::mem_fn(&cDevice::getAnalogInputCount)); }
int cScriptReceiver::getAnalogOutputCount() { return get(std::mem_fn(&cDevice::getAnalogOutputCount)); }

int cScriptReceiver::getDigitalInputValue(int port)
{
    return get([port](const cDevice& device) { return device.getDigitalInputValue(port); });
}

int cScriptReceiver::getAnalogInputValue(int port)
{
    return get([port](const cDevice& device) { return device.getAnalogInputValue(port); });
}

int cScriptReceiver::getDigitalOutputValue(int port)
{
    return get([port](const cDevice& device) { return device.getDigitalOutputValue(port); });
}

int cScriptReceiver::getAnalogOutputValue(int port)
{
    return get([port](const cDevice& device) { return device.getAnalogOutputValue(port); });
}

void cScriptReceiver::setDigitalInput_Slot(int port, int value)
{
    post([=](cDevice& device) { device.setDigitalInput_Slot(port, value); });
}

void cScriptReceiver::setAnalogInput_Slot(int port, int value)
{
    post([=](cDevice& device) { device.setAnalogInput_Slot(port, value); });
}

void cScriptReceiver::connectDigitalInput_Slot(int input, int output, bool connect)
{
    post([=](cDevice& device) { device.connectDigitalInput_Slot(input, output, connect); });
}

void cScriptReceiver::connectAnalogInput_Slot(int input, int output, bool connect)
{
    post([=](cDevice& device) { device.connectAnalogInput_Slot(input, output, connect); });
}
