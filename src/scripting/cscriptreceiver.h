#ifndef CSCRIPTRECEIVER_H
#define CSCRIPTRECEIVER_H

#include <QObject>
#include <QScriptable>
#include <functional>
#include <memory>

class cDevice;
class cGuiExecutor;
class cStopRequest;

/// The "receiver" of scripts: the device as a script sees it.
///
/// It lives on the script's thread and reaches the device through its executor, so the next line of a script
/// sees the effect of the one before. Once the device is gone every call throws inside the script. Ports are
/// numbered from 1, and a wrong one ends the program.
class cScriptReceiver : public QObject, protected QScriptable
{
    Q_OBJECT

public:
    /// @p device may be null, and is touched only while @p executor lets in.
    cScriptReceiver(cDevice* device, std::shared_ptr<cGuiExecutor> executor,
                    std::shared_ptr<cStopRequest> stop);

    /// Runs @p call with the device on the GUI thread. False where it has not run: there is no device any
    /// longer, which throws inside the script that called @p caller, or the script shall stop, which ends it.
    bool withDevice(const QScriptable& caller, const std::function<void(cDevice&)>& call);

    Q_INVOKABLE int getDiscreteInputCount();
    Q_INVOKABLE int getDiscreteOutputCount();
    Q_INVOKABLE int getAnalogInputCount();
    Q_INVOKABLE int getAnalogOutputCount();

    /// 1 when the input is set, else 0.
    Q_INVOKABLE int getDigitalInputValue(int port);

    /// 0 to 100.
    Q_INVOKABLE int getAnalogInputValue(int port);

    /// 0 when the output is clear, else 1.
    Q_INVOKABLE int getDigitalOutputValue(int port);

    /// 0 to 100.
    Q_INVOKABLE int getAnalogOutputValue(int port);

public slots:
    // What the slots of cDevice of these names do, after all that the script told and asked before. They
    // return before it is done.
    void setDigitalInput_Slot(int port, int value);
    void setAnalogInput_Slot(int port, int value);
    void connectDigitalInput_Slot(int input, int output, bool connect);
    void connectAnalogInput_Slot(int input, int output, bool connect);

private:
    int ask(const std::function<int(cDevice&)>& question);
    void tell(const std::function<void(cDevice&)>& call);

    cDevice* mDevice;
    std::shared_ptr<cGuiExecutor> mExecutor;
    std::shared_ptr<cStopRequest> mStopRequest;
};

#endif
