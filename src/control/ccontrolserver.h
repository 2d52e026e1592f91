#pragma once

#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ccontrolconnection.h"
#include "ccontrolrunner.h"
#include "ccontrolsocket.h"
#include "cdeviceobserver.h"

class cControlled;

/// Steers the device for the clients of a control socket, and tells them all what happens to it.
///
/// GUI thread only.
class cControlServer : public QObject, private cDeviceObserver
{
    Q_OBJECT

public:
    /// @p controlled, borrowed, outlives it.
    explicit cControlServer(cControlled* controlled) : mControlled(controlled) { mNext.setSingleShot(true); }

    /// Ends every connection, without waiting for a client.
    ~cControlServer() override;

    /// Makes the socket at @p path. Returns one sentence if that cannot be, else an empty text.
    std::string makeSocket(const std::string& path);

    /// Takes clients from now on, if there is a socket. Returns false if the system refuses it.
    bool listen() { return mSocket == nullptr || mSocket->listen(); }

    /// A scenario's step was done.
    void stepDone(const zulcommand::JsonPtr& line);

    /// The program has another device. The one before need not be there any more.
    void deviceReplaced();

public slots:
    void scriptChanged(const sScriptEvent& event);

signals:
    /// A client has told the program to end.
    void quitRequested();

private:
    struct Client
    {
        Client(int fd, cControlled* controlled) : connection(fd), runner(controlled) {}

        cControlConnection connection;
        cControlRunner runner;
    };

    void setReceived(cObjectList& message) override;
    void portChanged(const cObjectPort& port) override;
    void linkChanged(const sLinkState& state) override;

    void add(int fd);
    void runCommands();
    bool runCommands(Client& client, const std::function<bool()>& timeIsOver);
    void removeEnded();
    void writeLine(const zulcommand::JsonPtr& line);

    cControlled* mControlled;
    std::unique_ptr<cControlSocket> mSocket;
    std::vector<std::unique_ptr<Client>> mClients;
    size_t mTurn = 0;        ///< the client whose commands are next
    bool mObserving = false; ///< this is an observer of the live device
    bool mQuit = false;
    QTimer mNext; ///< runs commands
};
