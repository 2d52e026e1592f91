#include "cdevice.h"

#include <QDebug>
#include <atomic>
#include <chrono>
#include <memory>

#include "cainput.h"
#include "caoutput.h"
#include "cconfig.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "checkedindex.h"

cDevice::cDevice() : mObjectClient(new cObjectClient), mLinkDriver(mObjectClient)
{
    mObjectClient->setDriver(&mLinkDriver);
    // A page that stands on no tab would be shown in the panel's corner.
    for (QWidget* page : {&dinTab, &doutTab, static_cast<QWidget*>(&ainTab), &aoutTab, &accessTab, &adHocTab,
                          &dInputOutputTab, &aInputOutputTab}) {
        page->hide();
    }
}

cDevice::cDevice(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, uint32_t scanners, char* label,
                 const QString&, uint32_t version, uint32_t serial)
    : cDevice()
{
    describe(dins, douts, ains, aouts, label, version, serial);
    buildDigitalInputs();
    buildDigitalOutputs();
    buildAnalogInputs();
    buildAnalogOutputs();
    buildWiringPages();
    buildAccess(scanners);
    buildAdHoc();
    addCapabilities();
}

cDevice::~cDevice()
{
    // Threads that wait at the executor must be gone before anybody waits for them.
    mExecutor->close();
    stopSampling();
    mLinkDriver.stop();
    delete mObjectClient;
    for (cObjectCapability* capability : mCapabilityList) {
        delete capability;
    }
}

void cDevice::describe(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, const char* label,
                       uint32_t version, uint32_t serial)
{
    setDiscreteInCount(dins);
    setDiscreteOutCount(douts);
    setAnalogInCount(ains);
    setAnalogOutCount(aouts);
    setDeviceSerial(serial);
    setDeviceLabel(label);
    setDeviceType(TYPE_DISCRETE_IO);
    setVersion(version);
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
    return checkedAt(mDigitalInputList, qint64{port} - 1, "mDigitalInputList")->getCurrentState();
}

int cDevice::getAnalogInputValue(int port) const
{
    return checkedAt(mAnalogInputList, qint64{port} - 1, "mAnalogInputList")->getCurrentSample();
}

int cDevice::getDigitalOutputValue(int port) const
{
    return checkedAt(mDigitalOutputList, qint64{port} - 1, "mDigitalOutputList")->getCurrentState();
}

int cDevice::getAnalogOutputValue(int port) const
{
    return checkedAt(mAnalogOutputList, qint64{port} - 1, "mAnalogOutputList")->getCurrentSample();
}

void cDevice::startSampling()
{
    pthread_t thread{};
    if (pthread_create(&thread, nullptr, &cDevice::sample_thread, this) == 0) {
        mSampleThreads.push_back(thread);
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
    const auto passIsDue = std::make_shared<std::atomic<bool>>(false);
    do {
        // A pass that the GUI thread has not come to yet stands for this one, too.
        if (!passIsDue->exchange(true)) {
            device->mExecutor->post([device, passIsDue] {
                *passIsDue = false;
                device->samplePass();
            });
        }
    } while (device->waitForNextPass());
    return nullptr;
}

/// Sleeps for a second. False when the device is going away.
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
