#include "cdevice.h"

#include <QDebug>
#include <atomic>
#include <chrono>
#include <cstring>
#include <iostream>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cconfig.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "devicepanel.h"
#include "wlog/wlog.h"

cDevice::cDevice()
    : mObjectClient(new cObjectClient(cObjectClient::Settings{sLinkLimits(), kStartMs})),
      mLinkDriver(mObjectClient),
      mCore({*this, mDigitalInputList, mDigitalOutputList, mAnalogInputList, mAnalogOutputList, mAccessList,
             mCapabilityList},
            &std::cout),
      mDigitalWiring({"digital", "mDigitalInputList", "mDigitalOutputList", "mDigitalInputRadioButtonList",
                      "mDigitalOutputCheckboxList"},
                     {mDigitalInputList, mDigitalOutputList, mDigitalInputRadioButtonList,
                      mDigitalOutputCheckboxList, selectedDigitalInput}),
      mAnalogWiring({"analog", "mAnalogInputList", "mAnalogOutputList", "mAnalogInputRadioButtonList",
                     "mAnalogOutputCheckboxList"},
                    {mAnalogInputList, mAnalogOutputList, mAnalogInputRadioButtonList,
                     mAnalogOutputCheckboxList, selectedAnalogInput})
{
    // A page without a tab would be shown in the panel's corner.
    for (QWidget* page : {&dinTab, &doutTab, static_cast<QWidget*>(&ainTab), &aoutTab, &accessTab, &adHocTab,
                          &dInputOutputTab, &aInputOutputTab}) {
        page->hide();
    }
}

cDevice::cDevice(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, uint32_t scanners, char* label,
                 const QString&, uint32_t version, uint32_t serial)
    : cDevice()
{
    zuldevice::describeDevice(this, {dins, douts, ains, aouts, scanners}, label, version, serial);
    mDigitalInputList = devicepanel::addDigitalInputs(this, *this, &dinTab);
    mDigitalOutputList = devicepanel::addDigitalOutputs(this, *this, &doutTab);
    mAnalogInputList = devicepanel::addAnalogInputs(this, *this, &ainTab);
    mAnalogOutputList = devicepanel::addAnalogOutputs(this, *this, &aoutTab);
    devicepanel::addWiring(this, &dInputOutputTab, tr("Digital Input and Output Connections"),
                           createDigitalInputGroup(), createDigitalOutputGroup());
    devicepanel::addWiring(this, &aInputOutputTab, tr("Analog Input and Output Connections"),
                           createAnalogInputGroup(), createAnalogOutputGroup());
    mAccessList = devicepanel::addScanners(this, *this, &accessTab, scanners);
    mAdHocEvent = devicepanel::addAdHocEditor(this, *this, &adHocTab);
    mCore.addCapabilities();
}

cDevice::~cDevice()
{
    // Threads that wait for the executor could not be joined.
    mExecutor->close();
    stopSampling();
    mLinkDriver.stop();
    delete mObjectClient;
}

void cDevice::start(cConfig* config)
{
    mObjectClient->addListener(this);
    qDebug().noquote().nospace() << "Starting with " << config->getZULIP() << ":" << config->getZULPort();
    const long port = config->getZULPort().toLong();
    mObjectClient->start(config->getZULIPChar(), static_cast<int>(port & 0xFFFF));
    startSampling();
}

cDInput* cDevice::getInput(int index) const
{
    return checkedAt(mDigitalInputList, index, "mDigitalInputList");
}

cDOutput* cDevice::getOutput(int index) const
{
    return checkedAt(mDigitalOutputList, index, "mDigitalOutputList");
}

int cDevice::getDigitalInputValue(int port) const
{
    return checkedAt(mDigitalInputList, int64_t{port} - 1, "mDigitalInputList")->getCurrentState();
}

int cDevice::getAnalogInputValue(int port) const
{
    return checkedAt(mAnalogInputList, int64_t{port} - 1, "mAnalogInputList")->getCurrentSample();
}

int cDevice::getDigitalOutputValue(int port) const
{
    return checkedAt(mDigitalOutputList, int64_t{port} - 1, "mDigitalOutputList")->getCurrentState();
}

int cDevice::getAnalogOutputValue(int port) const
{
    return checkedAt(mAnalogOutputList, int64_t{port} - 1, "mAnalogOutputList")->getCurrentSample();
}

void cDevice::handleObjectAction(cObjectList* msg)
{
    mExecutor->run([&] { dispatch(msg); });
}

void cDevice::dispatch(cObjectList* msg)
{
    switch (msg->getMsgType()) {
    case cObjectList::kRequest:
        handleRequest(msg);
        break;
    case cObjectList::kSet:
        qDebug() << "SET ";
        handleSet(msg);
        break;
    case cObjectList::kEvent:
        qDebug() << "EVT ";
        break;
    default:
        mCore.traceUnknown(*msg);
    }
}

void cDevice::handleRequest(cObjectList* msg)
{
    cObjectList reply;
    mCore.handleRequest(msg, &reply);
    mObjectClient->send(&reply);
}

void cDevice::handleSet(cObjectList* msg)
{
    cObjectList reply;
    mCore.handleSet(msg, &reply);
    mObjectClient->send(&reply);
}

void cDevice::inputEvent(int index)
{
    qDebug().nospace() << "Got an input event from port " << int64_t{index} + 1 << Qt::endl;
    cObjectList event;
    mCore.inputEvent(
        index,
        [this](const cDOutput* output, eObjectIOState state) {
            const auto wire = connect(this, &cDevice::digitalOutputUpdated, output, &cDOutput::updateOutput);
            emit digitalOutputUpdated(state);
            disconnect(wire);
        },
        &event);
    mObjectClient->send(&event);
}

void cDevice::analogEvent(cObjectAnalogSample* sample)
{
    cObjectList event;
    mCore.analogEvent(
        sample,
        [this](const cAOutput* output, cObjectAOutput* value) {
            const auto wire = connect(this, &cDevice::analogOutputUpdated, output, &cAOutput::updateObject);
            emit analogOutputUpdated(value);
            disconnect(wire);
        },
        &event);
    mObjectClient->send(&event);
}

void cDevice::accesEvnt(int index)
{
    cObjectList event;
    mCore.accessEvent(index, &event);
    mObjectClient->send(&event);
}

void cDevice::adHocEvnt(int)
{
    cObjectList event;
    mCore.adHocEvent(mAdHocEvent, &event);
    mObjectClient->send(&event);
}

bool cDevice::scan(int scanner, const QString& code)
{
    if (scanner < 1 || static_cast<size_t>(scanner) > mAccessList.size()) {
        return false;
    }
    mAccessList[static_cast<size_t>(scanner) - 1]->send(code);
    return true;
}

bool cDevice::adhoc(int id, const QString& label, const QString& value)
{
    return mAdHocEvent != nullptr && mAdHocEvent->send(id, label, value);
}

void cDevice::setDigitalInput_Slot(int port, int value)
{
    qDebug() << "Digital slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    const cDInput* input = checkedAt(mDigitalInputList, int64_t{port} - 1, "mDigitalInputList");
    const auto wire = connect(this, &cDevice::setDigitalInput_Signal, input, &cDInput::scriptInputChange);
    emit setDigitalInput_Signal(value);
    disconnect(wire);
}

void cDevice::setAnalogInput_Slot(int port, int value)
{
    qDebug() << "Analog slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    const cAInput* input = checkedAt(mAnalogInputList, int64_t{port} - 1, "mAnalogInputList");
    const auto wire = connect(this, &cDevice::setAnalogInput_Signal, input, &cAInput::scriptInputChange);
    emit setAnalogInput_Signal(value);
    disconnect(wire);
}

QGroupBox* cDevice::createDigitalInputGroup()
{
    return mDigitalWiring.createInputs(tr("Inputs:"), tr("Digital Input "), getDiscreteInCount(), this,
                                       SLOT(digitalRadioButtonClicked()));
}

QGroupBox* cDevice::createDigitalOutputGroup()
{
    return mDigitalWiring.createOutputs(tr("Outputs:"), tr("Digital Output "), getDiscreteOutCount(), this,
                                        SLOT(digitalCheckBoxStateChanged(int)));
}

QGroupBox* cDevice::createAnalogInputGroup()
{
    return mAnalogWiring.createInputs(tr("Inputs:"), tr("Analog Input "), getAnalogInCount(), this,
                                      SLOT(analogRadioButtonClicked()));
}

QGroupBox* cDevice::createAnalogOutputGroup()
{
    return mAnalogWiring.createOutputs(tr("Outputs:"), tr("Analog Output "), getAnalogOutCount(), this,
                                       SLOT(analogCheckBoxStateChanged(int)));
}

void cDevice::digitalRadioButtonClicked() { mDigitalWiring.select(sender(), getDiscreteOutCount()); }

void cDevice::analogRadioButtonClicked() { mAnalogWiring.select(sender(), getAnalogOutCount()); }

void cDevice::digitalCheckBoxStateChanged(int state) { mDigitalWiring.tick(sender(), state == Qt::Checked); }

void cDevice::analogCheckBoxStateChanged(int state)
{
    // Unlike a digital box, a partially checked one changes nothing.
    if (state != Qt::PartiallyChecked) {
        mAnalogWiring.tick(sender(), state == Qt::Checked);
    }
}

void cDevice::connectDigitalInput_Slot(int input, int output, bool connect)
{
    mDigitalWiring.connect(input, getDiscreteInCount(), output, getDiscreteOutCount(), connect,
                           mDigitalInputRadioButtonList);
}

void cDevice::connectAnalogInput_Slot(int input, int output, bool connect)
{
    // The digital button of the same number shows the selection: scripts rely on it.
    mAnalogWiring.connect(input, getAnalogInCount(), output, getAnalogOutCount(), connect,
                          mDigitalInputRadioButtonList);
}

void cDevice::startSampling()
{
    pthread_t thread{};
    const int error = pthread_create(&thread, nullptr, &cDevice::sample_thread, this);
    if (error == 0) {
        mSampleThreads.push_back(thread);
    } else {
        const std::string line = std::string("No periodic samples: no thread: ") + std::strerror(error);
        cWlog("zulbench").error(line.c_str());
    }
}

void cDevice::stopSampling()
{
    {
        const std::lock_guard<std::mutex> lock(mSamplingMutex);
        mSamplingStops = true;
    }
    mSamplingChanged.notify_all();
    for (const pthread_t thread : mSampleThreads) {
        pthread_join(thread, nullptr);
    }
    mSampleThreads.clear();
}

void* cDevice::sample_thread(void* arg)
{
    auto* device = static_cast<cDevice*>(arg);
    const auto posted = std::make_shared<std::atomic<bool>>(false);
    do {
        // A pass still posted serves for this second too.
        if (!posted->exchange(true)) {
            device->mExecutor->post([device, posted] {
                *posted = false;
                device->samplePass();
            });
        }
    } while (device->waitForNextPass());
    return nullptr;
}

/// Waits a second. Returns false if the device is being destroyed.
bool cDevice::waitForNextPass()
{
    std::unique_lock<std::mutex> lock(mSamplingMutex);
    return !mSamplingChanged.wait_for(lock, std::chrono::seconds(1), [this] { return mSamplingStops; });
}

void cDevice::samplePass()
{
    for (cAInput* input : mAnalogInputList) {
        input->checkSample();
    }
}
