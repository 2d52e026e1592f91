#include "cscriptreceiver.h"

#include <QScriptContext>
#include <QScriptEngine>
#include <algorithm>
#include <limits>
#include <utility>

#include "cdevice.h"
#include "cguiexecutor.h"
#include "zulobj/ainput.h"
#include "zulobj/aoutput.h"
#include "zulobj/dinput.h"
#include "zulobj/doutput.h"

namespace {

constexpr std::pair<const char*, eObjectTypes> kKinds[] = {
    {"din", OBJ_PORT_DIN}, {"dout", OBJ_PORT_DOUT}, {"ain", OBJ_PORT_AIN}, {"aout", OBJ_PORT_AOUT}};

const char* kindOf(eObjectTypes type)
{
    const auto* found = std::ranges::find(kKinds, type, &std::pair<const char*, eObjectTypes>::second);
    return found == std::end(kKinds) ? "port" : found->first;
}

int stateNumber(cObject::eObjectIOState state)
{
    return state == cObject::OBJ_IO_STATE_SET ? 1 : state == cObject::OBJ_IO_STATE_CLEAR ? 0 : -1;
}

} // namespace

eObjectTypes scriptports::typeOf(const QString& kind)
{
    const auto* found = std::ranges::find_if(
        kKinds, [&kind](const auto& known) { return kind == QLatin1String(known.first); });
    return found == std::end(kKinds) ? OBJ_DEVICE : found->second;
}

void scriptports::throwMissing(QScriptContext& context, eObjectTypes type, const QString& port)
{
    context.throwError(QScriptContext::RangeError,
                       QString("there is no %1 %2").arg(QLatin1String(kindOf(type)), port));
}

int wholeNumber(double number)
{
    const bool fits = number >= 0 && number <= std::numeric_limits<int>::max();
    return fits && number == static_cast<int>(number) ? static_cast<int>(number) : 0;
}

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
        refuse(caller);
    }
    return done;
}

/// The device is gone. At the end of the program, the script has been told to stop before that.
void cScriptReceiver::refuse(const QScriptable& caller) const
{
    if (mStopToken.stop_requested()) {
        caller.engine()->abortEvaluation();
    } else {
        caller.context()->throwError("the device is gone");
    }
}

template <class Getter, class... Arguments>
int cScriptReceiver::get(Getter getter, Arguments... arguments)
{
    int result = 0;
    withDevice(*this, [&](cDevice& device) { result = std::invoke(getter, device, arguments...); });
    return result;
}

/// Calls @p read with the record of the port on the GUI thread. If there is no such port, which throws, the
/// result is that of an empty value.
template <class Read>
auto cScriptReceiver::read(eObjectTypes type, double port, Read read)
{
    std::invoke_result_t<Read, const cObjectPort&> result{};
    bool found = false;
    const auto call = [&](cDevice& device) {
        if (const cObjectPort* record = device.findPort(type, wholeNumber(port))) {
            found = true;
            result = read(*record);
        }
    };
    if (withDevice(*this, call) && !found) {
        scriptports::throwMissing(*context(), type, QString::number(port));
    }
    return result;
}

template <class Slot, class... Arguments>
void cScriptReceiver::post(Slot slot, Arguments... arguments)
{
    if (mStopToken.stop_requested()) {
        engine()->abortEvaluation();
    } else if (mDevice == nullptr ||
               !mExecutor->post([=, device = mDevice] { std::invoke(slot, device, arguments...); })) {
        refuse(*this);
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

int cScriptReceiver::getScannerCount() { return get(&cDevice::getScannerCount); }

uint cScriptReceiver::getSerial()
{
    uint serial = 0;
    withDevice(*this, [&](cDevice& device) { serial = device.getDeviceSerial(); });
    return serial;
}

QString cScriptReceiver::getLabel()
{
    QString label;
    withDevice(*this, [&](cDevice& device) { label = QString::fromUtf8(device.getDeviceLabel()); });
    return label;
}

int cScriptReceiver::getDefaultState(const QString& kind, double port)
{
    const eObjectTypes type = scriptports::typeOf(kind);
    const bool isDigital = type == OBJ_PORT_DIN || type == OBJ_PORT_DOUT;
    return read(isDigital ? type : OBJ_DEVICE, port, [type](const cObjectPort& record) {
        return stateNumber(type == OBJ_PORT_DIN
                               ? dynamic_cast<const cObjectDInput&>(record).getDefaultState()
                               : dynamic_cast<const cObjectDOutput&>(record).getDefaultState());
    });
}

bool cScriptReceiver::getAlarm(const QString& kind, double port)
{
    return read(scriptports::typeOf(kind), port, [](const cObjectPort& record) {
        return record.getPortStatus() == cObject::OBJ_STATUS_ALARM_SET;
    });
}

float cScriptReceiver::getGain(double port)
{
    return read(OBJ_PORT_AIN, port, [](const cObjectPort& record) {
        return dynamic_cast<const cObjectAInput&>(record).getGain();
    });
}

float cScriptReceiver::getOffset(double port)
{
    return read(OBJ_PORT_AIN, port, [](const cObjectPort& record) {
        return dynamic_cast<const cObjectAInput&>(record).getOffset();
    });
}

uint cScriptReceiver::getSampleRate(double port)
{
    return read(OBJ_PORT_AIN, port, [](const cObjectPort& record) {
        return dynamic_cast<const cObjectAInput&>(record).getSampleRate();
    });
}

float cScriptReceiver::getOutputSample(double port)
{
    return read(OBJ_PORT_AOUT, port, [](const cObjectPort& record) {
        return dynamic_cast<const cObjectAOutput&>(record).getSampledValue();
    });
}

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
