#pragma once

#include <QObject>
#include <QScriptable>
#include <functional>
#include <memory>
#include <stop_token>

#include "zuldict/zuldict.h"

class QScriptContext;
class cDevice;
class cGuiExecutor;
class cObjectPort;

namespace scriptports {

/// OBJ_DEVICE, which is no port, for another word than "din", "dout", "ain" and "aout".
eObjectTypes typeOf(const QString& kind);

/// Throws a RangeError: there is no such @p port.
void throwMissing(QScriptContext& context, eObjectTypes type, const QString& port);

} // namespace scriptports

/// Returns the number of a port that a script means by @p number; 0, which is none, if that is not whole.
int wholeNumber(double number);

/// The "receiver" of scripts: the device as a script sees it.
///
/// It lives on the script's thread and reaches the device through its executor, so the next line of a script
/// sees the effect of the one before. Once the device is gone every call throws inside the script. Ports are
/// numbered from 1; a wrong one ends the program, but for the functions that say that they throw.
class cScriptReceiver : public QObject, protected QScriptable
{
    Q_OBJECT

public:
    /// @p device may be null, and is used only by calls that @p executor runs.
    cScriptReceiver(cDevice* device, std::shared_ptr<cGuiExecutor> executor, std::stop_token stop);

    /// Runs @p call with the device on the GUI thread. Returns false if it has not run: the device is gone,
    /// which throws inside the script that called @p caller, or the script was told to stop, which ends it.
    bool withDevice(const QScriptable& caller, const std::function<void(cDevice&)>& call);

    Q_INVOKABLE int getDiscreteInputCount();
    Q_INVOKABLE int getDiscreteOutputCount();
    Q_INVOKABLE int getAnalogInputCount();
    Q_INVOKABLE int getAnalogOutputCount();
    Q_INVOKABLE int getDigitalInputValue(int port);  ///< 1 if the input is set, else 0
    Q_INVOKABLE int getAnalogInputValue(int port);   ///< 0 to 100
    Q_INVOKABLE int getDigitalOutputValue(int port); ///< 0 if the output is clear, else 1
    Q_INVOKABLE int getAnalogOutputValue(int port);  ///< 0 to 100

    Q_INVOKABLE int getScannerCount();
    Q_INVOKABLE uint getSerial();
    Q_INVOKABLE QString getLabel();

    // These throw a RangeError if there is no such port. A kind is "din", "dout", "ain" or "aout".

    /// 0 for low, 1 for high, -1 for unknown. Digital ports alone have one.
    Q_INVOKABLE int getDefaultState(const QString& kind, double port);
    Q_INVOKABLE bool getAlarm(const QString& kind, double port);

    // Of an analog input; the rate is the minutes between two samples.
    Q_INVOKABLE float getGain(double port);
    Q_INVOKABLE float getOffset(double port);
    Q_INVOKABLE uint getSampleRate(double port);

    /// The value of an analog output as its record holds it, which the bar cuts.
    Q_INVOKABLE float getOutputSample(double port);

public slots:
    // Post a call of the device's slot of the same name, in one order with all calls of the script.
    void setDigitalInput_Slot(int port, int value);
    void setAnalogInput_Slot(int port, int value);
    void connectDigitalInput_Slot(int input, int output, bool connect);
    void connectAnalogInput_Slot(int input, int output, bool connect);

private:
    void refuse(const QScriptable& caller) const;
    template <class Getter, class... Arguments>
    int get(Getter getter, Arguments... arguments);
    template <class Read>
    auto read(eObjectTypes type, double port, Read read);
    template <class Slot, class... Arguments>
    void post(Slot slot, Arguments... arguments);

    cDevice* mDevice;
    std::shared_ptr<cGuiExecutor> mExecutor;
    std::stop_token mStopToken;
};
