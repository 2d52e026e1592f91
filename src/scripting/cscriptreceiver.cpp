#include "cscriptreceiver.h"

#include <QScriptContext>
#include <QScriptEngine>
#include <utility>

#include "cdevice.h"
#include "cguiexecutor.h"
#include "cstoprequest.h"

cScriptReceiver::cScriptReceiver(cDevice* device, std::shared_ptr<cGuiExecutor> executor,
                                 std::shared_ptr<cStopRequest> stop)
    : mDevice(device), mExecutor(std::move(executor)), mStopRequest(std::move(stop))
{}

bool cScriptReceiver::withDevice(const QScriptable& caller, const std::function<void(cDevice&)>& call)
{
    if (mStopRequest->made()) {
        caller.engine()->abortEvaluation();
        return false;
    }
    const bool done = mDevice != nullptr && mExecutor->run([&] { call(*mDevice); });
    if (!done) {
        caller.context()->throwError("the device is gone");
    }
    return done;
}

void cScriptReceiver::tell(const std::function<void(cDevice&)>& call)
{
    if (mStopRequest->made()) {
        engine()->abortEvaluation();
    } else if (mDevice == nullptr || !mExecutor->post([device = mDevice, call] { call(*device); })) {
        context()->throwError("the device is gone");
    }
}

int cScriptReceiver::ask(const std::function<int(cDevice&)>& question)
{
    int result = 0;
    withDevice(*this, [&](cDevice& device) { result = question(device); });
    return result;
}

int cScriptReceiver::getDiscreteInputCount() { return ask(std::mem_fn(&cDevice::getDiscreteInputCount)); }
int cScriptReceiver::getDiscreteOutputCount() { return ask(std::mem_fn(&cDevice::getDiscreteOutputCount)); }
int cScriptReceiver::getAnalogInputCount() { return ask(std::mem_fn(&cDevice::getAnalogInputCount)); }
int cScriptReceiver::getAnalogOutputCount() { return ask(std::mem_fn(&cDevice::getAnalogOutputCount)); }

int cScriptReceiver::getDigitalInputValue(int port)
{
    return ask([port](const cDevice& device) { return device.getDigitalInputValue(port); });
}

int cScriptReceiver::getAnalogInputValue(int port)
{
    return ask([port](const cDevice& device) { return device.getAnalogInputValue(port); });
}

int cScriptReceiver::getDigitalOutputValue(int port)
{
    return ask([port](const cDevice& device) { return device.getDigitalOutputValue(port); });
}

int cScriptReceiver::getAnalogOutputValue(int port)
{
    return ask([port](const cDevice& device) { return device.getAnalogOutputValue(port); });
}

void cScriptReceiver::setDigitalInput_Slot(int port, int value)
{
    tell([=](cDevice& device) { device.setDigitalInput_Slot(port, value); });
}

void cScriptReceiver::setAnalogInput_Slot(int port, int value)
{
    tell([=](cDevice& device) { device.setAnalogInput_Slot(port, value); });
}

void cScriptReceiver::connectDigitalInput_Slot(int input, int output, bool connect)
{
    tell([=](cDevice& device) { device.connectDigitalInput_Slot(input, output, connect); });
}

void cScriptReceiver::connectAnalogInput_Slot(int input, int output, bool connect)
{
    tell([=](cDevice& device) { device.connectAnalogInput_Slot(input, output, connect); });
}
