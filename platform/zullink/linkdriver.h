#pragma once

/// A thread with an event loop that reads a client's connection and calls its listeners, so that a message
/// and its answer change threads nowhere.
class cLinkDriver
{
public:
    virtual ~cLinkDriver() = default;

    /// Has cObjectClient::processIo() called on the driver's thread soon. Any thread may call; it does not
    /// wait.
    virtual void requestProcessing() = 0;
};
