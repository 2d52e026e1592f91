#pragma once

#include <memory>
#include <vector>

#include "zuldevice/devicecore.h"
#include "zuldevice/plainports.h"

/// A device without a window. One thread at a time; it starts none.
///
/// Ports and scanners are numbered from 1. Operator actions return false, and do nothing, for a number or a
/// value that the device does not have.
class PlainDevice
{
public:
    class Listener : public PortListener
    {
    public:
        /// An answer or an event for the server. @p list is valid during the call only.
        virtual void send(cObjectList* list) = 0;
    };

    /// @p label is UTF-8. @p now is the time in seconds: the first samples are due a sample rate later.
    /// @p listener and @p trace, which may be null, outlive the device.
    PlainDevice(const zuldevice::Counts& counts, const char* label, uint32_t version, uint32_t serial,
                time_t now, Listener* listener, std::ostream* trace = nullptr);

    /// Handles a message of the server. The answer is sent before this returns.
    void handle(cObjectList* msg);

    /// Takes and reports the samples that are due at @p now, in seconds.
    void takeSamples(time_t now);

    /// Reports a digital input if @p high is not what it is already.
    bool setDigitalInput(uint32_t port, bool high);

    /// Reports a sample of @p value, 0 to 100, also if the input has it already.
    bool setAnalogInput(uint32_t port, int value);

    // Wire a free output to an input, or unwire one that this input drives.
    bool connectDigitalInput(uint32_t input, uint32_t output, bool connect);
    bool connectAnalogInput(uint32_t input, uint32_t output, bool connect);

    bool scan(uint32_t scanner, const char* code);
    void adhoc(uint32_t id, const char* label, const char* value);

    const cObjectDevice& record() const { return mRecord; }
    const std::vector<PlainDInput*>& digitalInputs() const { return mDigitalInputs.all; }
    const std::vector<PlainDOutput*>& digitalOutputs() const { return mDigitalOutputs.all; }
    const std::vector<PlainAInput*>& analogInputs() const { return mAnalogInputs.all; }
    const std::vector<PlainAOutput*>& analogOutputs() const { return mAnalogOutputs.all; }

private:
    /// Parts that are kept until the end.
    template <class Part>
    struct Owned
    {
        Owned() = default;
        Owned(const Owned&) = delete;
        Owned& operator=(const Owned&) = delete;
        ~Owned()
        {
            for (const Part* part : all) {
                delete part;
            }
        }

        /// Null for a @p number that is not there.
        Part* at(uint32_t number) const
        {
            return number >= 1 && number <= all.size() ? all[number - 1] : nullptr;
        }

        std::vector<Part*> all;
    };

    template <class Part, class... Arguments>
    void fill(Owned<Part>* parts, uint32_t count, Arguments... arguments);
    template <class Input, class Output>
    static bool connect(Input* input, uint32_t inputNumber, Output* output, uint32_t outputNumber,
                        bool connect);
    void reportSample(cObjectAnalogSample* sample);

    cObjectDevice mRecord;
    Owned<PlainDInput> mDigitalInputs;
    Owned<PlainDOutput> mDigitalOutputs;
    Owned<PlainAInput> mAnalogInputs;
    Owned<PlainAOutput> mAnalogOutputs;
    Owned<cObjectAccess> mScanners;
    std::vector<cObjectCapability*> mCapabilities;
    Listener* mListener;
    std::ostream* mTrace;
    DeviceCore<DeviceParts<PlainDInput, PlainDOutput, PlainAInput, PlainAOutput, cObjectAccess>> mCore;
};
