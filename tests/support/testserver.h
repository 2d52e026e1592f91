#pragma once

#include <QTcpServer>
#include <QTcpSocket>
#include <deque>
#include <initializer_list>
#include <memory>

#include "wmsg/wmsgreader.h"
#include "zulobj/objectlist.h"

/// A server on loopback that hands a test the messages of its clients as they are.
///
/// It lives on the thread of the test and works while that thread handles events. It answers nothing by
/// itself. Pings are left out.
class TestServer
{
public:
    struct Received
    {
        uint8_t type = 0;
        uint8_t seq = 0;
        bool answer = false;
        bool event = false;
        std::unique_ptr<cObjectList> list;

        /// The object at @p index as a record of that class; null if it is none.
        template <class Record>
        Record* object(int index) const
        {
            cObject* found = list->first();
            for (int i = 0; i < index && found != nullptr; ++i) {
                found = list->next();
            }
            return dynamic_cast<Record*>(found);
        }

        size_t size() const { return list->size(); }
    };

    /// Listens on @p port; 0 picks a free one.
    explicit TestServer(quint16 port = 0);

    bool isListening() const { return mServer.isListening(); }
    quint16 port() const { return mServer.serverPort(); }

    /// How many clients have connected so far.
    int connections() const { return mConnections; }

    /// True while the client that connected last is there.
    bool hasClient() const;

    /// Sends @p objects, which stay the caller's, to the client that connected last.
    void send(uint8_t type, uint8_t seq, std::initializer_list<cObject*> objects);
    void send(const cObjectList& list, uint8_t seq);

    /// Sends to that client again and again, as soon as it takes more.
    void flood(uint8_t type, std::initializer_list<cObject*> objects);

    /// Waits for a message that has not been taken yet and takes it. A message without a list if none comes.
    Received next();

    /// The messages that have not been taken yet.
    std::deque<Received>& received() { return mReceived; }

    /// How many messages have come so far, taken or not.
    int count() const { return mCount; }

private:
    void accept();
    void read(QTcpSocket* socket, WMsgReader* reader);
    void keep(const WMsg& message);
    void topUp(QTcpSocket* socket);

    QTcpServer mServer;
    QTcpSocket* mClient = nullptr;
    int mConnections = 0;
    int mCount = 0;
    std::deque<Received> mReceived;
    QByteArray mFlood;
};
