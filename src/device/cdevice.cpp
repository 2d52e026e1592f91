#include "cdevice.h"

#include <QDebug>
#include <QGridLayout>
#include <QStyle>
#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "caccess.h"
#include "cadhoc.h"
#include "cainput.h"
#include "caoutput.h"
#include "cconfig.h"
#include "cdinput.h"
#include "cdoutput.h"
#include "devicepanel.h"
#include "wlog/wlog.h"

namespace {

constexpr eObjectTypes kPortTypes[] = {OBJ_PORT_DIN, OBJ_PORT_DOUT, OBJ_PORT_AIN, OBJ_PORT_AOUT};

/// A clock that is fast is not looked at more often.
constexpr double kMinPassSeconds = 0.001;

/// Where the slider of an analog input stands; nothing for another record.
std::optional<int> sliderOf(const cObject& record)
{
    const auto* input = dynamic_cast<const cAInput*>(&record);
    return input == nullptr ? std::nullopt : std::make_optional(input->getCurrentSample());
}

void addWiring(QTabWidget* panel, QWidget* page, const QString& title, QGroupBox* inputs, QGroupBox* outputs)
{
    devicepanel::addPage(panel, page, title);
    auto* grid = new QGridLayout(page);
    grid->addWidget(inputs, 0, 0);
    grid->addWidget(outputs, 0, 1);
}

} // namespace

cDevice::cDevice()
    : mObjectClient(new cObjectClient(cObjectClient::Settings{sLinkLimits(), kStartMs})),
      mLinkDriver(mObjectClient),
      mCore(*this, std::cout),
      mDigitalWiring({this,
                      "digital",
                      {mDigitalInputList, "mDigitalInputList"},
                      {mDigitalOutputList, "mDigitalOutputList"},
                      {mDigitalInputRadioButtonList, "mDigitalInputRadioButtonList"},
                      {mDigitalOutputCheckboxList, "mDigitalOutputCheckboxList"},
                      {mDigitalInputRadioButtonList, "mDigitalInputRadioButtonList"},
                      selectedDigitalInput}),
      // A script's selection marks the digital button of that number: scripts rely on it.
      mAnalogWiring({this,
                     "analog",
                     {mAnalogInputList, "mAnalogInputList"},
                     {mAnalogOutputList, "mAnalogOutputList"},
                     {mAnalogInputRadioButtonList, "mAnalogInputRadioButtonList"},
                     {mAnalogOutputCheckboxList, "mAnalogOutputCheckboxList"},
                     {mDigitalInputRadioButtonList, "mDigitalInputRadioButtonList"},
                     selectedAnalogInput})
{
    mObjectClient->setStateObserver([this](const sLinkState& state) {
        tellObservers([&state](cDeviceObserver& observer) { observer.linkChanged(state); });
    });
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
    addPortPages();
    addWiring(this, &dInputOutputTab, tr("Digital Input and Output Connections"), createDigitalInputGroup(),
              createDigitalOutputGroup());
    addWiring(this, &aInputOutputTab, tr("Analog Input and Output Connections"), createAnalogInputGroup(),
              createAnalogOutputGroup());
    addEventPages(scanners);
    mCore.addCapabilities();
}

cDevice::~cDevice()
{
    // Threads that wait for the executor could not be joined.
    mExecutor->close();
    mSamplingStop.request_stop();
    mSampleThreads.clear();
    mLinkDriver.stop();
    delete mObjectClient;
    qDeleteAll(mCapabilityList);
}

void cDevice::addPortPages()
{
    using devicepanel::addRows;
    const uint32_t serial = getDeviceSerial();
    const std::vector<devicepanel::Column> states{
        {tr("Port Label")}, {tr("Default State")}, {tr("Current State")}};
    mDigitalInputList = addRows<cDInput>(this, {&dinTab, tr("Digital Inputs"), states}, getDiscreteInCount(),
                                         serial, SIGNAL(inputChanged(int)), SLOT(inputEvent(int)));
    mDigitalOutputList =
        addRows<cDOutput>(this, {&doutTab, tr("Digital Outputs"), states}, getDiscreteOutCount(), serial);
    std::vector<devicepanel::Column> values{{tr("Port Label"), 100},
                                            {tr("Gain"), 60},
                                            {tr("Offset"), 60},
                                            {tr("Rate"), 60},
                                            {tr("Current Value")}};
    mAnalogInputList =
        addRows<cAInput>(this, {&ainTab, tr("Analog Inputs"), values}, getAnalogInCount(), serial,
                         SIGNAL(sampleEvent(cObjectAnalogSample*)), SLOT(analogEvent(cObjectAnalogSample*)));
    ainTab.setFrameShape(QFrame::NoFrame);
    // The layout stands on the scroll area itself, which otherwise ignores its minimum size.
    ainTab.layout()->setSizeConstraint(QLayout::SetMinimumSize);
    values.erase(values.begin() + 3); // outputs have no rate
    mAnalogOutputList =
        addRows<cAOutput>(this, {&aoutTab, tr("Analog Outputs"), values}, getAnalogOutCount(), serial);
}

void cDevice::addEventPages(uint32_t scanners)
{
    mAccessList = devicepanel::addRows<cAccess>(
        this, {&accessTab, tr("Access Events"), {{tr("Scanner Label")}, {tr("Scan Code")}}}, scanners,
        getDeviceSerial(), SIGNAL(send_accesss_evnt(int)), SLOT(accesEvnt(int)));
    // The second title stands above the fields; names and buttons share the rest of the row.
    auto* header = static_cast<QHBoxLayout*>(accessTab.layout()->itemAt(0));
    header->itemAt(1)->widget()->setMinimumWidth(cAccess::kCodeWidth);
    header->setStretch(1, 0);
    header->addSpacing(style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing, nullptr, &accessTab));
    header->addStretch(1);

    devicepanel::addPage(this, &adHocTab, tr("Adhoc Events"));
    mAdHocEvent = new cAdHocEvent;
    mAdHocEvent->setDeviceSerial(getDeviceSerial());
    connect(mAdHocEvent, SIGNAL(send_adhoc_evnt(int)), this, SLOT(adHocEvnt(int)));
    auto* layout = new QVBoxLayout(&adHocTab);
    layout->addWidget(mAdHocEvent);
    layout->addStretch(1);
}

void cDevice::start(cConfig* config)
{
    mStarted = true;
    mObjectClient->addListener(this);
    qDebug().noquote().nospace() << "Starting with " << config->getZULIP() << ":" << config->getZULPort();
    const long port = config->getZULPort().toLong();
    mObjectClient->start(config->getZULIPChar(), static_cast<int>(port & 0xFFFF));
    startSampling();
}

void cDevice::connectTo(const sHostPort& server)
{
    const bool first = !std::exchange(mStarted, true);
    if (first) {
        mObjectClient->addListener(this);
    }
    mObjectClient->start(server.host.c_str(), server.port);
    if (first) {
        startSampling();
    }
}

void cDevice::setClock(const cScaledClock& clock)
{
    mClock = clock;
    beginSampling(clock.seconds());
}

void cDevice::beginSampling(time_t now)
{
    std::ranges::for_each(mAnalogInputList, [now](cAInput* input) { input->beginSampling(now); });
}

void cDevice::leaveSampling(time_t now)
{
    mSamplingLeft = true;
    beginSampling(now);
}

std::optional<int64_t> cDevice::nextSample() const
{
    const auto next = std::ranges::min_element(mAnalogInputList, {}, &cAInput::nextSample);
    return mStarted && next != mAnalogInputList.end() ? std::make_optional((*next)->nextSample())
                                                      : std::nullopt;
}

void cDevice::takeSamples(time_t now)
{
    std::ranges::for_each(mAnalogInputList, [now](cAInput* input) { input->checkSample(now); });
}

void cDevice::setSensors(cSensors* sensors)
{
    std::ranges::for_each(mAnalogInputList, [sensors](cAInput* input) { input->setSensors(sensors); });
}

void cDevice::placeDigitalInput(int port, bool high)
{
    cDInput* input = mDigitalWiring.input(port);
    input->place(high ? 1 : 0);
    checkPort(*input);
}

void cDevice::placeAnalogInput(int port, int value)
{
    cAInput* input = mAnalogWiring.input(port);
    input->place(value);
    checkPort(*input);
}

void cDevice::startSampling()
{
    try {
        mSampleThreads.emplace_back(&cDevice::sample_thread, this);
    } catch (const std::system_error& error) {
        cWlog("zulbench").error(("No periodic samples: no thread: " + error.code().message()).c_str());
    }
}

template <class Tell>
void cDevice::tellObservers(Tell tell) const
{
    for (cDeviceObserver* observer : mObservers) {
        tell(*observer);
    }
}

void cDevice::addObserver(cDeviceObserver* observer)
{
    mObservers.push_back(observer);
    if (mObservers.size() == 1) {
        // The ports are remembered from now on.
        std::ranges::for_each(kPortTypes, [this](eObjectTypes type) { checkPorts(type); });
    }
}

void cDevice::removeObserver(cDeviceObserver* observer)
{
    std::erase(mObservers, observer);
    if (mObservers.empty()) {
        mPortWatch.clear();
    }
}

void cDevice::checkPort(const cObjectPort& port)
{
    if (!mObservers.empty() && mPortWatch.changed(port, sliderOf(port).value_or(0))) {
        tellObservers([&port](cDeviceObserver& observer) { observer.portChanged(port); });
    }
}

void cDevice::checkPorts(eObjectTypes type)
{
    for (const cObject* port : records(type)) {
        checkPort(*static_cast<const cObjectPort*>(port));
    }
}

cDInput* cDevice::getInput(int index) const { return mDigitalWiring.input(int64_t{index} + 1); }

cDOutput* cDevice::getOutput(int index) const { return mDigitalWiring.output(int64_t{index} + 1); }

int cDevice::getDigitalInputValue(int port) const { return mDigitalWiring.input(port)->getCurrentState(); }

int cDevice::getAnalogInputValue(int port) const { return mAnalogWiring.input(port)->getCurrentSample(); }

int cDevice::getDigitalOutputValue(int port) const { return mDigitalWiring.output(port)->getCurrentState(); }

int cDevice::getAnalogOutputValue(int port) const { return mAnalogWiring.output(port)->getCurrentSample(); }

zulcommand::JsonPtr cDevice::objectOf(const cObject& record) const
{
    zulcommand::JsonPtr json(record.getJSONObj());
    if (const std::optional<int> value = sliderOf(record)) {
        json_object_set_new(json.get(), "value", json_integer(*value));
    }
    return json;
}

/// Calls @p visit with the list of the records of @p type; of another one with the device alone.
template <class Visit>
auto cDevice::visitRecords(eObjectTypes type, Visit visit) const
{
    switch (type) {
    case OBJ_PORT_DIN:
        return visit(mDigitalInputList);
    case OBJ_PORT_DOUT:
        return visit(mDigitalOutputList);
    case OBJ_PORT_AIN:
        return visit(mAnalogInputList);
    case OBJ_PORT_AOUT:
        return visit(mAnalogOutputList);
    case OBJ_ACCESS:
        return visit(mAccessList);
    case OBJ_CAPABILITY:
        return visit(mCapabilityList);
    default:
        return visit(std::vector<const cDevice*>{this});
    }
}

const cObjectPort* cDevice::findPort(eObjectTypes type, int port) const
{
    return visitRecords(type, [port](const auto& list) -> const cObjectPort* {
        if constexpr (std::is_convertible_v<decltype(list.front()), const cObjectPort*>) {
            return port >= 1 && static_cast<size_t>(port) <= list.size() ? list[static_cast<size_t>(port) - 1]
                                                                         : nullptr;
        }
        return nullptr;
    });
}

std::vector<const cObject*> cDevice::records(eObjectTypes type) const
{
    return visitRecords(
        type, [](const auto& list) { return std::vector<const cObject*>(list.begin(), list.end()); });
}

void cDevice::handleObjectAction(cObjectList* msg)
{
    mExecutor->run([&] {
        const uint8_t type = msg->getMsgType();
        if (type == cObjectList::kRequest) {
            handleRequest(msg);
        } else if (type == cObjectList::kSet) {
            qDebug() << "SET ";
            handleSet(msg);
        } else if (type == cObjectList::kEvent) {
            qDebug() << "EVT ";
        } else {
            mCore.traceUnknown(*msg);
        }
    });
}

void cDevice::handleRequest(cObjectList* msg) { mCore.handleRequest(msg); }

void cDevice::handleSet(cObjectList* msg)
{
    tellObservers([msg](cDeviceObserver& observer) { observer.setReceived(*msg); });
    mCore.handleSet(msg);
    if (mObservers.empty()) {
        return;
    }
    std::set<eObjectTypes> types;
    for (const cObject* object = msg->first(); object != nullptr; object = msg->next()) {
        types.insert(object->getType());
    }
    for (const eObjectTypes type : kPortTypes) {
        if (types.contains(type)) {
            checkPorts(type);
        }
    }
}

/// Emits @p signal while only @p slot of @p receiver is connected.
template <class Signal, class Receiver, class Slot, class Value>
void cDevice::emitTo(Signal signal, const Receiver* receiver, Slot slot, Value value)
{
    const auto wire = connect(this, signal, receiver, slot);
    emit(this->*signal)(value);
    disconnect(wire);
}

void cDevice::drive(const cDOutput* output, eObjectIOState state)
{
    emitTo(&cDevice::digitalOutputUpdated, output, &cDOutput::updateOutput, state);
    checkPort(*output);
}

void cDevice::drive(const cAOutput* output, cObjectAOutput* value)
{
    emitTo(&cDevice::analogOutputUpdated, output, &cAOutput::updateObject, value);
    checkPort(*output);
}

void cDevice::inputEvent(int index)
{
    qDebug().nospace() << "Got an input event from port " << int64_t{index} + 1 << Qt::endl;
    checkPort(*getInput(index));
    mCore.inputEvent(index);
}

void cDevice::analogEvent(cObjectAnalogSample* sample)
{
    if (const cObjectPort* input = findPort(OBJ_PORT_AIN, static_cast<int>(sample->getPortNum()))) {
        checkPort(*input);
    }
    mCore.analogEvent(sample);
}

void cDevice::accesEvnt(int index) { mCore.accessEvent(index); }

void cDevice::adHocEvnt(int) { mCore.adHocEvent(mAdHocEvent); }

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

void cDevice::setDigitalInput(int port, bool high)
{
    mDigitalWiring.input(port)->scriptInputChange(high ? 1 : 0);
}

void cDevice::setAnalogInput(int port, int value) { mAnalogWiring.input(port)->scriptInputChange(value); }

void cDevice::reportScan(int scanner, const std::string& code)
{
    checkedAt(mAccessList, int64_t{scanner} - 1, "mAccessList")->setCode(code);
    mCore.accessEvent(int64_t{scanner} - 1);
}

bool cDevice::reportAdhoc(uint32_t id, const std::string& label, const std::string& value)
{
    if (mAdHocEvent == nullptr) {
        return false;
    }
    mAdHocEvent->fill(id, label, value);
    mCore.adHocEvent(mAdHocEvent);
    return true;
}

bool cDevice::setWired(eObjectTypes type, int input, int output, bool wired)
{
    return type == OBJ_PORT_DIN ? mDigitalWiring.setWired(input, output, wired)
                                : mAnalogWiring.setWired(input, output, wired);
}

void cDevice::setDigitalInput_Slot(int port, int value)
{
    qDebug() << "Digital slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    emitTo(&cDevice::setDigitalInput_Signal, mDigitalWiring.input(port), &cDInput::scriptInputChange, value);
}

void cDevice::setAnalogInput_Slot(int port, int value)
{
    qDebug() << "Analog slot";
    qDebug().nospace() << "Port: " << port << " Value: " << value;
    emitTo(&cDevice::setAnalogInput_Signal, mAnalogWiring.input(port), &cAInput::scriptInputChange, value);
}

QGroupBox* cDevice::createDigitalInputGroup()
{
    return mDigitalWiring.createInputs(tr("Inputs:"), tr("Digital Input "), getDiscreteInCount(),
                                       SLOT(digitalRadioButtonClicked()));
}

QGroupBox* cDevice::createDigitalOutputGroup()
{
    return mDigitalWiring.createOutputs(tr("Outputs:"), tr("Digital Output "), getDiscreteOutCount(),
                                        SLOT(digitalCheckBoxStateChanged(int)));
}

QGroupBox* cDevice::createAnalogInputGroup()
{
    return mAnalogWiring.createInputs(tr("Inputs:"), tr("Analog Input "), getAnalogInCount(),
                                      SLOT(analogRadioButtonClicked()));
}

QGroupBox* cDevice::createAnalogOutputGroup()
{
    return mAnalogWiring.createOutputs(tr("Outputs:"), tr("Analog Output "), getAnalogOutCount(),
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
    mDigitalWiring.connect(input, getDiscreteInCount(), output, getDiscreteOutCount(), connect);
}

void cDevice::connectAnalogInput_Slot(int input, int output, bool connect)
{
    mAnalogWiring.connect(input, getAnalogInCount(), output, getAnalogOutCount(), connect);
}

void* cDevice::sample_thread(void* arg)
{
    auto* device = static_cast<cDevice*>(arg);
    const std::stop_token stop = device->mSamplingStop.get_token();
    const auto second =
        std::chrono::duration<double>(std::max(1.0 / device->mClock.scale(), kMinPassSeconds));
    std::mutex mutex;
    std::unique_lock<std::mutex> lock(mutex);
    while (!stop.stop_requested()) {
        // A pass still posted serves for this second too.
        if (!device->mPassPosted.exchange(true)) {
            device->mExecutor->post([device] {
                device->mPassPosted = false;
                if (!device->mSamplingLeft) {
                    device->takeSamples(device->mClock.seconds());
                }
            });
        }
        std::condition_variable_any().wait_for(lock, stop, second, [] { return false; });
    }
    return nullptr;
}
