#pragma once

class cObjectList;

/// Receives the messages that a client takes from the link.
class cObjectListener
{
public:
    virtual ~cObjectListener() = default;

    /// Called on the client's event pump thread, or on that of its host where it has one, once for each
    /// message, in the order of arrival. @p msg is valid during the call only and is not to be freed.
    /// Whatever list of the same type 0 or 1 is sent through the client before the call returns is the answer
    /// to @p msg.
    virtual void handleObjectAction(cObjectList* msg) = 0;
};
