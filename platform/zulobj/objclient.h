#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "wlog/wlog.h"
#include "zullink/linksettings.h"
#include "zullink/linkstate.h"
#include "zulobj/objectlist.h"
#include "zulobj/objlistener.h"

class cCaptureFile;
class cLinkClient;
struct WMsg;

/// Keeps a device's connection to the monitoring server.
///
/// Once started it connects, connects again after every loss, pings an idle peer and gives up on a silent
/// one. docs/protocol.md describes the life of a connection. By itself it reads on one thread and calls its
/// listeners on another; with a driver both happen on the driver's thread, and while that is busy for long
/// the client's own thread reads, so that the peer's pings are answered.
class cObjectClient : public cWlog
{
public:
    /// How a request came out.
    enum eMsgStatus
    {
        MSG_OK = 0,
        MSG_ERROR = 1, ///< not sent, or the connection was lost, or no readable answer in time
        MSG_WAITING = 2,
        MSG_BUSY = 3 ///< every sequence number stands for another outstanding request
    };

    using Settings = sLinkSettings;

    cObjectClient() : cObjectClient(Settings()) {}
    explicit cObjectClient(const Settings& settings);

    /// Stops the client. A listener that waits for the calling thread must have been released before.
    ~cObjectClient();

    /// @p listener is called for every message, once for each time it was added, and outlives the client
    /// or its stop().
    void addListener(cObjectListener* listener);

    /// Records every connection that comes from now on in @p file, or none if it is null.
    void recordTo(std::shared_ptr<cCaptureFile> file);

    /// Leaves reading the connection and calling the listeners to a thread with an event loop, the driver's.
    /// @p requestProcessing has processIo() called there soon; any thread may call it, and it does not wait.
    /// Once, before start(); start(), stop() and processIo() are then for the driver's thread only.
    void setDriver(std::function<void()> requestProcessing);

    /// Reads what has come and delivers it to the listeners, without waiting. To be called when the driver is
    /// asked to, and when the descriptor that it returned last is readable; -1 means to wait for
    /// requestProcessing(). The descriptor stays open until the next call, or stop().
    int processIo();

    /// Starts the threads and the first attempt to connect to @p address, a name or a number, and @p port,
    /// 0 to 65535. True if the connection stands within Settings::startMs; else the client goes on trying,
    /// unless an argument is out of range or the system is out of threads. Started again, it gives its
    /// connection up and turns to the new address; events that wait are kept. One thread at a time; no
    /// listener may be waiting for that thread's return from stop().
    bool start(const char* address, int port);

    /// Ends the connection and joins every thread. What waits to be sent is dropped.
    void stop();

    /// Ends the connection, or the attempts to get one, until start(). Events still wait to be sent. For the
    /// thread that calls start().
    void disconnect();

    /// Ends the connection when the peer has read everything, by LinkSession::finish(); call it again until
    /// the link is no longer up.
    void finish();

    /// @p observer is called with each state of the link that differs from the one before: inside start(),
    /// disconnect() and processIo(), so with a driver only. Once, before start().
    void setStateObserver(std::function<void(const sLinkState&)> observer);

    /// Any thread.
    sLinkState state() const;

    /// Copies what it needs from @p list and sends it, as far as the connection takes it without waiting, or
    /// queues it; any thread may call. A list of type 0 or 1 that is sent while a message of the same type is
    /// being delivered is the answer to that message. Events wait for the link, oldest dropped first when too
    /// many do. A client that was never started drops all.
    void send(cObjectList* list);

    /// Send @p request as a request or a set and wait for the answer, which replaces the content of
    /// @p *answer when the result is MSG_OK. Any thread may call but a listener's.
    eMsgStatus get(cObjectList* request, cObjectList* answer, int timeoutMs);
    eMsgStatus set(cObjectList* request, cObjectList* answer, int timeoutMs);

    /// Like get(), with nothing but the key fields in the answer's records.
    eMsgStatus getIndexes(cObjectList* request, cObjectList* answer, int timeoutMs);

    /// Answers that matched no request, since the client was made.
    uint64_t unmatchedAnswers() const;

private:
    eMsgStatus request(uint8_t type, cObjectList* list, cObjectList* answer, int timeoutMs);
    void deliver(const WMsg& message);

    static constexpr size_t kMaxKeptRecords = 64; ///< if a message has more, they are not used again

    cObjectList mReceived; ///< the message that is being delivered, or was; the delivering thread's own
    std::mutex mMutex;
    std::vector<cObjectListener*> mListeners; ///< guarded by mMutex
    const std::unique_ptr<cLinkClient> mLink; ///< ends first: its thread calls the listeners
};
