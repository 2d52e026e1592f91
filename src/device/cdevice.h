#ifndef CDEVICE_H
#define CDEVICE_H

#include <QCheckBox>
#include <QGroupBox>
#include <QRadioButton>
#include <QScrollArea>
#include <QTabWidget>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <utility>
#include <vector>

#include "cguiexecutor.h"
#include "cqtlinkdriver.h"
#include "zulobj/asample.h"
#include "zulobj/capability.h"
#include "zulobj/device.h"
#include "zulobj/objclient.h"
#include "zulobj/objectlist.h"
#include "zulobj/objlistener.h"

class QVBoxLayout;
class cAInput;
class cAOutput;
class cAccess;
class cAdHocEvent;
class cConfig;
class cDInput;
class cDOutput;
class cObjectAOutput;

/// The live simulated device: the tabbed panel, the device's record and the listener of its client in one.
///
/// All of its state belongs to the GUI thread. Functions that say "any thread" come in through the executor.
class cDevice : public QTabWidget, public cObjectDevice, public cObjectListener
{
    Q_OBJECT

public:
    /// An empty device without pages, ports and capabilities.
    cDevice();

    /// A device with so many digital inputs, digital outputs, analog inputs, analog outputs and scanners.
    /// @p label is UTF-8 and is copied. @p type is for the record and is not used: the device's type is
    /// always TYPE_DISCRETE_IO.
    cDevice(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, uint32_t scanners, char* label,
            const QString& type, uint32_t version, uint32_t serial);

    /// Turns other threads away, then ends the link and the sampling, and joins their threads.
    ~cDevice() override;

    /// Records every connection that comes from now on in @p file, or none where it is null.
    void recordTo(std::shared_ptr<cCaptureFile> file) { mObjectClient->recordTo(std::move(file)); }

    /// Connects to the server that @p config names and starts a sampling thread, whether the connection
    /// comes about or not. Waits up to 3 seconds for it. Called again it registers the device a second
    /// time, starts the link anew and adds a sampling thread.
    void start(cConfig* config);

    /// Receives one message of the server; any thread, mostly the GUI thread, where the client delivers.
    /// Returns when the message has been handled, or at once when the device is going away.
    void handleObjectAction(cObjectList* msg) override;

    /// The port widget at 0-based @p index; a wrong one ends the program.
    cDInput* getInput(int index) const;
    cDOutput* getOutput(int index) const;

    // GUI thread, like everything here; scripts come through cScriptReceiver. Ports are numbered from 1, and
    // a wrong one ends the program.
    Q_INVOKABLE int getDiscreteInputCount() const { return static_cast<int>(getDiscreteInCount()); }
    Q_INVOKABLE int getDiscreteOutputCount() const { return static_cast<int>(getDiscreteOutCount()); }
    Q_INVOKABLE int getAnalogInputCount() const { return static_cast<int>(getAnalogInCount()); }
    Q_INVOKABLE int getAnalogOutputCount() const { return static_cast<int>(getAnalogOutCount()); }
    Q_INVOKABLE int getDigitalInputValue(int port) const;
    Q_INVOKABLE int getAnalogInputValue(int port) const;
    Q_INVOKABLE int getDigitalOutputValue(int port) const;
    Q_INVOKABLE int getAnalogOutputValue(int port) const;

    /// The body of a sampling thread; @p arg is the device.
    static void* sample_thread(void* arg);

    /// The way to this device for other threads; it may outlive the device.
    std::shared_ptr<cGuiExecutor> executor() const { return mExecutor; }

    /// Types @p code into the row of @p scanner, from 1, and presses its button. False where there is none.
    bool scan(int scanner, const QString& code);

    /// Fills the ad-hoc editor in and presses its button. False for an @p id that the form does not take.
    bool adhoc(int id, const QString& label, const QString& value);

    /// How many sampling threads run.
    size_t samplingThreads() const { return mSampleThreads.size(); }

signals:
    // Each carries a value to the one widget that is connected while it is emitted.
    void digitalOutputUpdated(eObjectIOState state);
    void analogOutputUpdated(cObjectAOutput* object);
    void setDigitalInput_Signal(int value);
    void setAnalogInput_Signal(int value);

public slots:
    /// The digital input at 0-based position @p index changed: its wired outputs follow, the server is told.
    void inputEvent(int index);

    /// An analog input was sampled: its wired outputs are told, then the server. Takes @p sample over.
    void analogEvent(cObjectAnalogSample* sample);

    /// Reports the scanner at 0-based position @p index. The rows send their 1-based numbers, so a row's
    /// button reports the next scanner, and the last row's ends the program.
    void accesEvnt(int index);

    /// Reports what the ad-hoc editor holds; the argument is ignored.
    void adHocEvnt(int);

    // What scripts do, as if an operator did it. Ports are numbered from 1.

    /// Selects 0 ("LOW") or 1 ("HIGH") on a digital input; a wrong port ends the program.
    void setDigitalInput_Slot(int port, int value);

    /// Moves the slider of an analog input to @p value, 0 to 100; a wrong port ends the program.
    void setAnalogInput_Slot(int port, int value);

    /// Selects @p input on the wiring page and ticks or unticks @p output. A wrong input changes nothing, a
    /// wrong or wired output nothing but the selection.
    void connectDigitalInput_Slot(int input, int output, bool connect);

    /// The same for analog ports; it shows the digital button of that number checked, and ends the program
    /// where there is none.
    void connectAnalogInput_Slot(int input, int output, bool connect);

    // The wiring pages. The sender's object name tells which input or output is meant.
    void digitalRadioButtonClicked();
    void analogRadioButtonClicked();
    void digitalCheckBoxStateChanged(int state);
    void analogCheckBoxStateChanged(int state);

private:
    // Building the panel.
    void describe(uint32_t dins, uint32_t douts, uint32_t ains, uint32_t aouts, const char* label,
                  uint32_t version, uint32_t serial);
    void buildDigitalInputs();
    void buildDigitalOutputs();
    void buildAnalogInputs();
    void buildAnalogOutputs();
    void buildWiringPages();
    void buildAccess(uint32_t scanners);
    void buildAdHoc();
    void addPage(QWidget* page, const QString& title);
    void addCapabilities();
    void addCapability(uint32_t id, const char* label, const char* value);
    QGroupBox* createDigitalInputGroup();
    QGroupBox* createDigitalOutputGroup();
    QGroupBox* createAnalogInputGroup();
    QGroupBox* createAnalogOutputGroup();

    // Messages of the server.
    void dispatch(cObjectList* msg);
    void handleRequest(cObjectList* msg);
    void handleSet(cObjectList* msg);
    void answer(cObject* object, cObjectList* reply);
    void answerDevice(cObject* object, cObjectList* reply);
    void answerSample(cObject* object, cObjectList* reply);
    void answerCapabilities(cObject* object, cObjectList* reply);
    void apply(cObject* object);
    void applyDevice(cObject* object);
    void applyDigitalInput(cObject* object);
    void applyDigitalOutput(cObject* object);
    void applyAnalogInput(cObject* object);
    void applyAnalogOutput(cObject* object);
    bool isMe(uint32_t deviceSerial) const;

    // Events for the server.
    void driveOutputs(const cDInput& input);
    void driveOutputs(const cAInput& input, cObjectAOutput* value);

    // Sampling.
    void startSampling();
    void stopSampling();
    bool waitForNextPass();
    void samplePass();

    cObjectClient* mObjectClient;
    cQtLinkDriver mLinkDriver;
    cObjectList mReply; ///< empty but while a request is answered; its records are used again
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

    std::shared_ptr<cGuiExecutor> mExecutor = std::make_shared<cGuiExecutor>();
    std::vector<pthread_t> mSampleThreads;
    std::mutex mSamplingMutex;
    std::condition_variable mSamplingChanged;
    bool mSamplingStops = false; // guarded by mSamplingMutex
};

#endif
