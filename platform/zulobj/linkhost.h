#ifndef ZULOBJ_LINKHOST_H
#define ZULOBJ_LINKHOST_H

/// A thread with an event loop that reads a client's connection and calls its listeners: so a message and its
/// answer change threads nowhere.
class cLinkHost
{
public:
    virtual ~cLinkHost() = default;

    /// Has cObjectClient::serve() called on the host's thread soon. Any thread may call; it does not wait.
    virtual void callServe() = 0;
};

#endif
