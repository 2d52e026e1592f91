#pragma once

#include <QScrollArea>
#include <QTabWidget>
#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

#include "cdeviceobserver.h"
#include "cguiexecutor.h"
#include "cqtlinkdriver.h"
#include "cwiringpage.h"
#include "zulcommand/portwatch.h"
#include "zulcommand/steereddevice.h"
#include "zuldevice/devicecore.h"
#include "zuldevice/scaledclock.h"
#include "zuldevice/sensors.h"
#include "zullink/hostport.h"
#include "zulobj/objclient.h"
#include "zulobj/objlistener.h"

class cAInput;
class cAOutput;
class cAccess;
class cAdHocEvent;
class cConfig;
class cDInput;
class cDOutput;

/// The live simulated device: its panel, its record and its link to the server. What it does with messages
/// and which events it makes is DeviceCore's.
///
/// All of its state belongs to the GUI thread. Functions that say "any thread" use the executor.
class cDevice : public QTabWidget, public cObjectDevice, public cObjectListener, public cSteeredDevice
{
    Q_OBJECT

public:
    static constexpr int kStartMs = 100;

    /// An empty device without pages, ports and capabilities.
    cDevice();

    /// The first five are counts. @p label is UTF-8 and is copied. @p type is not used: the device's type is
    /// always TYPE_DISCRETE_IO.
    cDevice(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, uint32_t scanners, char* label,
            const QString& type, uint32_t version, uint32_t serial);

    /// Closes the executor, then ends the sampling and the link and joins their threads.
    ~cDevice() override;

    /// Records every connection from now on in @p file, or none if it is null.
    void recordTo(std::shared_ptr<cCaptureFile> file) { mObjectClient->recordTo(std::move(file)); }

    /// Connects to the server that @p config names and starts a sampling thread, whether the connection
    /// succeeds or not. Waits up to kStartMs for it; then the link goes on by itself. Called again it
    /// registers the device a second time, starts the link anew and adds a sampling thread.
    void start(cConfig* config);

    /// Connects to @p server, or moves the link there; waits like start(). The device is registered, and
    /// samples, once only.
    void connectTo(const sHostPort& server);

    /// Ends the link until the next start; events wait for that.
    void disconnectLink() { mObjectClient->disconnect(); }

    /// As in cObjectClient.
    void finishLink() { mObjectClient->finish(); }

    sLinkState linkState() const { return mObjectClient->state(); }

    /// Samples by @p clock, which is set before the device is started: first a sample rate from now.
    void setClock(const cScaledClock& clock);

    /// The device takes no more samples by itself: takeSamples() does, first a sample rate after @p now, in
    /// seconds.
    void leaveSampling(time_t now);

    /// When the next sample of a device that was started is due, in seconds.
    std::optional<int64_t> nextSample() const;

    /// Takes the samples that are due at @p now, in seconds.
    void takeSamples(time_t now);

    /// Has @p sensors, which are borrowed, tell the values of analog inputs. Null for right ones.
    void setSensors(cSensors* sensors);

    // Set an input, which is there, without an event.
    void placeDigitalInput(int port, bool high);
    void placeAnalogInput(int port, int value);

    /// Tells @p observer what happens from now on, until it is removed. GUI thread.
    void addObserver(cDeviceObserver* observer);
    void removeObserver(cDeviceObserver* observer);

    /// Handles one message of the server. Any thread. Returns when it has been handled, or at once if the
    /// device is being destroyed.
    void handleObjectAction(cObjectList* msg) override;

    /// The port widget at 0-based @p index; a wrong one ends the program.
    cDInput* getInput(int index) const;
    cDOutput* getOutput(int index) const;

    // For scripts, which call through cScriptReceiver. Ports are numbered from 1; a wrong one ends the
    // program.
    Q_INVOKABLE int getDiscreteInputCount() const { return static_cast<int>(getDiscreteInCount()); }
    Q_INVOKABLE int getDiscreteOutputCount() const { return static_cast<int>(getDiscreteOutCount()); }
    Q_INVOKABLE int getAnalogInputCount() const { return static_cast<int>(getAnalogInCount()); }
    Q_INVOKABLE int getAnalogOutputCount() const { return static_cast<int>(getAnalogOutCount()); }
    Q_INVOKABLE int getDigitalInputValue(int port) const;
    Q_INVOKABLE int getAnalogInputValue(int port) const;
    Q_INVOKABLE int getDigitalOutputValue(int port) const;
    Q_INVOKABLE int getAnalogOutputValue(int port) const;

    std::vector<const cObject*> records(eObjectTypes type) const override;
    zulcommand::JsonPtr objectOf(const cObject& record) const override;

    /// The port of @p type, one of the four kinds of ports, with the number @p port, from 1; null if there is
    /// none.
    const cObjectPort* findPort(eObjectTypes type, int port) const;

    int getScannerCount() const { return static_cast<int>(mAccessList.size()); }

    /// The body of a sampling thread; @p arg is the device.
    static void* sample_thread(void* arg);

    /// Runs calls of other threads on the GUI thread; it may outlive the device.
    std::shared_ptr<cGuiExecutor> executor() const { return mExecutor; }

    /// Types @p code into the row of @p scanner, from 1, and presses its button. False if there is none.
    bool scan(int scanner, const QString& code);

    /// Fills the ad-hoc editor in and presses its button. False for an @p id that the form does not take.
    bool adhoc(int id, const QString& label, const QString& value);

    // What the operator does. Ports and scanners are numbered from 1; a wrong one ends the program.

    void setDigitalInput(int port, bool high) override;
    void setAnalogInput(int port, int value) override;

    /// The row shows the code.
    void reportScan(int scanner, const std::string& code) override;

    /// The editor shows the texts. Returns false if this device has none.
    bool reportAdhoc(uint32_t id, const std::string& label, const std::string& value) override;

    /// The wiring page shows it.
    bool setWired(eObjectTypes type, int input, int output, bool wired) override;

    size_t samplingThreads() const { return mSampleThreads.size(); }

signals:
    // For each emission, only the widget that is meant is connected.
    void digitalOutputUpdated(eObjectIOState state);
    void analogOutputUpdated(cObjectAOutput* object);
    void setDigitalInput_Signal(int value);
    void setAnalogInput_Signal(int value);

public slots:
    /// Passes the state of the digital input at 0-based position @p index to its wired outputs and the
    /// server.
    void inputEvent(int index);

    /// Passes a sample of an analog input to its wired outputs and the server. Takes @p sample over.
    void analogEvent(cObjectAnalogSample* sample);

    /// Reports the scanner at 0-based position @p index. The rows send their 1-based numbers, so a row's
    /// button reports the next scanner, and the last row's ends the program.
    void accesEvnt(int index);

    /// Reports what the ad-hoc editor holds; the argument is ignored.
    void adHocEvnt(int);

    // Operator actions of scripts. Ports are numbered from 1.

    /// Selects 0 ("LOW") or 1 ("HIGH") on a digital input; a wrong port ends the program.
    void setDigitalInput_Slot(int port, int value);

    /// Moves the slider of an analog input to @p value, 0 to 100; a wrong port ends the program.
    void setAnalogInput_Slot(int port, int value);

    /// Selects @p input on the wiring page and ticks or unticks @p output. A wrong input changes nothing, a
    /// wrong or wired output nothing but the selection.
    void connectDigitalInput_Slot(int input, int output, bool connect);

    /// The same for analog ports; it shows the digital button of that number checked, and ends the program if
    /// there is none.
    void connectAnalogInput_Slot(int input, int output, bool connect);

    // The wiring pages. The number of the input or output is in the sender's object name.
    void digitalRadioButtonClicked();
    void analogRadioButtonClicked();
    void digitalCheckBoxStateChanged(int state);
    void analogCheckBoxStateChanged(int state);

private:
    friend class DeviceCore<cDevice>;

    void addPortPages();
    void addEventPages(uint32_t scanners);
    QGroupBox* createDigitalInputGroup();
    QGroupBox* createDigitalOutputGroup();
    QGroupBox* createAnalogInputGroup();
    QGroupBox* createAnalogOutputGroup();

    void handleRequest(cObjectList* msg);
    void handleSet(cObjectList* msg);
    void startSampling();
    void beginSampling(time_t now);

    template <class Visit>
    auto visitRecords(eObjectTypes type, Visit visit) const;
    template <class Tell>
    void tellObservers(Tell tell) const;
    void checkPort(const cObjectPort& port);
    void checkPorts(eObjectTypes type);

    void send(cObjectList* list) { mObjectClient->send(list); }
    void drive(const cDOutput* output, eObjectIOState state);
    void drive(const cAOutput* output, cObjectAOutput* value);

    template <class Signal, class Receiver, class Slot, class Value>
    void emitTo(Signal signal, const Receiver* receiver, Slot slot, Value value);

    cObjectClient* mObjectClient;
    std::vector<cDInput*> mDigitalInputList;
    std::vector<cDOutput*> mDigitalOutputList;
    std::vector<cAInput*> mAnalogInputList;
    std::vector<cAOutput*> mAnalogOutputList;
    std::vector<cAccess*> mAccessList;
    std::vector<cObjectCapability*> mCapabilityList;
    std::vector<QRadioButton*> mDigitalInputRadioButtonList;
    std::vector<QCheckBox*> mDigitalOutputCheckboxList;
    std::vector<QRadioButton*> mAnalogInputRadioButtonList;
    std::vector<QCheckBox*> mAnalogOutputCheckboxList;
    cAdHocEvent* mAdHocEvent = nullptr;
    QWidget dinTab{this};
    QWidget doutTab{this};
    QScrollArea ainTab{this};
    QWidget aoutTab{this};
    QWidget accessTab{this};
    QWidget adHocTab;
    QWidget dInputOutputTab{this};
    QWidget aInputOutputTab{this};
    int32_t selectedDigitalInput = 0;
    int32_t selectedAnalogInput = 0;

    cQtLinkDriver mLinkDriver;
    DeviceCore<cDevice> mCore;
    cWiringPage<cDInput, cDOutput> mDigitalWiring;
    cWiringPage<cAInput, cAOutput> mAnalogWiring;

    std::vector<cDeviceObserver*> mObservers;
    cPortWatch mPortWatch; // remembers all ports while there are observers
    bool mStarted = false;

    cScaledClock mClock; // constant once a sampling thread runs
    std::shared_ptr<cGuiExecutor> mExecutor = std::make_shared<cGuiExecutor>();
    std::vector<std::jthread> mSampleThreads;
    std::stop_source mSamplingStop; // for all of them
    std::atomic<bool> mPassPosted = false;
    bool mSamplingLeft = false;
};
