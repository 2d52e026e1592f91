#include "testserver.h"

#include <QtTest>

namespace {

const int kPatience = 30000;
const qint64 kFloodBytes = 64 * 1024; // kept ready for the socket

QByteArray frames(const cObjectList& list, uint8_t seq)
{
    WMsg message;
    if (!list.encode(&message).isOk()) {
        qFatal("The test's message is too large");
    }
    message.seq = seq;
    std::vector<uint8_t> bytes;
    message.appendFrames(bytes);
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()));
}

QByteArray frames(uint8_t type, uint8_t seq, std::initializer_list<cObject*> objects)
{
    cObjectList list;
    list.setMsgType(type);
    for (cObject* object : objects) {
        list.addBorrowed(object);
    }
    return frames(list, seq);
}

} // namespace

TestServer::TestServer(quint16 port)
{
    QObject::connect(&mServer, &QTcpServer::newConnection, [this] { accept(); });
    mServer.listen(QHostAddress::LocalHost, port);
}

void TestServer::accept()
{
    while (QTcpSocket* socket = mServer.nextPendingConnection()) {
        mClient = socket;
        ++mConnections;
        auto reader = std::make_shared<WMsgReader>();
        QObject::connect(socket, &QTcpSocket::readyRead,
                         [this, socket, reader] { read(socket, reader.get()); });
        QObject::connect(socket, &QTcpSocket::bytesWritten, [this, socket] { topUp(socket); });
    }
}

void TestServer::read(QTcpSocket* socket, WMsgReader* reader)
{
    const QByteArray bytes = socket->readAll();
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.constData());
    auto size = static_cast<size_t>(bytes.size());
    WMsg message;
    while (reader->read(&data, &size, 0, &message) == WMsgReader::MESSAGE) {
        if (!message.control) {
            keep(message);
        }
    }
}

void TestServer::keep(const WMsg& message)
{
    Received received{message.type, message.seq, message.answer, message.event,
                      std::make_unique<cObjectList>()};
    if (!received.list->decode(message).isOk()) {
        qFatal("The client sent a message that can't be read");
    }
    mReceived.push_back(std::move(received));
    ++mCount;
}

bool TestServer::hasClient() const
{
    return mClient != nullptr && mClient->state() == QAbstractSocket::ConnectedState;
}

void TestServer::send(uint8_t type, uint8_t seq, std::initializer_list<cObject*> objects)
{
    mClient->write(frames(type, seq, objects));
    mClient->flush();
}

void TestServer::send(const cObjectList& list, uint8_t seq)
{
    mClient->write(frames(list, seq));
    mClient->flush();
}

void TestServer::flood(uint8_t type, std::initializer_list<cObject*> objects)
{
    mFlood = frames(type, 1, objects);
    topUp(mClient);
}

void TestServer::topUp(QTcpSocket* socket)
{
    while (!mFlood.isEmpty() && socket->isOpen() && socket->bytesToWrite() < kFloodBytes) {
        socket->write(mFlood);
    }
}

TestServer::Received TestServer::next()
{
    if (!QTest::qWaitFor([this] { return !mReceived.empty(); }, kPatience)) {
        return {};
    }
    Received received = std::move(mReceived.front());
    mReceived.pop_front();
    return received;
}
