#pragma once

class cObjectList;

/// Receives the messages that a client takes from the link.
class cObjectListener
{
public:
    virtual ~cObjectListener() = default;

    /// Called once for each message, in the order of arrival, on a thread of the client, or on its driver's
    /// if it has one. @p msg is valid during the call only and is not to be freed. A list of the same type 0
    /// or 1 that is sent through the client before the call returns is the answer to @p msg.
    virtual void handleObjectAction(cObjectList* msg) = 0;
};
