#pragma once

class cObjectList;
class cObjectPort;
struct sLinkState;

/// Is told what happens to a device, in the order in which it happens.
///
/// Every function is called on the GUI thread, and must not add or remove observers, delete the device or run
/// an event loop.
class cDeviceObserver
{
public:
    virtual ~cDeviceObserver() = default;

    /// The server has sent @p message, a set, which is about to be applied.
    virtual void setReceived(cObjectList& /*message*/) {}

    /// The record of @p port has changed or, of a cAInput, the place of its slider.
    virtual void portChanged(const cObjectPort& /*port*/) {}

    /// The link has changed its state, its server or the reason why it is not up.
    virtual void linkChanged(const sLinkState& /*state*/) {}
};
